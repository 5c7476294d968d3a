#include "system_log.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <type_traits>

#include "authorization_flows.h"
#include "crypto_recorder.h"
#include "drive_operations.h"
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

template <typename Operation>
void aFailedDriveOperationReportsToTheSystemLog(UnitTests::SystemLog& systemLog) {
  using Client = typename Operation::Drive::Client;
  const auto client = std::make_shared<testing::StrictMock<Client>>();
  Operation::Drive::prepare(*client);
  Operation::expectRequest(*client).WillOnce(UnitTests::failure);
  session handle;
  handle.*Operation::Drive::kClient = client;
  EXPECT_EQ(Operation().call(&handle), 1);
  EXPECT_THAT(
      systemLog.takeMessages(),
      ElementsAre(errorFromLibrary(Operation::kFailureText + std::string("It went wrong."))));
}

template <typename Drive>
void failedDriveOperationsReportToTheSystemLog(UnitTests::SystemLog& systemLog) {
  aFailedDriveOperationReportsToTheSystemLog<UnitTests::ListDirectory<Drive>>(systemLog);
  aFailedDriveOperationReportsToTheSystemLog<UnitTests::CreateDirectory<Drive>>(systemLog);
  if constexpr (!std::is_same_v<Drive, UnitTests::Dropbox>) {
    aFailedDriveOperationReportsToTheSystemLog<UnitTests::GetRootDirectory<Drive>>(systemLog);
  }
}

void aFailedTokenExchangeIsReportedToTheSystemLog(UnitTests::SystemLog& systemLog,
                                                  const UnitTests::Flow& flow) {
  const auto opened = flow.open();
  EXPECT_CALL(*opened.oauth2, exchangeAuthorizationCode(_, _, _))
      .WillOnce(Return(CloudStorage::Util::Status(1, "reason")));
  UnitTests::TextOut access;
  UnitTests::TextOut refresh;
  EXPECT_EQ(flow.getToken(opened.handle.get(), "code", &access.text, &refresh.text),
            flow.exchangeFailure);
  EXPECT_THAT(systemLog.takeMessages(),
              ElementsAre(testing::HasSubstr("Failed to perform exchange authorization code. ")));
}

void amazonDrivesOwnLinesGoToTheSystemLog(UnitTests::SystemLog& systemLog) {
  const auto client = std::make_shared<testing::StrictMock<UnitTests::AmazonDrive::Client>>();
  session handle;
  handle.amazon_drive_client = client;
  EXPECT_CALL(*client, getEndpoint(_)).WillRepeatedly(UnitTests::failure);
  EXPECT_EQ(amazon_drive_get_endpoint(&handle), 1);
  EXPECT_EQ(amazon_drive_test_api(&handle), 1);
  UnitTests::AmazonDrive::prepare(*client);
  EXPECT_CALL(*client, getProfile(_))
      .WillOnce(UnitTests::failure)
      .WillOnce(Return(CloudStorage::Client::AmazonDrive::Model::GetProfileResult{"N", "E"}));
  EXPECT_EQ(amazon_drive_test_api(&handle), 1);
  EXPECT_EQ(amazon_drive_test_api(&handle), 0);
  UnitTests::AmazonDrive::expectRoot(*client).WillOnce(
      UnitTests::pageOf<UnitTests::AmazonDrive>(UnitTests::numberedFolders(0, 2)));
  UnitTests::FolderOut root;
  EXPECT_EQ(amazon_drive_get_root_directory(&handle, &root.record), 0);
  EXPECT_THAT(
      systemLog.takeMessages(),
      ElementsAre(errorFromLibrary("Failed to get Endpoint. It went wrong."),
                  errorFromLibrary("Failed to get Endpoint. error: exceptionName It went wrong.\n"),
                  errorFromLibrary("Failed to create directory. It went wrong."),
                  errorFromLibrary("resource.getName(): N"),
                  errorFromLibrary("resource.getEmail(): E"),
                  errorFromLibrary("Find duplicate root node metadata. ")));
}

void aFailureOfOneDrivesMetadataIsReportedToTheSystemLog(UnitTests::SystemLog& systemLog) {
  const auto client = std::make_shared<testing::StrictMock<UnitTests::OneDrive::Client>>();
  session handle;
  handle.one_drive_client = client;
  EXPECT_CALL(*client, getDriveMetadata(_)).WillOnce(UnitTests::failure);
  EXPECT_EQ(UnitTests::ListDirectory<UnitTests::OneDrive>().call(&handle), 1);
  EXPECT_THAT(systemLog.takeMessages(),
              ElementsAre(errorFromLibrary(
                  "Failed to get Drive Metadata. error: exceptionName It went wrong.")));
}

void failedEncryptionsAreReportedToTheSystemLog(UnitTests::SystemLog& systemLog) {
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
    failedDriveOperationsReportToTheSystemLog<UnitTests::GoogleDrive>(systemLog);
    failedDriveOperationsReportToTheSystemLog<UnitTests::AmazonDrive>(systemLog);
    failedDriveOperationsReportToTheSystemLog<UnitTests::OneDrive>(systemLog);
    failedDriveOperationsReportToTheSystemLog<UnitTests::Dropbox>(systemLog);
    for (const auto& flow : {UnitTests::kAmazonDriveFlow, UnitTests::kGoogleDriveFlow,
                             UnitTests::kOneDriveFlow, UnitTests::kDropboxFlow}) {
      aFailedTokenExchangeIsReportedToTheSystemLog(systemLog, flow);
    }
    amazonDrivesOwnLinesGoToTheSystemLog(systemLog);
    aFailureOfOneDrivesMetadataIsReportedToTheSystemLog(systemLog);
    failedEncryptionsAreReportedToTheSystemLog(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<GoogleDriveRetryStrategy>(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<AmazonDriveRetryStrategy>(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<OneDriveRetryStrategy>(systemLog);
    aFailedRefreshStaysOutOfTheSystemLog<DropboxRetryStrategy>(systemLog);
  });
}

}  // namespace
