#include "tls_identity.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <sys/mman.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace benchmarks {
namespace {

constexpr char kHosts[] =
    "IP:127.0.0.1,DNS:*.blob.core.windows.net,DNS:www.googleapis.com,DNS:graph.microsoft.com,"
    "DNS:api.dropboxapi.com,DNS:drive.amazonaws.com,DNS:cdws.us-east-1.amazonaws.com";

void require(bool success, const char* what) {
  if (!success) throw std::runtime_error(std::string("no ") + what);
}

std::shared_ptr<X509> selfSigned(EVP_PKEY* key) {
  constexpr long kSecondsOfADay = 24L * 60 * 60;
  std::shared_ptr<X509> certificate(X509_new(), &X509_free);
  require(certificate != nullptr, "certificate");
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -kSecondsOfADay);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), kSecondsOfADay);
  X509_set_pubkey(certificate.get(), key);
  X509_NAME* name = X509_get_subject_name(certificate.get());
  const std::string text = "page-server";
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                             reinterpret_cast<const unsigned char*>(text.data()),
                             static_cast<int>(text.size()), -1, 0);
  X509_set_issuer_name(certificate.get(), name);
  const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> hosts(
      X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, kHosts), &X509_EXTENSION_free);
  require(hosts && X509_add_ext(certificate.get(), hosts.get(), -1) == 1, "host names");
  require(X509_sign(certificate.get(), key, EVP_sha256()) != 0, "signature of the certificate");
  return certificate;
}

std::string pem(X509* certificate) {
  const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new(BIO_s_mem()), &BIO_free);
  require(PEM_write_bio_X509(memory.get(), certificate) == 1, "text of the certificate");
  char* text = nullptr;
  const long size = BIO_get_mem_data(memory.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

std::string readFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  require(file.is_open(), name.c_str());
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace

TlsIdentity::TlsIdentity(const std::string& bundle)
    : key_(EVP_EC_gen("P-256"), &EVP_PKEY_free),
      certificate_(selfSigned(key_.get())),
      descriptor_(memfd_create("trusted", 0)) {  // inherited by child processes
  const std::string trusted =
      pem(certificate_.get()) + (bundle.empty() ? std::string() : readFile(bundle));
  const ssize_t written = write(descriptor_, trusted.data(), trusted.size());
  require(written == static_cast<ssize_t>(trusted.size()), "memory for the certificates");
  trustedFile_ = "/proc/self/fd/" + std::to_string(descriptor_);
}

TlsIdentity::~TlsIdentity() { close(descriptor_); }

std::shared_ptr<SSL_CTX> TlsIdentity::serverContext() const {
  std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
  require(context && SSL_CTX_use_certificate(context.get(), certificate_.get()) == 1 &&
              SSL_CTX_use_PrivateKey(context.get(), key_.get()) == 1,
          "server that speaks TLS");
  return context;
}

}  // namespace benchmarks
