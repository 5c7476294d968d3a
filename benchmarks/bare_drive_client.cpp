#include "bare_drive_client.h"

#include <simdjson.h>

#include <string_view>

#include "records.h"

namespace benchmarks {
namespace {

using simdjson::ondemand::object;

void addFolder(object entry, const DriveListing& listing, std::vector<directory>& folders) {
  if (!listing.tag.empty() && std::string_view(entry[listing.tag]) != "folder") return;
  directory& folder = folders.emplace_back();
  for (const auto& [name, member] : listing.kept) {
    folder.*member = copyOf(std::string_view(entry[name]));
  }
}

/// Adds the folders of a page to `folders`. Returns the token of the next page, empty if none
/// follows.
std::string readPage(object page, const DriveListing& listing, std::vector<directory>& folders) {
  std::string token;
  bool hasMore = true;
  for (auto field : page) {
    const std::string_view key = field.unescaped_key();
    if (key == listing.list) {
      for (object entry : field.value().get_array()) addFolder(entry, listing, folders);
    } else if (key == listing.token) {
      token = std::string_view(field.value());
    } else if (key == listing.hasMore) {
      hasMore = field.value().get_bool();
    }
  }
  return hasMore ? token : std::string();
}

}  // namespace

const std::string& accessToken() {
  static const std::string token = "benchmark-" + std::string(170, 'x');
  return token;
}

struct BareDriveClient::Implementation {
  Implementation(const Route& route, DriveListing itsListing)
      : http(route, true), listing(std::move(itsListing)) {}

  BareHttp http;
  DriveListing listing;
  simdjson::ondemand::parser parser;
};

BareDriveClient::BareDriveClient(const Route& route, DriveListing listing)
    : implementation_(std::make_unique<Implementation>(route, std::move(listing))) {
  implementation_->http.setHeaders({"accept: application/json",
                                    "authorization: Bearer " + accessToken(),
                                    "content-type: " + implementation_->listing.contentType});
}

BareDriveClient::~BareDriveClient() = default;

void BareDriveClient::fetchAndDrop(const std::string& token) {
  Implementation& own = *implementation_;
  if (token.empty()) {
    for (const std::string& url : own.listing.before) own.http.fetchAndDrop({url, ""});
  }
  own.http.fetchAndDrop(own.listing.request(token));
}

directory* BareDriveClient::listFolders(int& count) {
  Implementation& own = *implementation_;
  for (const std::string& url : own.listing.before) own.http.fetchAndDrop({url, ""});
  std::vector<directory> folders;
  std::string token;
  do {
    std::string& page = own.http.fetch(own.listing.request(token));
    page.reserve(page.size() + simdjson::SIMDJSON_PADDING);
    auto document = own.parser.iterate(page.data(), page.size(), page.capacity());
    token = readPage(document.get_object(), own.listing, folders);
  } while (!token.empty());
  count = static_cast<int>(folders.size());
  return arrayOf(folders);
}

}  // namespace benchmarks
