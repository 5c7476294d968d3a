#pragma once

#include <openssl/types.h>

#include <memory>
#include <string>

namespace benchmarks {

/// A key and the self-signed certificate that goes with it, made anew for each process: valid for
/// 127.0.0.1 and for the hosts of the services that the library knows.
class TlsIdentity {
 public:
  /// `bundle` names a file with further certificates, which are to be trusted as well. Throws
  /// std::runtime_error.
  explicit TlsIdentity(const std::string& bundle = {});
  ~TlsIdentity();
  TlsIdentity(const TlsIdentity&) = delete;
  TlsIdentity& operator=(const TlsIdentity&) = delete;

  /// Holds the certificates to trust. Not on a disk: for this process and those that it starts.
  const std::string& trustedFile() const { return trustedFile_; }

  /// For servers.
  std::shared_ptr<SSL_CTX> serverContext() const;

 private:
  std::shared_ptr<EVP_PKEY> key_;
  std::shared_ptr<X509> certificate_;
  int descriptor_;
  std::string trustedFile_;
};

}  // namespace benchmarks
