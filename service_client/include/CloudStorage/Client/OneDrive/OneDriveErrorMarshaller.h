#pragma once

#include "CloudStorage/Client/WSErrorMarshaller.h"

namespace CloudStorage::Client::OneDrive {

/// Names the failures of Microsoft Graph: JSON.
class CLOUDSTORAGE_API OneDriveErrorMarshaller : public WSErrorMarshaller {
 public:
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::OneDrive
