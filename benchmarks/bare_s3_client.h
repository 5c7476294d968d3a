#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "libvemlo.h"

namespace benchmarks {

/// Gets a listing of S3 the way a program would that needs nothing else: one libcurl handle whose
/// options are set once, a signing key derived once, the page parsed in a buffer that is used
/// again. No retries, no error document, no limits. This is what the library's costs are held
/// against.
class BareS3Client {
 public:
  struct Account {
    std::string region;
    std::string accessKey;
    std::string secretKey;
  };

  /// What is asked for: path and query as they go over the wire, the query sorted.
  struct Target {
    std::string path;
    std::string query;
  };

  /// Asks 127.0.0.1 over plain HTTP.
  BareS3Client(std::uint16_t port, const Account& account, const Target& target);
  ~BareS3Client();
  BareS3Client(const BareS3Client&) = delete;
  BareS3Client& operator=(const BareS3Client&) = delete;

  /// Drops the page as it arrives. Returns its size. Throws std::runtime_error.
  std::size_t fetchAndDrop();

  /// The names as the library hands them out: `count` strings and the array are released with
  /// free(). Throws std::runtime_error.
  char** listBuckets(int& count);
  /// The common prefixes as the library hands them out: `count` names and the array are released
  /// with free(). Throws std::runtime_error.
  directory* listPrefixes(int& count);

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace benchmarks
