#include "Client/OneDrive/OneDriveAnswers.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>

#include "Client/ErrorMarshalling.h"
#include "Client/JsonAnswer.h"
#include "Util/Json.h"

namespace CloudStorage::Client::OneDrive {
namespace {

namespace Json = Util::Json;

// Of a listing, so that memory for the items of a page is asked for once.
constexpr std::size_t kUsualItemLength = 128;
constexpr std::size_t kMostItems = 1000;

template <typename Record>
void readMembers(Json::Object object, Record& record);

// False if `value` is no object.
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

// Some facets say all there is to say by being there.
bool isObject(Json::Value value) { return value.type() == simdjson::ondemand::json_type::object; }

void readMember(std::string_view key, Json::Member& member, Model::ItemReference& reference) {
  if (key == "driveId") Json::read(member, reference.driveId);
  if (key == "id") Json::read(member, reference.id);
  if (key == "path") Json::read(member, reference.path);
  if (key == "name") Json::read(member, reference.name);
  if (key == "shareId") Json::read(member, reference.shareId);
}

void readMember(std::string_view key, Json::Member& member, Model::FolderFacet& folder) {
  if (key == "childCount") Json::read(member, folder.childCount);
}

void readMember(std::string_view key, Json::Member& member, Model::Hashes& hashes) {
  if (key == "crc32Hash") Json::read(member, hashes.crc32Hash);
  if (key == "sha1Hash") Json::read(member, hashes.sha1Hash);
  if (key == "quickXorHash") Json::read(member, hashes.quickXorHash);
}

void readMember(std::string_view key, Json::Member& member, Model::FileFacet& file) {
  if (key == "mimeType") Json::read(member, file.mimeType);
  if (key == "hashes") readRecord(member.value(), file.hashes);
  if (key == "processingMetadata") Json::read(member, file.processingMetadata);
}

void readMember(std::string_view key, Json::Member& member, Model::FileSystemInfo& info) {
  if (key == "createdDateTime") Json::read(member, info.createdDateTime);
  if (key == "lastModifiedDateTime") Json::read(member, info.lastModifiedDateTime);
}

void readMember(std::string_view key, Json::Member& member, Model::RemoteItem& item) {
  if (key == "id") Json::read(member, item.id);
  if (key == "size") Json::read(member, item.size);
  if (key == "parentReference") readRecord(member.value(), item.parentReference);
  if (key == "folder") item.isFolder = readRecord(member.value(), item.folder);
  if (key == "file") readRecord(member.value(), item.file);
  if (key == "fileSystemInfo") readRecord(member.value(), item.fileSystemInfo);
}

void readMember(std::string_view key, Json::Member& member, Model::DriveItem& item) {
  if (key == "id") Json::read(member, item.id);
  if (key == "name") Json::read(member, item.name);
  if (key == "folder") item.isFolder = readRecord(member.value(), item.folder);
  if (key == "remoteItem") readRecord(member.value(), item.remoteItem);
  if (key == "root") item.root = isObject(member.value());
  if (key == "deleted") item.deleted = isObject(member.value());
  if (key == "eTag") Json::read(member, item.eTag);
  if (key == "cTag") Json::read(member, item.cTag);
  if (key == "createdDateTime") Json::read(member, item.createdDateTime);
  if (key == "lastModifiedDateTime") Json::read(member, item.lastModifiedDateTime);
  if (key == "size") Json::read(member, item.size);
  if (key == "parentReference") readRecord(member.value(), item.parentReference);
  if (key == "file") readRecord(member.value(), item.file);
  if (key == "fileSystemInfo") readRecord(member.value(), item.fileSystemInfo);
}

void readMember(std::string_view key, Json::Member& member, Model::DriveMetadata& drive) {
  if (key == "id") Json::read(member, drive.id);
  if (key == "driveType") Json::read(member, drive.driveType);
  if (key == "name") Json::read(member, drive.name);
}

template <typename Record>
void readMembers(Json::Object object, Record& record) {
  for (Json::Member member : object) readMember(Json::keyOf(member), member, record);
}

template <typename IsWanted>
std::optional<Error> parsePage(Http::Response& response, Model::ListChildrenResult& result,
                               IsWanted isWanted) {
  const auto readItem = [&result, isWanted](Json::Object object) {
    Model::DriveItem& item = result.items.emplace_back();
    readMembers(object, item);
    if (!isWanted(item)) result.items.pop_back();
  };
  result.items.reserve(std::min(response.body.size() / kUsualItemLength, kMostItems));
  return readJson(response, result.page, [&result, readItem](Json::Object object) {
    for (Json::Member member : object) {
      const std::string_view key = Json::keyOf(member);
      if (key == "@odata.nextLink") Json::read(member, result.nextToken);
      if (key == "value") Json::readObjects(member.value(), readItem);
    }
  });
}

}  // namespace

std::optional<Error> parseItem(Http::Response& response, Model::DriveItem& item) {
  auto error =
      readJson(response, item.page, [&item](Json::Object object) { readMembers(object, item); });
  if (!error && item.id.empty()) error = localError("MalformedResponse", "The answer has no id");
  return error;
}

std::optional<Error> parseDrive(Http::Response& response, Model::DriveMetadata& drive) {
  std::shared_ptr<const void> page;  // nothing that is read refers to it
  return readJson(response, page, [&drive](Json::Object object) { readMembers(object, drive); });
}

std::optional<Error> parseChildren(Http::Response& response, Model::ListChildrenResult& result) {
  return parsePage(response, result, [](const Model::DriveItem&) { return true; });
}

std::optional<Error> parseFolders(Http::Response& response, Model::ListChildrenResult& result) {
  return parsePage(response, result, [](const Model::DriveItem& item) { return item.isFolder; });
}

std::optional<Error> parseFoldersAndRemoteItems(Http::Response& response,
                                                Model::ListChildrenResult& result) {
  return parsePage(response, result,
                   [](const Model::DriveItem& item) { return item.isFolder || item.remoteItem; });
}

}  // namespace CloudStorage::Client::OneDrive
