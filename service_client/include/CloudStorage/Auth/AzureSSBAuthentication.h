#pragma once

#include <string>
#include <utility>

#include "CloudStorage/Auth/AuthorizationCredential.h"

namespace CloudStorage::Auth {

/// A storage account's name and Shared Key. decodeAccessKey() must succeed before requests can be
/// signed; after that the object does not change and may be shared between threads.
class CLOUDSTORAGE_API AzureSSBAuthentication : public AuthorizationCredential {
 public:
  /// `accessKey` is the key's base64 text as the service issues it.
  AzureSSBAuthentication(std::string accountName, std::string accessKey)
      : accountName_(std::move(accountName)), accessKey_(std::move(accessKey)) {}

  ~AzureSSBAuthentication() override;

  bool isEmpty() const override { return decodedKey_.empty(); }

  /// Decodes the access key, which must be base64 with the standard alphabet and padding, without
  /// any other character (RFC 4648, section 4). Returns false, and leaves the decoded key empty, if
  /// the text is anything else or empty.
  bool decodeAccessKey();

  const std::string& accountName() const { return accountName_; }
  /// The key's bytes; empty until decodeAccessKey() has succeeded.
  const std::string& decodedKey() const { return decodedKey_; }

 private:
  std::string accountName_;
  std::string accessKey_;
  std::string decodedKey_;
};

}  // namespace CloudStorage::Auth
