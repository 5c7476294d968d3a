#include "listing.h"

#include <cstdlib>
#include <stdexcept>

namespace benchmarks {
namespace {

/// The initialised library with one session.
class LibrarySession {
 public:
  LibrarySession(const std::function<session*()>& open, void (*close)(session*)) : close_(close) {
    libvemlo_global_init();
    session_ = open();
  }
  ~LibrarySession() {
    close_(session_);
    libvemlo_global_cleanup();
  }
  LibrarySession(const LibrarySession&) = delete;
  LibrarySession& operator=(const LibrarySession&) = delete;

  session* handle() const { return session_; }

 private:
  session* session_ = nullptr;
  void (*close_)(session*);
};

void require(bool isExpected) {
  if (!isExpected) throw std::runtime_error("the list is not the one that was served");
}

}  // namespace

Records checked(char** buckets, int count, const Expected& expected) {
  Records records(static_cast<void*>(buckets),
                  [count](void* array) { free_buckets(static_cast<char**>(array), count); });
  require(count == expected.count && expected.nameOf(0) == buckets[0] &&
          expected.nameOf(count - 1) == buckets[count - 1]);
  return records;
}

Records checked(directory* directories, int count, const Expected& expected) {
  Records records(static_cast<void*>(directories),
                  [count](void* array) { free_diretories(static_cast<directory*>(array), count); });
  require(count == expected.count && expected.nameOf(0) == directories[0].name &&
          expected.nameOf(count - 1) == directories[count - 1].name);
  return records;
}

ListingWay libraryWay(const std::string& function,
                      const std::function<session*(const Route&, const proxy_setting*)>& open,
                      void (*close)(session*), const std::function<Records(session*)>& list) {
  return {function, [=](const Route& route) {
            // Set for every route, because the library reads the variable once in a process.
            setenv("SSL_CERT_FILE", route.trustedFile.c_str(), 1);
            const proxy_setting proxy{"127.0.0.1", route.port, nullptr, nullptr};
            const bool isProxy = route.kind == Route::Kind::TlsThroughProxy;
            const auto library = std::make_shared<LibrarySession>(
                [&] { return open(route, isProxy ? &proxy : nullptr); }, close);
            return [=] { return list(library->handle()); };
          }};
}

Route routeTo(const PageServer& server, const Listing& listing, const TlsIdentity& identity) {
  return {listing.route, server.port(), identity.trustedFile()};
}

}  // namespace benchmarks
