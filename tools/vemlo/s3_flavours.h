#pragma once

#include <libvemlo.hpp>
#include <string>
#include <vector>

namespace tool {

/// A kind of S3 service. It determines the locations of buckets.
struct S3Flavour {
  std::string name;
  /// The domain of its endpoints; empty if they have no common domain.
  std::string domain;
  vemlo::Flavour id;
};

const std::vector<S3Flavour>& s3Flavours();

/// The flavour to which the endpoint's domain belongs, the last one if there is none. For an empty
/// endpoint, the flavour of the library's default.
const S3Flavour& flavourOfEndpoint(const std::string& endpoint);

/// The flavour with this name, which must exist; for an empty name, the flavour of the endpoint.
const S3Flavour& chooseFlavour(const std::string& name, const std::string& endpoint);

/// The code of a location that is given by its name, in any case, or by its code; for an empty
/// `location`, the code of the default. Throws CommandFailure if the flavour has no such location.
int locationCode(const S3Flavour& flavour, const std::string& location);

}  // namespace tool
