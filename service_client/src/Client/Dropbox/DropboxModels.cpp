#include <string>
#include <string_view>

#include "CloudStorage/Client/Dropbox/Model/CreateFolderRequest.h"
#include "CloudStorage/Client/Dropbox/Model/ListFolderRequest.h"
#include "Util/Json.h"

namespace CloudStorage::Client::Dropbox::Model {
namespace {

namespace Json = Util::Json;

// The service takes no empty segments, not even behind the last slash. Paths composed of a folder
// and a name may have some.
std::string withoutEmptySegments(std::string_view path) {
  std::string clean;
  for (const char c : path) {
    if (c != '/' || clean.empty() || clean.back() != '/') clean += c;
  }
  if (!clean.empty() && clean.back() == '/') clean.pop_back();
  return clean;
}

void addIfPresent(Json::ObjectWriter& arguments, const char* name,
                  const Util::Field<bool>& option) {
  if (option.isPresent()) arguments.add(name, option.value());
}

void addPath(Json::ObjectWriter& arguments, const Util::Field<std::string>& path) {
  if (path.isPresent()) arguments.add("path", withoutEmptySegments(path.value()));
}

}  // namespace

std::string ListFolderRequest::serializePayload() const {
  Json::ObjectWriter arguments;
  // A continuation takes its cursor and refuses anything else.
  if (isContinuation()) return arguments.add("cursor", cursor.value()).text();

  addPath(arguments, path);
  addIfPresent(arguments, "recursive", recursive);
  addIfPresent(arguments, "include_media_info", includeMediaInfo);
  addIfPresent(arguments, "include_deleted", includeDeleted);
  addIfPresent(arguments, "include_has_explicit_shared_members", includeHasExplicitSharedMembers);
  return arguments.text();
}

std::string CreateFolderRequest::serializePayload() const {
  Json::ObjectWriter arguments;
  addPath(arguments, path);
  addIfPresent(arguments, "autorename", autorename);
  return arguments.text();
}

}  // namespace CloudStorage::Client::Dropbox::Model
