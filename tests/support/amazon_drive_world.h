#pragma once

#include <string>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "support/drive_world.h"

namespace TestSupport {

using AmazonDriveWorld =
    DriveWorld<CloudStorage::Client::AmazonDrive::AmazonDriveClient, AmazonDriveRetryStrategy,
               CloudStorage::Client::AmazonDrive::AmazonDriveErrorMarshaller>;

inline constexpr char kMetadataEndpoint[] = "https://cdws.example.test/drive/v1/";

}  // namespace TestSupport
