#include "CloudStorage/Auth/AWSAuthCredential.h"

namespace CloudStorage::Auth {

const char AWSAuthCredential::DEFAULT_GLOBAL_REGION[] = "us-east-1";

AWSAuthCredential::~AWSAuthCredential() = default;

}  // namespace CloudStorage::Auth
