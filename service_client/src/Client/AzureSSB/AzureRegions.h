#pragma once

#include <string_view>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"

namespace CloudStorage::Client::AzureSSB {

/// The end of the hosts of a cloud, such as "core.windows.net".
std::string_view hostSuffixOf(Region region);

}  // namespace CloudStorage::Client::AzureSSB
