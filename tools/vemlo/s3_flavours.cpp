#include "s3_flavours.h"

#include <algorithm>

#include "command_failure.h"
#include "text.h"

namespace tool {
namespace {

std::string hostOf(const std::string& endpoint) {
  const std::size_t scheme = endpoint.find("://");
  const std::string rest = scheme == std::string::npos ? endpoint : endpoint.substr(scheme + 3);
  return rest.substr(0, rest.find_first_of(":/?#"));
}

bool isInDomain(const std::string& host, const std::string& domain) {
  if (domain.empty() || host.size() < domain.size()) return false;
  const std::size_t start = host.size() - domain.size();
  if (upperCase(host.substr(start)) != upperCase(domain)) return false;
  return start == 0 || host[start - 1] == '.';
}

/// A location as the user may specify it, for messages.
std::string describe(const vemlo::Location& location) {
  const std::string code = std::to_string(location.code);
  return location.name.empty() ? code : std::string(location.name) + " (" + code + ")";
}

bool matches(const vemlo::Location& location, const std::string& text) {
  if (text == std::to_string(location.code)) return true;
  return !location.name.empty() && upperCase(std::string(location.name)) == upperCase(text);
}

}  // namespace

const std::vector<S3Flavour>& s3Flavours() {
  static const std::vector<S3Flavour> kFlavours{
      {"aws", "amazonaws.com", vemlo::Flavour::Aws},
      {"china", "amazonaws.com.cn", vemlo::Flavour::China},
      {"wasabi", "wasabisys.com", vemlo::Flavour::Wasabi},
      {"custom", "", vemlo::Flavour::Customized},
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

int locationCode(const S3Flavour& flavour, const std::string& location) {
  const std::vector<vemlo::Location> locations = vemlo::locationsOf(flavour.id);
  if (location.empty()) return locations.front().code;

  std::string known;
  for (const auto& candidate : locations) {
    if (matches(candidate, location)) return candidate.code;
    known += (known.empty() ? "" : ", ") + describe(candidate);
  }
  throw CommandFailure(ExitCode::BadUsage, "the flavour '" + flavour.name + "' has no region '" +
                                               location + "'; it has: " + known);
}

}  // namespace tool
