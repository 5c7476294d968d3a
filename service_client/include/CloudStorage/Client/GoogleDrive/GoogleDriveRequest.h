#pragma once

#include "CloudStorage/Client/SerializableWSRequest.h"

namespace CloudStorage::Client::GoogleDrive {

/// Base of the Google Drive requests, whose bodies are JSON.
class CLOUDSTORAGE_API GoogleDriveRequest : public SerializableWSRequest {
 protected:
  GoogleDriveRequest() : SerializableWSRequest("application/json") {}
};

}  // namespace CloudStorage::Client::GoogleDrive
