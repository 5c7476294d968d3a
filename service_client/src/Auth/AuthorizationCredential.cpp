#include "CloudStorage/Auth/AuthorizationCredential.h"

namespace CloudStorage::Auth {

AuthorizationCredential::~AuthorizationCredential() = default;

}  // namespace CloudStorage::Auth
