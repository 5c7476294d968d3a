#pragma once

#include <openssl/types.h>

#include <memory>
#include <mutex>
#include <string>

namespace CloudStorage::Http {

/// The certificates that a TLS server's own must lead back to. They are read at the first handshake
/// and then shared by all handles, because reading the usual bundle costs more than a handshake.
/// Safe for concurrent calls.
class TrustAnchors {
 public:
  /// Where the certificates are. With both empty OpenSSL's default places are taken, else only what
  /// is given here.
  struct Sources {
    std::string file;       ///< PEM certificates, one after the other
    std::string directory;  ///< a folder with hashed names, or several separated by colons
  };

  explicit TrustAnchors(Sources sources);

  /// What SSL_CERT_FILE and SSL_CERT_DIR say now. Other programs honour them, libcurl does not.
  static Sources sourcesFromEnvironment();

  /// The ones of this process, from the environment as it is at the first call.
  static const std::shared_ptr<TrustAnchors>& ofProcess();

  /// Makes `context` trust these certificates, loading them if that has not succeeded yet. Returns
  /// false and says why in `error` if they cannot be loaded.
  bool applyTo(SSL_CTX* context, std::string& error);

  /// How often the certificates were loaded.
  int loadCount() const;

 private:
  struct StoreDeleter {
    void operator()(X509_STORE* store) const;
  };
  using Store = std::unique_ptr<X509_STORE, StoreDeleter>;

  /// Null with `error` filled if the sources cannot be read.
  Store load(std::string& error) const;

  const Sources sources_;
  mutable std::mutex mutex_;
  Store store_;  // guarded by mutex_, as is the count
  int loadCount_ = 0;
};

}  // namespace CloudStorage::Http
