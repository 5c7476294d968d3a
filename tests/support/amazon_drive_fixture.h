#pragma once

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "support/drive_fixture.h"

namespace TestSupport {

struct AmazonDrive {
  static constexpr char kName[] = "AmazonDrive";
  static constexpr bool kRetriesTemporaryFailures = true;
  using Client = CloudStorage::Client::AmazonDrive::AmazonDriveClient;
  using RetryStrategy = AmazonDriveRetryStrategy;
  using ErrorMarshaller = CloudStorage::Client::AmazonDrive::AmazonDriveErrorMarshaller;
};

using AmazonDriveFixture = DriveFixture<AmazonDrive>;

inline constexpr char kMetadataEndpoint[] = "https://cdws.us-east-1.amazonaws.com/drive/v1/";

}  // namespace TestSupport
