#include "CloudStorage/Auth/AzureSSBAuthentication.h"

#include "Auth/Digest.h"

namespace CloudStorage::Auth {

AzureSSBAuthentication::~AzureSSBAuthentication() = default;

bool AzureSSBAuthentication::decodeAccessKey() {
  decodedKey_ = base64Decode(accessKey_).value_or(std::string());
  return !decodedKey_.empty();
}

}  // namespace CloudStorage::Auth
