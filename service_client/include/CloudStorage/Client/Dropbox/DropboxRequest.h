#pragma once

#include "CloudStorage/Client/SerializableWSRequest.h"

namespace CloudStorage::Client::Dropbox {

/// Base of the Dropbox requests, whose bodies are JSON.
class CLOUDSTORAGE_API DropboxRequest : public SerializableWSRequest {
 protected:
  DropboxRequest() : SerializableWSRequest("application/json") {}
};

}  // namespace CloudStorage::Client::Dropbox
