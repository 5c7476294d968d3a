#pragma once

#include <string>

#include "CloudStorage/Client/AzureSSB/AzureSSBRequest.h"

namespace CloudStorage::Client::AzureSSB::Model {

/// Makes a container that only the account's owner can read.
class CLOUDSTORAGE_API CreateContainerRequest : public AzureSSBRequest {
 public:
  std::string container;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

}  // namespace CloudStorage::Client::AzureSSB::Model
