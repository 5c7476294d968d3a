#include <gmock/gmock.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "Client/LastFailure.h"
#include "CloudStorage/Client/CoreErrors.h"
#include "CloudStorage/Client/Service.h"
#include "libvemlo_service_client.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::LastFailure;
using CloudStorage::Client::Service;

class AccountFunction : public ::testing::Test {
 protected:
  AccountFunction() {
    proxy_.host = "127.0.0.1";
    proxy_.port = 1;  // where nobody listens
    std::memset(&account_, 0x55, sizeof(account_));
    account_.size = sizeof(account_);
    LastFailure::reset();
  }

  int call(std::int32_t service = VEMLO_CLIENT_DROPBOX, const char* accessToken = "token",
           const char* refreshToken = nullptr) {
    return vemlo_client_get_account(service, accessToken, refreshToken, &proxy_, &account_);
  }

  vemlo_client_proxy proxy_{sizeof(vemlo_client_proxy), nullptr, 0, nullptr, nullptr};
  vemlo_client_account account_;
};

TEST_F(AccountFunction, RefusesBadArguments) {
  for (const std::int32_t service :
       {0, 7, -1, std::int32_t{VEMLO_CLIENT_S3}, std::int32_t{VEMLO_CLIENT_AZURE_SSB},
        std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(call(service), -1) << service;
  }
  EXPECT_EQ(call(VEMLO_CLIENT_DROPBOX, nullptr, "refresh"), -1);
  EXPECT_EQ(call(VEMLO_CLIENT_DROPBOX, "", nullptr), -1);
  EXPECT_EQ(call(VEMLO_CLIENT_DROPBOX, "", ""), -1);
  EXPECT_EQ(vemlo_client_get_account(VEMLO_CLIENT_DROPBOX, "token", "", nullptr, nullptr), -1);
  --proxy_.size;
  EXPECT_EQ(call(), -1);
  ++proxy_.size;
  --account_.size;
  EXPECT_EQ(call(), -1);
  EXPECT_EQ(LastFailure::get(), nullptr) << "nothing was requested";
}

TEST_F(AccountFunction, ReturnsTheNumberOfAFailureAndChangesNothing) {
  const vemlo_client_account before = account_;
  EXPECT_EQ(call(), static_cast<int>(CoreErrors::NetworkFailure));
  EXPECT_EQ(call(VEMLO_CLIENT_GOOGLE_DRIVE, "", "refresh"), 259);
  EXPECT_EQ(std::memcmp(&account_, &before, sizeof(before)), 0);
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->service, Service::GoogleDrive);
}

TEST_F(AccountFunction, RefusesATokenThatCannotBeSent) {
  EXPECT_EQ(call(VEMLO_CLIENT_DROPBOX, "to\nken"), 1);
  EXPECT_STREQ(LastFailure::get()->operation, "getAccount");
}

TEST_F(AccountFunction, AcceptsRecordsOfLaterVersions) {
  struct LaterAccount {
    vemlo_client_account account;
    char more[64];
  } later{};
  later.account.size = sizeof(later);
  proxy_.size += 64;
  EXPECT_EQ(
      vemlo_client_get_account(VEMLO_CLIENT_DROPBOX, "token", nullptr, &proxy_, &later.account),
      static_cast<int>(CoreErrors::NetworkFailure));
}

TEST_F(AccountFunction, ReleasesTheTextsOnly) {
  account_.name = strdup("Ann");
  account_.email = nullptr;
  account_.used_space = 7;
  for (int count = 0; count < 2; ++count) {
    vemlo_client_free_account(&account_);
    EXPECT_EQ(account_.name, nullptr);
    EXPECT_EQ(account_.email, nullptr);
    EXPECT_EQ(account_.used_space, 7);
  }
  vemlo_client_free_account(nullptr);
}

}  // namespace
