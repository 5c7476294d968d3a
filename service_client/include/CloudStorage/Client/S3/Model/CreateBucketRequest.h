#pragma once

#include <string>

#include "CloudStorage/Client/S3/Model/CreateBucketConfiguration.h"
#include "CloudStorage/Client/S3/S3Request.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::S3::Model {

/// Makes a bucket. The client decides from the location and its own endpoint where the request goes
/// and whether it has a body, so the payload is that of the location alone.
class CLOUDSTORAGE_API CreateBucketRequest : public S3Request {
 public:
  std::string bucket;
  Util::Field<CreateBucketConfiguration> createBucketConfiguration;

  /// The configuration document, or an empty text for a location that is stated by saying nothing.
  std::string serializePayload() const override;
  /// The content type of the document, if there is one.
  Http::HeaderValueCollection getRequestSpecificHeaders() const override;
};

}  // namespace CloudStorage::Client::S3::Model
