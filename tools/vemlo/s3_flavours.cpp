#include "s3_flavours.h"

#include <strings.h>

#include <algorithm>

#include "command_failure.h"

namespace tool {
namespace {

constexpr int kEndOfTable = 17;

std::string hostOf(const std::string& endpoint) {
  const std::size_t scheme = endpoint.find("://");
  const std::string rest = scheme == std::string::npos ? endpoint : endpoint.substr(scheme + 3);
  return rest.substr(0, rest.find_first_of(":/?#"));
}

bool isInDomain(const std::string& host, const std::string& domain) {
  if (domain.empty() || host.size() < domain.size()) return false;
  const std::size_t start = host.size() - domain.size();
  if (strcasecmp(host.c_str() + start, domain.c_str()) != 0) return false;
  return start == 0 || host[start - 1] == '.';
}

/// A location as the user may specify it, for messages.
std::string describe(const location_contraint_name_mapping& location) {
  const std::string code = std::to_string(location.location_contraint);
  return location.name == nullptr ? code : std::string(location.name) + " (" + code + ")";
}

bool matches(const location_contraint_name_mapping& location, const std::string& text) {
  if (text == std::to_string(location.location_contraint)) return true;
  return location.name != nullptr && strcasecmp(location.name, text.c_str()) == 0;
}

}  // namespace

const std::vector<S3Flavour>& s3Flavours() {
  static const std::vector<S3Flavour> kFlavours{
      {"aws", "amazonaws.com", s3_get_location_contraint_name_mappings},
      {"china", "amazonaws.com.cn", s3_cn_get_location_contraint_name_mappings},
      {"wasabi", "wasabisys.com", wasabi_get_location_contraint_name_mappings},
      {"custom", "", customized_get_location_contraint_name_mappings},
  };
  return kFlavours;
}

const S3Flavour& flavourOfEndpoint(const std::string& endpoint) {
  const std::vector<S3Flavour>& flavours = s3Flavours();
  if (endpoint.empty()) return flavours.front();
  const std::string host = hostOf(endpoint);
  const auto found = std::find_if(flavours.begin(), flavours.end(), [&host](const auto& flavour) {
    return isInDomain(host, flavour.domain);
  });
  return found == flavours.end() ? flavours.back() : *found;
}

const S3Flavour& chooseFlavour(const std::string& name, const std::string& endpoint) {
  for (const S3Flavour& flavour : s3Flavours()) {
    if (flavour.name == name) return flavour;
  }
  return flavourOfEndpoint(endpoint);
}

std::vector<location_contraint_name_mapping> locationsOf(const S3Flavour& flavour) {
  std::vector<location_contraint_name_mapping> locations;
  for (const auto* entry = flavour.table(); entry->location_contraint != kEndOfTable; ++entry) {
    locations.push_back(*entry);
  }
  return locations;
}

int locationCode(const S3Flavour& flavour, const std::string& location) {
  const std::vector<location_contraint_name_mapping> locations = locationsOf(flavour);
  if (location.empty()) return locations.front().location_contraint;

  std::string known;
  for (const auto& candidate : locations) {
    if (matches(candidate, location)) return candidate.location_contraint;
    known += (known.empty() ? "" : ", ") + describe(candidate);
  }
  throw CommandFailure(ExitCode::BadUsage, "the flavour '" + flavour.name + "' has no region '" +
                                               location + "'; it has: " + known);
}

}  // namespace tool
