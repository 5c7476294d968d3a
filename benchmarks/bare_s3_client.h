#pragma once

#include <memory>
#include <string>

#include "bare_http.h"
#include "libvemlo.h"

namespace benchmarks {

/// Gets a listing of S3 the way a program would that needs nothing else: a signing key derived once
/// and the page parsed where it was received. No error document. This is what the library's costs
/// are held against.
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

  BareS3Client(const Route& route, const Account& account, const Target& target);
  ~BareS3Client();
  BareS3Client(const BareS3Client&) = delete;
  BareS3Client& operator=(const BareS3Client&) = delete;

  /// Drops the page as it arrives. Throws std::runtime_error.
  void fetchAndDrop();

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

/// Whose buckets are listed, and which folder.
inline const BareS3Client::Account kS3Account{"eu-central-1", "AKIDBENCHMARK0000001",
                                              "benchmark/secret/of/forty/characters/000"};
inline const std::string kS3Bucket = "team-archive";
inline const std::string kS3Folder = "photos/";
inline const BareS3Client::Target kS3FolderTarget{"/team-archive",
                                                  "delimiter=%2F&list-type=2&prefix=photos%2F"};

}  // namespace benchmarks
