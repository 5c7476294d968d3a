#include "s3_ways.h"

#include <memory>

namespace benchmarks {
namespace {

const BareS3Client::Account kAccount{"eu-central-1", "AKIDBENCHMARK0000001",
                                     "benchmark/secret/of/forty/characters/000"};

/// The library from its initialisation to its cleanup, with one session.
class LibraryInUse {
 public:
  explicit LibraryInUse(std::uint16_t port) {
    libvemlo_global_init();
    const std::string endpoint = "http://127.0.0.1:" + std::to_string(port);
    session_ = libvemlo_s3_init(endpoint.c_str(), kAccount.region.c_str(),
                                kAccount.accessKey.c_str(), kAccount.secretKey.c_str(), nullptr);
  }
  ~LibraryInUse() {
    libvemlo_s3_cleanup(session_);
    libvemlo_global_cleanup();
  }
  LibraryInUse(const LibraryInUse&) = delete;
  LibraryInUse& operator=(const LibraryInUse&) = delete;

  session* handle() const { return session_; }

 private:
  session* session_;
};

ListingWay bareWay(const std::string& description, const BareS3Client::Target& target,
                   const std::function<void(BareS3Client&)>& list) {
  return {description, [=](std::uint16_t port) {
            const auto client = std::make_shared<BareS3Client>(port, kAccount, target);
            return [=] { list(*client); };
          }};
}

}  // namespace

std::array<ListingWay, 3> s3Ways(const BareS3Client::Target& target,
                                 const std::function<void(BareS3Client&)>& listBare,
                                 const std::string& libraryFunction,
                                 const std::function<void(session*)>& listThroughLibrary) {
  return {bareWay("libcurl + signing, page dropped", target,
                  [](BareS3Client& client) { client.fetchAndDrop(); }),
          bareWay("libcurl + signing + pugixml + records", target, listBare),
          ListingWay{libraryFunction, [=](std::uint16_t port) {
                       const auto library = std::make_shared<LibraryInUse>(port);
                       return [=] { listThroughLibrary(library->handle()); };
                     }}};
}

}  // namespace benchmarks
