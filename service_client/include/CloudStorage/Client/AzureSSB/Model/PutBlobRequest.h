#pragma once

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>

#include "CloudStorage/Client/AzureSSB/AzureSSBRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::AzureSSB::Model {

/// Stores one blob, replacing one of the same name.
class CLOUDSTORAGE_API PutBlobRequest : public AzureSSBRequest {
 public:
  std::string container;
  /// Must be the length of the body; what goes over the wire is the body's own length.
  Util::Field<std::int64_t> contentLength;
  Util::Field<std::string> blob;
  /// AzureSSBClient::BLOB_TYPE_BLOCK_BLOB.
  Util::Field<std::string> blobType;
  /// Shared with the caller, not copied; null for an empty blob.
  std::shared_ptr<std::iostream> body;

  std::string serializePayload() const override { return {}; }
  std::shared_ptr<std::iostream> getBody() const override { return body; }
  Http::HeaderValueCollection getRequestSpecificHeaders() const override;
};

}  // namespace CloudStorage::Client::AzureSSB::Model
