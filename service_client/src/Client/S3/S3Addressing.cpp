#include "Client/S3/S3Addressing.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Client/Redirect.h"

namespace CloudStorage::Client::S3 {
namespace {

using Location = Model::BucketLocationConstraint;

constexpr char kGlobalEndpoint[] = "https://s3.amazonaws.com";
constexpr char kGlobalHost[] = "s3.amazonaws.com";
constexpr char kGlobalRegion[] = "us-east-1";
constexpr std::string_view kAwsSuffix = ".amazonaws.com";
constexpr std::string_view kAwsChinaSuffix = ".amazonaws.com.cn";
constexpr std::string_view kWasabiSuffix = ".wasabisys.com";

// The service's names of its regions, indexed by location.
constexpr std::array<std::string_view, 16> kRegions = {
    kGlobalRegion,    "us-east-2",      "us-west-1",      "us-west-2",
    "ap-south-1",     "ap-southeast-1", "ap-southeast-2", "ap-northeast-1",
    "ap-northeast-2", "sa-east-1",      "cn-north-1",     "cn-northwest-1",
    "eu-central-1",   "eu-west-1",      "eu-west-2",      "ca-central-1",
};

// Each of Wasabi's European hosts has a second name.
constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kWasabiAliases = {{
    {"nl-1", "eu-central-1"},
    {"de-1", "eu-central-2"},
    {"uk-1", "eu-west-1"},
    {"fr-1", "eu-west-2"},
    {"uk-2", "eu-west-3"},
    {"it-1", "eu-south-1"},
}};

// Whether `label` has the form of "eu-central-1". Other labels in its place denote services, such
// as "accelerate".
bool isRegionLabel(std::string_view label) {
  const auto first = label.find('-');
  const auto last = label.rfind('-');
  return first == 2 && last > first && last + 1 < label.size() &&
         label.find_first_not_of("0123456789", last + 1) == std::string_view::npos;
}

// The label between "s3." or "s3-" and `suffix`; empty if the host has another form.
std::string_view hostLabel(std::string_view host, std::string_view suffix) {
  if (!isBelow(host, suffix)) return {};
  host.remove_suffix(suffix.size());
  if (host.substr(0, 3) != "s3." && host.substr(0, 3) != "s3-") return {};
  host.remove_prefix(3);
  constexpr std::string_view kDualStack = "dualstack.";
  if (host.substr(0, kDualStack.size()) == kDualStack) host.remove_prefix(kDualStack.size());
  return host.find('.') == std::string_view::npos ? host : std::string_view();
}

std::string_view wasabiRegion(std::string_view label) {
  for (const auto& [alias, region] : kWasabiAliases) {
    if (alias == label) return region;
  }
  return isRegionLabel(label) ? label : std::string_view();
}

bool hasOwnPort(const Http::URI& uri) { return uri.authority() != uri.host(); }

std::string_view regionLabel(std::string_view host, std::string_view suffix) {
  const std::string_view label = hostLabel(host, suffix);
  return isRegionLabel(label) ? label : std::string_view();
}

// An endpoint with a port or a base path is another service under the host's name.
Partition partitionOf(const Http::URI& base) {
  if (hasOwnPort(base) || !base.path().empty()) return Partition::Other;
  const std::string& host = base.host();
  if (host == kGlobalHost || !regionLabel(host, kAwsSuffix).empty()) return Partition::Aws;
  if (!regionLabel(host, kAwsChinaSuffix).empty()) return Partition::AwsChina;
  return Partition::Other;
}

std::string_view regionOfHost(const std::string& host) {
  for (const std::string_view suffix : {kAwsSuffix, kAwsChinaSuffix}) {
    const auto label = regionLabel(host, suffix);
    if (!label.empty()) return label;
  }
  return wasabiRegion(hostLabel(host, kWasabiSuffix));
}

bool isChina(Location location) {
  return location == Location::CnNorth1 || location == Location::CnNorthwest1;
}

// The host of `location` if it is in the endpoint's partition; empty otherwise.
std::string hostOf(Partition partition, Location location) {
  const std::string_view region = kRegions.at(static_cast<std::size_t>(location));
  if (partition == Partition::AwsChina && isChina(location)) {
    return "s3." + std::string(region) + std::string(kAwsChinaSuffix);
  }
  if (partition != Partition::Aws || isChina(location)) return {};
  if (location == Location::UsEast1) return kGlobalHost;
  return "s3." + std::string(region) + std::string(kAwsSuffix);
}

// The host for a bucket in `region`: the endpoint's own host if it serves that region, otherwise
// the region's host in the same partition. A session may have any text as its region; a text that
// cannot be a region's name does not become part of a host name.
std::string regionalHost(const S3Endpoint& endpoint, const std::string& region) {
  const bool isOwn = endpoint.region.empty() ? region == kGlobalRegion : region == endpoint.region;
  if (endpoint.partition == Partition::Other || isOwn || !isRegionName(region)) {
    return endpoint.base.host();
  }
  const bool isChina = endpoint.partition == Partition::AwsChina;
  return "s3." + region + std::string(isChina ? kAwsChinaSuffix : kAwsSuffix);
}

// Whether the bucket's name can be a label before the endpoint's host. The certificate does not
// cover a name with a dot.
bool isVirtualHosted(const S3Endpoint& endpoint, std::string_view bucket) {
  constexpr std::size_t kShortest = 3;
  constexpr std::size_t kLongest = 63;
  return endpoint.partition != Partition::Other && endpoint.base.scheme() == "https" &&
         bucket.size() >= kShortest && bucket.size() <= kLongest && isRegionName(bucket) &&
         bucket.front() != '-' && bucket.back() != '-';
}

// The domain to which a redirect may lead: the host's parent domain, but never a top-level domain.
// Empty for an IP address and for a name without a dot.
std::string_view parentDomain(std::string_view host) {
  const bool isAddress =
      host.front() == '[' || host.find_first_not_of("0123456789.") == std::string_view::npos;
  if (isAddress) return {};
  const auto dot = host.find('.');
  if (dot == std::string_view::npos) return {};
  const std::string_view parent = host.substr(dot);
  return parent.find('.', 1) == std::string_view::npos ? std::string_view() : parent;
}

bool isTrustedHost(const S3Endpoint& endpoint, std::string_view host) {
  if (host == endpoint.base.host()) return true;
  if (endpoint.partition == Partition::Aws) return isBelow(host, kAwsSuffix);
  if (endpoint.partition == Partition::AwsChina) return isBelow(host, kAwsChinaSuffix);
  const std::string_view domain = parentDomain(endpoint.base.host());
  return !domain.empty() && isBelow(host, domain);
}

}  // namespace

std::optional<S3Endpoint> parseEndpoint(const std::string& text) {
  std::string trimmed = text.empty() ? kGlobalEndpoint : text;
  while (!trimmed.empty() && trimmed.back() == '/') trimmed.pop_back();
  auto base = Http::URI::parse(trimmed, "https");
  if (!base || !base->query().empty()) return std::nullopt;

  S3Endpoint endpoint;
  endpoint.base = *std::move(base);
  endpoint.partition = partitionOf(endpoint.base);
  endpoint.region = regionOfHost(endpoint.base.host());
  return endpoint;
}

bool isLocation(Location location) {
  return location >= Location::UsEast1 && location <= Location::Customized;
}

std::string_view regionOf(Location location) {
  const bool stated = location > Location::UsEast1 && location < Location::Customized;
  return stated ? kRegions.at(static_cast<std::size_t>(location)) : std::string_view();
}

S3Target createBucketTarget(const S3Endpoint& endpoint, const std::string& sessionRegion,
                            Location location, std::string_view bucket) {
  S3Target target{endpoint.base, sessionRegion};
  if (location != Location::Customized) {
    const std::string host = hostOf(endpoint.partition, location);
    if (!host.empty()) {
      target.uri.setHost(host);
      target.region = kRegions.at(static_cast<std::size_t>(location));
    }
  }
  target.uri.addPathSegment(bucket);
  return target;
}

Http::URI bucketUri(const S3Endpoint& endpoint, const std::string& region, std::string_view bucket,
                    std::string_view key) {
  Http::URI uri = endpoint.base;
  std::string host = regionalHost(endpoint, region);
  if (isVirtualHosted(endpoint, bucket)) {
    uri.setHost(std::string(bucket) + '.' + host);
  } else {
    uri.setHost(std::move(host));
    uri.addPathSegment(bucket);
  }
  if (!key.empty()) uri.addPath(key);
  return uri;
}

bool isRegionName(std::string_view text) {
  constexpr std::size_t kLongestHostLabel = 63;  // RFC 1035, section 2.3.4
  return !text.empty() && text.size() <= kLongestHostLabel &&
         text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == std::string_view::npos;
}

std::optional<Http::URI> redirectedUri(const S3Endpoint& endpoint, const Http::URI& current,
                                       const std::string& location) {
  auto target = redirectTarget(current, location);
  if (!target || !isTrustedHost(endpoint, target->host())) return std::nullopt;
  return target;
}

}  // namespace CloudStorage::Client::S3
