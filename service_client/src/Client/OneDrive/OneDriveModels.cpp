#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "CloudStorage/Client/OneDrive/Model/CreateFolderRequest.h"
#include "CloudStorage/Client/OneDrive/Model/DriveItem.h"
#include "CloudStorage/Client/OneDrive/Model/ListChildrenRequest.h"
#include "Util/Json.h"

namespace CloudStorage::Client::OneDrive::Model {
namespace {

// What a listing is read for, and what tells folders from files; all of an item would be ten times
// as much.
constexpr char kListFields[] = "id,name,root,folder,remoteItem";

void addIfAny(Http::URI& uri, const char* name, const Util::Field<std::string>& field) {
  if (!field.isPresent() || field.value().empty()) return;
  uri.addQueryStringParameter(name, field.value());
}

/// A record on one line: "{ label: value, label: value }".
class Line {
 public:
  Line& add(std::string_view label, std::string_view value) {
    text_.append(text_.empty() ? "{ " : ", ").append(label).append(": ").append(value);
    return *this;
  }
  Line& add(std::string_view label, bool value) {
    return add(label, std::string_view(value ? "1" : "0"));
  }
  Line& add(std::string_view label, std::int64_t value) {
    return add(label, std::string_view(std::to_string(value)));
  }
  template <typename Record>
  Line& add(std::string_view label, const Record& record) {
    return add(label, std::string_view(record.toString()));
  }

  /// A record that may be missing has nothing but its labels then.
  template <typename Record>
  Line& add(std::string_view label, const std::shared_ptr<const Record>& record) {
    return add(label, record ? *record : Record());
  }

  std::string text() const { return text_ + " }"; }

 private:
  std::string text_;
};

}  // namespace

bool ListChildrenRequest::namesItsPage() const {
  return pageToken.isPresent() && pageToken.value().find("://") != std::string::npos;
}

void ListChildrenRequest::addQueryStringParameters(Http::URI& uri) const {
  if (namesItsPage()) return;
  if (pageSize.isPresent()) uri.addQueryStringParameter("$top", std::to_string(pageSize.value()));
  addIfAny(uri, "$filter", filter);
  uri.addQueryStringParameter("$select", kListFields);
  addIfAny(uri, "$skiptoken", pageToken);
}

std::string CreateFolderRequest::serializePayload() const {
  Util::Json::ObjectWriter folder;
  if (name.isPresent()) folder.add("name", name.value());
  folder.addEmptyObject("folder");
  // Without it drives of some kinds answer with the folder that has the name already.
  folder.add("@microsoft.graph.conflictBehavior", std::string_view("fail"));
  return folder.text();
}

std::string ItemReference::toString() const {
  return Line()
      .add("driveId", driveId)
      .add("Id", id)
      .add("path", path)
      .add("name", name)
      .add("shareId", shareId)
      .text();
}

std::string FolderFacet::toString() const { return Line().add("childCount", childCount).text(); }

std::string Hashes::toString() const {
  return Line()
      .add("crc32Hash", crc32Hash)
      .add("sha1Hash", sha1Hash)
      .add("quickXorHash", quickXorHash)
      .text();
}

std::string FileFacet::toString() const {
  return Line()
      .add("mimeType", mimeType)
      .add("hashes", hashes)
      .add("processingMetadata", processingMetadata)
      .text();
}

std::string FileSystemInfo::toString() const {
  return Line()
      .add("createdDateTime", createdDateTime)
      .add("lastModifiedDateTime", lastModifiedDateTime)
      .text();
}

std::string RemoteItem::toString() const {
  return Line()
      .add("id", id)
      .add("size", size)
      .add("parentReference", parentReference)
      .add("folder", folder)
      .add("file", file)
      .add("isFolder", isFolder)
      .add("fileSystemInfo", fileSystemInfo)
      .text();
}

std::string DriveItem::toString() const {
  return Line()
      .add("id", id)
      .add("name", name)
      .add("eTag", eTag)
      .add("cTag", cTag)
      .add("createdDateTime", createdDateTime)
      .add("lastModifiedDateTime", lastModifiedDateTime)
      .add("size", size)
      .add("parentReference", parentReference)
      .add("folder", folder)
      .add("file", file)
      .add("deleted", deleted)
      .add("root", root)
      .add("isFolder", isFolder)
      .add("fileSystemInfo", fileSystemInfo)
      .add("remoteItem", remoteItem)
      .text();
}

}  // namespace CloudStorage::Client::OneDrive::Model
