#pragma once

#include "CloudStorage/Export.h"

namespace CloudStorage::Auth {

/// The credential with which a client authorizes its requests.
class CLOUDSTORAGE_API AuthorizationCredential {
 public:
  /// Defined out of line, here and in the derived classes, so that a process has one type_info for
  /// each class: clients find their own credential type by dynamic_pointer_cast, also across
  /// libraries.
  virtual ~AuthorizationCredential();

  /// True if the credential holds nothing that can authorize a request.
  virtual bool isEmpty() const = 0;
};

}  // namespace CloudStorage::Auth
