#include "Client/OneDrive/OneDriveRequestPolicy.h"

#include <algorithm>
#include <string_view>

#include "Client/OneDrive/OneDriveAddressing.h"
#include "Http/HeaderChecks.h"
#include "Util/Json.h"

namespace CloudStorage::Client::OneDrive {
namespace {

// Whether the drive that was asked may not have the item. The statuses of a refused creation are
// among these: nothing was created, so the request can be sent to another drive.
bool isUnknownItem(const Error& error) {
  return (error.httpResponseCode == 404 && error.exceptionName == "itemNotFound") ||
         (error.httpResponseCode == 400 && error.exceptionName == "invalidRequest");
}

bool isRefusedFilter(const Error& error) {
  return (error.httpResponseCode == 400 || error.httpResponseCode == 501) &&
         (error.exceptionName == "notSupported" || error.exceptionName == "invalidRequest" ||
          error.exceptionName == "BadRequest");
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

bool isLetterOrDigit(char c) {
  return isDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// The drive that the id of an item in a personal drive names, as in "9F3C6E5D1A2B4C3D!105"; empty
// for the ids of other drives.
std::string_view driveOf(std::string_view itemId) {
  const auto separator = std::min(itemId.find('!'), itemId.size());
  const std::string_view drive = itemId.substr(0, separator);
  const std::string_view number = itemId.substr(std::min(separator + 1, itemId.size()));
  const bool isPersonal = !number.empty() && std::all_of(number.begin(), number.end(), isDigit) &&
                          std::all_of(drive.begin(), drive.end(), isLetterOrDigit);
  return isPersonal ? drive : std::string_view();
}

}  // namespace

FolderPolicy::FolderPolicy(const DriveCall& call, RemoteItems& remoteItems,
                           const Util::Field<std::string>& driveId,
                           const Util::Field<std::string>& folderId)
    : BearerPolicy(call.credential()),
      call_(call),
      remoteItems_(remoteItems),
      folderId_(folderId),
      location_{driveId, folderId.value()},
      isLocationKnown_(driveId.isPresent()) {
  if (isLocationKnown_) return;
  if (auto known = remoteItems.find(folderId.value())) {
    location_ = *std::move(known);
    isLocationKnown_ = true;
  }
}

Util::Outcome<Http::URI, Error> FolderPolicy::uri() const { return childrenUri(location_); }

bool FolderPolicy::recover(const Http::Response& /*response*/, const Error& error,
                           Http::Request& request) {
  if (!firstRefusal_ && isUnknownItem(error)) firstRefusal_ = error;
  if (!omitParameter(error)) {
    if (isLocationKnown_ || !isUnknownItem(error)) return false;
    auto location = nextLocation();
    if (!location) return false;
    location_ = *std::move(location);
  }
  request.uri = childrenUri(location_).getResult();
  addParameters(request.uri);
  return true;
}

bool FolderPolicy::isRefusal(const Error& error) {
  return isUnknownItem(error) || error.httpResponseCode == 403 || error.httpResponseCode == 404;
}

std::optional<ItemLocation> FolderPolicy::nextLocation() {
  if (!isItemRequested_) {
    isItemRequested_ = true;
    if (auto remote = requestRemoteItem()) return remote;
  }
  const std::string_view drive = driveOf(folderId_.value());
  if (isDriveTried_ || drive.empty()) return std::nullopt;
  isDriveTried_ = true;
  ItemLocation location{{}, folderId_.value()};
  location.driveId = std::string(drive);
  return location;
}

std::optional<ItemLocation> FolderPolicy::requestRemoteItem() {
  Http::Request request;
  request.uri = itemUri({{}, folderId_.value()}).getResult();
  request.uri.addQueryStringParameter("$select", "id,remoteItem");
  authorize(request);
  const Http::Response response = call_.transfer("getDriveItem", request);
  if (!response.isSuccessStatus() || !Http::mayBeJson(response)) return std::nullopt;
  auto ids =
      Util::Json::texts(response.body, {"remoteItem/parentReference/driveId", "remoteItem/id"});
  if (!Http::URI::isPathSegment(ids[0]) || !Http::URI::isPathSegment(ids[1])) return std::nullopt;
  ItemLocation location{{}, std::move(ids[1])};
  location.driveId = std::move(ids[0]);
  return location;
}

void FolderPolicy::rememberFolder() {
  if (isLocationKnown_ || !location_.driveId.isPresent()) return;
  remoteItems_.remember(folderId_.value(), location_.driveId.value(), location_.itemId);
}

void FolderPolicy::remember(const Model::DriveItem& item) {
  if (item.remoteItem) {
    const auto& remote = *item.remoteItem;
    remoteItems_.remember(item.id, remote.parentReference.driveId, remote.id);
  } else if (item.isFolder && location_.driveId.isPresent()) {
    remoteItems_.remember(item.id, location_.driveId.value(), item.id);
  }
}

ListingPolicy::ListingPolicy(const DriveCall& call, RemoteItems& remoteItems,
                             const Model::ListChildrenRequest& request, bool isFilterOptional)
    : FolderPolicy(call, remoteItems, request.driveId, request.itemId),
      model_(request),
      isFilterOptional_(isFilterOptional) {}

bool ListingPolicy::recover(const Http::Response& response, const Error& error,
                            Http::Request& request) {
  // The address of a page contains its drive and its filter.
  return !model_.namesItsPage() && FolderPolicy::recover(response, error, request);
}

bool ListingPolicy::omitParameter(const Error& error) {
  if (!isFilterOptional_ || !isRefusedFilter(error)) return false;
  isFilterOptional_ = false;
  model_.filter = Util::Field<std::string>();
  return true;
}

}  // namespace CloudStorage::Client::OneDrive
