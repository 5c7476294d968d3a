#include <glog/logging.h>
#include <gmock/gmock.h>

#include <cstring>
#include <string>

#include "libvemlo.h"
#include "support/fresh_process.h"
#include "support/log_capture.h"
#include "support/services.h"

// A process has one logger, which cannot be reset. Each of these tests has a process of its own.
namespace {

using TestSupport::allServices;
using TestSupport::inFreshProcess;
using TestSupport::OwnedSession;
using TestSupport::Service;

void expectLoggerSetUp(int level) {
  EXPECT_TRUE(google::IsGoogleLoggingInitialized());
  EXPECT_TRUE(FLAGS_logtostderr);
  EXPECT_TRUE(FLAGS_colorlogtostderr);
  EXPECT_EQ(FLAGS_v, level);
}

void expectLoggerUntouched() {
  EXPECT_FALSE(google::IsGoogleLoggingInitialized());
  EXPECT_FALSE(FLAGS_logtostderr);
  EXPECT_FALSE(FLAGS_colorlogtostderr);
  EXPECT_EQ(FLAGS_v, 0);
}

class Logger : public testing::TestWithParam<Service> {};

TEST_P(Logger, IsSetUpByTheFirstSession) {
  inFreshProcess([] {
    expectLoggerUntouched();
    const OwnedSession handle(GetParam().open(nullptr));
    expectLoggerSetUp(0);
  });
}

TEST_P(Logger, HasTheLevelOfVerbose) {
  inFreshProcess([] {
    verbose = 9;
    const OwnedSession handle(GetParam().open(nullptr));
    expectLoggerSetUp(9);
  });
}

TEST_P(Logger, IsNotSetUpAgainByASecondSession) {
  inFreshProcess([] {
    verbose = 7;
    const OwnedSession first(allServices()[0].open(nullptr));
    verbose = 9;
    FLAGS_logtostderr = false;  // a change by the host
    FLAGS_colorlogtostderr = false;
    const OwnedSession second(GetParam().open(nullptr));
    EXPECT_EQ(FLAGS_v, 7);
    EXPECT_FALSE(FLAGS_logtostderr);
    EXPECT_FALSE(FLAGS_colorlogtostderr);
  });
}

TEST_P(Logger, StaysSetUpAfterItsSessionIsClosed) {
  inFreshProcess([] {
    verbose = 3;
    GetParam().cleanup(GetParam().open(nullptr));
    verbose = 4;
    GetParam().cleanup(GetParam().open(nullptr));
    expectLoggerSetUp(3);
  });
}

TEST_P(Logger, OfAHostThatHasInitialisedItIsConfiguredAndNotInitialisedAgain) {
  inFreshProcess([] {
    google::InitGoogleLogging("host");
    verbose = 5;
    const OwnedSession handle(GetParam().open(nullptr));
    ASSERT_NE(handle, nullptr);
    expectLoggerSetUp(5);
  });
}

INSTANTIATE_TEST_SUITE_P(Services, Logger, testing::ValuesIn(allServices()),
                         TestSupport::ServiceName());

TEST(LoggerSetUp, IsNotDoneByGlobalInit) {
  inFreshProcess([] {
    verbose = 9;
    libvemlo_global_init();
    expectLoggerUntouched();
    libvemlo_global_cleanup();
    expectLoggerUntouched();
  });
}

TEST(LoggerSetUp, IsNotDoneForAnAzureSessionWithANullString) {
  inFreshProcess([] {
    verbose = 9;
    EXPECT_EQ(libvemlo_azure_ssb_init(nullptr, "account", "c2VjcmV0", nullptr), nullptr);
    EXPECT_EQ(libvemlo_azure_ssb_init("", nullptr, "c2VjcmV0", nullptr), nullptr);
    EXPECT_EQ(libvemlo_azure_ssb_init("", "account", nullptr, nullptr), nullptr);
    expectLoggerUntouched();
  });
}

TEST(LoggerSetUp, IsDoneBeforeAnInvalidAzureKeyIsLogged) {
  inFreshProcess([] {
    verbose = 2;
    const TestSupport::LogCapture log;
    EXPECT_EQ(libvemlo_azure_ssb_init("", "account", "%", nullptr), nullptr);
    EXPECT_EQ(log.records().size(), 1U);
    expectLoggerSetUp(2);
  });
}

TEST(LoggerSetUp, IsNotUndoneByGlobalCleanup) {
  inFreshProcess([] {
    libvemlo_global_init();
    libvemlo_s3_cleanup(TestSupport::openS3(nullptr));
    libvemlo_global_cleanup();
    verbose = 9;
    libvemlo_s3_cleanup(TestSupport::openS3(nullptr));
    expectLoggerSetUp(0);
  });
}

TEST(Verbose, IsZeroUntilTheHostSetsIt) {
  inFreshProcess([] { EXPECT_EQ(verbose, 0); });
}

}  // namespace
