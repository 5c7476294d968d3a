#pragma once

#include "CloudStorage/Client/WSErrorMarshaller.h"

namespace CloudStorage::Client::AzureSSB {

/// Names the failures of the Blob service: a header, and XML.
class CLOUDSTORAGE_API AzureSSBErrorMarshaller : public WSErrorMarshaller {
 public:
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::AzureSSB
