#pragma once

#include <string>

#include "CloudStorage/Client/OneDrive/OneDriveRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::OneDrive::Model {

/// One page of a folder's items. Only present parameters are sent; an empty page token asks for the
/// first page and is not sent either.
class CLOUDSTORAGE_API ListChildrenRequest : public OneDriveRequest {
 public:
  Util::Field<std::string> itemId;
  Util::Field<int> pageSize{1000};  // the most that the service takes
  /// The `nextToken` of the page before.
  Util::Field<std::string> pageToken;
  /// In the service's filter language.
  Util::Field<std::string> filter;
  /// Absent: the user's own drive.
  Util::Field<std::string> driveId;
  /// If the service refuses the filter it is asked without, and what the filter is to keep out is
  /// taken out of every answer; for the filters "folder ne null" and "folder ne null or remoteItem
  /// ne null". False: the refusal is final, and answers are taken as they are.
  bool filtersAnswers = true;

  /// Whether `pageToken` is the page's whole address, which is then asked for as it stands.
  bool namesItsPage() const;
  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

}  // namespace CloudStorage::Client::OneDrive::Model
