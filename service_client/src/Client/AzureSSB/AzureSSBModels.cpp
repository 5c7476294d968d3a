#include "CloudStorage/Client/AzureSSB/Model/CreateContainerRequest.h"
#include "CloudStorage/Client/AzureSSB/Model/ListBlobRequest.h"
#include "CloudStorage/Client/AzureSSB/Model/ListContainerRequest.h"
#include "CloudStorage/Client/AzureSSB/Model/PutBlobRequest.h"

namespace CloudStorage::Client::AzureSSB::Model {
namespace {

// An empty text means the same as none for all of the service's optional parameters.
void addIfAny(Http::URI& uri, const char* name, const Util::Field<std::string>& field) {
  if (!field.isPresent() || field.value().empty()) return;
  uri.addQueryStringParameter(name, field.value());
}

void addIfAny(Http::URI& uri, const char* name, const Util::Field<std::int64_t>& field) {
  if (!field.isPresent()) return;
  uri.addQueryStringParameter(name, std::to_string(field.value()));
}

}  // namespace

void ListContainerRequest::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("comp", "list");
  addIfAny(uri, "prefix", prefix);
  addIfAny(uri, "marker", marker);
  addIfAny(uri, "maxresults", maxResults);
}

void CreateContainerRequest::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("restype", "container");
}

void ListBlobRequest::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("restype", "container");
  uri.addQueryStringParameter("comp", "list");
  addIfAny(uri, "prefix", prefix);
  addIfAny(uri, "delimiter", delimiter);
  addIfAny(uri, "marker", marker);
  addIfAny(uri, "maxresults", maxResults);
}

Http::HeaderValueCollection PutBlobRequest::getRequestSpecificHeaders() const {
  if (!blobType.isPresent()) return {};
  return {{"x-ms-blob-type", blobType.value()}};
}

}  // namespace CloudStorage::Client::AzureSSB::Model
