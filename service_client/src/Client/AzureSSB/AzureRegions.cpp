#include "Client/AzureSSB/AzureRegions.h"

#include <string>

namespace CloudStorage::Client::AzureSSB {
namespace {

struct RegionName {
  std::string_view text;  // lower-case, without separators
  Region region;
};

// Whole names. A longer name may belong to another cloud: germanynorth and germanywestcentral are
// regions of the global cloud.
constexpr RegionName kNames[] = {
    {"china", Region::China},
    {"azurechina", Region::China},
    {"azurechinacloud", Region::China},
    {"germany", Region::Germany},
    {"azuregerman", Region::Germany},
    {"azuregermancloud", Region::Germany},
    {"germanycentral", Region::Germany},
    {"germanynortheast", Region::Germany},
    {"azureusgovernment", Region::USGovernment},
    {"government", Region::USGovernment},
};

// Prefixes of names, because regions are added to these clouds over time.
constexpr RegionName kBeginnings[] = {
    {"chinaeast", Region::China},
    {"chinanorth", Region::China},
    {"usgov", Region::USGovernment},
    {"usdod", Region::USGovernment},
};

std::string normalize(const std::string& regionName) {
  std::string normalized;
  for (const char c : regionName) {
    if (c == ' ' || c == '-' || c == '_') continue;
    normalized += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return normalized;
}

}  // namespace

Region AzureSSBClient::getRegionForName(const std::string& regionName) {
  const std::string name = normalize(regionName);
  for (const auto& [text, region] : kNames) {
    if (name == text) return region;
  }
  for (const auto& [text, region] : kBeginnings) {
    if (name.compare(0, text.size(), text) == 0) return region;
  }
  return Region::Global;
}

std::string_view hostSuffixOf(Region region) {
  switch (region) {
    case Region::Global:
      return "core.windows.net";
    case Region::China:
      return "core.chinacloudapi.cn";
    case Region::Germany:
      return "core.cloudapi.de";
    case Region::USGovernment:
      return "core.usgovcloudapi.net";
  }
  return {};
}

}  // namespace CloudStorage::Client::AzureSSB
