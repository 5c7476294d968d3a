#pragma once

namespace CloudStorage::Client::S3::Model {

/// An object was stored; nothing more is read from the answer.
struct PutObjectResult {};

}  // namespace CloudStorage::Client::S3::Model
