#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "CloudStorage/Client/S3/Model.h"
#include "CloudStorage/Http/URI.h"

namespace CloudStorage::Client::S3 {

/// Who runs the endpoint, as far as it changes what is sent. AWS and AWS China are separate worlds:
/// requests signed with keys of one never go to hosts of the other.
enum class Partition { Aws, AwsChina, Other };

/// The endpoint of a session with what can be read off it.
struct S3Endpoint {
  /// Scheme, host, port and base path, without a trailing slash.
  Http::URI base;
  Partition partition = Partition::Other;
  /// The region that the host names; empty if it names none.
  std::string region;
};

/// `[http[s]://]host[:port][/base]`; an empty text is the global endpoint. Empty if it is no URL.
std::optional<S3Endpoint> parseEndpoint(const std::string& text);

/// The region identifier of a location, or an empty text for one that is stated by saying nothing
/// and for numbers that are no location.
std::string_view regionOf(Model::BucketLocationConstraint location);

/// Whether the number is one of a location at all.
bool isLocation(Model::BucketLocationConstraint location);

/// Where a request goes and the region it is signed for.
struct S3Target {
  Http::URI uri;
  std::string region;
};

/// Where a new bucket in `location` is asked for, given the session's own endpoint and region.
/// Always path style: the name is not in DNS yet, and may be none that DNS can hold.
S3Target createBucketTarget(const S3Endpoint& endpoint, const std::string& sessionRegion,
                            Model::BucketLocationConstraint location, std::string_view bucket);

/// Where a bucket that lies in `region` is reached: under a host name of its own where the
/// endpoint's certificates and DNS allow for that, else as the first segment of the path. Without a
/// key the path ends there.
Http::URI bucketUri(const S3Endpoint& endpoint, const std::string& region, std::string_view bucket,
                    std::string_view key = {});

/// True for a text that can be a region: what a service says its region is goes into host names and
/// signatures.
bool isRegionName(std::string_view text);

/// Points `current` at `location` as far as that stays with the endpoint's owner: a host under the
/// endpoint's own domain, the same scheme or an upgrade to https. Empty otherwise.
std::optional<Http::URI> redirectedUri(const S3Endpoint& endpoint, const Http::URI& current,
                                       const std::string& location);

}  // namespace CloudStorage::Client::S3
