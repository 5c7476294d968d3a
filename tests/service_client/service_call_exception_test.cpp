#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <memory>
#include <stdexcept>
#include <streambuf>
#include <string>

#include "support/service_call_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::WSErrorMarshaller;
using CloudStorage::Util::Outcome;
using ::testing::IsEmpty;
using TestSupport::Lines;
using TestSupport::response;
using ServiceCallException = TestSupport::ServiceCallFixture;

class ThrowingMarshaller : public WSErrorMarshaller {
 public:
  CloudStorage::Client::Service service() const override {
    return CloudStorage::Client::Service::S3;
  }
  Error marshall(const Http::Response&, Http::Method) const override {
    throw std::runtime_error("the marshaller");
  }
};

void expectInternalFailure(const Outcome<Lines, Error>& outcome, const std::string& message) {
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::LocalFailure);
  EXPECT_EQ(outcome.getError().exceptionName, "InternalFailure");
  EXPECT_EQ(outcome.getError().message, message);
  EXPECT_EQ(outcome.getError().httpResponseCode, 0);
  EXPECT_FALSE(outcome.getError().retryable);
}

TEST_F(ServiceCallException, OfTheTransportBecomesAnError) {
  enqueue([](const auto&) -> Http::Response { throw std::runtime_error("the\ntransport"); });
  expectInternalFailure(send(), "the transport");
  EXPECT_THAT(strategy->calls(), IsEmpty());
}

TEST_F(ServiceCallException, OfNoKnownTypeBecomesAnError) {
  enqueue([](const auto&) -> Http::Response { throw 42; });
  expectInternalFailure(send(), "unknown exception");
}

TEST_F(ServiceCallException, OfTheParserBecomesAnError) {
  enqueue(response(200, "one\nthrow\n"));
  expectInternalFailure(send(), "the parser");
}

TEST_F(ServiceCallException, OfTheMarshallerBecomesAnError) {
  marshaller = std::make_shared<ThrowingMarshaller>();
  enqueue(response(503));
  expectInternalFailure(send(), "the marshaller");
}

TEST_F(ServiceCallException, OfThePolicyBecomesAnError) {
  policy.onAuthorize = [] { throw std::runtime_error("the policy"); };
  expectInternalFailure(send(), "the policy");
  EXPECT_THAT(requests(), IsEmpty());
}

/// A stream that cannot be read.
class BrokenBuffer : public std::streambuf {
 protected:
  int_type underflow() override { throw std::runtime_error("the body"); }
};

TEST_F(ServiceCallException, OfTheBodyBecomesAnError) {
  BrokenBuffer buffer;
  model.body = std::make_shared<std::iostream>(&buffer);
  expectInternalFailure(send(Http::Method::Put), "the body");
  EXPECT_THAT(requests(), IsEmpty());
}

}  // namespace
