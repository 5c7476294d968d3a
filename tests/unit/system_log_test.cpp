#include "system_log.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "authorization_flow_fixture.h"
#include "crypto_recorder.h"
#include "drive_operations.h"
#include "libvemlo.h"
#include "libvemlo/retry_strategies.h"
#include "libvemlo/session.h"
#include "object_store_fixture.h"
#include "support/fresh_process.h"
#include "support/log_capture.h"
#include "support/mock_s3_client.h"

namespace {

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
using UnitTests::failure;
using UnitTests::SystemLog;

// <11>: the priority of an error in a user process.
auto errorFromLibrary(const std::string& text) {
  return AllOf(StartsWith("<11>"),
               EndsWith(" libvemlo[" + std::to_string(getpid()) + "]: " + text));
}

void failedBucketOperationsReportToTheSystemLog(SystemLog& systemLog) {
  auto* client = new testing::StrictMock<TestSupport::MockS3Client>;
  session handle;
  handle.s3_client = client;
  EXPECT_CALL(*client, listBuckets()).WillOnce(Return(UnitTests::accessDenied()));
  EXPECT_CALL(*client, createBucket(_)).WillOnce(Return(UnitTests::accessDenied()));
  TestSupport::BucketListOut buckets;
  EXPECT_EQ(s3_list_bucket(&handle, &buckets.list, &buckets.count), 15);
  EXPECT_THAT(systemLog.takeMessages(),
              ElementsAre(errorFromLibrary(UnitTests::kAccessDeniedLine)));
  EXPECT_EQ(s3_create_bucket(&handle, "bucket", 0), 15);
  EXPECT_THAT(systemLog.takeMessages(),
              ElementsAre(errorFromLibrary(UnitTests::kAccessDeniedLine)));
}

void anInvalidAzureKeyReportsToTheSystemLog(SystemLog& systemLog) {
  EXPECT_EQ(libvemlo_azure_ssb_init("", "account", "%", nullptr), nullptr);
  EXPECT_THAT(systemLog.takeMessages(),
              ElementsAre(errorFromLibrary("Failed to decode AzureSSB access key.")));
}

void failedDriveOperationsReportToTheSystemLog(SystemLog& systemLog) {
  for (const auto& [drive, operation] : UnitTests::allDriveOperations()) {
    const auto opened = drive.open();
    opened->prepare();
    operation.willReturn(*opened, failure());
    EXPECT_EQ(operation.call(*opened), 1);
    EXPECT_THAT(systemLog.takeMessages(),
                ElementsAre(errorFromLibrary(operation.failureText + "It went wrong.")));
  }
}

void failedTokenExchangesReportToTheSystemLog(SystemLog& systemLog) {
  for (const auto& flow : {UnitTests::kAmazonDriveFlow, UnitTests::kGoogleDriveFlow,
                           UnitTests::kOneDriveFlow, UnitTests::kDropboxFlow}) {
    const auto opened = flow.openSession();
    EXPECT_CALL(*opened.oauth2, exchangeAuthorizationCode(_, _, _))
        .WillOnce(Return(CloudStorage::Util::Status(1, "reason")));
    TestSupport::TextOut access;
    TestSupport::TextOut refresh;
    EXPECT_EQ(flow.authorization.getToken(opened.handle.get(), "code", &access.text, &refresh.text),
              flow.exchangeFailure);
    EXPECT_THAT(systemLog.takeMessages(),
                ElementsAre(testing::HasSubstr("Failed to perform exchange authorization code. ")));
  }
}

void linesOfAmazonDriveAloneGoToTheSystemLog(SystemLog& systemLog) {
  UnitTests::AmazonDriveFixture drive;
  EXPECT_CALL(drive.client(), getEndpoint(_)).WillRepeatedly(failure);
  EXPECT_EQ(amazon_drive_get_endpoint(drive.handle.get()), 1);
  EXPECT_EQ(amazon_drive_test_api(drive.handle.get()), 1);
  drive.prepare();
  EXPECT_CALL(drive.client(), getProfile(_))
      .WillOnce(failure)
      .WillOnce(Return(TestSupport::AmazonDriveModel::GetProfileResult{"N", "E"}));
  EXPECT_EQ(amazon_drive_test_api(drive.handle.get()), 1);
  EXPECT_EQ(amazon_drive_test_api(drive.handle.get()), 0);
  drive.willReturnRoot(UnitTests::pageOf(UnitTests::numberedFolders(0, 2)));
  EXPECT_EQ(drive.getRoot(), 0);
  EXPECT_THAT(
      systemLog.takeMessages(),
      ElementsAre(errorFromLibrary("Failed to get Endpoint. It went wrong."),
                  errorFromLibrary("Failed to get Endpoint. error: exceptionName It went wrong.\n"),
                  errorFromLibrary("Failed to create directory. It went wrong."),
                  errorFromLibrary("resource.getName(): N"),
                  errorFromLibrary("resource.getEmail(): E"),
                  errorFromLibrary("Find duplicate root node metadata. ")));
}

void aFailureOfOneDrivesMetadataReportsToTheSystemLog(SystemLog& systemLog) {
  UnitTests::OneDriveFixture drive;
  EXPECT_CALL(drive.client(), getDriveMetadata(_)).WillOnce(failure);
  EXPECT_EQ(drive.list(), 1);
  EXPECT_THAT(systemLog.takeMessages(),
              ElementsAre(errorFromLibrary(
                  "Failed to get Drive Metadata. error: exceptionName It went wrong.")));
}

void failedEncryptionsReportToTheSystemLog(SystemLog& systemLog) {
  UnitTests::CryptoRecorder crypto;
  crypto.cipherFactory = [] { return nullptr; };
  EXPECT_EQ(encrypt_string("secret"), nullptr);
  EXPECT_EQ(decrypt_string("secret"), nullptr);
  EXPECT_THAT(systemLog.takeMessages(),
              ElementsAre(errorFromLibrary("Failed to encrypt string. Null pointer"),
                          errorFromLibrary("Failed to decrypt string. Null pointer")));
}

// An unauthorized credential cannot be refreshed.
template <typename Strategy>
void aFailedRefreshStaysOutOfTheSystemLog(SystemLog& systemLog) {
  const LogCapture log;
  Error unauthorized;
  unauthorized.httpResponseCode = 401;
  const Strategy strategy(std::make_shared<CloudStorage::Auth::OAuth2Credential>());
  EXPECT_TRUE(strategy.shouldRetry(unauthorized, 0));
  EXPECT_THAT(log.records(), SizeIs(1));
  EXPECT_THAT(systemLog.takeMessages(), IsEmpty());
}

// One test, because a system log has only one address.
TEST(SystemLog, GetsTheErrorLinesOfExportedFunctionsButNotThoseOfFailedRefreshes) {
  TestSupport::inFreshProcess([] {
    SystemLog systemLog;
    libvemlo_s3_cleanup(libvemlo_s3_init("", "", "", "", nullptr));
    EXPECT_THAT(systemLog.takeMessages(), IsEmpty());

    failedBucketOperationsReportToTheSystemLog(systemLog);
    anInvalidAzureKeyReportsToTheSystemLog(systemLog);
    failedDriveOperationsReportToTheSystemLog(systemLog);
    failedTokenExchangesReportToTheSystemLog(systemLog);
    linesOfAmazonDriveAloneGoToTheSystemLog(systemLog);
    aFailureOfOneDrivesMetadataReportsToTheSystemLog(systemLog);
    failedEncryptionsReportToTheSystemLog(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<GoogleDriveRetryStrategy>(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<AmazonDriveRetryStrategy>(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<OneDriveRetryStrategy>(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<DropboxRetryStrategy>(systemLog);
  });
}

}  // namespace
