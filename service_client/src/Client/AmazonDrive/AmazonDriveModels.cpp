#include <string>

#include "CloudStorage/Client/AmazonDrive/Model/FileRequest.h"
#include "CloudStorage/Client/AmazonDrive/Model/FileResource.h"
#include "CloudStorage/Client/AmazonDrive/Model/ListFileResourceRequest.h"
#include "Util/Json.h"

namespace CloudStorage::Client::AmazonDrive::Model {

std::string FileResource::toString() const {
  std::string text;
  text.append("{ kind: ").append(kind);
  text.append(", id: ").append(id);
  text.append(", name: ").append(name);
  text.append(", mimeType: ").append(mimeType);
  text.append(", _trashed: ").append(trashed ? "1" : "0");
  text.append(", _createdTime = ").append(createdTime.toString());
  text.append(", _modifiedTime = ").append(modifiedTime.toString());
  text.append(", _md5Checksum: ").append(md5Checksum);
  text.append(", _size: ").append(std::to_string(size));
  text.append(", _parent: [ ");
  const char* separator = "";
  for (const auto& parent : parents) {
    text.append(separator).append(parent);
    separator = ", ";
  }
  return text.append("] }");
}

void ListFileResourceRequest::addQueryStringParameters(Http::URI& uri) const {
  if (filters.isPresent()) uri.addQueryStringParameter("filters", filters.value());
  if (sort.isPresent()) uri.addQueryStringParameter("sort", sort.value());
  // Sent also unless set, since the service's own choice may be another.
  uri.addQueryStringParameter("limit", std::to_string(limit.value()));
  if (!startToken.value().empty()) uri.addQueryStringParameter("startToken", startToken.value());
}

std::string FileRequest::serializePayload() const {
  Util::Json::ObjectWriter node;
  if (name.isPresent()) node.add("name", name.value());
  if (kind.isPresent()) node.add("kind", kind.value());
  if (parent.isPresent()) node.addList("parents", parent.value());
  return node.text();
}

Http::HeaderValueCollection FileRequest::getRequestSpecificHeaders() const {
  return {{Http::CONTENT_TYPE_HEADER, "application/json"}};
}

}  // namespace CloudStorage::Client::AmazonDrive::Model
