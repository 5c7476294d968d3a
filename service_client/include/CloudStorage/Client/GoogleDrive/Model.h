#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CloudStorage/Client/SerializableWSRequest.h"
#include "CloudStorage/Util/Field.h"
#include "CloudStorage/Util/IsoTime.h"

/// Requests and results of the Google Drive API v3.
namespace CloudStorage::Client::GoogleDrive {

/// Base of the requests, whose bodies are JSON.
class CLOUDSTORAGE_API GoogleDriveRequest : public SerializableWSRequest {
 protected:
  GoogleDriveRequest() : SerializableWSRequest("application/json") {}
};

namespace Model {

/// The metadata of one file or folder.
class CLOUDSTORAGE_API GetFileResourceRequest : public GoogleDriveRequest {
 public:
  /// An id, or the alias "root".
  Util::Field<std::string> fileId;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

/// One page of the files that match `query`. Only present parameters are sent; an empty page token
/// selects the first page and is not sent either.
class CLOUDSTORAGE_API ListFileResourceRequest : public GoogleDriveRequest {
 public:
  Util::Field<std::string> orderBy;
  Util::Field<int> pageSize;
  Util::Field<std::string> pageToken;
  Util::Field<std::string> query;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

/// Creates a file from its metadata alone, which is how folders are created.
class CLOUDSTORAGE_API UploadFileRequest : public GoogleDriveRequest {
 public:
  /// How the content is uploaded. Empty, and then not sent, if there is no content.
  Util::Field<std::string> uploadType;
  Util::Field<std::chrono::system_clock::time_point> createdTime;
  Util::Field<std::chrono::system_clock::time_point> modifiedTime;
  Util::Field<std::string> mimeType;
  Util::Field<std::string> name;
  /// The id of the folder to create it in; the service accepts only one.
  Util::Field<std::string> parents;

  std::string serializePayload() const override;
  void addQueryStringParameters(Http::URI& uri) const override;
};

/// A file or a folder. Members that the service did not send are empty.
struct FileResource {
  std::string_view kind;
  std::string_view id;
  std::string_view name;
  std::string_view mimeType;
  bool trashed = false;
  Util::IsoTime createdTime;
  Util::IsoTime modifiedTime;
  std::string_view md5Checksum;
  std::vector<std::string_view> parents;
  /// Holds the texts, which are views. Null in a list, where the list's own storage holds them.
  std::shared_ptr<const void> storage{};
};

/// One page in the service's order. It may be short, even empty, and still not be the last.
struct ListFileResourceResult {
  /// Selects the next page; empty on the last one.
  std::string nextPageToken;
  /// Only id and name are set.
  std::vector<FileResource> files;
  /// Holds the texts of the files, which are views.
  std::shared_ptr<const void> storage{};

  /// How many entries the response had.
  std::size_t entryCount() const { return files.size(); }
  /// Whether the service has more entries than these.
  bool isPartial() const { return !nextPageToken.empty(); }
};

}  // namespace Model
}  // namespace CloudStorage::Client::GoogleDrive
