// The host's own application, and what it adds to consent, in sessions that are opened as a host
// opens them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "libvemlo.h"
#include "libvemlo_service_client.h"
#include "support/outs.h"
#include "support/services.h"
#include "support/settings_guard.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr vemlo_client_application kApplication{sizeof kApplication, "my-id", nullptr,
                                                "https://my.host/back"};

/// A session with a drive.
class HostsConsent : public testing::TestWithParam<TestSupport::Drive> {
 protected:
  std::string urlOf(session* handle) const {
    TestSupport::TextOut url;
    EXPECT_EQ(GetParam().authorization.getAuthorizeUrl(handle, &url.text), 0);
    return url.text;
  }

  TestSupport::OwnedSession open() const {
    return TestSupport::OwnedSession(GetParam().open(nullptr));
  }

 private:
  TestSupport::SettingsGuard guard_;
};

INSTANTIATE_TEST_SUITE_P(Drives, HostsConsent,
                         testing::Values(TestSupport::kAmazonDrive, TestSupport::kGoogleDrive,
                                         TestSupport::kOneDrive, TestSupport::kDropbox),
                         TestSupport::ServiceName());

TEST_P(HostsConsent, IsAskedForTheHostsApplication) {
  for (int service = VEMLO_CLIENT_AMAZON_DRIVE; service <= VEMLO_CLIENT_DROPBOX; ++service) {
    ASSERT_EQ(vemlo_client_set_application(service, &kApplication), 0);
  }
  const auto handle = open();
  EXPECT_THAT(urlOf(handle.get()), AllOf(HasSubstr("client_id=my-id&"),
                                         HasSubstr("redirect_uri=https%3A%2F%2Fmy.host%2Fback")));
}

TEST_P(HostsConsent, HasAStateAndAChallengeOnce) {
  const auto handle = open();
  const std::string plain = urlOf(handle.get());
  EXPECT_THAT(plain, AllOf(Not(HasSubstr("state=")), Not(HasSubstr("code_challenge"))));
  vemlo_client_set_pkce(1);
  ASSERT_EQ(vemlo_client_set_state("my-state"), 0);
  EXPECT_THAT(urlOf(handle.get()),
              AllOf(HasSubstr("&state=my-state"), HasSubstr("&code_challenge="),
                    HasSubstr("&code_challenge_method=S256")));
  vemlo_client_set_pkce(0);
  EXPECT_EQ(urlOf(handle.get()), plain);
}

TEST(OneDriveLogout, ReturnsToTheHostsPage) {
  const TestSupport::SettingsGuard guard;
  ASSERT_EQ(vemlo_client_set_application(VEMLO_CLIENT_ONE_DRIVE, &kApplication), 0);
  const TestSupport::OwnedSession handle(libvemlo_one_drive_init(nullptr));
  TestSupport::TextOut url;
  ASSERT_EQ(one_drive_get_logout_url(handle.get(), &url.text), 0);
  EXPECT_THAT(url.text, HasSubstr("post_logout_redirect_uri=https%3A%2F%2Fmy.host%2Fback"));
}

}  // namespace
