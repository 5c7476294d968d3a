#include "Client/OneDrive/OneDriveAddressing.h"

#include <string_view>
#include <utility>
#include <vector>

#include "Client/ErrorMarshalling.h"
#include "Http/PercentEncoding.h"

namespace CloudStorage::Client::OneDrive {
namespace {

constexpr char kService[] = "https://graph.microsoft.com/v1.0";
constexpr std::string_view kVersion = "v1.0";

Error invalidId() {
  return localError("InvalidRequest", "The item id or drive id is empty or a relative path");
}

// The segments of `path` after its dot segments are removed (RFC 3986, section 5.2.4). These may be
// percent-encoded.
std::vector<std::string_view> resolvedSegments(std::string_view path) {
  std::vector<std::string_view> segments;
  while (!path.empty()) {
    path.remove_prefix(1);  // the slash
    const std::string_view segment = path.substr(0, path.find('/'));
    path.remove_prefix(segment.size());
    const std::string decoded = Http::uriDecode(segment);
    if (decoded == "..") {
      if (!segments.empty()) segments.pop_back();
    } else if (decoded != ".") {
      segments.push_back(segment);
      continue;
    }
    if (path.empty()) segments.emplace_back();  // a dot segment at the end addresses a folder
  }
  return segments;
}

bool isInService(const Http::URI& uri) {
  const auto service = *Http::URI::parse(kService);
  if (uri.scheme() != service.scheme() || uri.authority() != service.authority()) return false;
  const auto segments = resolvedSegments(uri.path());
  return segments.size() > 1 && segments.front() == kVersion;
}

}  // namespace

Util::Outcome<Http::URI, Error> driveUri(const Util::Field<std::string>& driveId) {
  Http::URI uri = *Http::URI::parse(kService);
  if (!driveId.isPresent()) {
    uri.addPath("me/drive");
    return uri;
  }
  if (!Http::URI::isPathSegment(driveId.value())) return invalidId();
  uri.addPathSegment("drives");
  uri.addPathSegment(driveId.value());
  return uri;
}

Util::Outcome<Http::URI, Error> itemUri(const ItemLocation& item) {
  auto drive = driveUri(item.driveId);
  if (!drive.isSuccess()) return drive;
  if (!Http::URI::isPathSegment(item.itemId)) return invalidId();
  Http::URI uri = std::move(drive).getResult();
  uri.addPathSegment("items");
  uri.addPathSegment(item.itemId);
  return uri;
}

Util::Outcome<Http::URI, Error> childrenUri(const ItemLocation& folder) {
  auto item = itemUri(folder);
  if (!item.isSuccess()) return item;
  Http::URI uri = std::move(item).getResult();
  uri.addPathSegment("children");
  return uri;
}

Util::Outcome<Http::URI, Error> pageUri(const std::string& pageToken) {
  auto uri = Http::URI::parse(pageToken);
  if (uri && isInService(*uri)) return *std::move(uri);
  return localError("InvalidRequest", "The page token leads away from the service");
}

}  // namespace CloudStorage::Client::OneDrive
