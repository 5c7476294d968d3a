#pragma once

#include <string>

#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "support/drive_fixture.h"

namespace TestSupport {

struct Dropbox {
  static constexpr char kName[] = "Dropbox";
  static constexpr bool kRetriesTemporaryFailures = false;
  using Client = CloudStorage::Client::Dropbox::DropboxClient;
  using RetryStrategy = DropboxRetryStrategy;
  using ErrorMarshaller = CloudStorage::Client::Dropbox::DropboxErrorMarshaller;
};

using DropboxFixture = DriveFixture<Dropbox>;

/// The body of a failure, with the dots that the service appends.
inline std::string dropboxError(const std::string& code) {
  return R"({"error_summary":")" + code + R"(/...","error":{".tag":"other"}})";
}

}  // namespace TestSupport
