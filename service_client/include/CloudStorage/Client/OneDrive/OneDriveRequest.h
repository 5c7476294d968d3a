#pragma once

#include "CloudStorage/Client/SerializableWSRequest.h"

namespace CloudStorage::Client::OneDrive {

/// Base of the OneDrive requests, whose bodies are JSON.
class CLOUDSTORAGE_API OneDriveRequest : public SerializableWSRequest {
 protected:
  OneDriveRequest() : SerializableWSRequest("application/json") {}
};

}  // namespace CloudStorage::Client::OneDrive
