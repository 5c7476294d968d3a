#pragma once

#include <chrono>
#include <string>

#include "CloudStorage/Auth/AzureSSBAuthentication.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Auth::AzureSharedKey {

/// The version of the Blob service's REST API that requests are sent and signed for. Emulators and
/// sovereign clouds support it, and it is the first that encodes names with characters that XML
/// cannot contain.
inline constexpr char kVersion[] = "2021-12-02";

/// The text that is signed: method, standard headers, `x-ms-` headers, account, path and decoded
/// query.
std::string stringToSign(const Http::Request& request, const std::string& accountName);

/// Adds `x-ms-date`, `x-ms-version` and `authorization` to the headers of `request`, which must
/// otherwise be complete.
void sign(Http::Request& request, const AzureSSBAuthentication& authentication,
          std::chrono::system_clock::time_point now);

}  // namespace CloudStorage::Auth::AzureSharedKey
