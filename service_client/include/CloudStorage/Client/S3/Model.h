#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CloudStorage/Client/SerializableWSRequest.h"
#include "CloudStorage/Client/StreamingWSRequest.h"
#include "CloudStorage/Util/Field.h"

/// Requests and results of Amazon S3.
namespace CloudStorage::Client::S3 {

/// Base of the requests whose body is a text.
class CLOUDSTORAGE_API S3Request : public SerializableWSRequest {};

namespace Model {

/// The location of a new bucket. The numbers cross the C interface and never change.
enum class BucketLocationConstraint : std::int32_t {
  UsEast1 = 0,
  UsEast2 = 1,
  UsWest1 = 2,
  UsWest2 = 3,
  ApSouth1 = 4,
  ApSoutheast1 = 5,
  ApSoutheast2 = 6,
  ApNortheast1 = 7,
  ApNortheast2 = 8,
  SaEast1 = 9,
  CnNorth1 = 10,
  CnNorthwest1 = 11,
  EuCentral1 = 12,
  EuWest1 = 13,
  EuWest2 = 14,
  CaCentral1 = 15,
  /// The choice of the session's endpoint.
  Customized = 16,
};

struct CreateBucketConfiguration {
  Util::Field<BucketLocationConstraint> locationConstraint;
};

/// Creates a bucket. The client derives the request's address from the location and its own
/// endpoint; the payload only states the location.
class CLOUDSTORAGE_API CreateBucketRequest : public S3Request {
 public:
  std::string bucket;
  Util::Field<CreateBucketConfiguration> createBucketConfiguration;

  /// The configuration document; empty for a location that a request states by having no document.
  std::string serializePayload() const override;
  /// The content type of the document, if there is one.
  Http::HeaderValueCollection getRequestSpecificHeaders() const override;
};

/// One page of a bucket's keys, grouped by `delimiter`. Only present parameters are sent.
class CLOUDSTORAGE_API ListObjectsV2Request : public S3Request {
 public:
  Util::Field<std::string> bucket;
  Util::Field<std::string> prefix;
  Util::Field<std::string> delimiter;
  Util::Field<std::string> continuationToken;
  /// With "url" the service percent-encodes keys and prefixes; the result holds them decoded.
  Util::Field<std::string> encodingType;
  Util::Field<std::int64_t> maxKeys;
  Util::Field<std::string> startAfter;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

/// Stores one object, replacing one of the same key.
class CLOUDSTORAGE_API PutObjectRequest : public StreamingWSRequest {
 public:
  std::string bucket;
  /// Must be the length of the body. It is not sent itself: the request states the body's actual
  /// length.
  Util::Field<std::int64_t> contentLength;
  Util::Field<std::string> key;
};

struct Bucket {
  std::string_view name;
  /// ISO 8601 text as the service sent it; empty if it sent none.
  std::string_view creationDate;
};

/// All buckets of the account, in the service's order.
struct ListBucketsResult {
  std::vector<Bucket> buckets;
  /// Holds the texts of the buckets, which are views.
  std::shared_ptr<const std::string> storage{};
  /// Where the list continues; empty if it is complete. Accounts with very many buckets only.
  std::string continuationToken{};

  /// How many entries the response had.
  std::size_t entryCount() const { return buckets.size(); }
  /// Whether the service has more entries than these.
  bool isPartial() const { return !continuationToken.empty(); }
};

/// The result of a created bucket; nothing is read from the response.
struct CreateBucketResult {};

/// All texts are as the service sent them.
struct Object {
  std::string_view key;
  /// ISO 8601.
  std::string_view lastModified;
  std::string_view eTag;
  /// Decimal number of bytes.
  std::string_view size;
  std::string_view storageClass;
};

/// One page, or all pages, in the service's order. See S3Client::listObjectsV2().
struct ListObjectsV2Result {
  /// Empty if the result has all pages.
  std::vector<Object> objects;
  /// Each includes the delimiter at the end.
  std::vector<std::string_view> commonPrefixes;
  /// Holds the texts above, which are views.
  std::shared_ptr<const void> storage{};
  bool isTruncated = false;
  /// Selects the next page.
  std::string nextContinuationToken{};
  /// Includes those that the lists above omit.
  std::size_t received = 0;

  /// How many entries the response had.
  std::size_t entryCount() const { return received; }
  /// Whether the service has more entries than these.
  bool isPartial() const { return isTruncated; }
};

/// The result of a stored object; nothing is read from the response.
struct PutObjectResult {};

}  // namespace Model
}  // namespace CloudStorage::Client::S3
