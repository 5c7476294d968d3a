#pragma once

#include "CloudStorage/Client/WSErrorMarshaller.h"

namespace CloudStorage::Client::AmazonDrive {

/// Names the failures of Amazon Drive: JSON.
class CLOUDSTORAGE_API AmazonDriveErrorMarshaller : public WSErrorMarshaller {
 public:
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::AmazonDrive
