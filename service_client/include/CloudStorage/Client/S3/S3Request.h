#pragma once

#include "CloudStorage/Client/SerializableWSRequest.h"

namespace CloudStorage::Client::S3 {

/// Base of the S3 requests whose body is a text.
class CLOUDSTORAGE_API S3Request : public SerializableWSRequest {};

}  // namespace CloudStorage::Client::S3
