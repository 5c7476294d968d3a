#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "CloudStorage/Client/S3/Model.h"
#include "CloudStorage/Http/URI.h"

namespace CloudStorage::Client::S3 {

/// The operator of the endpoint, as far as requests depend on it. AWS and AWS China are separate
/// partitions: requests that are signed with keys of one are never sent to hosts of the other.
enum class Partition { Aws, AwsChina, Other };

/// The endpoint of a session, with the properties that are derived from its address.
struct S3Endpoint {
  /// Scheme, host, port and base path, without a trailing slash.
  Http::URI base;
  Partition partition = Partition::Other;
  /// The region in the host name; empty if there is none.
  std::string region;
};

/// Parses `[http[s]://]host[:port][/base]`. An empty text is the global endpoint. Returns nothing
/// if the text is not a valid URL.
std::optional<S3Endpoint> parseEndpoint(const std::string& text);

/// The region identifier of a location; empty for a location that requests do not state, and for a
/// number that is not a location.
std::string_view regionOf(Model::BucketLocationConstraint location);

/// Whether the number is a location.
bool isLocation(Model::BucketLocationConstraint location);

/// The address of a request and the region that it is signed for.
struct S3Target {
  Http::URI uri;
  std::string region;
};

/// The target of a request for a new bucket in `location`, given the session's own endpoint and
/// region. Always path style: the name is not in DNS yet, and may not be a valid DNS label.
S3Target createBucketTarget(const S3Endpoint& endpoint, const std::string& sessionRegion,
                            Model::BucketLocationConstraint location, std::string_view bucket);

/// The address of a bucket in `region`, or of an object in it if `key` is not empty. The bucket is
/// part of the host name if the endpoint's certificates and DNS support that, otherwise the first
/// segment of the path.
Http::URI bucketUri(const S3Endpoint& endpoint, const std::string& region, std::string_view bucket,
                    std::string_view key = {});

/// Whether `text` can be a region. The regions in a service's responses become part of host names
/// and signatures.
bool isRegionName(std::string_view text);

/// The target of a redirect from `current` to `location`. Returns nothing unless the target's host
/// belongs to the endpoint's operator or domain. Never changes https to http.
std::optional<Http::URI> redirectedUri(const S3Endpoint& endpoint, const Http::URI& current,
                                       const std::string& location);

}  // namespace CloudStorage::Client::S3
