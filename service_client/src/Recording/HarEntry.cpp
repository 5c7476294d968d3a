#include "Recording/HarEntry.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "Auth/Digest.h"
#include "Http/PercentEncoding.h"
#include "Util/Json.h"
#include "Util/Text.h"
#include "Util/Time.h"

namespace CloudStorage::Recording {
namespace {

using Util::Json::ObjectWriter;

constexpr char kUnknown[] = "-1";
constexpr char kEmptyList[] = "[]";
constexpr char kVersion[] = "HTTP/1.1";

class ListWriter {
 public:
  void add(const std::string& json) { elements_.append(elements_.empty() ? "" : ",").append(json); }
  std::string text() const { return '[' + elements_ + ']'; }

 private:
  std::string elements_;
};

std::string pair(std::string_view name, std::string_view value) {
  ObjectWriter writer;
  writer.add("name", Util::replaceInvalidUtf8(name));
  writer.add("value", Util::replaceInvalidUtf8(value));
  return writer.text();
}

std::string headers(const Http::HeaderValueCollection& headers, const ExchangeRedactor& redactor) {
  ListWriter list;
  for (const auto& [name, value] : headers) {
    if (!value.empty()) list.add(pair(redactor.text(name), redactor.headerValue(name, value)));
  }
  return list.text();
}

std::string header(const Http::HeaderValueCollection& headers, const char* name,
                   const ExchangeRedactor& redactor) {
  const auto header = headers.find(name);
  if (header == headers.end()) return {};
  return Util::replaceInvalidUtf8(redactor.headerValue(name, header->second));
}

// The decoded parameters of a redacted address.
std::string queryString(std::string_view url) {
  ListWriter list;
  const std::size_t mark = url.find('?');
  std::string_view rest = mark == std::string_view::npos ? "" : url.substr(mark + 1);
  while (!rest.empty()) {
    const std::string_view parameter = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(parameter.size() + 1, rest.size()));
    const std::string_view name = parameter.substr(0, parameter.find('='));
    const std::string_view value = parameter.substr(std::min(name.size() + 1, parameter.size()));
    list.add(pair(Http::uriDecode(name), Http::uriDecode(value)));
  }
  return list.text();
}

std::string requestJson(const Http::Request& request, const ExchangeRedactor& redactor) {
  const std::string url = redactor.text(request.uri.toString(), TextKind::Any, kMasksInUrl);
  ObjectWriter writer;
  writer.add("method", Http::methodName(request.method)).add("url", url);
  writer.add("httpVersion", kVersion).addJson("cookies", kEmptyList);
  writer.addJson("headers", headers(request.headers, redactor));
  writer.addJson("queryString", queryString(url));
  if (!request.body.empty()) {
    const std::string text = redactor.text(request.body, kindOf(request.headers));
    ObjectWriter data;
    data.add("mimeType", header(request.headers, Http::CONTENT_TYPE_HEADER, redactor));
    data.add("text", Util::replaceInvalidUtf8(text));
    writer.addJson("postData", data.text());
  }
  writer.addJson("headersSize", kUnknown);
  writer.addJson("bodySize", std::to_string(request.body.size()));
  return writer.text();
}

std::string content(const Http::Response& response, const ExchangeRedactor& redactor) {
  const std::string body = redactor.text(response.body, kindOf(response.headers));
  const bool isText = Util::replaceInvalidUtf8(body) == body;
  ObjectWriter writer;
  writer.addJson("size", std::to_string(response.body.size()));
  writer.add("mimeType", header(response.headers, Http::CONTENT_TYPE_HEADER, redactor));
  writer.add("text", isText ? body : Auth::base64Encode(body));
  if (!isText) writer.add("encoding", "base64");
  return writer.text();
}

std::string responseJson(const Http::Response& response, const ExchangeRedactor& redactor) {
  // The body is known only as it is after the decompression.
  const bool isCompressed = response.headers.count("content-encoding") != 0;
  ObjectWriter writer;
  writer.addJson("status", std::to_string(response.status)).add("statusText", "");
  writer.add("httpVersion", kVersion).addJson("cookies", kEmptyList);
  writer.addJson("headers", headers(response.headers, redactor));
  writer.addJson("content", content(response, redactor));
  writer.add("redirectURL", header(response.headers, "location", redactor));
  writer.addJson("headersSize", kUnknown);
  writer.addJson("bodySize", isCompressed || response.failure
                                 ? kUnknown
                                 : std::to_string(response.body.size()));
  if (response.failure) {
    const std::string text = response.failure->name + ": " + response.failure->message;
    writer.add("_error", Util::replaceInvalidUtf8(redactor.text(text)));
  }
  return writer.text();
}

// Independent of the process's locale.
std::string milliseconds(std::chrono::microseconds duration) {
  constexpr int kPerMillisecond = 1000;
  constexpr std::size_t kDigits = 3;
  const std::string fraction = std::to_string(duration.count() % kPerMillisecond);
  return std::to_string(duration.count() / kPerMillisecond) + '.' +
         std::string(kDigits - fraction.size(), '0') + fraction;
}

std::string timeOfDay(std::chrono::system_clock::time_point time) {
  constexpr std::size_t kUntilMilliseconds = sizeof("2024-02-29T08:30:15.000") - 1;
  return Util::formatIsoTime(Util::TimePoint(time)).substr(0, kUntilMilliseconds) + 'Z';
}

}  // namespace

std::string harEntry(const Exchange& exchange, const ExchangeRedactor& redactor) {
  const std::string time = milliseconds(exchange.duration);
  ObjectWriter timings;
  timings.addJson("blocked", kUnknown).addJson("dns", kUnknown).addJson("connect", kUnknown);
  timings.addJson("send", "0").addJson("wait", time).addJson("receive", "0");
  timings.addJson("ssl", kUnknown);

  ObjectWriter writer;
  writer.add("startedDateTime", timeOfDay(exchange.begin)).addJson("time", time);
  writer.addJson("request", requestJson(exchange.request, redactor));
  writer.addJson("response", responseJson(exchange.response, redactor));
  writer.addEmptyObject("cache").addJson("timings", timings.text());
  return writer.text();
}

}  // namespace CloudStorage::Recording
