#include <memory>

#include "bare_s3_client.h"
#include "listing.h"

namespace benchmarks {
namespace {

constexpr char kContentType[] = "application/xml";
constexpr char kYardstickName[] = "libcurl + signing + pugixml + records";

std::string bucketName(int number) { return "team-archive-" + std::to_string(100'000 + number); }

std::string prefixName(int number) { return kS3Folder + std::to_string(100'000 + number) + '/'; }

// In an element that no client reads.
std::string padding(const ListingSize& size) {
  if (size.padding == 0) return {};
  return "<Note>" + std::string(static_cast<std::size_t>(size.padding), '-') + "</Note>";
}

std::string bucketPage(const ListingSize& size) {
  std::string page =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<ListAllMyBucketsResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">"
      "<Owner><ID>1f2e3d4c5b6a</ID><DisplayName>benchmark</DisplayName></Owner><Buckets>";
  for (int i = 0; i < size.entries; ++i) {
    page += "<Bucket><Name>" + bucketName(i) +
            "</Name><CreationDate>2024-02-29T08:30:15.000Z</CreationDate>" + padding(size) +
            "</Bucket>";
  }
  return page + "</Buckets></ListAllMyBucketsResult>";
}

std::string prefixPage(const ListingSize& size) {
  std::string page =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<ListBucketResult "
      "xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\"><Name>team-archive</Name>"
      "<Prefix>photos/</Prefix><KeyCount>1000</KeyCount><MaxKeys>1000</MaxKeys>"
      "<Delimiter>/</Delimiter><IsTruncated>false</IsTruncated>";
  for (int i = 0; i < size.entries; ++i) {
    page += "<CommonPrefixes><Prefix>" + prefixName(i) + "</Prefix>" + padding(size) +
            "</CommonPrefixes>";
  }
  return page + "</ListBucketResult>";
}

ListingWay bareWay(const std::string& description, const BareS3Client::Target& target,
                   const std::function<Records(BareS3Client&)>& list) {
  return {description, [=](const Route& route) {
            const auto client = std::make_shared<BareS3Client>(route, kS3Account, target);
            return [=] { return list(*client); };
          }};
}

ListingWay throughLibrary(const std::string& function,
                          const std::function<Records(session*)>& list) {
  return libraryWay(
      function,
      [](const Route& route, const proxy_setting* proxy) {
        return libvemlo_s3_init(route.address().c_str(), kS3Account.region.c_str(),
                                kS3Account.accessKey.c_str(), kS3Account.secretKey.c_str(), proxy);
      },
      libvemlo_s3_cleanup, list);
}

ListingWay pageDropped(const BareS3Client::Target& target) {
  return bareWay("libcurl + signing, page dropped", target, [](BareS3Client& client) {
    client.fetchAndDrop();
    return Records();
  });
}

}  // namespace

Listing s3Buckets(const ListingSize& size, Route::Kind route) {
  const BareS3Client::Target target{"/", ""};
  const Expected expected{size.entries, bucketName};
  const auto bare = [expected](BareS3Client& client) {
    int count = 0;
    char** buckets = client.listBuckets(count);
    return checked(buckets, count, expected);
  };
  const auto library = [expected](session* handle) {
    char** buckets = nullptr;
    int count = 0;
    s3_list_bucket(handle, &buckets, &count);
    return checked(buckets, count, expected);
  };
  return {std::to_string(size.entries) + " buckets of S3",
          size.entries,
          route,
          [size] {
            return Site{kContentType, {bucketPage(size)}, {}};
          },
          {pageDropped(target), bareWay(kYardstickName, target, bare),
           throughLibrary("s3_list_bucket", library)}};
}

Listing s3Prefixes(const ListingSize& size, Route::Kind route) {
  const Expected expected{size.entries, prefixName};
  const auto bare = [expected](BareS3Client& client) {
    int count = 0;
    directory* directories = client.listPrefixes(count);
    return checked(directories, count, expected);
  };
  const auto library = [expected](session* handle) {
    directory* directories = nullptr;
    int count = 0;
    s3_list_directory(handle, kS3Bucket.c_str(), kS3Folder.c_str(), &directories, &count);
    return checked(directories, count, expected);
  };
  return {std::to_string(size.entries) + " common prefixes of S3",
          size.entries,
          route,
          [size] {
            return Site{kContentType, {prefixPage(size)}, {}};
          },
          {pageDropped(kS3FolderTarget), bareWay(kYardstickName, kS3FolderTarget, bare),
           throughLibrary("s3_list_directory", library)}};
}

}  // namespace benchmarks
