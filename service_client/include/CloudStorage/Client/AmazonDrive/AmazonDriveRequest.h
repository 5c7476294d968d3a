#pragma once

#include "CloudStorage/Client/SerializableWSRequest.h"

namespace CloudStorage::Client::AmazonDrive {

/// Base of the Amazon Drive requests.
class CLOUDSTORAGE_API AmazonDriveRequest : public SerializableWSRequest {
 protected:
  AmazonDriveRequest() : SerializableWSRequest("application/x-www-form-urlencoded") {}
};

}  // namespace CloudStorage::Client::AmazonDrive
