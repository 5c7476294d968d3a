#pragma once

#include <openssl/types.h>

#include <memory>
#include <string>

#include "support/memory_file.h"

namespace TestSupport {

/// A certificate authority made for one test.
class TestAuthority {
 public:
  TestAuthority();

  /// A PEM file with the authority's certificate; it exists as long as this object.
  const std::string& certificateFile() const { return file_->path(); }

  /// The TLS side of a server whose certificate holds for `name`, for instance "IP:127.0.0.1" or
  /// "DNS:host".
  std::shared_ptr<SSL_CTX> serverContext(const std::string& name) const;

 private:
  std::shared_ptr<EVP_PKEY> key_;
  std::shared_ptr<X509> certificate_;
  std::unique_ptr<MemoryFile> file_;
};

}  // namespace TestSupport
