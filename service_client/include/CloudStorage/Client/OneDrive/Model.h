#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/OneDrive/DriveItem.h"
#include "CloudStorage/Client/SerializableWSRequest.h"
#include "CloudStorage/Util/Field.h"

/// Requests and results of OneDrive in Microsoft Graph v1.0.
namespace CloudStorage::Client::OneDrive {

/// Base of the requests, whose bodies are JSON.
class CLOUDSTORAGE_API OneDriveRequest : public SerializableWSRequest {
 protected:
  OneDriveRequest() : SerializableWSRequest("application/json") {}
};

namespace Model {

/// The metadata of a drive.
class CLOUDSTORAGE_API GetDriveMetadataRequest : public OneDriveRequest {
 public:
  /// Absent: the user's own drive.
  Util::Field<std::string> driveId;

  std::string serializePayload() const override { return {}; }
};

/// The metadata of one item.
class CLOUDSTORAGE_API GetDriveItemRequest : public OneDriveRequest {
 public:
  /// An id, or the alias "root".
  Util::Field<std::string> itemId;
  /// Absent: the user's own drive.
  Util::Field<std::string> driveId;

  std::string serializePayload() const override { return {}; }
};

/// One page of a folder's items. Only present parameters are sent; an empty page token selects the
/// first page and is not sent either.
class CLOUDSTORAGE_API ListChildrenRequest : public OneDriveRequest {
 public:
  Util::Field<std::string> itemId;
  Util::Field<int> pageSize{1000};  // the service's maximum
  /// The `nextToken` of the previous page.
  Util::Field<std::string> pageToken;
  /// In the service's filter language.
  Util::Field<std::string> filter;
  /// Absent: the user's own drive.
  Util::Field<std::string> driveId;
  /// True: if the service refuses the filter, the request is sent without it, and every response is
  /// filtered by the client. This applies to the filters "folder ne null" and
  /// "folder ne null or remoteItem ne null". False: a refusal is final, and responses are not
  /// filtered.
  bool filtersResponses = true;

  /// Whether `pageToken` is the page's whole address, which is then requested unchanged: it begins
  /// with `https://`. Any other text is a parameter of the request.
  bool namesItsPage() const;
  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

/// Creates a folder; fails if the name is taken.
class CLOUDSTORAGE_API CreateFolderRequest : public OneDriveRequest {
 public:
  Util::Field<std::string> parentItemId;
  /// Absent: the user's own drive.
  Util::Field<std::string> driveId;
  Util::Field<std::string> name;

  std::string serializePayload() const override;
};

/// A drive as a whole. Members that the service did not send are empty.
struct DriveMetadata {
  std::string id;
  /// "personal", "business" or "documentLibrary", in the service's spelling.
  std::string driveType;
  std::string name;
};

/// One page in the service's order. It may be short, even empty, and still not be the last.
struct ListChildrenResult {
  /// Only id, name, root, folder and remoteItem are set.
  std::vector<DriveItem> items;
  /// Selects the next page; empty on the last one.
  std::string nextToken;
  /// Holds the texts of the items, which are views.
  std::shared_ptr<const void> storage{};
  /// Includes the items that were filtered out.
  std::size_t received = 0;

  /// How many entries the response had.
  std::size_t entryCount() const { return received; }
  /// Whether the service has more entries than these.
  bool isPartial() const { return !nextToken.empty(); }
};

}  // namespace Model
}  // namespace CloudStorage::Client::OneDrive
