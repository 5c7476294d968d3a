#pragma once

namespace CloudStorage::Client::S3::Model {

/// A bucket was made; the service says nothing more that a caller could use.
struct CreateBucketResult {};

}  // namespace CloudStorage::Client::S3::Model
