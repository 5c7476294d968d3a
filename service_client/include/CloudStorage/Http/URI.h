#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CloudStorage/Export.h"

namespace CloudStorage::Http {

/// An absolute http or https address whose path and query are held as they go over the wire.
/// Signatures cover exactly these bytes, so nothing here normalises, re-orders by itself or
/// encodes twice.
class CLOUDSTORAGE_API URI {
 public:
  /// Encoded name and encoded value.
  using QueryParameter = std::pair<std::string, std::string>;

  URI() = default;

  /// Takes an absolute URL apart, keeping path and query as they stand. Without a scheme
  /// `defaultScheme` is taken; an empty `defaultScheme` makes the scheme obligatory. Empty if the
  /// text is no http(s) URL: no host, a bad port, user information, a fragment, blanks or control
  /// characters.
  static std::optional<URI> parse(std::string_view text, std::string_view defaultScheme = {});

  const std::string& scheme() const { return scheme_; }
  /// Without port, lower-case; an IPv6 literal keeps its brackets.
  const std::string& host() const { return host_; }
  /// The port in effect: the one given or the scheme's own.
  std::uint16_t port() const;
  const std::string& path() const { return path_; }
  const std::vector<QueryParameter>& query() const { return query_; }

  /// The value of the Host header: host, and the port unless it is the scheme's own.
  std::string authority() const;
  /// `name=value` pairs joined with `&`, in order. Always with an equals sign, as signatures want.
  std::string queryText() const;
  /// The query of a parsed URL stands as it stood, unless it has been added to or sorted.
  std::string toString() const;

  void setScheme(std::string scheme) { scheme_ = std::move(scheme); }
  /// Replaces the host and keeps the port.
  void setHost(std::string host) { host_ = std::move(host); }
  /// Whether `text` can be a path segment: an empty one, `.` and `..` would address something else.
  static bool isPathSegment(std::string_view text) {
    return !text.empty() && text != "." && text != "..";
  }
  /// Appends one path segment, percent-encoded, slashes included.
  void addPathSegment(std::string_view segment);
  /// Appends a percent-encoded path whose slashes separate segments.
  void addPath(std::string_view path);
  /// Appends one parameter, percent-encoded.
  void addQueryStringParameter(std::string_view name, std::string_view value);
  /// Orders the parameters by encoded name, then by encoded value, as canonical requests want.
  void sortQuery();

 private:
  std::string scheme_ = "https";
  std::string host_;
  std::uint16_t port_ = 0;  // 0: the scheme's own
  std::string path_;
  std::vector<QueryParameter> query_;
  std::string receivedQuery_;  // what `query_` was taken from; empty once that has changed
};

}  // namespace CloudStorage::Http
