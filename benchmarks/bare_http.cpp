#include "bare_http.h"

#include <curl/curl.h>

#include <stdexcept>

namespace benchmarks {
namespace {

constexpr long kReceiveBuffer = 64L * 1024;
constexpr char kUserAgent[] = "libvemlo/1.0.0";  // as long as the library's
constexpr char kUserAgentForCompression[] = "libvemlo/1.0.0 (gzip)";

std::size_t dropBody(char* /*data*/, std::size_t size, std::size_t count, void* /*user*/) {
  return size * count;
}

std::size_t keepBody(char* data, std::size_t size, std::size_t count, void* user) {
  static_cast<std::string*>(user)->append(data, size * count);
  return size * count;
}

}  // namespace

std::string Route::address() const {
  return (kind == Kind::Plain ? "http://127.0.0.1:" : "https://127.0.0.1:") + std::to_string(port);
}

struct BareHttp::Implementation {
  Implementation(const Route& route, bool acceptsCompression) {
    const bool isProxy = route.kind == Route::Kind::TlsThroughProxy;
    const std::string proxy = isProxy ? "127.0.0.1:" + std::to_string(route.port) : "";
    curl_easy_setopt(handle, CURLOPT_PROXY, proxy.c_str());
    curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(handle, CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE));
    if (!route.trustedFile.empty()) {
      curl_easy_setopt(handle, CURLOPT_CAINFO, route.trustedFile.c_str());
      curl_easy_setopt(handle, CURLOPT_CAPATH, nullptr);
    }
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(handle, CURLOPT_BUFFERSIZE, kReceiveBuffer);
    curl_easy_setopt(handle, CURLOPT_USERAGENT,
                     acceptsCompression ? kUserAgentForCompression : kUserAgent);
    if (acceptsCompression) curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
  }
  ~Implementation() {
    curl_slist_free_all(headers);
    curl_easy_cleanup(handle);
  }
  Implementation(const Implementation&) = delete;
  Implementation& operator=(const Implementation&) = delete;

  void send(const BareRequest& request, curl_write_callback receive) {
    curl_easy_setopt(handle, CURLOPT_URL, request.url.c_str());
    if (request.body.empty()) {
      curl_easy_setopt(handle, CURLOPT_HTTPGET, 1L);
    } else {
      curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(request.body.size()));
      curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.c_str());
    }
    body.clear();  // keeps the allocated memory
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, receive);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, &body);
    const CURLcode code = curl_easy_perform(handle);
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    if (code != CURLE_OK || status != 200) throw std::runtime_error(curl_easy_strerror(code));
  }

  CURL* handle = curl_easy_init();
  curl_slist* headers = nullptr;
  std::string body;
};

BareHttp::BareHttp(const Route& route, bool acceptsCompression)
    : implementation_(std::make_unique<Implementation>(route, acceptsCompression)) {}

BareHttp::~BareHttp() = default;

void BareHttp::setHeaders(const std::vector<std::string>& lines) {
  curl_slist_free_all(implementation_->headers);
  implementation_->headers = nullptr;
  for (const std::string& line : lines) {
    implementation_->headers = curl_slist_append(implementation_->headers, line.c_str());
  }
  curl_easy_setopt(implementation_->handle, CURLOPT_HTTPHEADER, implementation_->headers);
}

std::string& BareHttp::fetch(const BareRequest& request) {
  implementation_->send(request, keepBody);
  return implementation_->body;
}

void BareHttp::fetchAndDrop(const BareRequest& request) {
  implementation_->send(request, dropBody);
}

}  // namespace benchmarks
