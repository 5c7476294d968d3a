#pragma once

#include "CloudStorage/Client/WSErrorMarshaller.h"

namespace CloudStorage::Client::S3 {

/// Names the failures of S3 and compatible stores: XML, or nothing at all.
class CLOUDSTORAGE_API S3ErrorMarshaller : public WSErrorMarshaller {
 public:
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::S3
