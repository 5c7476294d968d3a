#pragma once

#include <string>

#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "support/drive_fixture.h"

namespace TestSupport {

struct OneDrive {
  static constexpr char kName[] = "OneDrive";
  static constexpr bool kRetriesTemporaryFailures = false;
  using Client = CloudStorage::Client::OneDrive::OneDriveClient;
  using RetryStrategy = OneDriveRetryStrategy;
  using ErrorMarshaller = CloudStorage::Client::OneDrive::OneDriveErrorMarshaller;
};

using OneDriveFixture = DriveFixture<OneDrive>;

/// The body of a failure.
inline std::string graphError(const std::string& code) {
  return R"({"error":{"code":")" + code + R"(","message":"about )" + code +
         R"(","innerError":{"code":"finer","request-id":"7"}}})";
}

}  // namespace TestSupport
