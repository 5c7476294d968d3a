#include "CloudStorage/Client/OneDrive/DriveItem.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Client/OneDrive/DriveItemJson.h"

namespace CloudStorage::Client::OneDrive::Model {
namespace {

namespace Json = Util::Json;

template <typename Record>
void readMembers(Json::Object object, Record& record);

// Returns false if `value` is not an object.
template <typename Record>
bool readRecord(Json::Value value, Record& record) {
  record = {};
  return Json::readObject(value, [&record](Json::Object object) { readMembers(object, record); });
}

template <typename Record>
void readRecord(Json::Value value, std::shared_ptr<const Record>& record) {
  const auto found = std::make_shared<Record>();
  record = readRecord(value, *found) ? found : nullptr;
}

// Some facets carry no information except their presence.

void readMember(std::string_view key, Json::Value value, ItemReference& reference) {
  if (key == "driveId") Json::readId(value, reference.driveId);
  if (key == "id") Json::readId(value, reference.id);
  if (key == "path") Json::read(value, reference.path);
  if (key == "name") Json::read(value, reference.name);
  if (key == "shareId") Json::read(value, reference.shareId);
}

void readMember(std::string_view key, Json::Value value, FolderFacet& folder) {
  if (key == "childCount") Json::read(value, folder.childCount);
}

void readMember(std::string_view key, Json::Value value, Hashes& hashes) {
  if (key == "crc32Hash") Json::read(value, hashes.crc32Hash);
  if (key == "sha1Hash") Json::read(value, hashes.sha1Hash);
  if (key == "quickXorHash") Json::read(value, hashes.quickXorHash);
}

void readMember(std::string_view key, Json::Value value, FileFacet& file) {
  if (key == "mimeType") Json::read(value, file.mimeType);
  if (key == "hashes") readRecord(value, file.hashes);
  if (key == "processingMetadata") Json::read(value, file.processingMetadata);
}

void readMember(std::string_view key, Json::Value value, FileSystemInfo& info) {
  if (key == "createdDateTime") Json::read(value, info.createdDateTime);
  if (key == "lastModifiedDateTime") Json::read(value, info.lastModifiedDateTime);
}

void readMember(std::string_view key, Json::Value value, RemoteItem& item) {
  if (key == "id") Json::readId(value, item.id);
  if (key == "size") Json::read(value, item.size);
  if (key == "parentReference") readRecord(value, item.parentReference);
  if (key == "folder") item.isFolder = readRecord(value, item.folder);
  if (key == "file") readRecord(value, item.file);
  if (key == "fileSystemInfo") readRecord(value, item.fileSystemInfo);
}

// Runs for every member of a listing, so it ends with the first name that matches.
void readMember(std::string_view key, Json::Value value, DriveItem& item) {
  if (key == "id") return Json::readId(value, item.id);
  if (key == "name") return Json::read(value, item.name);
  if (key == "folder") {
    item.isFolder = readRecord(value, item.folder);
    return;
  }
  if (key == "remoteItem") return readRecord(value, item.remoteItem);
  if (key == "eTag") return Json::read(value, item.eTag);
  if (key == "cTag") return Json::read(value, item.cTag);
  if (key == "createdDateTime") return Json::read(value, item.createdDateTime);
  if (key == "lastModifiedDateTime") return Json::read(value, item.lastModifiedDateTime);
  if (key == "size") return Json::read(value, item.size);
  if (key == "parentReference") return readRecord(value, item.parentReference);
  if (key == "file") return readRecord(value, item.file);
  if (key == "fileSystemInfo") return readRecord(value, item.fileSystemInfo);
  // The presence of these is all the information that they carry.
  if (key == "root") item.root = Json::isObject(value);
  if (key == "deleted") item.deleted = Json::isObject(value);
}

template <typename Record>
void readMembers(Json::Object object, Record& record) {
  for (const auto& [key, value] : object) readMember(key, value, record);
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

  /// A missing record is printed as an empty one.
  template <typename Record>
  Line& add(std::string_view label, const std::shared_ptr<const Record>& record) {
    return add(label, record ? *record : Record());
  }

  std::string text() const { return text_ + " }"; }

 private:
  std::string text_;
};

}  // namespace

void readItem(Json::Object object, DriveItem& item) { readMembers(object, item); }

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
