#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CloudStorage/Export.h"

namespace CloudStorage::Http {

/// An absolute http or https URL whose path and query are stored exactly as they are sent.
/// Signatures cover these bytes, so nothing is normalised, reordered implicitly or encoded twice.
class CLOUDSTORAGE_API URI {
 public:
  /// The encoded name and the encoded value.
  using QueryParameter = std::pair<std::string, std::string>;

  URI() = default;

  /// Parses an absolute URL and keeps path and query unchanged. `defaultScheme` applies if the text
  /// has no scheme; if it is empty, the scheme is required. Returns nothing if the text is not a
  /// valid http or https URL, or if it contains user information, a fragment, a space, a control
  /// character or a character beyond ASCII.
  static std::optional<URI> parse(std::string_view text, std::string_view defaultScheme = {});

  const std::string& scheme() const { return scheme_; }
  /// Lower-case and without the port; an IPv6 literal keeps its brackets.
  const std::string& host() const { return host_; }
  /// The explicit port, or the scheme's default port.
  std::uint16_t port() const;
  const std::string& path() const { return path_; }
  const std::vector<QueryParameter>& query() const { return query_; }

  /// The value of the Host header: the host, and the port unless it is the scheme's default.
  std::string authority() const;
  /// `name=value` pairs joined with `&`, in order. Signatures require the equals sign also where
  /// the value is empty.
  std::string queryText() const;
  /// The whole URL. The query of a parsed URL is unchanged unless parameters were added or sorted.
  std::string toString() const;

  void setScheme(std::string scheme) { scheme_ = std::move(scheme); }
  /// Replaces the host and keeps the port.
  void setHost(std::string host) { host_ = std::move(host); }
  /// Whether `text` can be a path segment. An empty one, `.` and `..` address another resource.
  static bool isPathSegment(std::string_view text) {
    return !text.empty() && text != "." && text != "..";
  }
  /// Appends one path segment, percent-encoded including its slashes.
  void addPathSegment(std::string_view segment);
  /// Appends a percent-encoded path whose slashes separate segments.
  void addPath(std::string_view path);
  /// Appends one parameter, percent-encoded.
  void addQueryStringParameter(std::string_view name, std::string_view value);
  /// Sorts the parameters by encoded name, then by encoded value, as canonical requests require.
  void sortQuery();

 private:
  std::string scheme_ = "https";
  std::string host_;
  std::uint16_t port_ = 0;  // 0: the scheme's default
  std::string path_;
  std::vector<QueryParameter> query_;
  std::string
      receivedQuery_;  // the text that `query_` was parsed from; empty once `query_` changes
};

}  // namespace CloudStorage::Http
