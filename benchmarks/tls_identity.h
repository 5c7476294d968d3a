#pragma once

#include <openssl/types.h>

#include <memory>
#include <string>

namespace benchmarks {

/// A key and a self-signed certificate for it, made anew for each process. The certificate is valid
/// for 127.0.0.1 and for the hosts of the services that the library supports.
class TlsIdentity {
 public:
  /// `bundle` is the name of a file with further trusted certificates. Throws std::runtime_error.
  explicit TlsIdentity(const std::string& bundle = {});
  ~TlsIdentity();
  TlsIdentity(const TlsIdentity&) = delete;
  TlsIdentity& operator=(const TlsIdentity&) = delete;

  /// The name of a file in memory with the trusted certificates, for this process and its children.
  const std::string& trustedFile() const { return trustedFile_; }

  /// A context for servers with the key and the certificate.
  std::shared_ptr<SSL_CTX> serverContext() const;

 private:
  std::shared_ptr<EVP_PKEY> key_;
  std::shared_ptr<X509> certificate_;
  int descriptor_;
  std::string trustedFile_;
};

}  // namespace benchmarks
