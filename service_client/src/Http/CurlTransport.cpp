#include "Http/CurlTransport.h"

#include <curl/curl.h>
#include <cxxabi.h>

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>
#include <utility>

#include "Auth/Digest.h"
#include "Config/ProcessSettings.h"
#include "Http/CurlFailure.h"
#include "Http/CurlHandlePool.h"
#include "Http/CurlRequest.h"
#include "Http/CurlSetup.h"
#include "Http/HeaderChecks.h"
#include "Http/ResponseHeaders.h"
#include "Util/Text.h"

namespace CloudStorage::Http {
namespace {

using Kind = TransportFailure::Kind;

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

/// One transfer: the request and the part of the response that has been received.
class Exchange {
 public:
  Exchange(CurlHandle& handle, const CurlTransport::Options& options)
      : handle_(handle), options_(options), headers_(options.limits.headers) {}

  Response run(const Request& request) {
    const CurlRequest options(request, options_);
    CURLcode code = options.applyTo(handle_.get());
    if (code == CURLE_OK) code = setCallbacks();
    if (code == CURLE_OK) code = handle_.perform(request.interrupt);
    if (code != CURLE_OK && stop_ != Stop::ErrorBodyCut) return failed(transferFailure(code));
    if (!headers_.areComplete()) return failed(brokenHeaders());

    response_.status = static_cast<int>(info<long>(CURLINFO_RESPONSE_CODE));
    response_.headers = std::move(headers_.values());
    return std::move(response_);
  }

 private:
  /// The reason why a callback has aborted the transfer.
  enum class Stop { None, BodyTooLarge, HeadersTooLarge, ErrorBodyCut, Exception };

  CURLcode setCallbacks() {
    CurlSetup setup(handle_.get());
    setup.set(CURLOPT_ERRORBUFFER, errorText_.data());
    setup.set(CURLOPT_HEADERFUNCTION, &Exchange::onHeaderLine);
    setup.set(CURLOPT_HEADERDATA, this);
    setup.set(CURLOPT_WRITEFUNCTION, &Exchange::onBody);
    setup.set(CURLOPT_WRITEDATA, this);
    setup.set(CURLOPT_SSL_CTX_FUNCTION, &Exchange::onTlsContext);
    setup.set(CURLOPT_SSL_CTX_DATA, this);
    return setup.result();
  }

  static std::size_t onHeaderLine(char* data, std::size_t size, std::size_t count, void* user) {
    auto& exchange = *static_cast<Exchange*>(user);
    return exchange.shielded(std::size_t{0}, [&] {
      if (exchange.headers_.add({data, size * count})) return size * count;
      exchange.stop_ = Stop::HeadersTooLarge;
      return std::size_t{0};
    });
  }

  static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* user) {
    auto& exchange = *static_cast<Exchange*>(user);
    return exchange.shielded(std::size_t{0}, [&] {
      return exchange.appendBody({data, size * count}) ? size * count : 0;
    });
  }

  static CURLcode onTlsContext(CURL* /*handle*/, void* context, void* user) {
    auto& exchange = *static_cast<Exchange*>(user);
    return exchange.shielded(CURLE_ABORTED_BY_CALLBACK, [&] {
      exchange.trust_ = exchange.options_.trustAnchors->applyTo(static_cast<SSL_CTX*>(context));
      return exchange.trust_.isSuccess() ? CURLE_OK : CURLE_SSL_CACERT_BADFILE;
    });
  }

  /// Runs `work`, whose exceptions must not pass through the functions of libcurl. The cancellation
  /// of the thread, which must not be caught, does not occur here: CurlHandle defers it.
  template <typename Result, typename Work>
  Result shielded(Result resultOfException, const Work& work) {
    try {
      return work();
    } catch (...) {
      exception_ = std::current_exception();
      stop_ = Stop::Exception;
      return resultOfException;
    }
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
    stop_ = success ? Stop::BodyTooLarge : Stop::ErrorBodyCut;
    return false;
  }

  TransportFailure transferFailure(CURLcode code) const {
    if (stop_ == Stop::BodyTooLarge) {
      return tooLarge("The answer has more than " + std::to_string(options_.limits.maxBody) +
                      " bytes");
    }
    if (hasTooLargeHeaders(code)) return tooLarge("The answer has too many or too long headers");

    TransportFailure failure = stop_ == Stop::Exception ? failureOf(exception_) : failureOf(code);
    failure.requestMayHaveRun = requestMayHaveRun();
    // libcurl reports such a code also for a response that is not HTTP.
    if (failure.kind == Kind::Refused && failure.requestMayHaveRun) {
      failure.kind = Kind::Interrupted;
    }
    if (failure.message.empty()) failure.message = messageFor(code);

    const long connectStatus = info<long>(CURLINFO_HTTP_CONNECTCODE);
    if (connectStatus != 0 && connectStatus / 100 != 2) {
      failure.kind = Kind::Unreachable;
      failure.message = "The proxy refused the tunnel with status " + std::to_string(connectStatus);
    }
    return failure;
  }

  bool hasTooLargeHeaders(CURLcode code) const {
    if (stop_ != Stop::None) return stop_ == Stop::HeadersTooLarge;
    // libcurl has two limits of its own. It reports a line over 100 KiB in this way,
    if (code == CURLE_OUT_OF_MEMORY) return requestMayHaveRun() && !headers_.areComplete();
    // and a block over 300 KiB, which can only be a proxy's, in this.
    constexpr std::string_view kText = "Too large response headers";
    return std::string_view(errorText_.data()).substr(0, kText.size()) == kText;
  }

  // libcurl records this time when the connection, including tunnel and TLS, is ready for a
  // request.
  bool requestMayHaveRun() const { return info<curl_off_t>(CURLINFO_PRETRANSFER_TIME_T) != 0; }

  static TransportFailure tooLarge(std::string message) {
    return {Kind::ResponseTooLarge, "ResponseTooLarge", std::move(message), true};
  }

  // libcurl regards a response as complete whose connection ended in the headers.
  static TransportFailure brokenHeaders() {
    TransportFailure failure = failureOf(CURLE_PARTIAL_FILE);
    failure.message = "The answer ends in its headers";
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
    curl_easy_getinfo(handle_.get(), which, &value);
    return value;
  }

  CurlHandle& handle_;
  const CurlTransport::Options& options_;
  ResponseHeaders headers_;
  Response response_;
  Stop stop_ = Stop::None;
  std::exception_ptr exception_;
  Util::Status trust_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};
};

}  // namespace

CurlTransport::CurlTransport(Options options) : options_(std::move(options)) {
  handles_ = std::make_unique<CurlHandlePool>();
  if (!options_.trustAnchors) {
    options_.trustAnchors = Config::ProcessSettings::current()->trustAnchors;
  }
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
  } catch (const abi::__forced_unwind&) {  // the thread is cancelled; unwinding must continue
    throw;
  } catch (...) {
    return failed(failureOf(std::current_exception()));
  }
}

std::vector<std::string> CurlTransport::secrets() const {
  const auto& [host, port, username, password] = options_.proxy;
  std::vector<std::string> secrets;
  if (const auto end = host.rfind('@'); end != std::string::npos) {  // it contains credentials
    const auto scheme = host.find("://");
    const auto begin = scheme == std::string::npos ? 0 : scheme + 3;
    secrets.push_back(host.substr(begin, end - begin));
  }
  if (!username.empty()) {
    secrets.push_back(password);
    secrets.push_back(Auth::base64Encode(username + ':' + password));
  }
  return secrets;
}

}  // namespace CloudStorage::Http
