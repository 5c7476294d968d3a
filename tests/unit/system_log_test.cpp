#include "system_log.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "libvemlo.h"
#include "libvemlo/retry_strategies.h"
#include "libvemlo/session.h"
#include "support/fresh_process.h"
#include "support/log_capture.h"
#include "support/mock_s3_client.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::Return;
using testing::SizeIs;
using testing::StartsWith;
using TestSupport::LogCapture;

// <11>: from a user's program, an error.
auto errorFromLibrary(const std::string& text) {
  return AllOf(StartsWith("<11>"),
               EndsWith(" libvemlo[" + std::to_string(getpid()) + "]: " + text));
}

class FailingClient : public TestSupport::MockS3Client {
 public:
  FailingClient() {
    const Error error{CoreErrors::AccessDenied, "AccessDenied", "Access Denied", {}, false, 403};
    ON_CALL(*this, listBuckets()).WillByDefault(Return(error));
    ON_CALL(*this, createBucket(_)).WillByDefault(Return(error));
  }
};

void operationsReportToTheSystemLog(UnitTests::SystemLog& systemLog) {
  const std::string line =
      "{ Error type: 15, Exception: AccessDenied, Message: Access Denied, HttpResponseCode: 403, "
      "Retryable: 0 }";
  session handle;
  handle.s3_client = new testing::NiceMock<FailingClient>();
  char** buckets = nullptr;
  int count = 0;
  EXPECT_EQ(s3_list_bucket(&handle, &buckets, &count), 15);
  EXPECT_THAT(systemLog.takeMessages(), ElementsAre(errorFromLibrary(line)));
  EXPECT_EQ(s3_create_bucket(&handle, "bucket", 0), 15);
  EXPECT_THAT(systemLog.takeMessages(), ElementsAre(errorFromLibrary(line)));
}

void aBadAzureKeyIsReportedToTheSystemLog(UnitTests::SystemLog& systemLog) {
  EXPECT_EQ(libvemlo_azure_ssb_init("", "account", "%", nullptr), nullptr);
  EXPECT_THAT(systemLog.takeMessages(),
              ElementsAre(errorFromLibrary("Failed to decode AzureSSB access key.")));
}

// An unauthorized credential cannot be refreshed.
template <typename Strategy>
void aFailedRefreshStaysOutOfTheSystemLog(UnitTests::SystemLog& systemLog) {
  const LogCapture log;
  Error unauthorized;
  unauthorized.httpResponseCode = 401;
  const Strategy strategy(std::make_shared<CloudStorage::Auth::OAuth2Credential>());
  EXPECT_TRUE(strategy.shouldRetry(unauthorized, 0));
  EXPECT_THAT(log.records(), SizeIs(1));
  EXPECT_THAT(systemLog.takeMessages(), IsEmpty());
}

// One test, since there is but one address for system logs to listen at.
TEST(SystemLog, GetsTheErrorLinesOfExportedFunctionsButNotThoseOfFailedRefreshes) {
  TestSupport::inFreshProcess([] {
    UnitTests::SystemLog systemLog;
    libvemlo_s3_cleanup(libvemlo_s3_init("", "", "", "", nullptr));
    EXPECT_THAT(systemLog.takeMessages(), IsEmpty());

    operationsReportToTheSystemLog(systemLog);
    aBadAzureKeyIsReportedToTheSystemLog(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<GoogleDriveRetryStrategy>(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<AmazonDriveRetryStrategy>(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<OneDriveRetryStrategy>(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<DropboxRetryStrategy>(systemLog);
  });
}

}  // namespace
