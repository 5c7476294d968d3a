// What a host is told about renewed tokens, and what it may do then.

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "any_service.h"
#include "support/settings_guard.h"
#include "support/token_recorder.h"

namespace Behaviour {
namespace {

using testing::IsEmpty;
using testing::SizeIs;
using TestSupport::RenewedTokens;

/// A session and a host that stores renewed tokens.
class RenewalReport : public AnyService {
 protected:
  RenewalReport() { cloud->addFolders(3); }

  bool lists(const OpenSession& handle) const {
    Outs outs;
    return service().listing().call(handle.get(), outs) == 0 &&
           outs.folders.folders() == cloud->folders();
  }

  TestSupport::SettingsGuard guard;
  TestSupport::TokenRecorder recorder;
};

TEST_P(RenewalReport, RestoreTheAccountInANewSession) {
  vemlo_client_set_dropbox_durable_token(1);
  {
    const auto handle = openAuthorized();
    cloud->expireToken();
    EXPECT_TRUE(lists(handle));
  }
  ASSERT_THAT(recorder.received(), SizeIs(1));
  const RenewedTokens stored = recorder.received()[0];

  const auto restored = open(cloud);
  EXPECT_EQ(service().restore(restored.get(), stored.accessToken, stored.refreshToken), 0);
  EXPECT_TRUE(lists(restored));
  EXPECT_THAT(recorder.received(), SizeIs(1)) << "the access token is still valid";
  cloud->expireToken();
  EXPECT_TRUE(lists(restored));
  ASSERT_THAT(recorder.received(), SizeIs(2));
  EXPECT_EQ(recorder.received()[1].usedRefreshToken, stored.refreshToken);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(RenewalReport, RefreshTokenAloneRestoresTheAccount) {
  const auto handle = open(cloud);
  const std::string accessToken = service().facts.name == std::string("Dropbox") ? "|stored" : "";
  EXPECT_EQ(service().restore(handle.get(), accessToken, "stored"), 0);
  EXPECT_TRUE(lists(handle));
  ASSERT_THAT(recorder.received(), SizeIs(1));
  EXPECT_EQ(recorder.received()[0].usedRefreshToken, "stored");
  EXPECT_EQ(cloud->count(Subject::Tokens), 1U);
  EXPECT_THAT(fixture.delays(), IsEmpty()) << "no request was refused";
}

TEST_P(RenewalReport, HostMayUseTheSessionWhenItReceivesThem) {
  const auto handle = openAuthorized();
  recorder.onTokens = [&](std::size_t number) {
    if (number == 1) cloud->expireToken();  // so that this call renews them again
    EXPECT_TRUE(lists(handle));
  };
  cloud->expireToken();
  EXPECT_TRUE(lists(handle));
  const auto received = recorder.received();
  ASSERT_THAT(received, SizeIs(2));
  EXPECT_EQ(received[1].usedRefreshToken, received[0].refreshToken);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(RenewalReport, HostMayCloseTheSessionWhenItReceivesThem) {
  auto handle = openAuthorized();
  recorder.onTokens = [&](std::size_t) { handle.reset(); };
  cloud->expireToken();
  Outs outs;
  EXPECT_EQ(service().listing().call(handle.get(), outs), 0);
  EXPECT_EQ(outs.folders.folders(), cloud->folders());
}

TEST_P(RenewalReport, SixteenThreadsReceiveThemOnce) {
  constexpr std::size_t kThreads = 16;
  const auto handle = openAuthorized();
  EXPECT_TRUE(lists(handle));
  recorder.onTokens = [&](std::size_t) { EXPECT_TRUE(lists(handle)); };
  cloud->expireToken();
  std::atomic<std::size_t> successes{0};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] { successes += lists(handle) ? 1U : 0U; });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(successes, kThreads);
  EXPECT_THAT(recorder.received(), SizeIs(1));
  EXPECT_EQ(cloud->count(Subject::Tokens), 2U) << "the exchange and one refresh";
}

TEST_P(RenewalReport, ThoseOfSixteenThreadsAreReceivedInOrder) {
  constexpr std::size_t kThreads = 16;
  constexpr std::size_t kRounds = 10;
  const auto handle = openAuthorized();
  recorder.onTokens = [&](std::size_t) { EXPECT_TRUE(lists(handle)); };
  for (std::size_t round = 0; round < kRounds; ++round) {
    cloud->expireToken();
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] { EXPECT_TRUE(lists(handle)); });
    }
    for (std::thread& thread : threads) thread.join();
  }
  const auto received = recorder.received();
  ASSERT_THAT(received, SizeIs(kRounds));
  for (std::size_t i = 1; i < received.size(); ++i) {
    EXPECT_EQ(received[i].usedRefreshToken, received[i - 1].refreshToken);
  }
}

INSTANTIATE_TEST_SUITE_P(Services, RenewalReport,
                         testing::ValuesIn(servicesWith(&Service::Facts::usesTokens)),
                         ServiceName());

}  // namespace
}  // namespace Behaviour
