#include "Client/Dropbox/EntryJson.h"

#include <string_view>

namespace CloudStorage::Client::Dropbox::Model {
namespace {

namespace Json = Util::Json;

FileMetadata& fileOf(Metadata& entry) { return entry.file ? *entry.file : entry.file.emplace(); }

// Runs for every member of a listing, so it returns at the first name that matches.
void readMember(std::string_view key, Json::Value value, Metadata& entry) {
  if (key == ".tag") return Json::read(value, entry.tag);
  if (key == "name") return Json::read(value, entry.name);
  if (key == "id") return Json::readId(value, entry.id);
  if (key == "path_lower") return Json::readId(value, entry.pathLower);
  if (key == "path_display") return Json::readId(value, entry.path);
  if (key == "client_modified") return Json::read(value, fileOf(entry).clientModified);
  if (key == "server_modified") return Json::read(value, fileOf(entry).serverModified);
  if (key == "size") return Json::read(value, fileOf(entry).size);
  if (key == "rev") return Json::read(value, fileOf(entry).rev);
}

}  // namespace

void readEntry(Json::Object object, Metadata& entry) {
  for (const auto& [key, value] : object) readMember(key, value, entry);
  if (entry.path.empty()) entry.path = entry.pathLower;
}

}  // namespace CloudStorage::Client::Dropbox::Model
