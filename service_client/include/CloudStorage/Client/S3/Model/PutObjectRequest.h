#pragma once

#include <cstdint>
#include <string>

#include "CloudStorage/Client/StreamingWSRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::S3::Model {

/// Stores one object, replacing one of the same key.
class CLOUDSTORAGE_API PutObjectRequest : public StreamingWSRequest {
 public:
  std::string bucket;
  /// Must be the length of the body; what goes over the wire is the body's own length.
  Util::Field<std::int64_t> contentLength;
  Util::Field<std::string> key;
};

}  // namespace CloudStorage::Client::S3::Model
