#include "Http/CurlRequest.h"

#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <string_view>

#include "Http/CurlSetup.h"
#include "Http/StandardDescriptors.h"
#include "Util/Text.h"

namespace CloudStorage::Http {
namespace {

// libcurl reads a limit of 0 as none.
long timeLimit(std::chrono::milliseconds limit, const Request& request) {
  return std::max(1L, static_cast<long>(std::min(limit, request.timeLimit).count()));
}

void setLimits(CurlSetup& setup, const CurlTransport::Limits& limits, const Request& request) {
  setup.set(CURLOPT_CONNECTTIMEOUT_MS, timeLimit(limits.connect, request));
  setup.set(CURLOPT_LOW_SPEED_LIMIT, 1L);
  setup.set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(limits.silence.count()));
  setup.set(CURLOPT_TIMEOUT_MS, timeLimit(limits.total, request));
}

// With close-on-exec, so that programs that the host starts do not inherit the connections.
curl_socket_t openSocket(void* /*user*/, curlsocktype /*purpose*/, curl_sockaddr* address) {
  return moveAboveStandard(
      ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol));
}

void setConnection(CurlSetup& setup) {
  constexpr long kReceiveBuffer = 64L * 1024;
  setup.set(CURLOPT_NOSIGNAL, 1L);
  setup.set(CURLOPT_PROTOCOLS_STR, "http,https");
  // Each call uses a connection of its own, so HTTP/2 would have no streams to multiplex.
  setup.set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  setup.set(CURLOPT_PATH_AS_IS, 1L);
  setup.set(CURLOPT_FOLLOWLOCATION, 0L);
  setup.set(CURLOPT_OPENSOCKETFUNCTION, &openSocket);
  setup.set(CURLOPT_TCP_KEEPALIVE, 1L);
  setup.set(CURLOPT_BUFFERSIZE, kReceiveBuffer);
  setup.set(CURLOPT_SSL_VERIFYPEER, 1L);
  setup.set(CURLOPT_SSL_VERIFYHOST, 2L);
  setup.set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  setup.set(CURLOPT_PROXY_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
  // libcurl would load its own CA bundle for every handle; TrustAnchors loads one for all handles.
  for (const auto option :
       {CURLOPT_CAINFO, CURLOPT_CAPATH, CURLOPT_PROXY_CAINFO, CURLOPT_PROXY_CAPATH}) {
    setup.set(option, static_cast<const char*>(nullptr));
  }
}

// The proxy of a session is defined by its settings alone. An empty proxy and an empty list of
// exceptions, unlike unset ones, prevent libcurl from reading them from the environment.
void setProxy(CurlSetup& setup, const Config::ProxySetting& proxy) {
  setup.set(CURLOPT_PROXY, proxy.host.c_str());
  setup.set(CURLOPT_NOPROXY, "");
  if (proxy.host.empty()) return;

  if (proxy.port != 0) setup.set(CURLOPT_PROXYPORT, static_cast<long>(proxy.port));
  setup.set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  setup.set(CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE));
  if (proxy.username.empty()) return;
  setup.set(CURLOPT_PROXYUSERNAME, proxy.username.c_str());
  setup.set(CURLOPT_PROXYPASSWORD, proxy.password.c_str());
  setup.set(CURLOPT_PROXYAUTH, static_cast<long>(CURLAUTH_BASIC | CURLAUTH_DIGEST | CURLAUTH_NTLM));
}

void setMethod(CurlSetup& setup, const Request& request) {
  if (request.method == Method::Get) setup.set(CURLOPT_HTTPGET, 1L);
  if (request.method == Method::Head) setup.set(CURLOPT_NOBODY, 1L);
  if (request.method != Method::Put && request.method != Method::Post) return;

  // A PUT is sent as a POST with another method name. libcurl then has the whole body in memory,
  // knows its length even if it is 0, and can send it again without a callback to rewind it.
  setup.set(CURLOPT_POST, 1L);
  setup.set(CURLOPT_POSTFIELDS, request.body.data());
  setup.set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
  setup.set(CURLOPT_CUSTOMREQUEST, methodName(request.method));
}

// libcurl repeats a request, also a POST, if a reused connection ends before any byte of the
// response. On a new connection it does not; later requests may reuse that connection.
void setRepetition(CurlSetup& setup, const Request& request) {
  setup.set(CURLOPT_FRESH_CONNECT, request.isSentOnce ? 1L : 0L);
}

}  // namespace

CurlRequest::CurlRequest(const Request& request, const CurlTransport::Options& options)
    : request_(request), options_(options), url_(request.uri.toString()) {
  // A line without a value removes a header that libcurl adds by itself. Only the request decides
  // on its headers, and `Expect` would delay each larger upload.
  for (const char* own : {"Accept:", "Content-Type:", "Expect:"}) addHeaderLine(own);
  for (const auto& [name, value] : request.headers) {
    if (Util::trimmed(value).empty()) continue;
    std::string line(name);
    line.append(": ").append(value);
    addHeaderLine(line.c_str());
  }
}

void CurlRequest::addHeaderLine(const char* line) {
  curl_slist* longer = curl_slist_append(headerLines_.get(), line);
  if (longer == nullptr) throw std::bad_alloc();
  static_cast<void>(headerLines_.release());  // `longer` is the same list, or a new one
  headerLines_.reset(longer);
}

CURLcode CurlRequest::applyTo(CURL* handle) const {
  CurlSetup setup(handle);
  setLimits(setup, options_.limits, request_);
  setConnection(setup);
  setProxy(setup, options_.proxy);
  // Some services compress only if the user agent contains "gzip".
  setup.set(CURLOPT_USERAGENT,
            options_.acceptCompressed ? VEMLO_USER_AGENT " (gzip)" : VEMLO_USER_AGENT);
  if (options_.acceptCompressed) setup.set(CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
  setup.set(CURLOPT_URL, url_.c_str());
  setup.set(CURLOPT_HTTPHEADER, headerLines_.get());
  setMethod(setup, request_);
  setRepetition(setup, request_);
  return setup.result();
}

}  // namespace CloudStorage::Http
