#pragma once

#include <string>

#include "CloudStorage/Client/GoogleDrive/GoogleDriveRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::GoogleDrive::Model {

/// One page of the files that match `query`. Only present parameters are sent; an empty page token
/// asks for the first page and is not sent either.
class CLOUDSTORAGE_API ListFileResourceRequest : public GoogleDriveRequest {
 public:
  Util::Field<std::string> orderBy;
  Util::Field<int> pageSize;
  Util::Field<std::string> pageToken;
  Util::Field<std::string> query;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

}  // namespace CloudStorage::Client::GoogleDrive::Model
