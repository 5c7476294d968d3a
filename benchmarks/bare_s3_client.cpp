#include "bare_s3_client.h"

#include <curl/curl.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <pugixml.hpp>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace benchmarks {
namespace {

constexpr std::size_t kDigestSize = 32;
constexpr long kReceiveBuffer = 64L * 1024;
constexpr char kUserAgent[] = "libvemlo/1.0.0";  // as long as the library's
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

std::size_t dropBody(char* /*data*/, std::size_t size, std::size_t count, void* user) {
  *static_cast<std::size_t*>(user) += size * count;
  return size * count;
}

std::size_t keepBody(char* data, std::size_t size, std::size_t count, void* user) {
  static_cast<std::string*>(user)->append(data, size * count);
  return size * count;
}

}  // namespace

struct BareS3Client::Implementation {
  Implementation(std::uint16_t port, const Account& account, const Target& target)
      : host("127.0.0.1:" + std::to_string(port)), signer(account, host, target) {
    const std::string query = target.query.empty() ? "" : '?' + target.query;
    const std::string url = "http://" + host + target.path + query;
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(handle, CURLOPT_BUFFERSIZE, kReceiveBuffer);
    curl_easy_setopt(handle, CURLOPT_USERAGENT, kUserAgent);
  }
  ~Implementation() { curl_easy_cleanup(handle); }
  Implementation(const Implementation&) = delete;
  Implementation& operator=(const Implementation&) = delete;

  template <typename Receiver>
  void fetch(curl_write_callback write, Receiver& receiver) {
    const std::string time = timestamp();
    curl_slist* headers = nullptr;
    for (const std::string& line :
         {std::string("Accept:"), "authorization: " + signer.authorization(time), "host: " + host,
          std::string("x-amz-content-sha256: ") + kEmptyPayloadHash, "x-amz-date: " + time}) {
      headers = curl_slist_append(headers, line.c_str());
    }
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, write);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &receiver);
    const CURLcode code = curl_easy_perform(handle);
    curl_slist_free_all(headers);
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    if (code != CURLE_OK || status != 200) throw std::runtime_error(curl_easy_strerror(code));
  }

  /// The document lies in `body` and is good until the next call.
  void fetchDocument(pugi::xml_document& document) {
    body.clear();  // keeps its memory
    fetch(keepBody, body);
    if (!document.load_buffer_inplace(body.data(), body.size())) {
      throw std::runtime_error("the page is no XML");
    }
  }

  CURL* handle = curl_easy_init();
  std::string host;
  Signer signer;
  std::string body;
};

BareS3Client::BareS3Client(std::uint16_t port, const Account& account, const Target& target)
    : implementation_(std::make_unique<Implementation>(port, account, target)) {}

BareS3Client::~BareS3Client() = default;

std::size_t BareS3Client::fetchAndDrop() {
  std::size_t size = 0;
  implementation_->fetch(dropBody, size);
  return size;
}

char** BareS3Client::listBuckets(int& count) {
  pugi::xml_document document;
  implementation_->fetchDocument(document);
  std::vector<const char*> names;
  for (const auto bucket :
       document.child("ListAllMyBucketsResult").child("Buckets").children("Bucket")) {
    names.push_back(bucket.child_value("Name"));
  }
  auto** buckets = static_cast<char**>(std::calloc(names.size(), sizeof(char*)));
  for (std::size_t i = 0; i < names.size(); ++i) buckets[i] = strdup(names[i]);
  count = static_cast<int>(names.size());
  return buckets;
}

directory* BareS3Client::listPrefixes(int& count) {
  pugi::xml_document document;
  implementation_->fetchDocument(document);
  std::vector<const char*> names;
  for (const auto prefixes : document.child("ListBucketResult").children("CommonPrefixes")) {
    names.push_back(prefixes.child_value("Prefix"));
  }
  auto* directories = static_cast<directory*>(std::calloc(names.size(), sizeof(directory)));
  for (std::size_t i = 0; i < names.size(); ++i) directories[i].name = strdup(names[i]);
  count = static_cast<int>(names.size());
  return directories;
}

}  // namespace benchmarks
