#include "output.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "command_failure.h"
#include "erasable_line.h"
#include "text.h"

namespace tool {
namespace {

using TextRow = std::vector<std::string>;

std::string tableCell(const Cell& cell) {
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
  if (const auto* text = std::get_if<std::string>(&cell)) return printable(*text);
  return "-";
}

std::string jsonCell(const Cell& cell) {
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
  if (const auto* text = std::get_if<std::string>(&cell)) return jsonString(*text);
  return "null";
}

std::vector<TextRow> textRows(const Listing& listing) {
  std::vector<TextRow> rows(1);
  for (const std::string& column : listing.columns) rows[0].push_back(upperCase(column));
  for (const auto& cells : listing.rows) {
    TextRow& row = rows.emplace_back();
    for (const Cell& cell : cells) row.push_back(tableCell(cell));
  }
  return rows;
}

/// The rows in aligned columns.
std::string aligned(const std::vector<TextRow>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const TextRow& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], displayWidth(row[i]));
    }
  }

  std::string out;
  for (const TextRow& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      const bool isLast = i + 1 == row.size();
      out += row[i];
      out += isLast ? "\n" : std::string(widths[i] - displayWidth(row[i]) + 2, ' ');
    }
  }
  return out;
}

std::string table(const Listing& listing) {
  return listing.rows.empty() ? std::string() : aligned(textRows(listing));
}

std::string json(const Listing& listing) {
  std::string out = "[";
  for (const auto& row : listing.rows) {
    out += out.size() == 1 ? "{" : ",{";
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (i > 0) out += ',';
      out += jsonString(listing.columns[i]) + ':' + jsonCell(row[i]);
    }
    out += '}';
  }
  return out + "]\n";
}

/// Ends the process as a program that does not ignore SIGPIPE, silently: the reader of the output,
/// such as `head`, has seen enough.
[[noreturn]] void endByClosedPipe() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_DFL);
  std::raise(SIGPIPE);
  std::abort();  // not reached
}

}  // namespace

Listing withoutEmptyColumns(const Listing& listing) {
  Listing result{{}, std::vector<std::vector<Cell>>(listing.rows.size())};
  for (std::size_t i = 0; i < listing.columns.size(); ++i) {
    const bool isEmpty = std::all_of(
        listing.rows.begin(), listing.rows.end(),
        [i](const auto& row) { return std::holds_alternative<std::monostate>(row[i]); });
    if (isEmpty) continue;
    result.columns.push_back(listing.columns[i]);
    for (std::size_t j = 0; j < listing.rows.size(); ++j) {
      result.rows[j].push_back(listing.rows[j][i]);
    }
  }
  return result;
}

void addJsonFlag(CLI::App& command, bool& asJson, const std::string& description) {
  command.add_flag("--json", asJson, description);
}

void writeListing(const Listing& listing, bool asJson) {
  writeResult(asJson ? json(listing) : table(listing));
}

void writeListing(const Listing& listing, bool asJson, const std::string& emptyMessage) {
  writeListing(listing, asJson);
  if (listing.rows.empty() && !asJson) writeMessage(emptyMessage);
}

void writeFields(const Listing& listing) {
  std::vector<TextRow> rows;
  for (std::size_t i = 0; i < listing.columns.size(); ++i) {
    rows.push_back({listing.columns[i], tableCell(listing.rows.front()[i])});
  }
  writeResult(aligned(rows));
}

void writeResult(std::string_view text) {
  const ErasedLine erased;
  const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  // A full disk or a closed pipe is detected only when the buffer is flushed.
  if (isWritten && std::fflush(stdout) == 0) return;
  if (errno == EPIPE) endByClosedPipe();
  throw CommandFailure(ExitCode::LocalFailure,
                       "cannot write the output: " + std::generic_category().message(errno));
}

}  // namespace tool
