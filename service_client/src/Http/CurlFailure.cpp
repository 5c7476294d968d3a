#include "Http/CurlFailure.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <string>

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
    {CURLE_ABORTED_BY_CALLBACK, Kind::Cancelled, "CURLE_ABORTED_BY_CALLBACK"},
    {CURLE_SEND_FAIL_REWIND, Kind::Interrupted, "CURLE_SEND_FAIL_REWIND"},
    {CURLE_SSL_CACERT_BADFILE, Kind::Untrusted, "CURLE_SSL_CACERT_BADFILE"},
    {CURLE_SSL_ISSUER_ERROR, Kind::Untrusted, "CURLE_SSL_ISSUER_ERROR"},
    {CURLE_NO_CONNECTION_AVAILABLE, Kind::Unreachable, "CURLE_NO_CONNECTION_AVAILABLE"},
    {CURLE_SSL_INVALIDCERTSTATUS, Kind::Untrusted, "CURLE_SSL_INVALIDCERTSTATUS"},
    {CURLE_HTTP2_STREAM, Kind::Interrupted, "CURLE_HTTP2_STREAM"},
    {CURLE_AUTH_ERROR, Kind::Interrupted, "CURLE_AUTH_ERROR"},
    {CURLE_PROXY, Kind::Unreachable, "CURLE_PROXY"},
};

}  // namespace

TransportFailure failureOf(CURLcode code) {
  const auto* meaning = std::find_if(std::begin(kCodeMeanings), std::end(kCodeMeanings),
                                     [&](const CodeMeaning& each) { return each.code == code; });
  TransportFailure failure;
  const bool known = meaning != std::end(kCodeMeanings);
  failure.kind = known ? meaning->kind : Kind::Interrupted;
  failure.name = known ? std::string(meaning->name) : "CURLE_" + std::to_string(code);
  return failure;
}

TransportFailure failureOf(const std::exception_ptr& exception) {
  try {
    std::rethrow_exception(exception);
  } catch (const std::bad_alloc&) {
    TransportFailure failure = failureOf(CURLE_OUT_OF_MEMORY);
    failure.message = curl_easy_strerror(CURLE_OUT_OF_MEMORY);
    failure.requestMayHaveRun = false;
    return failure;
  } catch (const std::exception& other) {
    return {Kind::Refused, "InternalFailure", Util::oneLine(other.what()), false};
  } catch (...) {
    return {Kind::Refused, "InternalFailure", "unknown exception", false};
  }
}

}  // namespace CloudStorage::Http
