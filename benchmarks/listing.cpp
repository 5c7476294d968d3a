#include "listing.h"

#include <cstdlib>
#include <stdexcept>

namespace benchmarks {
namespace {

/// The library from its initialisation to its cleanup, with one session.
class LibraryInUse {
 public:
  LibraryInUse(const std::function<session*()>& open, void (*close)(session*)) : close_(close) {
    libvemlo_global_init();
    session_ = open();
  }
  ~LibraryInUse() {
    close_(session_);
    libvemlo_global_cleanup();
  }
  LibraryInUse(const LibraryInUse&) = delete;
  LibraryInUse& operator=(const LibraryInUse&) = delete;

  session* handle() const { return session_; }

 private:
  session* session_ = nullptr;
  void (*close_)(session*);
};

void require(bool isComplete) {
  if (!isComplete) throw std::runtime_error("the list is not the one that was served");
}

}  // namespace

Records own(char** buckets, int count, const Served& served) {
  Records records(static_cast<void*>(buckets),
                  [count](void* array) { free_buckets(static_cast<char**>(array), count); });
  require(count == served.count && served.nameOf(0) == buckets[0] &&
          served.nameOf(count - 1) == buckets[count - 1]);
  return records;
}

Records own(directory* directories, int count, const Served& served) {
  Records records(static_cast<void*>(directories),
                  [count](void* array) { free_diretories(static_cast<directory*>(array), count); });
  require(count == served.count && served.nameOf(0) == directories[0].name &&
          served.nameOf(count - 1) == directories[count - 1].name);
  return records;
}

ListingWay libraryWay(const std::string& function,
                      const std::function<session*(const Route&, const proxy_setting*)>& open,
                      void (*close)(session*), const std::function<Records(session*)>& list) {
  return {function, [=](const Route& route) {
            // Read once in a process, so it must not depend on the first listing's route.
            setenv("SSL_CERT_FILE", route.trustedFile.c_str(), 1);
            const proxy_setting proxy{"127.0.0.1", route.port, nullptr, nullptr};
            const bool isProxy = route.kind == Route::Kind::TlsThroughProxy;
            const auto library = std::make_shared<LibraryInUse>(
                [&] { return open(route, isProxy ? &proxy : nullptr); }, close);
            return [=] { return list(library->handle()); };
          }};
}

Route routeTo(const PageServer& server, const Listing& listing, const TlsIdentity& identity) {
  return {listing.route, server.port(), identity.trustedFile()};
}

}  // namespace benchmarks
