#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "Client/ErrorMarshalling.h"
#include "Client/ErrorTables.h"
#include "libvemlo_service_client.h"
#include "support/responses.h"

namespace {

using namespace CloudStorage::Client;  // NOLINT: everything under test
using CloudStorage::Http::Method;
using ::testing::Contains;
using ::testing::UnorderedElementsAreArray;
using TestSupport::response;

struct Table {
  const char* service;
  ErrorTable rows;
};

const std::vector<Table>& tables() {
  static const std::vector<Table> all = {
      {"S3", S3::errorTable()},
      {"Azure", AzureSSB::errorTable()},
      {"Amazon Drive", AmazonDrive::errorTable()},
      {"Google Drive", GoogleDrive::errorTable()},
      {"OneDrive", OneDrive::errorTable()},
      {"Dropbox", Dropbox::errorTable()},
      {"token endpoints", CloudStorage::Auth::tokenErrorTable()},
  };
  return all;
}

std::string nameOf(FailureKind kind) {
  return vemlo_client_kind_name(static_cast<std::int32_t>(kind));
}

Error errorOf(ErrorTable rows, int status, const std::string& code) {
  return responseError(response(status), Method::Get, {code, "message"}, rows);
}

/// The rows of the document's tables with so many columns, without heads.
std::vector<std::vector<std::string>> documentedRows(std::size_t columns) {
  std::ifstream document(VEMLO_ERROR_CODES);
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(document, line);) {
    if (line.substr(0, 2) != "| ") continue;
    std::vector<std::string> cells;
    std::istringstream text(line.substr(1));
    for (std::string cell; std::getline(text, cell, '|');) {
      const auto begin = cell.find_first_not_of(' ');
      cells.push_back(begin == std::string::npos
                          ? ""
                          : cell.substr(begin, cell.find_last_not_of(' ') - begin + 1));
    }
    if (cells.size() == columns) rows.push_back(cells);
  }
  return rows;
}

/// The words in backticks.
std::vector<std::string> codesIn(const std::string& cell) {
  std::vector<std::string> codes;
  std::istringstream words(cell);
  for (std::string word; words >> word;) codes.push_back(word.substr(1, word.size() - 2));
  return codes;
}

struct Exception {
  std::string service;
  int status;
  std::string code;
  std::string kind;

  auto key() const { return std::tie(service, status, code, kind); }
  bool operator<(const Exception& other) const { return key() < other.key(); }
  bool operator==(const Exception& other) const { return key() == other.key(); }
};

void PrintTo(const Exception& row, std::ostream* out) {
  *out << row.service << ' ' << row.status << ' ' << row.code << ": " << row.kind;
}

std::vector<Exception> documentedExceptions() {
  std::vector<Exception> exceptions;
  for (const auto& cells : documentedRows(4)) {
    if (cells[0] == "service" || cells[0] == "any") continue;
    const int status = cells[1] == "any" ? kAnyStatus : std::stoi(cells[1]);
    auto codes = codesIn(cells[2]);
    if (codes.empty()) codes.emplace_back();
    for (const auto& code : codes) exceptions.push_back({cells[0], status, code, cells[3]});
  }
  return exceptions;
}

TEST(FailureKinds, EveryNumberButTheTemporaryOneHasAKind) {
  for (std::uint32_t number = 1; number <= 29; ++number) {
    EXPECT_NE(kindOf(static_cast<CoreErrors>(number)), FailureKind::None) << number;
  }
  EXPECT_EQ(kindOf(CoreErrors::Cancelled), FailureKind::Cancelled);
  EXPECT_EQ(kindOf(CoreErrors::DeadlineExceeded), FailureKind::Deadline);
}

TEST(FailureKinds, EveryRowOfEveryServiceHasAKind) {
  for (const auto& [service, rows] : tables()) {
    for (const ErrorRow& row : rows) {
      const int status = row.status == kAnyStatus ? 400 : row.status;
      const Error error = errorOf(rows, status, std::string(row.code));
      EXPECT_NE(error.kind, FailureKind::None) << service << ' ' << status << ' ' << row.code;
    }
  }
}

TEST(FailureKinds, EveryStatusOfEveryServiceHasAKind) {
  for (const auto& [service, rows] : tables()) {
    for (int status = 100; status < 600; ++status) {
      const Error error = errorOf(rows, status, "unheard-of");
      EXPECT_NE(error.kind, FailureKind::None) << service << ' ' << status;
      EXPECT_NE(error.kind, FailureKind::Cancelled) << service << ' ' << status;
    }
  }
}

TEST(DocumentedKinds, OfTheNumbersAreThoseOfTheLayer) {
  std::set<int> numbers;
  for (const auto& cells : documentedRows(8)) {
    if (cells[0] == "code" || cells[0] == "259") continue;
    const int number = std::stoi(cells[0]);
    numbers.insert(number);
    EXPECT_EQ(cells[2], nameOf(kindOf(static_cast<CoreErrors>(number)))) << number;
  }
  EXPECT_EQ(numbers.size(), 29U);
}

// The codes in a column of the table of numbers: code -> number.
std::map<std::string, int> documentedCodes(std::size_t column) {
  std::map<std::string, int> codes;
  for (const auto& cells : documentedRows(8)) {
    if (cells[0] == "code") continue;
    for (const auto& code : codesIn(cells.at(column))) codes[code] = std::stoi(cells[0]);
  }
  return codes;
}

TEST(DocumentedKinds, EveryCodeOfTheObjectStoresHasItsDocumentedNumber) {
  const std::map<std::string, int> documented[] = {documentedCodes(5), documentedCodes(6)};
  for (std::size_t store = 0; store < 2; ++store) {
    std::map<std::string, int> actual;
    for (const ErrorRow& row : tables()[store].rows) {
      if (!row.code.empty()) actual[std::string(row.code)] = static_cast<int>(row.type);
    }
    EXPECT_EQ(actual, documented[store]) << tables()[store].service;
  }
}

TEST(DocumentedKinds, RowsWithAKindOfTheirOwnAreThoseOfTheLayer) {
  std::vector<Exception> actual;
  for (const auto& [service, rows] : tables()) {
    for (const ErrorRow& row : rows) {
      if (row.kind == FailureKind::None) continue;
      actual.push_back({service, row.status, std::string(row.code), nameOf(row.kind)});
    }
  }
  EXPECT_THAT(documentedExceptions(), UnorderedElementsAreArray(actual));
}

TEST(DocumentedKinds, RowsWithAKindOfTheirOwnTakeEffect) {
  const auto exceptions = documentedExceptions();
  ASSERT_GT(exceptions.size(), 40U);
  for (const auto& [service, status, code, kind] : exceptions) {
    for (const Table& table : tables()) {
      if (table.service != service) continue;
      const Error error = errorOf(table.rows, status == kAnyStatus ? 400 : status, code);
      EXPECT_EQ(nameOf(error.kind), kind) << service << ' ' << status << ' ' << code;
    }
  }
}

TEST(DocumentedKinds, OfStatusesOfAnyServiceTakeEffectEverywhere) {
  std::size_t statuses = 0;
  for (const auto& cells : documentedRows(4)) {
    if (cells[0] != "any") continue;
    ++statuses;
    for (const auto& [service, rows] : tables()) {
      EXPECT_EQ(nameOf(errorOf(rows, std::stoi(cells[1]), "").kind), cells[3]) << service;
    }
  }
  EXPECT_EQ(statuses, 3U);
}

TEST(DocumentedKinds, AreNumberedAndNamedAsInTheInterface) {
  std::map<int, std::string> documented;
  for (const auto& cells : documentedRows(3)) {
    if (cells[0] == "kind" || cells[0] == "code") continue;
    if (cells[1].find_first_not_of("0123456789") == std::string::npos) {
      documented[std::stoi(cells[1])] = cells[0];
    }
  }
  ASSERT_EQ(documented.size(), 18U);
  for (const auto& [number, name] : documented) {
    EXPECT_EQ(vemlo_client_kind_name(number), name);
  }
}

struct StatusKind {
  int status;
  FailureKind drive;
  FailureKind store;
};

TEST(FailureKinds, FollowFromTheStatusWithoutACode) {
  using K = FailureKind;
  const StatusKind expectations[] = {
      {302, K::NotUnderstood, K::NotUnderstood},
      {400, K::NotUnderstood, K::NotUnderstood},
      {401, K::LinkAgain, K::WrongKeys},
      {403, K::Denied, K::Denied},
      {404, K::NotFound, K::NotFound},
      {407, K::Offline, K::Offline},
      {408, K::TimedOut, K::TimedOut},
      {412, K::Denied, K::Denied},
      {423, K::Wait, K::Wait},
      {429, K::Wait, K::Wait},
      {500, K::ServiceTrouble, K::ServiceTrouble},
      {502, K::ServiceTrouble, K::ServiceTrouble},
      {503, K::ServiceTrouble, K::ServiceTrouble},
      {504, K::ServiceTrouble, K::ServiceTrouble},
      {507, K::Quota, K::Quota},
      {511, K::NotUnderstood, K::NotUnderstood},
  };
  for (const auto& [status, drive, store] : expectations) {
    for (std::size_t i = 0; i < 6; ++i) {
      EXPECT_EQ(nameOf(errorOf(tables()[i].rows, status, "").kind), nameOf(i < 2 ? store : drive))
          << tables()[i].service << ' ' << status;
    }
  }
}

}  // namespace
