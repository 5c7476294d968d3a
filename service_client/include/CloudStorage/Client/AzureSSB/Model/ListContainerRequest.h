#pragma once

#include <cstdint>
#include <string>

#include "CloudStorage/Client/AzureSSB/AzureSSBRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::AzureSSB::Model {

/// One page of the account's containers. Only present parameters are sent; an empty marker asks for
/// the first page and is not sent either.
class CLOUDSTORAGE_API ListContainerRequest : public AzureSSBRequest {
 public:
  /// Only containers whose names begin with this.
  Util::Field<std::string> prefix;
  Util::Field<std::string> marker;
  Util::Field<std::int64_t> maxResults;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

}  // namespace CloudStorage::Client::AzureSSB::Model
