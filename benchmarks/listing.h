#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "bare_http.h"
#include "libvemlo.h"
#include "page_server.h"

namespace benchmarks {

/// An owned listing with the library's record layout; the last owner releases it.
using Records = std::shared_ptr<void>;

/// The expected content of a listing.
struct Expected {
  int count;
  std::string (*nameOf)(int number);
};

/// Take ownership of a listing. Throw std::runtime_error if it is not the one that the server sent.
/// Only the first and the last name are compared, because the comparison is part of what is
/// measured.
Records checked(char** buckets, int count, const Expected& expected);
Records checked(directory* directories, int count, const Expected& expected);

/// One way of requesting a listing.
struct ListingWay {
  std::string description;
  /// Prepares requests to the server at `route`, without connecting. The returned function requests
  /// the whole listing and throws if it is not the one that the server sent. One thread at a time
  /// may call it; that of the library may be called by any number of threads.
  std::function<std::function<Records()>(const Route& route)> open;
};

/// The way through the library. `open` and `close` manage its session, `list` makes one call.
ListingWay libraryWay(
    const std::string& function,
    const std::function<session*(const Route& route, const proxy_setting* proxy)>& open,
    void (*close)(session*), const std::function<Records(session*)>& list);

/// A listing of one service, and three ways of requesting it.
struct Listing {
  std::string title;
  int entries;
  Route::Kind route;
  std::function<Site()> makeSite;
  std::array<ListingWay, 3> ways;
  /// The number of hosts, to each of which a session needs a connection.
  unsigned hosts = 1;
};

/// The positions in `ways`.
constexpr std::size_t kPageDropped = 0;
constexpr std::size_t kYardstick = 1;
constexpr std::size_t kLibrary = 2;

struct ListingSize {
  int entries;
  /// The number of additional bytes in each entry, which no client reads.
  int padding = 0;
};

/// On one page, over plain HTTP or TLS.
Listing s3Buckets(const ListingSize& size, Route::Kind route);
Listing s3Prefixes(const ListingSize& size, Route::Kind route);
/// In pages of as many entries as the library requests, over TLS.
Listing azureContainers(const ListingSize& size);
Listing googleDriveFolders(const ListingSize& size);
Listing oneDriveFolders(const ListingSize& size);
Listing dropboxFolders(const ListingSize& size);
Listing amazonDriveFolders(const ListingSize& size);

/// The route to `server` for `listing`.
Route routeTo(const PageServer& server, const Listing& listing, const TlsIdentity& identity);

}  // namespace benchmarks
