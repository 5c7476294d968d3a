#pragma once

#include <chrono>
#include <string>

#include "CloudStorage/Auth/AzureSSBAuthentication.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Auth::AzureSharedKey {

/// The version of the Blob service's REST interface that requests are made and signed for. Old
/// enough for emulators and sovereign clouds; from it on, names that XML cannot carry are encoded.
inline constexpr char kVersion[] = "2021-12-02";

/// What is signed: verb, standard headers, `x-ms-` headers, and account, path and decoded query.
std::string stringToSign(const Http::Request& request, const std::string& accountName);

/// Adds `x-ms-date`, `x-ms-version` and `authorization` to the headers of `request`, which must be
/// complete otherwise.
void sign(Http::Request& request, const AzureSSBAuthentication& authentication,
          std::chrono::system_clock::time_point now);

}  // namespace CloudStorage::Auth::AzureSharedKey
