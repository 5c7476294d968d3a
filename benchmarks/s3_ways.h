#pragma once

#include <array>
#include <functional>
#include <string>

#include "bare_s3_client.h"
#include "libvemlo.h"
#include "listing_benchmark.h"

namespace benchmarks {

/// The three ways of getting one listing of S3. The two functions get it and release it, and throw
/// if it is not the one that was served.
std::array<ListingWay, 3> s3Ways(const BareS3Client::Target& target,
                                 const std::function<void(BareS3Client&)>& listBare,
                                 const std::string& libraryFunction,
                                 const std::function<void(session*)>& listThroughLibrary);

}  // namespace benchmarks
