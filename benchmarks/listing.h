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

/// A listing as the library hands it out, which is released with the last of its owners.
using Records = std::shared_ptr<void>;

/// What a listing must hold.
struct Served {
  int count;
  std::string (*nameOf)(int number);
};

/// Take a listing over. Throw std::runtime_error if it is not the one that was served. They look at
/// its ends only: a look at every name would be paid for by whoever is measured.
Records own(char** buckets, int count, const Served& served);
Records own(directory* directories, int count, const Served& served);

/// One way of getting a listing.
struct ListingWay {
  std::string description;
  /// Prepares to ask the server that `route` leads to, without a connection yet. What is returned
  /// gets the whole listing and throws if it is not the one that was served. It is for one thread
  /// at a time, except that the library's is for any number of them.
  std::function<std::function<Records()>(const Route& route)> open;
};

/// The way through the library. `open` and `close` are for its session, `list` makes one call.
ListingWay libraryWay(
    const std::string& function,
    const std::function<session*(const Route& route, const proxy_setting* proxy)>& open,
    void (*close)(session*), const std::function<Records(session*)>& list);

/// A listing of one service, and three ways of getting it.
struct Listing {
  std::string title;
  int entries;
  Route::Kind route;
  std::function<Site()> makeSite;
  std::array<ListingWay, 3> ways;
  /// To which a session needs a connection each.
  unsigned hosts = 1;
};

/// The places of the ways.
constexpr std::size_t kPageDropped = 0;
constexpr std::size_t kYardstick = 1;
constexpr std::size_t kLibrary = 2;

struct ListingSize {
  int entries;
  /// So many bytes come with each entry that nobody reads.
  int ballast = 0;
};

/// On one page, over plain HTTP or TLS.
Listing s3Buckets(const ListingSize& size, Route::Kind route);
Listing s3Prefixes(const ListingSize& size, Route::Kind route);
/// On pages of as many entries as the library asks for, over TLS.
Listing azureContainers(const ListingSize& size);
Listing googleDriveFolders(const ListingSize& size);
Listing oneDriveFolders(const ListingSize& size);
Listing dropboxFolders(const ListingSize& size);
Listing amazonDriveFolders(const ListingSize& size);

/// How `listing` gets to `server`.
Route routeTo(const PageServer& server, const Listing& listing, const TlsIdentity& identity);

}  // namespace benchmarks
