#include "bare_s3_client.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <ctime>
#include <pugixml.hpp>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "records.h"

namespace benchmarks {
namespace {

constexpr std::size_t kDigestSize = 32;
constexpr char kEmptyPayloadHash[] =
    "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

using Digest = std::array<unsigned char, kDigestSize>;

Digest sha256(std::string_view data) {
  Digest digest{};
  if (EVP_Digest(data.data(), data.size(), digest.data(), nullptr, EVP_sha256(), nullptr) != 1) {
    throw std::runtime_error("no SHA-256");
  }
  return digest;
}

Digest hmac(const void* key, std::size_t keySize, std::string_view data) {
  Digest digest{};
  const auto* bytes = reinterpret_cast<const unsigned char*>(data.data());
  if (HMAC(EVP_sha256(), key, static_cast<int>(keySize), bytes, data.size(), digest.data(),
           nullptr) == nullptr) {
    throw std::runtime_error("no HMAC");
  }
  return digest;
}

Digest hmac(const Digest& key, std::string_view data) { return hmac(key.data(), key.size(), data); }

std::string hex(const Digest& digest) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text(2 * kDigestSize, '\0');
  for (std::size_t i = 0; i < kDigestSize; ++i) {
    text[2 * i] = kDigits[digest[i] >> 4U];
    text[2 * i + 1] = kDigits[digest[i] & 15U];
  }
  return text;
}

std::string timestamp() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  std::array<char, 17> text{};
  std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &utc);
  return text.data();
}

/// Signs a GET of one target.
class Signer {
 public:
  Signer(BareS3Client::Account account, std::string host, BareS3Client::Target target)
      : account_(std::move(account)), host_(std::move(host)), target_(std::move(target)) {}

  std::string authorization(const std::string& time) {
    const std::string date = time.substr(0, 8);
    if (date != keyDate_) deriveKey(date);
    const std::string scope = date + '/' + account_.region + "/s3/aws4_request";
    const std::string canonical =
        "GET\n" + target_.path + '\n' + target_.query + "\nhost:" + host_ +
        "\nx-amz-content-sha256:" + kEmptyPayloadHash + "\nx-amz-date:" + time + "\n\n" +
        kSignedHeaders + '\n' + kEmptyPayloadHash;
    const std::string toSign =
        "AWS4-HMAC-SHA256\n" + time + '\n' + scope + '\n' + hex(sha256(canonical));
    return "AWS4-HMAC-SHA256 Credential=" + account_.accessKey + '/' + scope +
           ", SignedHeaders=" + kSignedHeaders + ", Signature=" + hex(hmac(key_, toSign));
  }

 private:
  static constexpr char kSignedHeaders[] = "host;x-amz-content-sha256;x-amz-date";

  void deriveKey(const std::string& date) {
    const std::string start = "AWS4" + account_.secretKey;
    key_ = hmac(start.data(), start.size(), date);
    for (const std::string_view part : {std::string_view(account_.region), std::string_view("s3"),
                                        std::string_view("aws4_request")}) {
      key_ = hmac(key_, part);
    }
    keyDate_ = date;
  }

  BareS3Client::Account account_;
  std::string host_;
  BareS3Client::Target target_;
  std::string keyDate_;
  Digest key_{};
};

}  // namespace

struct BareS3Client::Implementation {
  Implementation(const Route& route, const Account& account, const Target& target)
      : http(route, false),
        host("127.0.0.1:" + std::to_string(route.port)),
        request(
            {route.address() + target.path + (target.query.empty() ? "" : '?' + target.query), ""}),
        signer(account, host, target) {}

  void sign() {
    const std::string time = timestamp();
    http.setHeaders({"Accept:", "authorization: " + signer.authorization(time), "host: " + host,
                     std::string("x-amz-content-sha256: ") + kEmptyPayloadHash,
                     "x-amz-date: " + time});
  }

  /// `document` is valid until the next call.
  void fetchDocument(pugi::xml_document& document) {
    sign();
    std::string& page = http.fetch(request);
    if (!document.load_buffer_inplace(page.data(), page.size())) {
      throw std::runtime_error("the page is no XML");
    }
  }

  BareHttp http;
  std::string host;
  BareRequest request;
  Signer signer;
};

BareS3Client::BareS3Client(const Route& route, const Account& account, const Target& target)
    : implementation_(std::make_unique<Implementation>(route, account, target)) {}

BareS3Client::~BareS3Client() = default;

void BareS3Client::fetchAndDrop() {
  implementation_->sign();
  implementation_->http.fetchAndDrop(implementation_->request);
}

char** BareS3Client::listBuckets(int& count) {
  pugi::xml_document document;
  implementation_->fetchDocument(document);
  std::vector<char*> names;
  for (const auto bucket :
       document.child("ListAllMyBucketsResult").child("Buckets").children("Bucket")) {
    names.push_back(copyOf(bucket.child_value("Name")));
  }
  count = static_cast<int>(names.size());
  return arrayOf(names);
}

directory* BareS3Client::listPrefixes(int& count) {
  pugi::xml_document document;
  implementation_->fetchDocument(document);
  std::vector<directory> directories;
  for (const auto prefixes : document.child("ListBucketResult").children("CommonPrefixes")) {
    directories.push_back({copyOf(prefixes.child_value("Prefix")), nullptr});
  }
  count = static_cast<int>(directories.size());
  return arrayOf(directories);
}

}  // namespace benchmarks
