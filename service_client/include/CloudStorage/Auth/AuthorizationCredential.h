#pragma once

#include "CloudStorage/Export.h"

namespace CloudStorage::Auth {

/// What a client authorizes its requests with.
class CLOUDSTORAGE_API AuthorizationCredential {
 public:
  virtual ~AuthorizationCredential() = default;

  /// True while the credential holds nothing that could authorize a request.
  virtual bool isEmpty() const = 0;
};

}  // namespace CloudStorage::Auth
