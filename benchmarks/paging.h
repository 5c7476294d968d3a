#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace benchmarks {

/// A listing in pages. Each page after the first has a token, which contains its number; the server
/// finds the token anywhere in a request.
struct Paging {
  int entries;
  int entriesOfPage;

  int pages() const { return (entries + entriesOfPage - 1) / entriesOfPage; }
  /// The token for `page`: empty for the first page, and for one after the last.
  std::string token(int page) const;

  int firstOf(int page) const { return page * entriesOfPage; }
  int endOf(int page) const;
};

/// The number of the page that a request, given with head and body, is for.
std::size_t requestedPage(std::string_view request);

}  // namespace benchmarks
