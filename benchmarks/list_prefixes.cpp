#include <stdexcept>
#include <string>

#include "s3_ways.h"

namespace {

using benchmarks::BareS3Client;

constexpr int kPrefixes = 1000;  // as many as a page of the service has at most
constexpr char kBucket[] = "team-archive";
constexpr char kParent[] = "photos/";

std::string prefixName(int number) { return kParent + std::to_string(100'000 + number) + '/'; }

std::string prefixPage() {
  std::string page =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<ListBucketResult "
      "xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\"><Name>team-archive</Name>"
      "<Prefix>photos/</Prefix><KeyCount>1000</KeyCount><MaxKeys>1000</MaxKeys>"
      "<Delimiter>/</Delimiter><IsTruncated>false</IsTruncated>";
  for (int i = 0; i < kPrefixes; ++i) {
    page += "<CommonPrefixes><Prefix>" + prefixName(i) + "</Prefix></CommonPrefixes>";
  }
  return page + "</ListBucketResult>";
}

// Only the ends: a look at every name would be paid for by whoever is measured.
void checkAndFree(directory* directories, int count) {
  const bool complete = count == kPrefixes && prefixName(0) == directories[0].name &&
                        prefixName(kPrefixes - 1) == directories[kPrefixes - 1].name;
  free_diretories(directories, count);
  if (!complete) throw std::runtime_error("the list is not the one that was served");
}

void listBare(BareS3Client& client) {
  int count = 0;
  directory* directories = client.listPrefixes(count);
  checkAndFree(directories, count);
}

void listThroughLibrary(session* handle) {
  directory* directories = nullptr;
  int count = 0;
  if (s3_list_directory(handle, kBucket, kParent, &directories, &count) != 0) {
    throw std::runtime_error("the call failed");
  }
  checkAndFree(directories, count);
}

}  // namespace

int main(int argc, char** argv) {
  const BareS3Client::Target target{std::string("/") + kBucket,
                                    "delimiter=%2F&list-type=2&prefix=photos%2F"};
  return benchmarks::runListingBenchmark(
      {"list_prefixes", std::to_string(kPrefixes) + " common prefixes", prefixPage,
       benchmarks::s3Ways(target, listBare, "s3_list_directory", listThroughLibrary)},
      argc, argv);
}
