#pragma once

#include <cstdint>

#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::S3::Model {

/// Where a bucket is to be made. The numbers cross the C interface and never change.
enum class BucketLocationConstraint : std::int32_t {
  UsEast1 = 0,
  UsEast2 = 1,
  UsWest1 = 2,
  UsWest2 = 3,
  ApSouth1 = 4,
  ApSoutheast1 = 5,
  ApSoutheast2 = 6,
  ApNortheast1 = 7,
  ApNortheast2 = 8,
  SaEast1 = 9,
  CnNorth1 = 10,
  CnNorthwest1 = 11,
  EuCentral1 = 12,
  EuWest1 = 13,
  EuWest2 = 14,
  CaCentral1 = 15,
  /// Wherever the session's own endpoint puts it.
  Customized = 16,
};

struct CreateBucketConfiguration {
  Util::Field<BucketLocationConstraint> locationConstraint;
};

}  // namespace CloudStorage::Client::S3::Model
