#include "Http/TrustAnchors.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

#include <cstdlib>
#include <utility>

namespace CloudStorage::Http {
namespace {

// A program with more privileges than its user must not trust what the user's environment names.
std::string environmentVariable(const char* name) {
  const char* value = ::secure_getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

Util::Status failure(std::string reason) { return {1, std::move(reason)}; }

}  // namespace

void TrustAnchors::StoreDeleter::operator()(X509_STORE* store) const { X509_STORE_free(store); }

TrustAnchors::TrustAnchors(Sources sources) : sources_(std::move(sources)) {}

TrustAnchors::Sources TrustAnchors::sourcesFromEnvironment() {
  return {environmentVariable("SSL_CERT_FILE"), environmentVariable("SSL_CERT_DIR"), false};
}

const std::shared_ptr<TrustAnchors>& TrustAnchors::processWide() {
  static const auto anchors = std::make_shared<TrustAnchors>(sourcesFromEnvironment());
  return anchors;
}

Util::Status TrustAnchors::applyTo(SSL_CTX* context) {
  const std::lock_guard lock(mutex_);
  if (!store_) {
    auto loaded = load();
    if (!loaded.isSuccess()) return loaded.getError();
    store_ = std::move(loaded).getResult();
    ++loadCount_;
  }
  SSL_CTX_set1_cert_store(context, store_.get());
  return {};
}

int TrustAnchors::loadCount() const {
  const std::lock_guard lock(mutex_);
  return loadCount_;
}

Util::Outcome<TrustAnchors::Store, Util::Status> TrustAnchors::load() const {
  Store store(X509_STORE_new());
  if (!store) return failure("No memory for the trusted certificates");

  // Every given certificate is trusted, even if it is not a root.
  X509_STORE_set_flags(store.get(), X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_TRUSTED_FIRST);

  if (sources_.file.empty() && sources_.directory.empty()) {
    // A system usually has either a bundle or a folder, so a missing one is not an error.
    X509_STORE_load_file(store.get(), X509_get_default_cert_file());
    X509_STORE_load_path(store.get(), X509_get_default_cert_dir());
  }
  const bool hasFile =
      sources_.file.empty() || X509_STORE_load_file(store.get(), sources_.file.c_str()) == 1;
  const bool hasDirectory = !hasFile || sources_.directory.empty() ||
                            X509_STORE_load_path(store.get(), sources_.directory.c_str()) == 1;
  ERR_clear_error();  // otherwise a missing file's error would be reported for the handshake
  if (!hasFile) {
    return failure((sources_.areSetByHost ? "The host" : "SSL_CERT_FILE") +
                   std::string(" names a file without readable certificates: ") + sources_.file);
  }
  if (!hasDirectory) {
    return failure((sources_.areSetByHost ? "The host's folder" : "SSL_CERT_DIR") +
                   std::string(" cannot be used: ") + sources_.directory);
  }
  return store;
}

}  // namespace CloudStorage::Http
