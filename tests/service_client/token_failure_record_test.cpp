#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <utility>

#include "Auth/OAuth2TokenEndpoint.h"
#include "Client/LastFailure.h"
#include "support/scripted_transport.h"

namespace {

using namespace CloudStorage::Client;  // NOLINT: what records consist of
using CloudStorage::Auth::OAuth2ClientSpec;
using CloudStorage::Auth::OAuth2TokenEndpoint;
using CloudStorage::Auth::TokenRefresher;
using CloudStorage::Http::Response;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StrEq;
using TestSupport::response;
using Kind = FailureKind;
using Reason = CloudStorage::Http::TransportFailure::Kind;

constexpr char kRefreshToken[] = "the-refresh-token";
constexpr char kCode[] = "the-code";
constexpr char kClientSecret[] = "the-client-secret";

std::string refusal(const std::string& error) {
  return R"({"error":")" + error + R"(","error_description":"why"})";
}

enum class Request { Refresh, Exchange };

/// A token endpoint whose next response is scripted.
class TokenFailureRecord : public ::testing::TestWithParam<Request> {
 protected:
  TokenFailureRecord() { LastFailure::reset(); }
  ~TokenFailureRecord() override { LastFailure::reset(); }

  bool request(const std::string& refreshToken = kRefreshToken) {
    TokenRefresher::Tokens tokens{"old", refreshToken};
    return GetParam() == Request::Refresh ? endpoint.refresh(tokens).isSuccess()
                                          : endpoint.exchange({kCode}, tokens).isSuccess();
  }

  // The record after `response`, which is a failure.
  LastFailure::Record recordOf(Response response) {
    transport->enqueue(std::move(response));
    EXPECT_FALSE(request());
    return LastFailure::get() == nullptr ? LastFailure::Record() : *LastFailure::get();
  }

  Kind kindOf(int status, const std::string& body) {
    return recordOf(response(status, body)).error.kind;
  }

  static OAuth2ClientSpec clientSpec() {
    OAuth2ClientSpec spec;
    spec.clientId = "id";
    spec.clientSecret = kClientSecret;
    spec.tokenEndpoint = "https://login.example.test/token";
    return spec;
  }

  std::shared_ptr<TestSupport::ScriptedTransport> transport =
      std::make_shared<TestSupport::ScriptedTransport>();
  OAuth2TokenEndpoint endpoint{clientSpec(), transport, Service::OneDrive};
};

INSTANTIATE_TEST_SUITE_P(, TokenFailureRecord, testing::Values(Request::Refresh, Request::Exchange),
                         [](const auto& test) {
                           return std::string(test.param == Request::Refresh ? "Refresh"
                                                                             : "Exchange");
                         });

TEST_P(TokenFailureRecord, StatesWhatTheServiceResponded) {
  const auto record = recordOf(
      response(400, refusal("invalid_grant"), {{"x-ms-request-id", "7"}, {"retry-after", "9"}}));
  EXPECT_EQ(record.service, Service::OneDrive);
  EXPECT_THAT(
      record.operation,
      StrEq(GetParam() == Request::Refresh ? "refreshAccessToken" : "exchangeAuthorizationCode"));
  EXPECT_EQ(record.error.errorType, CoreErrors::NotAuthenticated);
  EXPECT_EQ(record.error.httpResponseCode, 400);
  EXPECT_EQ(record.error.exceptionName, "invalid_grant");
  EXPECT_EQ(record.error.message, "why");
  EXPECT_EQ(record.error.requestId, "7");
  EXPECT_EQ(record.retryAfter, 9);
}

TEST_P(TokenFailureRecord, KindIsThatOfTheCode) {
  for (const char* code :
       {"invalid_grant", "interaction_required", "consent_required", "login_required"}) {
    EXPECT_EQ(kindOf(400, refusal(code)), Kind::LinkAgain) << code;
  }
  for (const char* code : {"invalid_client", "unauthorized_client", "invalid_request",
                           "redirect_uri_mismatch", "invalid_scope", "unsupported_grant_type"}) {
    EXPECT_EQ(kindOf(400, refusal(code)), Kind::HostFault) << code;
    EXPECT_EQ(kindOf(401, refusal(code)), Kind::HostFault) << code;
  }
  EXPECT_EQ(kindOf(400, refusal("temporarily_unavailable")), Kind::ServiceTrouble);
  EXPECT_EQ(kindOf(400, refusal("unheard_of")), Kind::NotUnderstood);
}

TEST_P(TokenFailureRecord, KindIsThatOfTheStatusWithoutACode) {
  EXPECT_EQ(kindOf(429, ""), Kind::Wait);
  EXPECT_EQ(kindOf(500, "<html></html>"), Kind::ServiceTrouble);
  EXPECT_EQ(kindOf(503, refusal("busy")), Kind::ServiceTrouble);
  EXPECT_EQ(kindOf(401, ""), Kind::HostFault);
  EXPECT_EQ(kindOf(404, ""), Kind::NotUnderstood);
  EXPECT_EQ(kindOf(407, ""), Kind::Offline);
  EXPECT_EQ(kindOf(511, ""), Kind::NotUnderstood);
}

TEST_P(TokenFailureRecord, UnusableResponseIsNotUnderstood) {
  const auto record = recordOf(response(200, "<html></html>", {{"content-type", "text/html"}}));
  EXPECT_EQ(record.error.kind, Kind::NotUnderstood);
  EXPECT_EQ(record.error.exceptionName, "MalformedResponse");
  EXPECT_EQ(record.error.httpResponseCode, 200);
  EXPECT_EQ(kindOf(200, "{}"), Kind::NotUnderstood);
  EXPECT_EQ(kindOf(204, ""), Kind::NotUnderstood);
}

TEST_P(TokenFailureRecord, KindOfATransportFailureIsThatOfOtherRequests) {
  const auto kindOfFailure = [&](Reason reason) {
    return recordOf(TestSupport::failedResponse(reason, "CURLE_X", "broken", true)).error.kind;
  };
  EXPECT_EQ(kindOfFailure(Reason::Unreachable), Kind::Offline);
  EXPECT_EQ(kindOfFailure(Reason::Interrupted), Kind::Offline);
  EXPECT_EQ(kindOfFailure(Reason::Timeout), Kind::TimedOut);
  EXPECT_EQ(kindOfFailure(Reason::Untrusted), Kind::NotTrusted);
  EXPECT_EQ(kindOfFailure(Reason::ResponseTooLarge), Kind::NotUnderstood);
  EXPECT_EQ(kindOfFailure(Reason::Refused), Kind::HostFault);
  EXPECT_EQ(LastFailure::get()->error.httpResponseCode, 0);
  EXPECT_EQ(LastFailure::get()->error.exceptionName, "CURLE_X");
}

TEST_P(TokenFailureRecord, ContainsNoSecretOfTheRequest) {
  const char* const secret = GetParam() == Request::Refresh ? kRefreshToken : kCode;
  const std::string text = std::string("a ") + secret + " b " + kClientSecret;
  const auto record =
      recordOf(response(400, R"({"error":")" + text + R"(","error_description":")" + text + "\"}",
                        {{"x-ms-request-id", text}}));
  EXPECT_EQ(record.error.exceptionName, "a *** b ***");
  EXPECT_EQ(record.error.message, "a *** b ***");
  EXPECT_EQ(record.error.requestId, "a *** b ***");
}

TEST_P(TokenFailureRecord, TextsAreOneLineEach) {
  const auto record = recordOf(response(400, R"({"error":"a\nb","error_description":"c\r\nd"})",
                                        {{"x-ms-request-id", std::string(300, 'x')}}));
  EXPECT_EQ(record.error.exceptionName, "a b");
  EXPECT_EQ(record.error.message, "c d");
  EXPECT_EQ(record.error.requestId, std::string(256, 'x'));
}

TEST_P(TokenFailureRecord, ExceptionIsAFaultOfTheHost) {
  transport->enqueue([](const auto&) -> Response { throw std::bad_alloc(); });
  EXPECT_FALSE(request());
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::HostFault);
  EXPECT_EQ(LastFailure::get()->error.exceptionName, "InternalFailure");
}

TEST_P(TokenFailureRecord, SuccessSetsNone) {
  transport->enqueue(response(200, R"({"access_token":"a"})"));
  EXPECT_TRUE(request());
  EXPECT_EQ(LastFailure::get(), nullptr);
}

TEST_P(TokenFailureRecord, UnusableAddressIsAFaultOfTheHost) {
  OAuth2ClientSpec spec = clientSpec();
  spec.tokenEndpoint = "nowhere";
  endpoint = OAuth2TokenEndpoint(spec, transport, Service::Dropbox);
  EXPECT_FALSE(request());
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::HostFault);
  EXPECT_EQ(LastFailure::get()->service, Service::Dropbox);
}

class RefreshFailureRecord : public TokenFailureRecord {};

INSTANTIATE_TEST_SUITE_P(, RefreshFailureRecord, testing::Values(Request::Refresh),
                         [](const auto& /*test*/) { return std::string("Refresh"); });

TEST_P(RefreshFailureRecord, WithoutARefreshTokenTheAccountHasToBeLinkedAgain) {
  EXPECT_FALSE(request(""));
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::LinkAgain);
  EXPECT_EQ(LastFailure::get()->error.errorType, CoreErrors::NotAuthenticated);
  EXPECT_FALSE(LastFailure::explainsRefusal());
}

TEST_P(RefreshFailureRecord, RefreshTokenThatCannotBeSentIsAFaultOfTheHost) {
  EXPECT_FALSE(request("a\nb"));
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::HostFault);
  EXPECT_THAT(LastFailure::get()->error.message, Not(HasSubstr("a\nb")));
}

}  // namespace
