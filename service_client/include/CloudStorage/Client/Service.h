#pragma once

#include <cstdint>

namespace CloudStorage::Client {

/// A service. The numbers cross the C interface and are part of the binary interface.
enum class Service : std::int32_t {
  S3 = 1,
  AzureSSB = 2,
  AmazonDrive = 3,
  GoogleDrive = 4,
  OneDrive = 5,
  Dropbox = 6,
};

}  // namespace CloudStorage::Client
