#include <stdexcept>
#include <string>

#include "s3_ways.h"

namespace {

using benchmarks::BareS3Client;

constexpr int kBuckets = 1000;

std::string bucketName(int number) { return "team-archive-" + std::to_string(100'000 + number); }

std::string bucketPage() {
  std::string page =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<ListAllMyBucketsResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">"
      "<Owner><ID>1f2e3d4c5b6a</ID><DisplayName>benchmark</DisplayName></Owner><Buckets>";
  for (int i = 0; i < kBuckets; ++i) {
    page += "<Bucket><Name>" + bucketName(i) +
            "</Name><CreationDate>2024-02-29T08:30:15.000Z</CreationDate></Bucket>";
  }
  return page + "</Buckets></ListAllMyBucketsResult>";
}

// Only the ends: a look at every name would be paid for by whoever is measured.
void checkAndFree(char** buckets, int count) {
  const bool complete = count == kBuckets && bucketName(0) == buckets[0] &&
                        bucketName(kBuckets - 1) == buckets[kBuckets - 1];
  free_buckets(buckets, count);
  if (!complete) throw std::runtime_error("the list is not the one that was served");
}

void listBare(BareS3Client& client) {
  int count = 0;
  char** buckets = client.listBuckets(count);
  checkAndFree(buckets, count);
}

void listThroughLibrary(session* handle) {
  char** buckets = nullptr;
  int count = 0;
  if (s3_list_bucket(handle, &buckets, &count) != 0) throw std::runtime_error("the call failed");
  checkAndFree(buckets, count);
}

}  // namespace

int main(int argc, char** argv) {
  return benchmarks::runListingBenchmark(
      {"list_buckets", std::to_string(kBuckets) + " buckets", bucketPage,
       benchmarks::s3Ways({"/", ""}, listBare, "s3_list_bucket", listThroughLibrary)},
      argc, argv);
}
