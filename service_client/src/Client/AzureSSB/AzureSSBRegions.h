#pragma once

#include <string>
#include <string_view>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"

namespace CloudStorage::Client::AzureSSB {

/// See AzureSSBClient::getRegionForName().
Region regionForName(const std::string& regionName);

/// What follows `<account>.blob.` in the hosts of a cloud.
std::string_view hostSuffixOf(Region region);

}  // namespace CloudStorage::Client::AzureSSB
