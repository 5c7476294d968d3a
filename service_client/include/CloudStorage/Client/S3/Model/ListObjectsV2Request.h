#pragma once

#include <cstdint>
#include <string>

#include "CloudStorage/Client/S3/S3Request.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::S3::Model {

/// One page of a bucket's keys, grouped by `delimiter`. Only present parameters are sent.
class CLOUDSTORAGE_API ListObjectsV2Request : public S3Request {
 public:
  Util::Field<std::string> bucket;
  Util::Field<std::string> prefix;
  Util::Field<std::string> delimiter;
  Util::Field<std::string> continuationToken;
  /// "url" has the service percent-encode keys and prefixes; the result holds them decoded.
  Util::Field<std::string> encodingType;
  Util::Field<std::int64_t> maxKeys;
  Util::Field<std::string> startAfter;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

}  // namespace CloudStorage::Client::S3::Model
