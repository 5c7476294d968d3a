#pragma once

#include <CLI/App.hpp>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "message.h"

namespace tool {

/// A value of a listing. The empty alternative stands for a missing value.
using Cell = std::variant<std::monostate, std::int64_t, std::string>;

/// The result of a command. Every row has one cell per column.
struct Listing {
  /// The names of the values: keys in JSON, headings in a table.
  std::vector<std::string> columns;
  std::vector<std::vector<Cell>> rows;
};

/// The listing without the columns that have no value in any row.
Listing withoutEmptyColumns(const Listing& listing);

/// Adds the flag that selects the output of `writeListing`.
void addJsonFlag(
    CLI::App& command, bool& asJson,
    const std::string& description = "Print a JSON array of objects instead of a table");

/// Writes a listing to standard output: as a JSON array with one object per row, or as a table,
/// which is empty if there are no rows. Throws CommandFailure if it cannot be written.
void writeListing(const Listing& listing, bool asJson);

/// Likewise. In place of an empty table, writes `emptyMessage` to standard error.
void writeListing(const Listing& listing, bool asJson, const std::string& emptyMessage);

/// Writes the only row of a listing to standard output, with a line for each value. Throws
/// CommandFailure if it cannot be written.
void writeFields(const Listing& listing);

/// Writes to standard output and flushes it. Throws CommandFailure if it cannot be written. Ends
/// the process by SIGPIPE if it is a pipe that nobody reads any more.
void writeResult(std::string_view text);

}  // namespace tool
