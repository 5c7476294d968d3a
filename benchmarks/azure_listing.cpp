#include <memory>

#include "bare_azure_client.h"
#include "listing.h"
#include "paging.h"

namespace benchmarks {
namespace {

constexpr int kPageSize = 100;

// The base64 form of 64 bytes, as an account's key has.
const BareAzureClient::Account kAccount{"benchmarkaccount", std::string(86, 'A') + "=="};

std::string containerName(int number) { return "team-archive-" + std::to_string(100'000 + number); }

std::string container(int number, const ListingSize& size) {
  std::string text = "<Container><Name>" + containerName(number) +
                     "</Name><Properties><Last-Modified>Thu, 29 Feb 2024 08:00:00 "
                     "GMT</Last-Modified><Etag>\"0x8DC38F5E2A7B" +
                     std::to_string(100'000 + number) +
                     "\"</Etag><LeaseStatus>unlocked</LeaseStatus><LeaseState>available"
                     "</LeaseState></Properties>";
  if (size.padding != 0) {
    text += "<Metadata><note>" + std::string(static_cast<std::size_t>(size.padding), '-') +
            "</note></Metadata>";
  }
  return text + "</Container>";
}

Site makeSite(const ListingSize& size) {
  const Paging paging{size.entries, kPageSize};
  Site site{"application/xml", {}, requestedPage};
  for (int page = 0; page < paging.pages(); ++page) {
    std::string text =
        "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?>"
        "<EnumerationResults ServiceEndpoint=\"https://" +
        kAccount.name + ".blob.core.windows.net/\"><MaxResults>100</MaxResults><Containers>";
    for (int i = paging.firstOf(page); i < paging.endOf(page); ++i) text += container(i, size);
    text +=
        "</Containers><NextMarker>" + paging.token(page + 1) + "</NextMarker></EnumerationResults>";
    site.pages.push_back(std::move(text));
  }
  return site;
}

Records listContainers(session* handle, const Expected& expected) {
  char** buckets = nullptr;
  int count = 0;
  azure_ssb_list_bucket(handle, &buckets, &count);
  return checked(buckets, count, expected);
}

}  // namespace

Listing azureContainers(const ListingSize& size) {
  const Paging paging{size.entries, kPageSize};
  const Expected expected{size.entries, containerName};
  const ListingWay dropped{"libcurl + signing, pages dropped", [paging](const Route& route) {
                             const auto client = std::make_shared<BareAzureClient>(route, kAccount);
                             return [paging, client] {
                               for (int page = 0; page < paging.pages(); ++page)
                                 client->fetchAndDrop(paging.token(page));
                               return Records();
                             };
                           }};
  const ListingWay yardstick{
      "libcurl + signing + pugixml + records", [expected](const Route& route) {
        const auto client = std::make_shared<BareAzureClient>(route, kAccount);
        return [expected, client] {
          int count = 0;
          char** buckets = client->listContainers(count);
          return checked(buckets, count, expected);
        };
      }};
  const ListingWay library = libraryWay(
      "azure_ssb_list_bucket",
      [](const Route& /*route*/, const proxy_setting* proxy) {
        return libvemlo_azure_ssb_init("", kAccount.name.c_str(), kAccount.key.c_str(), proxy);
      },
      libvemlo_azure_ssb_cleanup,
      [expected](session* handle) { return listContainers(handle, expected); });
  return {std::to_string(size.entries) + " containers of Azure",
          size.entries,
          Route::Kind::TlsThroughProxy,
          [size] { return makeSite(size); },
          {dropped, yardstick, library}};
}

}  // namespace benchmarks
