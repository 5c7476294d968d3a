#include "Http/CurlTransport.h"

#include <curl/curl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Http/CurlHandlePool.h"
#include "Http/HeaderChecks.h"
#include "Util/Text.h"

namespace CloudStorage::Http {
namespace {

using Kind = TransportFailure::Kind;

struct CodeMeaning {
  CURLcode code;
  Kind kind;
  const char* name;
};

constexpr CodeMeaning kCodeMeanings[] = {
    {CURLE_UNSUPPORTED_PROTOCOL, Kind::Refused, "CURLE_UNSUPPORTED_PROTOCOL"},
    {CURLE_FAILED_INIT, Kind::Refused, "CURLE_FAILED_INIT"},
    {CURLE_URL_MALFORMAT, Kind::Refused, "CURLE_URL_MALFORMAT"},
    {CURLE_NOT_BUILT_IN, Kind::Refused, "CURLE_NOT_BUILT_IN"},
    {CURLE_COULDNT_RESOLVE_PROXY, Kind::Unreachable, "CURLE_COULDNT_RESOLVE_PROXY"},
    {CURLE_COULDNT_RESOLVE_HOST, Kind::Unreachable, "CURLE_COULDNT_RESOLVE_HOST"},
    {CURLE_COULDNT_CONNECT, Kind::Unreachable, "CURLE_COULDNT_CONNECT"},
    {CURLE_WEIRD_SERVER_REPLY, Kind::Interrupted, "CURLE_WEIRD_SERVER_REPLY"},
    {CURLE_HTTP2, Kind::Interrupted, "CURLE_HTTP2"},
    {CURLE_PARTIAL_FILE, Kind::Interrupted, "CURLE_PARTIAL_FILE"},
    {CURLE_WRITE_ERROR, Kind::Interrupted, "CURLE_WRITE_ERROR"},
    {CURLE_OUT_OF_MEMORY, Kind::Refused, "CURLE_OUT_OF_MEMORY"},
    {CURLE_OPERATION_TIMEDOUT, Kind::Timeout, "CURLE_OPERATION_TIMEDOUT"},
    {CURLE_SSL_CONNECT_ERROR, Kind::Unreachable, "CURLE_SSL_CONNECT_ERROR"},
    {CURLE_BAD_FUNCTION_ARGUMENT, Kind::Refused, "CURLE_BAD_FUNCTION_ARGUMENT"},
    {CURLE_UNKNOWN_OPTION, Kind::Refused, "CURLE_UNKNOWN_OPTION"},
    {CURLE_GOT_NOTHING, Kind::Interrupted, "CURLE_GOT_NOTHING"},
    {CURLE_SEND_ERROR, Kind::Interrupted, "CURLE_SEND_ERROR"},
    {CURLE_RECV_ERROR, Kind::Interrupted, "CURLE_RECV_ERROR"},
    {CURLE_SSL_CERTPROBLEM, Kind::Untrusted, "CURLE_SSL_CERTPROBLEM"},
    {CURLE_SSL_CIPHER, Kind::Untrusted, "CURLE_SSL_CIPHER"},
    {CURLE_PEER_FAILED_VERIFICATION, Kind::Untrusted, "CURLE_PEER_FAILED_VERIFICATION"},
    {CURLE_BAD_CONTENT_ENCODING, Kind::Interrupted, "CURLE_BAD_CONTENT_ENCODING"},
    {CURLE_SEND_FAIL_REWIND, Kind::Interrupted, "CURLE_SEND_FAIL_REWIND"},
    {CURLE_SSL_CACERT_BADFILE, Kind::Untrusted, "CURLE_SSL_CACERT_BADFILE"},
    {CURLE_SSL_ISSUER_ERROR, Kind::Untrusted, "CURLE_SSL_ISSUER_ERROR"},
    {CURLE_NO_CONNECTION_AVAILABLE, Kind::Unreachable, "CURLE_NO_CONNECTION_AVAILABLE"},
    {CURLE_SSL_INVALIDCERTSTATUS, Kind::Untrusted, "CURLE_SSL_INVALIDCERTSTATUS"},
    {CURLE_HTTP2_STREAM, Kind::Interrupted, "CURLE_HTTP2_STREAM"},
    {CURLE_AUTH_ERROR, Kind::Interrupted, "CURLE_AUTH_ERROR"},
    {CURLE_PROXY, Kind::Unreachable, "CURLE_PROXY"},
};

TransportFailure failureOf(CURLcode code) {
  const auto* meaning = std::find_if(std::begin(kCodeMeanings), std::end(kCodeMeanings),
                                     [&](const CodeMeaning& each) { return each.code == code; });
  TransportFailure failure;
  const bool known = meaning != std::end(kCodeMeanings);
  failure.kind = known ? meaning->kind : Kind::Interrupted;
  failure.name = known ? std::string(meaning->name) : "CURLE_" + std::to_string(code);
  return failure;
}

Response failed(TransportFailure failure) {
  Response response;
  response.failure = std::move(failure);
  return response;
}

// RFC 9110, section 5.6.2. Any other character in a name could change the meaning of its line.
bool isToken(std::string_view text) {
  constexpr std::string_view kTokenCharacters =
      "!#$%&'*+-.^_`|~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  return !text.empty() && text.find_first_not_of(kTokenCharacters) == std::string_view::npos;
}

bool areValidHeaders(const HeaderValueCollection& headers) {
  return std::all_of(headers.begin(), headers.end(), [](const auto& header) {
    return isToken(header.first) && isValidHeaderValue(header.second);
  });
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kWhiteSpace = " \t\r\n";
  const auto first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

/// The header lines of a request as a libcurl list.
class HeaderLines {
 public:
  explicit HeaderLines(const HeaderValueCollection& headers) {
    // A line without a value removes a header that libcurl adds by itself. Only the request decides
    // on its headers, and `Expect` would delay each larger upload.
    for (const char* own : {"Accept:", "Content-Type:", "Expect:"}) add(own);
    for (const auto& [name, value] : headers) {
      if (trimmed(value).empty()) continue;
      std::string line(name);
      line.append(": ").append(value);
      add(line.c_str());
    }
  }
  ~HeaderLines() { curl_slist_free_all(lines_); }
  HeaderLines(const HeaderLines&) = delete;
  HeaderLines& operator=(const HeaderLines&) = delete;

  curl_slist* get() const { return lines_; }

 private:
  void add(const char* line) {
    curl_slist* longer = curl_slist_append(lines_, line);
    if (longer == nullptr) throw std::bad_alloc();
    lines_ = longer;
  }

  curl_slist* lines_ = nullptr;
};

/// Sets options up to the first that libcurl rejects. A transfer must not run without an option
/// that could not be set, least of all without the verification of certificates.
class Setup {
 public:
  explicit Setup(CURL* handle) : handle_(handle) {}

  template <typename Value>
  void set(CURLoption option, Value value) {
    static_assert(!std::is_same_v<Value, int>, "libcurl reads a long from its variable arguments");
    if (result_ == CURLE_OK) result_ = curl_easy_setopt(handle_, option, value);
  }
  CURLcode result() const { return result_; }

 private:
  CURL* handle_;
  CURLcode result_ = CURLE_OK;
};

void setLimits(Setup& setup, const CurlTransport::Limits& limits) {
  setup.set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connect.count()));
  setup.set(CURLOPT_LOW_SPEED_LIMIT, 1L);
  setup.set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(limits.silence.count()));
  setup.set(CURLOPT_TIMEOUT_MS, static_cast<long>(limits.total.count()));
}

// With close-on-exec, so that programs that the host starts do not inherit the connections.
curl_socket_t openSocket(void* /*user*/, curlsocktype /*purpose*/, curl_sockaddr* address) {
  return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

void setConnection(Setup& setup) {
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
void setProxy(Setup& setup, const Config::ProxySetting& proxy) {
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

void setMethod(Setup& setup, const Request& request) {
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

/// One transfer: the request and the part of the response that has been received.
class Exchange {
 public:
  Exchange(CURL* handle, const CurlTransport::Options& options)
      : handle_(handle), options_(options) {}

  Response run(const Request& request) {
    const HeaderLines headerLines(request.headers);
    const std::string url = request.uri.toString();
    Setup setup(handle_);
    setup.set(CURLOPT_ERRORBUFFER, errorText_.data());
    setLimits(setup, options_.limits);
    setConnection(setup);
    setProxy(setup, options_.proxy);
    setCallbacks(setup);
    // Some services compress only if the user agent contains "gzip".
    setup.set(CURLOPT_USERAGENT,
              options_.acceptCompressed ? VEMLO_USER_AGENT " (gzip)" : VEMLO_USER_AGENT);
    if (options_.acceptCompressed) setup.set(CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    setup.set(CURLOPT_URL, url.c_str());
    setup.set(CURLOPT_HTTPHEADER, headerLines.get());
    setMethod(setup, request);

    const CURLcode code = setup.result() == CURLE_OK ? curl_easy_perform(handle_) : setup.result();
    if (code != CURLE_OK && stop_ != Stop::ErrorBodyCut) return failed(transferFailure(code));
    response_.status = static_cast<int>(info<long>(CURLINFO_RESPONSE_CODE));
    return std::move(response_);
  }

 private:
  /// The reason why a callback has aborted the transfer.
  enum class Stop { None, TooLarge, ErrorBodyCut, NoMemory };

  void setCallbacks(Setup& setup) {
    setup.set(CURLOPT_HEADERFUNCTION, &Exchange::onHeaderLine);
    setup.set(CURLOPT_HEADERDATA, this);
    setup.set(CURLOPT_WRITEFUNCTION, &Exchange::onBody);
    setup.set(CURLOPT_WRITEDATA, this);
    setup.set(CURLOPT_SSL_CTX_FUNCTION, &Exchange::onTlsContext);
    setup.set(CURLOPT_SSL_CTX_DATA, this);
  }

  static std::size_t onHeaderLine(char* data, std::size_t size, std::size_t count, void* user) {
    auto& exchange = *static_cast<Exchange*>(user);
    try {
      exchange.addHeaderLine({data, size * count});
      return size * count;
    } catch (const std::bad_alloc&) {
      exchange.stop_ = Stop::NoMemory;
      return 0;
    }
  }

  static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* user) {
    auto& exchange = *static_cast<Exchange*>(user);
    try {
      return exchange.appendBody({data, size * count}) ? size * count : 0;
    } catch (const std::bad_alloc&) {
      exchange.stop_ = Stop::NoMemory;
      return 0;
    }
  }

  static CURLcode onTlsContext(CURL* /*handle*/, void* context, void* user) {
    auto& exchange = *static_cast<Exchange*>(user);
    try {
      exchange.trust_ = exchange.options_.trustAnchors->applyTo(static_cast<SSL_CTX*>(context));
      return exchange.trust_.isSuccess() ? CURLE_OK : CURLE_SSL_CACERT_BADFILE;
    } catch (const std::exception&) {  // out of memory, or the lock failed
      return CURLE_OUT_OF_MEMORY;
    }
  }

  void addHeaderLine(std::string_view line) {
    // Interim responses and those of a proxy come first; only the last block belongs to the
    // response.
    if (line.substr(0, 5) == "HTTP/") {
      response_.headers.clear();
      return;
    }
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || colon == 0) return;

    const std::string name = Util::lowerCase(trimmed(line.substr(0, colon)));
    const std::string value(trimmed(line.substr(colon + 1)));
    const auto [entry, isNew] = response_.headers.emplace(name, value);
    if (isNew) return;
    entry->second = name == "location" ? value : entry->second + ", " + value;
  }

  /// Returns false to abort the transfer.
  bool appendBody(std::string_view data) {
    const long status = info<long>(CURLINFO_RESPONSE_CODE);
    const bool success = status >= 200 && status < 300;
    const std::size_t limit = success ? options_.limits.maxBody : options_.limits.maxErrorBody;
    std::string& body = response_.body;
    if (body.empty()) {
      const auto promised = info<curl_off_t>(CURLINFO_CONTENT_LENGTH_DOWNLOAD_T);  // -1: unknown
      const std::size_t size = promised > 0 ? static_cast<std::size_t>(promised) : 0;
      // With padding, because parsers read beyond the end.
      body.reserve(std::min(limit, size) + 64);
    }

    const std::size_t room = limit - body.size();
    body.append(data.substr(0, room));
    if (data.size() <= room) return true;
    stop_ = success ? Stop::TooLarge : Stop::ErrorBodyCut;
    return false;
  }

  TransportFailure transferFailure(CURLcode code) const {
    if (stop_ == Stop::TooLarge) {
      return {Kind::ResponseTooLarge, "ResponseTooLarge",
              "The answer has more than " + std::to_string(options_.limits.maxBody) + " bytes",
              true};
    }

    if (stop_ == Stop::NoMemory) code = CURLE_OUT_OF_MEMORY;
    TransportFailure failure = failureOf(code);
    // libcurl records this time when the connection, including tunnel and TLS, is ready for a
    // request.
    failure.requestMayHaveRun = info<curl_off_t>(CURLINFO_PRETRANSFER_TIME_T) != 0;
    // libcurl reports such a code also for a response that is not HTTP.
    if (failure.kind == Kind::Refused && failure.requestMayHaveRun) {
      failure.kind = Kind::Interrupted;
    }
    failure.message = messageFor(code);

    const long connectStatus = info<long>(CURLINFO_HTTP_CONNECTCODE);
    if (connectStatus != 0 && connectStatus / 100 != 2) {
      failure.kind = Kind::Unreachable;
      failure.message = "The proxy refused the tunnel with status " + std::to_string(connectStatus);
    }
    return failure;
  }

  std::string messageFor(CURLcode code) const {
    if (!trust_.isSuccess()) return Util::oneLine(trust_.toString());
    // The texts of these two codes quote the URL as it was given, and any text may quote the
    // proxy's address. Both may contain a user name and a password.
    const bool mayQuoteSecrets = code == CURLE_URL_MALFORMAT ||
                                 code == CURLE_UNSUPPORTED_PROTOCOL ||
                                 options_.proxy.host.find('@') != std::string::npos;
    const bool detailed = errorText_[0] != '\0' && !mayQuoteSecrets && stop_ == Stop::None;
    return Util::oneLine(detailed ? errorText_.data() : curl_easy_strerror(code));
  }

  template <typename Value>
  Value info(CURLINFO which) const {
    Value value = 0;
    curl_easy_getinfo(handle_, which, &value);
    return value;
  }

  CURL* handle_;
  const CurlTransport::Options& options_;
  Response response_;
  Stop stop_ = Stop::None;
  Util::Status trust_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};
};

}  // namespace

CurlTransport::CurlTransport(Options options) : options_(std::move(options)) {
  handles_ = std::make_unique<CurlHandlePool>();
  if (!options_.trustAnchors) options_.trustAnchors = TrustAnchors::processWide();
}

CurlTransport::~CurlTransport() = default;

Response CurlTransport::send(const Request& request) {
  if (!areValidHeaders(request.headers)) {
    return failed({Kind::Refused, "InvalidRequest", "A header holds what HTTP forbids", false});
  }
  try {
    const CurlHandlePool::Lease lease(*handles_);
    return Exchange(lease.handle(), options_).run(request);
  } catch (const std::bad_alloc&) {
    TransportFailure failure = failureOf(CURLE_OUT_OF_MEMORY);
    failure.message = curl_easy_strerror(CURLE_OUT_OF_MEMORY);
    return failed(std::move(failure));
  }
}

}  // namespace CloudStorage::Http
