#pragma once

#include <memory>
#include <string>

#include "bare_http.h"
#include "libvemlo.h"

namespace benchmarks {

/// Requests a listing of S3 with as little as a program needs: the signing key is derived once, the
/// response is parsed in place, error documents are not parsed. The yardstick for the library.
class BareS3Client {
 public:
  struct Account {
    std::string region;
    std::string accessKey;
    std::string secretKey;
  };

  /// Path and query of the request as sent; the query is sorted.
  struct Target {
    std::string path;
    std::string query;
  };

  BareS3Client(const Route& route, const Account& account, const Target& target);
  ~BareS3Client();
  BareS3Client(const BareS3Client&) = delete;
  BareS3Client& operator=(const BareS3Client&) = delete;

  /// Discards the response as it arrives. Throws std::runtime_error.
  void fetchAndDrop();

  /// The names as the library returns them: `count` strings and the array, each released with
  /// free(). Throws std::runtime_error.
  char** listBuckets(int& count);
  /// The common prefixes as the library returns them: `count` names and the array, each released
  /// with free(). Throws std::runtime_error.
  directory* listPrefixes(int& count);

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

/// The account, and the folder that is listed.
inline const BareS3Client::Account kS3Account{"eu-central-1", "AKIDBENCHMARK0000001",
                                              "benchmark/secret/of/forty/characters/000"};
inline const std::string kS3Bucket = "team-archive";
inline const std::string kS3Folder = "photos/";
inline const BareS3Client::Target kS3FolderTarget{"/team-archive",
                                                  "delimiter=%2F&list-type=2&prefix=photos%2F"};

}  // namespace benchmarks
