#pragma once

#include <gtest/gtest.h>

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Util/Outcome.h"

namespace TestSupport {

/// For the outcome of a call whose response has a success status and a body that cannot be used.
template <typename Result>
void expectMalformedResponse(
    const CloudStorage::Util::Outcome<Result, CloudStorage::Client::Error>& outcome) {
  ASSERT_FALSE(outcome.isSuccess());
  const auto& error = outcome.getError();
  EXPECT_EQ(error.errorType, CloudStorage::Client::CoreErrors::LocalFailure);
  EXPECT_EQ(error.exceptionName, "MalformedResponse");
  EXPECT_EQ(error.httpResponseCode, 200);
  EXPECT_FALSE(error.retryable);
}

/// For the outcome of a call whose request cannot be built.
template <typename Result>
void expectInvalidRequest(
    const CloudStorage::Util::Outcome<Result, CloudStorage::Client::Error>& outcome) {
  ASSERT_FALSE(outcome.isSuccess());
  const auto& error = outcome.getError();
  EXPECT_EQ(error.errorType, CloudStorage::Client::CoreErrors::LocalFailure);
  EXPECT_EQ(error.exceptionName, "InvalidRequest");
  EXPECT_EQ(error.httpResponseCode, 0);
  EXPECT_FALSE(error.retryable);
}

}  // namespace TestSupport
