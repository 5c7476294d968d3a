#pragma once

#include <openssl/types.h>

#include <memory>
#include <mutex>
#include <string>

#include "CloudStorage/Util/Outcome.h"
#include "CloudStorage/Util/Status.h"

namespace CloudStorage::Http {

/// The certificates to which the certificate chain of a TLS server must lead. They are loaded at
/// the first handshake and then shared by all handles, because loading the usual bundle costs more
/// than a handshake. Safe for concurrent calls.
class TrustAnchors {
 public:
  /// Where the certificates are. If both members are empty, OpenSSL's default locations are used,
  /// otherwise only what is given here.
  struct Sources {
    std::string file;       ///< a file with concatenated PEM certificates
    std::string directory;  ///< a folder with hashed names, or several separated by colons
    /// Whether the host has set them, as opposed to the environment.
    bool areSetByHost = false;
  };

  explicit TrustAnchors(Sources sources);

  /// The current values of SSL_CERT_FILE and SSL_CERT_DIR. Other programs use them, libcurl does
  /// not.
  static Sources sourcesFromEnvironment();

  /// The process-wide instance, with the sources in the environment at the first call.
  static const std::shared_ptr<TrustAnchors>& processWide();

  /// Makes `context` trust these certificates, and loads them unless they are loaded already. Fails
  /// if they cannot be loaded.
  Util::Status applyTo(SSL_CTX* context);

  /// The number of times that the certificates were loaded.
  int loadCount() const;

 private:
  struct StoreDeleter {
    void operator()(X509_STORE* store) const;
  };
  using Store = std::unique_ptr<X509_STORE, StoreDeleter>;

  Util::Outcome<Store, Util::Status> load() const;

  const Sources sources_;
  mutable std::mutex mutex_;
  Store store_;  // guarded by mutex_, as is the count
  int loadCount_ = 0;
};

}  // namespace CloudStorage::Http
