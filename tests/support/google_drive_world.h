#pragma once

#include <string>

#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "support/drive_world.h"

namespace TestSupport {

using GoogleDriveWorld =
    DriveWorld<CloudStorage::Client::GoogleDrive::GoogleDriveClient, GoogleDriveRetryStrategy,
               CloudStorage::Client::GoogleDrive::GoogleDriveErrorMarshaller>;

/// What the service says about a failure.
inline std::string googleError(int status, const std::string& reason) {
  return R"({"error":{"code":)" + std::to_string(status) + R"(,"message":"about )" + reason +
         R"(","errors":[{"domain":"global","reason":")" + reason + R"("}]}})";
}

}  // namespace TestSupport
