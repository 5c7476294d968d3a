#pragma once

#include "CloudStorage/Client/WSErrorMarshaller.h"

namespace CloudStorage::Client::Dropbox {

/// Names the failures of the Dropbox API v2: JSON, or one sentence of plain text.
class CLOUDSTORAGE_API DropboxErrorMarshaller : public WSErrorMarshaller {
 public:
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::Dropbox
