#include <string>

#include "CloudStorage/Client/GoogleDrive/Model/GetFileResourceRequest.h"
#include "CloudStorage/Client/GoogleDrive/Model/ListFileResourceRequest.h"
#include "CloudStorage/Client/GoogleDrive/Model/UploadFileRequest.h"
#include "Util/Json.h"
#include "Util/Time.h"

namespace CloudStorage::Client::GoogleDrive::Model {
namespace {

namespace Json = Util::Json;

// Without a mask the service leaves out most of what a FileResource holds.
constexpr char kFileFields[] =
    "kind,id,name,mimeType,trashed,createdTime,modifiedTime,md5Checksum,parents";
// What a listing is read for; all fields would be three times as much. A mask that does not name
// the token of the next page makes every page look like the last.
constexpr char kListFields[] = "nextPageToken,files(id,name)";

// The folders of shared drives exist for those only who say that they know of shared drives.
void addSharedDriveSupport(Http::URI& uri) {
  uri.addQueryStringParameter("supportsAllDrives", "true");
}

// An empty text means the same as none for all of the service's optional parameters.
void addIfAny(Http::URI& uri, const char* name, const Util::Field<std::string>& field) {
  if (!field.isPresent() || field.value().empty()) return;
  uri.addQueryStringParameter(name, field.value());
}

}  // namespace

void GetFileResourceRequest::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("fields", kFileFields);
  addSharedDriveSupport(uri);
}

void ListFileResourceRequest::addQueryStringParameters(Http::URI& uri) const {
  addIfAny(uri, "orderBy", orderBy);
  if (pageSize.isPresent()) {
    uri.addQueryStringParameter("pageSize", std::to_string(pageSize.value()));
  }
  addIfAny(uri, "pageToken", pageToken);
  addIfAny(uri, "q", query);
  uri.addQueryStringParameter("fields", kListFields);
  addSharedDriveSupport(uri);
  uri.addQueryStringParameter("includeItemsFromAllDrives", "true");
}

void UploadFileRequest::addQueryStringParameters(Http::URI& uri) const {
  addIfAny(uri, "uploadType", uploadType);
  uri.addQueryStringParameter("fields", kFileFields);
  addSharedDriveSupport(uri);
}

std::string UploadFileRequest::serializePayload() const {
  Json::ObjectWriter metadata;
  if (createdTime.isPresent())
    metadata.add("createdTime", Util::formatIsoTime(createdTime.value()));
  if (modifiedTime.isPresent()) {
    metadata.add("modifiedTime", Util::formatIsoTime(modifiedTime.value()));
  }
  if (name.isPresent()) metadata.add("name", name.value());
  if (mimeType.isPresent()) metadata.add("mimeType", mimeType.value());
  if (parents.isPresent()) metadata.addList("parents", parents.value());
  return metadata.text();
}

}  // namespace CloudStorage::Client::GoogleDrive::Model
