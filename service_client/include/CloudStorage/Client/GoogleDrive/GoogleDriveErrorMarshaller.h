#pragma once

#include "CloudStorage/Client/WSErrorMarshaller.h"

namespace CloudStorage::Client::GoogleDrive {

/// Names the failures of the Google Drive API v3: JSON.
class CLOUDSTORAGE_API GoogleDriveErrorMarshaller : public WSErrorMarshaller {
 public:
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::GoogleDrive
