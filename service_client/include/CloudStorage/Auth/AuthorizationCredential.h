#pragma once

#include "CloudStorage/Export.h"

namespace CloudStorage::Auth {

/// What a client authorizes its requests with.
class CLOUDSTORAGE_API AuthorizationCredential {
 public:
  /// Not inline, here and in the credentials: clients look for their own kind by a checked cast,
  /// and that wants one type record for all libraries of a process.
  virtual ~AuthorizationCredential();

  /// True while the credential holds nothing that could authorize a request.
  virtual bool isEmpty() const = 0;
};

}  // namespace CloudStorage::Auth
