#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "CloudStorage/Client/WSError.h"

namespace TestSupport {

/// One row of a service's table of errors.
struct ErrorExpectation {
  int status;
  std::string code;
  CloudStorage::Client::CoreErrors type;
  bool retryable;
};

inline std::ostream& operator<<(std::ostream& out, const ErrorExpectation& row) {
  return out << row.status << ' ' << row.code;
}

/// A suite over the rows of a table.
using ErrorTable = testing::TestWithParam<ErrorExpectation>;

/// Names a test after its row.
struct RowName {
  template <typename Info>
  std::string operator()(const Info& test) const {
    std::string name = std::to_string(test.param.status);
    if (!test.param.code.empty()) name += "_";
    for (const char character : test.param.code) name += character == '/' ? '_' : character;
    return name;
  }
};

/// For an error that has the code of its row.
inline void expectRow(const CloudStorage::Client::Error& error, const ErrorExpectation& row) {
  EXPECT_EQ(error.errorType, row.type);
  EXPECT_EQ(error.retryable, row.retryable);
  EXPECT_EQ(error.httpResponseCode, row.status);
  EXPECT_EQ(error.exceptionName, row.code.empty() ? "HTTP" + std::to_string(row.status) : row.code);
}

/// For services that retry a creation only if it was refused before any work.
inline void expectRowOfCreation(const CloudStorage::Client::Error& error,
                                const ErrorExpectation& row) {
  const bool mayHaveRun = row.status == 500 || row.status == 502 || row.status == 504;
  EXPECT_EQ(error.errorType, row.type);
  EXPECT_EQ(error.retryable, row.retryable && !mayHaveRun);
}

}  // namespace TestSupport
