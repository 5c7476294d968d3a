#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"

#include <string_view>
#include <utility>

namespace CloudStorage::Client::AzureSSB {
namespace {

struct RegionName {
  std::string_view text;  // lower-case, without separators
  Region region;
};

// Names that count as they stand: a longer name may belong to another cloud, as germanynorth and
// germanywestcentral do, which are regions of the global one.
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

// Beginnings of the names of regions, of which there are more every few years.
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

AzureSSBClient::AzureSSBClient(std::string accountName,
                               std::shared_ptr<Auth::AzureSSBAuthentication> authentication,
                               std::shared_ptr<RetryStrategy> retryStrategy,
                               std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                               std::shared_ptr<Util::RateLimiter> readRateLimiter,
                               std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                               std::shared_ptr<Util::Threading::Executor> executor,
                               Config::ProxySetting proxy, Region region)
    : WSClient({std::move(authentication), std::move(retryStrategy), std::move(errorMarshaller),
                std::move(readRateLimiter), std::move(writeRateLimiter), std::move(executor),
                std::move(proxy)}),
      accountName_(std::move(accountName)),
      region_(region) {}

AzureSSBClient::~AzureSSBClient() = default;

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

}  // namespace CloudStorage::Client::AzureSSB
