#pragma once

#include <string>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::AmazonDrive::Model {

/// One page of the nodes that match `filters`. An empty start token asks for the first page.
class CLOUDSTORAGE_API ListFileResourceRequest : public AmazonDriveRequest {
 public:
  /// Base of the URL: the account's metadata endpoint.
  Util::Field<std::string> endpoint;
  Util::Field<std::string> filters;
  Util::Field<std::string> startToken;
  Util::Field<std::string> sort;
  Util::Field<int> limit{200};  // the most that the service takes

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

}  // namespace CloudStorage::Client::AmazonDrive::Model
