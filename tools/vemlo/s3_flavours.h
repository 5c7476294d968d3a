#pragma once

#include <libvemlo.h>

#include <string>
#include <vector>

namespace vemlo {

/// A kind of S3 service, which decides where buckets can be made.
struct S3Flavour {
  std::string name;
  /// What the hosts of its endpoints end with; empty for those that have nothing in common.
  std::string domain;
  location_contraint_name_mapping* (*table)();
};

const std::vector<S3Flavour>& s3Flavours();

/// The flavour that an endpoint is known to have; the library's default for an empty one.
const S3Flavour& flavourOfEndpoint(const std::string& endpoint);

/// The flavour called `name`, which must be one; if that is empty, the endpoint's.
const S3Flavour& chooseFlavour(const std::string& name, const std::string& endpoint);

/// Where the flavour can make buckets, its default first.
std::vector<location_contraint_name_mapping> locationsOf(const S3Flavour& flavour);

/// The code of the location with this name, in letters of either case, or this code; if `location`
/// is empty, of the default. Throws Failure if the flavour has no such location.
int locationCode(const S3Flavour& flavour, const std::string& location);

}  // namespace vemlo
