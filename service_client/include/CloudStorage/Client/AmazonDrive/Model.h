#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CloudStorage/Client/SerializableWSRequest.h"
#include "CloudStorage/Util/Field.h"
#include "CloudStorage/Util/IsoTime.h"

/// Requests and results of the Amazon Drive API v1.
namespace CloudStorage::Client::AmazonDrive {

/// Base of the requests.
class CLOUDSTORAGE_API AmazonDriveRequest : public SerializableWSRequest {
 protected:
  AmazonDriveRequest() : SerializableWSRequest("application/x-www-form-urlencoded") {}
};

namespace Model {

/// A request without parameters and without a body.
class CLOUDSTORAGE_API ComRequest : public AmazonDriveRequest {
 public:
  std::string serializePayload() const override { return {}; }
};

/// One page of the nodes that match `filters`. An empty start token selects the first page.
class CLOUDSTORAGE_API ListFileResourceRequest : public AmazonDriveRequest {
 public:
  /// Base of the URL: the account's metadata endpoint.
  Util::Field<std::string> endpoint;
  Util::Field<std::string> filters;
  Util::Field<std::string> startToken;
  Util::Field<std::string> sort;
  Util::Field<int> limit{200};  // the service's maximum

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

/// Creates a node. Unlike the service's other requests, this one has a JSON body.
class CLOUDSTORAGE_API FileRequest : public AmazonDriveRequest {
 public:
  /// Base of the URL: the account's metadata endpoint.
  Util::Field<std::string> endpoint;
  Util::Field<std::string> name;
  /// "FOLDER" for a folder.
  Util::Field<std::string> kind;
  /// The id of the folder to create it in.
  Util::Field<std::string> parent;

  std::string serializePayload() const override;
  Http::HeaderValueCollection getRequestSpecificHeaders() const override;
};

/// The addresses that serve an account, as the service sent them.
struct GetEndpointResult {
  std::string contentUrl;
  std::string metadataUrl;
};

/// The owner of an account.
struct GetProfileResult {
  std::string name;
  std::string email;
};

/// A node: a file or a folder. Members that the service did not send are empty.
struct CLOUDSTORAGE_API FileResource {
  std::string_view kind;
  std::string_view id;
  /// The root folder has none.
  std::string_view name;
  std::string_view mimeType;
  bool trashed = false;
  Util::IsoTime createdTime;
  Util::IsoTime modifiedTime;
  std::string_view md5Checksum;
  std::uint64_t size = 0;
  std::vector<std::string_view> parents;
  /// Holds the texts, which are views. Null in a list, where the list's own storage holds them.
  std::shared_ptr<const void> storage{};

  /// All members on one line, for logs.
  std::string toString() const;
};

/// One page in the service's order. It may be short, even empty, and still not be the last.
struct ListFileResourceResult {
  std::vector<FileResource> files;
  /// Selects the next page; empty on the last one.
  std::string nextToken;
  /// Holds the texts of the nodes, which are views.
  std::shared_ptr<const void> storage{};

  /// How many entries the response had.
  std::size_t entryCount() const { return files.size(); }
  /// Whether the service has more entries than these.
  bool isPartial() const { return !nextToken.empty(); }
};

}  // namespace Model
}  // namespace CloudStorage::Client::AmazonDrive
