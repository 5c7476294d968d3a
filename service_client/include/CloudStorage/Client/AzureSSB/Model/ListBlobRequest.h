#pragma once

#include <cstdint>
#include <string>

#include "CloudStorage/Client/AzureSSB/AzureSSBRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::AzureSSB::Model {

/// One page of a container's blob names, grouped by `delimiter`. Only present parameters are sent;
/// an empty marker asks for the first page and is not sent either.
class CLOUDSTORAGE_API ListBlobRequest : public AzureSSBRequest {
 public:
  Util::Field<std::string> container;
  Util::Field<std::string> prefix;
  Util::Field<std::string> marker;
  Util::Field<std::int64_t> maxResults;
  Util::Field<std::string> delimiter;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

}  // namespace CloudStorage::Client::AzureSSB::Model
