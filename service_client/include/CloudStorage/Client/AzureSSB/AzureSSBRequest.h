#pragma once

#include "CloudStorage/Client/SerializableWSRequest.h"

namespace CloudStorage::Client::AzureSSB {

/// Base of the Azure blob requests.
class CLOUDSTORAGE_API AzureSSBRequest : public SerializableWSRequest {
 protected:
  AzureSSBRequest() : SerializableWSRequest("application/xml") {}
};

}  // namespace CloudStorage::Client::AzureSSB
