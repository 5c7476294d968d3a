#pragma once

#include <string>

#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "support/drive_world.h"

namespace TestSupport {

using DropboxWorld = DriveWorld<CloudStorage::Client::Dropbox::DropboxClient, DropboxRetryStrategy,
                                CloudStorage::Client::Dropbox::DropboxErrorMarshaller>;

/// What the service says about a failure, with the dots that it adds.
inline std::string dropboxError(const std::string& code) {
  return R"({"error_summary":")" + code + R"(/...","error":{".tag":"other"}})";
}

}  // namespace TestSupport
