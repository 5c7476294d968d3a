#pragma once

#include "CloudStorage/Client/AmazonDrive/AmazonDriveRequest.h"

namespace CloudStorage::Client::AmazonDrive::Model {

/// A request without parameters and without a body.
class CLOUDSTORAGE_API ComRequest : public AmazonDriveRequest {
 public:
  std::string serializePayload() const override { return {}; }
};

}  // namespace CloudStorage::Client::AmazonDrive::Model
