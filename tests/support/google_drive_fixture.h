#pragma once

#include <string>

#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "support/drive_fixture.h"

namespace TestSupport {

struct GoogleDrive {
  static constexpr char kName[] = "GoogleDrive";
  static constexpr bool kRetriesTemporaryFailures = true;
  using Client = CloudStorage::Client::GoogleDrive::GoogleDriveClient;
  using RetryStrategy = GoogleDriveRetryStrategy;
  using ErrorMarshaller = CloudStorage::Client::GoogleDrive::GoogleDriveErrorMarshaller;
};

using GoogleDriveFixture = DriveFixture<GoogleDrive>;

/// The body of a failure.
inline std::string googleError(int status, const std::string& reason) {
  return R"({"error":{"code":)" + std::to_string(status) + R"(,"message":"about )" + reason +
         R"(","errors":[{"domain":"global","reason":")" + reason + R"("}]}})";
}

}  // namespace TestSupport
