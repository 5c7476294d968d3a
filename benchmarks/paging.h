#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace benchmarks {

/// A listing that comes in pages. A page after the first is asked for with a token, whose number
/// the server finds wherever a service has its tokens.
struct Paging {
  int entries;
  int entriesOfPage;

  int pages() const { return (entries + entriesOfPage - 1) / entriesOfPage; }
  /// The token for `page`: empty for the first page, and for one after the last.
  std::string token(int page) const;

  int firstOf(int page) const { return page * entriesOfPage; }
  int endOf(int page) const;
};

/// The page that a request, of which all is given, asks for.
std::size_t pageAskedFor(std::string_view request);

}  // namespace benchmarks
