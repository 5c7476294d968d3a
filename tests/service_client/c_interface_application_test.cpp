// The functions of the C interface for applications and for consent.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "Auth/ProofKey.h"
#include "libvemlo_service_client.h"
#include "support/drives.h"
#include "support/settings_guard.h"

namespace {

namespace Client = CloudStorage::Client;
using CloudStorage::Auth::OAuth2RequestOptions;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using TestSupport::response;

constexpr char kTokens[] = R"({"access_token":"token-2","refresh_token":"refresh-2"})";

vemlo_client_application application(const char* id, const char* secret, const char* redirectUri) {
  return {sizeof(vemlo_client_application), id, secret, redirectUri};
}

// The value of `name` in a form or in the query of an address; empty if it is not there.
std::string valueIn(const std::string& text, const std::string& name) {
  const std::string begin = name + '=';
  std::size_t position = text.find(begin);
  while (position != std::string::npos && position != 0 && text[position - 1] != '&' &&
         text[position - 1] != '?') {
    position = text.find(begin, position + 1);
  }
  if (position == std::string::npos) return {};
  position += begin.size();
  return text.substr(position, text.find('&', position) - position);
}

/// A session that is about to get consent.
template <typename Drive>
class Consent : public ::testing::Test, protected TestSupport::DriveFixture<Drive> {
 protected:
  using ClientPointer = std::shared_ptr<typename Drive::Client>;

  static std::int32_t number() {
    return static_cast<std::int32_t>(typename Drive::ErrorMarshaller().service());
  }

  ClientPointer open() {
    auto spec = this->makeSpec();
    spec.redirectUri = "https://built.in/redirect";
    spec.authorizationEndpoint = "https://login.example.test/authorize";
    return std::make_shared<typename Drive::Client>(spec, this->makeParts(), this->environment());
  }

  // The form that the exchange of a code sends.
  std::string exchangeForm(const ClientPointer& client, int status = 200) {
    this->enqueue(response(status, kTokens));
    const auto outcome = client->exchangeAuthorizationCode("code", {}, *this->credential);
    EXPECT_EQ(outcome.isSuccess(), status == 200);
    return this->bodies().back();
  }

  std::string refreshForm() {
    this->enqueue(response(200, kTokens));
    EXPECT_TRUE(this->credential->refreshAccessToken().isSuccess());
    return this->bodies().back();
  }

 private:
  TestSupport::SettingsGuard guard_;
};
TYPED_TEST_SUITE(Consent, TestSupport::Drives, TestSupport::DriveName);

template <typename Drive>
class Application : public Consent<Drive> {};
TYPED_TEST_SUITE(Application, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(Application, IsUsedByRequestsOfSessionsThatAreOpenedLater) {
  const auto before = this->open();
  const auto mine = application("my id", "my secret", "https://my.host/back");
  ASSERT_EQ(vemlo_client_set_application(this->number(), &mine), 0);
  const auto after = this->open();

  const auto url = after->buildAuthorizeUrl({});
  EXPECT_EQ(valueIn(url, "client_id"), "my%20id");
  EXPECT_EQ(valueIn(url, "redirect_uri"), "https%3A%2F%2Fmy.host%2Fback");
  EXPECT_EQ(after->clientSpec().redirectUri, "https://my.host/back");
  const auto exchange = this->exchangeForm(after);
  EXPECT_EQ(valueIn(exchange, "client_id"), "my%20id");
  EXPECT_EQ(valueIn(exchange, "client_secret"), "my%20secret");
  EXPECT_EQ(valueIn(exchange, "redirect_uri"), "https%3A%2F%2Fmy.host%2Fback");
  const auto refresh = this->refreshForm();
  EXPECT_EQ(valueIn(refresh, "client_id"), "my%20id");
  EXPECT_EQ(valueIn(refresh, "client_secret"), "my%20secret");

  EXPECT_EQ(valueIn(before->buildAuthorizeUrl({}), "client_id"), "id");
  EXPECT_EQ(valueIn(this->exchangeForm(before), "client_secret"), "client%20secret");
}

TYPED_TEST(Application, MembersThatAreNullKeepTheBuiltInValue) {
  const auto mine = application(nullptr, nullptr, "http://127.0.0.1:1/");
  ASSERT_EQ(vemlo_client_set_application(this->number(), &mine), 0);
  const auto client = this->open();
  const auto exchange = this->exchangeForm(client);
  EXPECT_EQ(valueIn(exchange, "client_id"), "id");
  EXPECT_EQ(valueIn(exchange, "client_secret"), "client%20secret");
  EXPECT_EQ(valueIn(exchange, "redirect_uri"), "http%3A%2F%2F127.0.0.1%3A1%2F");
}

TYPED_TEST(Application, EmptySecretIsNotSent) {
  const auto mine = application("id", "", nullptr);
  ASSERT_EQ(vemlo_client_set_application(this->number(), &mine), 0);
  const auto client = this->open();
  EXPECT_THAT(this->exchangeForm(client), Not(HasSubstr("client_secret")));
  EXPECT_THAT(this->refreshForm(), Not(HasSubstr("client_secret")));
}

TYPED_TEST(Application, NullRestoresTheBuiltInOne) {
  const auto mine = application("my id", nullptr, nullptr);
  ASSERT_EQ(vemlo_client_set_application(this->number(), &mine), 0);
  ASSERT_EQ(vemlo_client_set_application(this->number(), nullptr), 0);
  EXPECT_EQ(this->open()->clientSpec().clientId, "id");
}

TYPED_TEST(Application, IsThatOfItsServiceOnly) {
  const auto mine = application("my id", nullptr, nullptr);
  for (std::int32_t other = VEMLO_CLIENT_AMAZON_DRIVE; other <= VEMLO_CLIENT_DROPBOX; ++other) {
    if (other == this->number()) continue;
    EXPECT_EQ(vemlo_client_set_application(other, &mine), 0);
  }
  EXPECT_EQ(this->open()->clientSpec().clientId, "id");
}

TYPED_TEST(Application, BadArgumentsChangeNothing) {
  const auto good = application("my id", "my secret", "https://my.host/");
  ASSERT_EQ(vemlo_client_set_application(this->number(), &good), 0);
  const std::size_t firstVersion =
      offsetof(vemlo_client_application, redirect_uri) + sizeof good.redirect_uri;
  for (const std::size_t size : {std::size_t{0}, firstVersion - 1}) {
    auto other = application("other", nullptr, nullptr);
    other.size = size;
    EXPECT_EQ(vemlo_client_set_application(this->number(), &other), -1) << size;
  }
  for (const auto& bad :
       {application("", nullptr, nullptr), application("other", nullptr, ""),
        application("oth\ner", nullptr, nullptr), application("other", "sec\tret", nullptr),
        application("other", nullptr, "https://my.host/\x7F")}) {
    EXPECT_EQ(vemlo_client_set_application(this->number(), &bad), -1);
  }
  EXPECT_EQ(this->open()->clientSpec().clientId, "my id");
}

TYPED_TEST(Application, RecordOfALaterVersionIsTaken) {
  struct {
    vemlo_client_application known;
    const char* later;
  } record{application("my id", nullptr, nullptr), "unknown"};
  record.known.size = sizeof record;
  ASSERT_EQ(record.known.size, sizeof(vemlo_client_application) + sizeof(const char*));
  EXPECT_EQ(vemlo_client_set_application(this->number(), &record.known), 0);
  EXPECT_EQ(this->open()->clientSpec().clientId, "my id");
}

TEST(ApplicationOfOtherServices, IsRefused) {
  const auto mine = application("my id", nullptr, nullptr);
  for (const std::int32_t service : {INT32_MIN, -1, 0, 1, 2, 7, INT32_MAX}) {
    EXPECT_EQ(vemlo_client_set_application(service, &mine), -1) << service;
    EXPECT_EQ(vemlo_client_set_application(service, nullptr), -1) << service;
  }
}

template <typename Drive>
class State : public Consent<Drive> {};
TYPED_TEST_SUITE(State, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(State, IsInTheNextAddressOfItsThread) {
  const auto client = this->open();
  const auto without = client->buildAuthorizeUrl({});
  ASSERT_EQ(vemlo_client_set_state("a b&c"), 0);
  std::string ofOtherThread;
  std::thread([&] { ofOtherThread = client->buildAuthorizeUrl({}); }).join();
  EXPECT_EQ(ofOtherThread, without);
  EXPECT_EQ(valueIn(client->buildAuthorizeUrl({}), "state"), "a%20b%26c");
  EXPECT_EQ(client->buildAuthorizeUrl({}), without) << "it is used once";
}

TYPED_TEST(State, CanBeTakenBack) {
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    ASSERT_EQ(vemlo_client_set_state("x"), 0);
    ASSERT_EQ(vemlo_client_set_state(none), 0);
    EXPECT_THAT(this->open()->buildAuthorizeUrl({}), Not(HasSubstr("state=")));
  }
}

TYPED_TEST(State, ThatOfTheOptionsHasPrecedence) {
  ASSERT_EQ(vemlo_client_set_state("of the thread"), 0);
  const auto client = this->open();
  OAuth2RequestOptions options;
  options.state = "given";
  EXPECT_EQ(valueIn(client->buildAuthorizeUrl(options), "state"), "given");
  EXPECT_THAT(client->buildAuthorizeUrl({}), Not(HasSubstr("state=")));
}

TYPED_TEST(State, BadOneChangesNothing) {
  const std::string longest(500, 'x');
  ASSERT_EQ(vemlo_client_set_state(longest.c_str()), 0);
  EXPECT_EQ(vemlo_client_set_state((longest + 'x').c_str()), -1);
  EXPECT_EQ(vemlo_client_set_state("x\n"), -1);
  EXPECT_EQ(valueIn(this->open()->buildAuthorizeUrl({}), "state"), longest);
}

template <typename Drive>
class Pkce : public Consent<Drive> {
 protected:
  Pkce() { vemlo_client_set_pkce(1); }

  // Whether the exchange of a code proves that it belongs to `url`.
  bool proves(const std::string& form, const std::string& url) {
    const auto verifier = valueIn(form, "code_verifier");
    return verifier.size() == 43 &&
           CloudStorage::Auth::codeChallengeOf(verifier) == valueIn(url, "code_challenge");
  }
};
TYPED_TEST_SUITE(Pkce, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(Pkce, IsOffUnlessSet) {
  const auto client = this->open();
  const auto withKey = client->buildAuthorizeUrl({});
  vemlo_client_set_pkce(0);
  EXPECT_EQ(client->buildAuthorizeUrl({}), withKey.substr(0, withKey.find("&code_challenge=")));
  EXPECT_THAT(this->exchangeForm(client), Not(HasSubstr("code_verifier")));
}

TYPED_TEST(Pkce, ExchangeHasTheVerifierOfTheAddress) {
  const auto client = this->open();
  const auto url = client->buildAuthorizeUrl({});
  EXPECT_THAT(valueIn(url, "code_challenge"), SizeIs(43));
  EXPECT_THAT(url, EndsWith("&code_challenge_method=S256"));
  const auto form = this->exchangeForm(client);
  EXPECT_TRUE(this->proves(form, url)) << form;
  EXPECT_THAT(this->exchangeForm(client), Not(HasSubstr("code_verifier"))) << "it is used once";
  EXPECT_THAT(this->refreshForm(), Not(HasSubstr("code_verifier")));
}

TYPED_TEST(Pkce, LastAddressCounts) {
  const auto client = this->open();
  const auto first = client->buildAuthorizeUrl({});
  const auto last = client->buildAuthorizeUrl({});
  const auto form = this->exchangeForm(client);
  EXPECT_FALSE(this->proves(form, first));
  EXPECT_TRUE(this->proves(form, last));
}

TYPED_TEST(Pkce, VerifierIsKeptUntilAnExchangeSucceeds) {
  const auto client = this->open();
  const auto url = client->buildAuthorizeUrl({});
  EXPECT_TRUE(this->proves(this->exchangeForm(client, 400), url));
  EXPECT_TRUE(this->proves(this->exchangeForm(client, 503), url));
  EXPECT_TRUE(this->proves(this->exchangeForm(client), url));
}

TYPED_TEST(Pkce, AddressKeepsItsKeyWhenItIsTurnedOff) {
  const auto client = this->open();
  const auto url = client->buildAuthorizeUrl({});
  vemlo_client_set_pkce(0);
  EXPECT_TRUE(this->proves(this->exchangeForm(client), url));
}

TYPED_TEST(Pkce, SessionsHaveKeysOfTheirOwn) {
  const auto one = this->open();
  const auto other = this->open();
  const auto url = one->buildAuthorizeUrl({});
  EXPECT_THAT(this->exchangeForm(other), Not(HasSubstr("code_verifier")));
  other->buildAuthorizeUrl({});
  EXPECT_TRUE(this->proves(this->exchangeForm(one), url));
}

TYPED_TEST(Pkce, VerifierIsNotInTheStatusOfAFailure) {
  const auto client = this->open();
  client->buildAuthorizeUrl({});
  this->enqueue([](const CloudStorage::Http::Request& request) {
    return response(400, R"({"error":"invalid_grant","error_description":"not )" +
                             valueIn(request.body, "code_verifier") + R"("})");
  });
  const auto status = client->exchangeAuthorizationCode("code", {}, *this->credential);
  EXPECT_EQ(status.toString(), "invalid_grant: not ***");
}

}  // namespace
