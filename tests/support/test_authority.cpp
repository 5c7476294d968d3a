#include "support/test_authority.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <atomic>
#include <stdexcept>

namespace TestSupport {
namespace {

constexpr long kHour = 3600;

void require(bool done, const char* what) {
  if (!done) throw std::runtime_error(what);
}

std::shared_ptr<EVP_PKEY> newKey() { return {EVP_EC_gen("P-256"), EVP_PKEY_free}; }

void addExtension(X509* certificate, int kind, const std::string& value) {
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
      X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()), X509_EXTENSION_free);
  require(extension && X509_add_ext(certificate, extension.get(), -1) == 1, "extension");
}

// Authorities with the same name and different keys would cause another error than unknown ones.
std::string uniqueName() {
  static std::atomic<int> count{0};
  return "Test authority " + std::to_string(++count);
}

/// A certificate without extensions and without a signature.
std::shared_ptr<X509> newCertificate(const std::string& commonName, long serial, EVP_PKEY* key) {
  std::shared_ptr<X509> certificate(X509_new(), X509_free);
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kHour);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kHour);
  X509_set_pubkey(certificate.get(), key);
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1, 0);
  return certificate;
}

void sign(X509* certificate, const X509_NAME* issuer, EVP_PKEY* issuerKey) {
  X509_set_issuer_name(certificate, issuer);
  require(X509_sign(certificate, issuerKey, EVP_sha256()) > 0, "X509_sign");
}

std::string pemText(X509* certificate) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), BIO_free);
  require(PEM_write_bio_X509(memory.get(), certificate) == 1, "PEM_write_bio_X509");
  char* text = nullptr;
  const auto length = BIO_get_mem_data(memory.get(), &text);
  return {text, static_cast<std::size_t>(length)};
}

}  // namespace

TestAuthority::TestAuthority()
    : key_(newKey()), certificate_(newCertificate(uniqueName(), 1, key_.get())) {
  addExtension(certificate_.get(), NID_basic_constraints, "critical,CA:TRUE");
  addExtension(certificate_.get(), NID_key_usage, "critical,keyCertSign");
  sign(certificate_.get(), X509_get_subject_name(certificate_.get()), key_.get());
  file_ = std::make_unique<MemoryFile>(pemText(certificate_.get()));
}

std::shared_ptr<SSL_CTX> TestAuthority::serverContext(const std::string& name) const {
  const auto key = newKey();
  const auto certificate = newCertificate("Test server", 2, key.get());
  addExtension(certificate.get(), NID_subject_alt_name, name);
  sign(certificate.get(), X509_get_subject_name(certificate_.get()), key_.get());

  std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
  require(SSL_CTX_use_certificate(context.get(), certificate.get()) == 1, "certificate");
  require(SSL_CTX_use_PrivateKey(context.get(), key.get()) == 1, "key");
  return context;
}

}  // namespace TestSupport
