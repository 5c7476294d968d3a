#include <gmock/gmock.h>

#include <memory>
#include <sstream>
#include <string>
#include <type_traits>

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Util/Outcome.h"
#include "CloudStorage/Util/Status.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using CloudStorage::Util::Status;

std::string textOf(const Error& error) {
  std::ostringstream out;
  out << error;
  return out.str();
}

TEST(WSError, IsWrittenOnOneLine) {
  EXPECT_EQ(textOf({CoreErrors::AccessDenied, "AccessDenied", "Access Denied", {}, false, 403}),
            "{ Error type: 15, Exception: AccessDenied, Message: Access Denied, HttpResponseCode: "
            "403, Retryable: 0 }");
}

TEST(WSError, WithAnEmptyMessageIsWrittenWithNothingBetweenTheLabels) {
  EXPECT_EQ(textOf({CoreErrors::AccessDenied, "AccessDenied", "", {}, true, 403}),
            "{ Error type: 15, Exception: AccessDenied, Message: , HttpResponseCode: 403, "
            "Retryable: 1 }");
}

TEST(WSError, OfNothingIsWrittenWithItsDefaults) {
  EXPECT_EQ(textOf({}),
            "{ Error type: 0, Exception: , Message: , HttpResponseCode: 0, Retryable: 0 }");
}

TEST(WSError, IsWrittenWithAnUnsignedTypeAndASignedCode) {
  EXPECT_EQ(textOf({static_cast<CoreErrors>(4294967295U), "E", "M", {}, true, -7}),
            "{ Error type: 4294967295, Exception: E, Message: M, HttpResponseCode: -7, Retryable: "
            "1 }");
}

TEST(WSError, IsWrittenWithoutItsHeaders) {
  const Error error{
      CoreErrors::Redirected, "E", "M", {{"location", "https://elsewhere.example"}}, false, 307};
  EXPECT_EQ(textOf(error),
            "{ Error type: 10, Exception: E, Message: M, HttpResponseCode: 307, Retryable: 0 }");
}

TEST(WSError, HasItsFieldsInTheDocumentedOrder) {
  static_assert(std::is_same_v<std::underlying_type_t<CoreErrors>, std::uint32_t>);
  static_assert(std::is_same_v<decltype(Error::retryable), bool>);
  static_assert(std::is_same_v<decltype(Error::httpResponseCode), int>);
  const Error error;
  const auto address = [](const auto& member) { return reinterpret_cast<const char*>(&member); };
  EXPECT_LT(address(error.errorType), address(error.exceptionName));
  EXPECT_LT(address(error.exceptionName), address(error.message));
  EXPECT_LT(address(error.message), address(error.responseHeaders));
  EXPECT_LT(address(error.responseHeaders), address(error.retryable));
  EXPECT_LT(address(error.retryable), address(error.httpResponseCode));
}

TEST(Outcome, OfAResultIsASuccess) {
  const Outcome<std::string, Error> outcome(std::string("result"));
  EXPECT_TRUE(outcome.isSuccess());
  EXPECT_EQ(outcome.getResult(), "result");
}

TEST(Outcome, OfAnErrorIsAFailure) {
  const Outcome<std::string, Error> outcome(
      Error{CoreErrors::NotFound, "E", "M", {{"a", "b"}}, true, 404});
  EXPECT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::NotFound);
  EXPECT_EQ(outcome.getError().exceptionName, "E");
  EXPECT_EQ(outcome.getError().message, "M");
  EXPECT_EQ(outcome.getError().responseHeaders.at("a"), "b");
  EXPECT_TRUE(outcome.getError().retryable);
  EXPECT_EQ(outcome.getError().httpResponseCode, 404);
}

TEST(Outcome, MovesItsResultIfItIsAnRvalue) {
  Outcome<std::unique_ptr<int>, Error> outcome(std::make_unique<int>(7));
  const std::unique_ptr<int> result = std::move(outcome).getResult();
  EXPECT_EQ(*result, 7);
}

TEST(Status, IsASuccessWithTheCodeZeroOnly) {
  EXPECT_TRUE(Status().isSuccess());
  EXPECT_EQ(Status().getCode(), 0);
  EXPECT_TRUE(Status(0, "fine").isSuccess());
  for (const int code : {-1, 1, 400}) {
    EXPECT_FALSE(Status(code, "text").isSuccess());
    EXPECT_EQ(Status(code, "text").getCode(), code);
    EXPECT_EQ(Status(code, "text").toString(), "text");
  }
}

}  // namespace
