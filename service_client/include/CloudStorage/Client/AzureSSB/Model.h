#pragma once

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CloudStorage/Client/SerializableWSRequest.h"
#include "CloudStorage/Util/Field.h"

/// Requests and results of Azure's Blob service, REST API version 2021-12-02.
namespace CloudStorage::Client::AzureSSB {

/// Base of the requests.
class CLOUDSTORAGE_API AzureSSBRequest : public SerializableWSRequest {
 protected:
  AzureSSBRequest() : SerializableWSRequest("application/xml") {}
};

namespace Model {

/// One page of the account's containers. Only present parameters are sent; an empty marker selects
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

/// Creates a container that only the account's owner can read.
class CLOUDSTORAGE_API CreateContainerRequest : public AzureSSBRequest {
 public:
  std::string container;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

/// One page of a container's blob names, grouped by `delimiter`. Only present parameters are sent;
/// an empty marker selects the first page and is not sent either.
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

/// Stores one blob, replacing one of the same name.
class CLOUDSTORAGE_API PutBlobRequest : public AzureSSBRequest {
 public:
  std::string container;
  /// Must be the length of the body. It is not sent itself: the request states the body's actual
  /// length.
  Util::Field<std::int64_t> contentLength;
  Util::Field<std::string> blob;
  /// AzureSSBClient::BLOB_TYPE_BLOCK_BLOB.
  Util::Field<std::string> blobType;
  /// Shared with the caller, not copied; null for an empty blob.
  std::shared_ptr<std::iostream> body;

  std::string serializePayload() const override { return {}; }
  std::shared_ptr<std::iostream> getBody() const override { return body; }
  Http::HeaderValueCollection getRequestSpecificHeaders() const override;
};

struct Container {
  std::string_view name;
  /// An HTTP date as the service sent it.
  std::string_view lastModified;
  std::string_view eTag;
};

/// One page, in the service's order. It may be short, even empty, and still not be the last.
struct ListContainerResult {
  std::vector<Container> containers;
  /// Selects the next page; empty on the last one.
  std::string nextMarker;
  /// Holds the texts of the containers, which are views.
  std::shared_ptr<const std::string> storage{};

  /// How many entries the response had.
  std::size_t entryCount() const { return containers.size(); }
  /// Whether the service has more entries than these.
  bool isPartial() const { return !nextMarker.empty(); }
};

/// The result of a created container; nothing is read from the response.
struct CreateContainerResult {};

struct Blob {
  std::string_view name;
};

struct BlobPrefix {
  /// Includes the delimiter at the end.
  std::string_view name;
};

/// One page, each list in the service's order. It may be short, even empty, and still not be the
/// last.
struct ListBlobResult {
  /// Selects the next page; empty on the last one.
  std::string nextMarker;
  std::vector<Blob> blobs;
  std::vector<BlobPrefix> blobPrefixes;
  /// Holds the names, which are views.
  std::shared_ptr<const std::string> storage{};

  /// How many entries the response had.
  std::size_t entryCount() const { return blobs.size() + blobPrefixes.size(); }
  /// Whether the service has more entries than these.
  bool isPartial() const { return !nextMarker.empty(); }
};

/// The result of a stored blob; nothing is read from the response.
struct PutBlobResult {};

}  // namespace Model
}  // namespace CloudStorage::Client::AzureSSB
