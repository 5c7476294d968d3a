#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Client/AccountRequests.h"
#include "Client/DriveCall.h"
#include "Client/ErrorMarshalling.h"
#include "Client/ErrorTables.h"
#include "Client/JsonResponse.h"
#include "Client/ListingExtent.h"
#include "Client/OptionalParameters.h"
#include "Client/Paging.h"
#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "Util/Json.h"

namespace CloudStorage::Client::AmazonDrive {

namespace Json = Util::Json;

// Addresses

namespace {

Http::URI endpointUri() {
  return *Http::URI::parse("https://drive.amazonaws.com/drive/v1/account/endpoint");
}

constexpr char kProfile[] = "https://api.amazon.com/user/profile";

Http::URI profileUri() { return *Http::URI::parse(kProfile); }

// The access token is sent to the addresses that the service supplies, so they must be https and
// those of the service.
std::optional<Http::URI> secureUri(std::string_view text) {
  auto uri = Http::URI::parse(text);
  if (uri && uri->scheme() != "https") return std::nullopt;
  return uri;
}

/// The domains of the service's hosts.
constexpr std::string_view kDomains[] = {".amazonaws.com", ".amazon.com", ".amazonclouddrive.com"};

// Whether the host is below one of the domains and the port is the default one. An address never
// contains user information.
bool isServiceUri(const Http::URI& uri) {
  const std::string_view host = uri.host();
  const auto contains = [host](std::string_view domain) {
    return host.size() > domain.size() && host.substr(host.size() - domain.size()) == domain;
  };
  return uri.authority() == host && std::any_of(std::begin(kDomains), std::end(kDomains), contains);
}

Util::Outcome<Http::URI, Error> nodesUri(const Util::Field<std::string>& metadataEndpoint) {
  std::string_view base = metadataEndpoint.value();
  base = base.substr(0, base.find_last_not_of('/') + 1);
  auto uri = secureUri(base);
  if (!uri) return localError("InvalidRequest", "The metadata endpoint is no https address");
  if (!isServiceUri(*uri)) {
    return localError("InvalidRequest", "The metadata endpoint is no address of the service");
  }
  uri->addPathSegment("nodes");
  return *std::move(uri);
}

}  // namespace

AmazonDriveClient::Endpoints AmazonDriveClient::endpoints() const {
  const std::lock_guard<std::mutex> lock(endpointsMutex_);
  return endpoints_;
}

void AmazonDriveClient::setEndpoints(Endpoints endpoints) {
  const std::lock_guard<std::mutex> lock(endpointsMutex_);
  endpoints_ = std::move(endpoints);
}

// Endpoints of the account

namespace {

Util::Outcome<Model::GetEndpointResult, Error> parseEndpoints(Http::Response&& response,
                                                              Json::Parser& json) {
  Model::GetEndpointResult result;
  const auto storage =
      readJson(std::move(response), isWholeResult, json, [&result](Json::Object object) {
        for (const auto& [key, value] : object) {
          if (key == "contentUrl") Json::readToken(value, result.contentUrl);
          if (key == "metadataUrl") Json::readToken(value, result.metadataUrl);
        }
      });
  if (!storage.isSuccess()) return storage.getError();
  const auto content = secureUri(result.contentUrl);
  const auto metadata = secureUri(result.metadataUrl);
  if (!content || !metadata) {
    return malformedResponse("The answer names no pair of https addresses");
  }
  if (!isServiceUri(*content) || !isServiceUri(*metadata)) {
    return malformedResponse("The answer names an address that is not the service's");
  }
  return result;
}

}  // namespace

Util::Outcome<Model::GetEndpointResult, Error> AmazonDriveClient::getEndpoint(
    const Model::ComRequest& request) const {
  ListingExtent::reset();  // the first request of a listing
  return call().send({"getEndpoint", Http::Method::Get}, endpointUri, request, parseEndpoints);
}

// Profile of the account

namespace {

template <typename Owner>
void readProfile(Json::Object profile, Owner& owner) {
  for (const auto& [key, value] : profile) {
    if (key == "name") Json::read(value, owner.name);
    if (key == "email") Json::read(value, owner.email);
  }
}

Util::Outcome<Model::GetProfileResult, Error> parseProfile(Http::Response&& response,
                                                           Json::Parser& json) {
  Model::GetProfileResult result;
  const auto storage = readJson(std::move(response), isWholeResult, json,
                                [&result](Json::Object object) { readProfile(object, result); });
  if (!storage.isSuccess()) return storage.getError();
  return result;
}

}  // namespace

Util::Outcome<Model::GetProfileResult, Error> AmazonDriveClient::getProfile(
    const Model::ComRequest& request) const {
  return call().send({"getProfile", Http::Method::Get}, profileUri, request, parseProfile);
}

// Listing

namespace {

// Typical bytes per node and nodes per page, so that memory for a page's nodes is allocated once.
constexpr std::size_t kUsualNodeLength = 256;
constexpr std::size_t kMostNodes = 200;

void readContentProperties(Json::Value properties, Model::FileResource& file) {
  file.mimeType = {};
  file.md5Checksum = {};
  file.size = 0;
  Json::readObject(properties, [&file](Json::Object object) {
    for (const auto& [key, value] : object) {
      if (key == "contentType") Json::read(value, file.mimeType);
      if (key == "md5") Json::read(value, file.md5Checksum);
      if (key == "size") Json::read(value, file.size);
    }
  });
}

bool isTrashed(Json::Value status) {
  std::string_view text;
  Json::read(status, text);
  return text == "TRASH";
}

// Runs for every member of a listing, so it returns at the first name that matches.
void readMember(std::string_view key, Json::Value value, Model::FileResource& file) {
  if (key == "id") return Json::readId(value, file.id);
  if (key == "name") return Json::read(value, file.name);
  if (key == "kind") return Json::read(value, file.kind);
  if (key == "createdDate") return Json::read(value, file.createdTime);
  if (key == "modifiedDate") return Json::read(value, file.modifiedTime);
  if (key == "parents") return Json::readIds(value, file.parents);
  if (key == "contentProperties") return readContentProperties(value, file);
  if (key == "status") file.trashed = isTrashed(value);
}

void readNode(Json::Object object, Model::FileResource& file) {
  for (const auto& [key, value] : object) readMember(key, value, file);
}

using NodeList = Util::Outcome<Model::ListFileResourceResult, Error>;

void readNodes(Json::Value value, std::size_t limit, std::vector<Model::FileResource>& files) {
  files.clear();
  Json::readObjects(value, limit, [&files](Json::Object node) {
    Model::FileResource& file = files.emplace_back();
    readNode(node, file);
    if (file.id.empty()) files.pop_back();
  });
}

NodeList parseNodes(Http::Response&& response, Json::Parser& json,
                    const Model::ListFileResourceRequest& request) {
  Model::ListFileResourceResult result;
  result.files.reserve(std::min(response.body.size() / kUsualNodeLength, kMostNodes));
  const std::size_t limit = mostEntriesOf(request.limit.value());
  const auto storage =
      readJson(std::move(response), isWholeResult, json, [&result, limit](Json::Object object) {
        for (const auto& [key, value] : object) {
          if (key == "nextToken") Json::readToken(value, result.nextToken);
          if (key == "data") readNodes(value, limit, result.files);
        }
      });
  if (!storage.isSuccess()) return storage.getError();
  if (isRepeated(result.nextToken, request.startToken)) return repeatedPage();
  result.storage = storage.getResult();
  return result;
}

}  // namespace

void Model::ListFileResourceRequest::addQueryStringParameters(Http::URI& uri) const {
  addIfPresent(uri, "filters", filters);
  addIfPresent(uri, "sort", sort);
  // Always sent, because the service's default may differ.
  uri.addQueryStringParameter("limit", std::to_string(limit.value()));
  addUnlessEmpty(uri, "startToken", startToken);
}

Util::Outcome<Model::ListFileResourceResult, Error> AmazonDriveClient::listFileResource(
    const Model::ListFileResourceRequest& request) const {
  return ListingExtent::noted(call().send(
      {"listFileResource", Http::Method::Get}, [&] { return nodesUri(request.endpoint); }, request,
      [&request](Http::Response&& response, Json::Parser& json) {
        return parseNodes(std::move(response), json, request);
      }));
}

std::string Model::FileResource::toString() const {
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

// Creation

namespace {

Util::Outcome<Model::FileResource, Error> parseNode(Http::Response&& response, Json::Parser& json) {
  Model::FileResource file;
  const auto storage = readJson(std::move(response), confirmsCreation, json,
                                [&file](Json::Object object) { readNode(object, file); });
  if (!storage.isSuccess()) return storage.getError();
  if (file.id.empty()) return malformedResponse("The answer has no id");
  file.storage = storage.getResult();
  return file;
}

}  // namespace

std::string Model::FileRequest::serializePayload() const {
  Json::ObjectWriter node;
  node.addIfPresent("name", name);
  node.addIfPresent("kind", kind);
  if (parent.isPresent()) node.addList("parents", parent.value());
  return node.text();
}

Http::HeaderValueCollection Model::FileRequest::getRequestSpecificHeaders() const {
  return {{Http::CONTENT_TYPE_HEADER, "application/json"}};
}

Util::Outcome<Model::FileResource, Error> AmazonDriveClient::folderCreate(
    const Model::FileRequest& request) const {
  return call().create(
      "folderCreate", [&] { return nodesUri(request.endpoint); }, request, parseNode);
}

// The owner of the account

namespace {

constexpr char kQuota[] = "https://drive.amazonaws.com/drive/v1/account/quota";

void readQuota(Json::Object quota, Account& account) {
  std::int64_t available = -1;
  for (const auto& [key, value] : quota) {
    if (key == "quota") readSpace(value, account.totalSpace);
    if (key == "available") readSpace(value, available);
  }
  if (available >= 0 && account.totalSpace >= available) {
    account.usedSpace = account.totalSpace - available;
  }
}

// 404: the account is served elsewhere.
bool isWithheld(const Error& error) {
  return error.httpResponseCode == 403 || error.httpResponseCode == 404;
}

}  // namespace

// The quota first: the drive responds to an expired token with 401 in any case.
Util::Outcome<Account, Error> AmazonDriveClient::getAccount() const {
  return ServiceCall::guarded([this] {
    return AccountRequests(call(), isWithheld)
        .send({"getSpace", Http::Method::Get}, kQuota, AccountRequest(), readQuota)
        .send({"getAccount", Http::Method::Get}, kProfile, AccountRequest(), readProfile<Account>)
        .account();
  });
}

// Errors

namespace {

/// All rows have this type, because the service's retry strategy reads the retryable flag of no
/// other.
/// The service recommends a retry after 429 and 503, which it sends before any work is done.
constexpr ErrorRow kRows[] = {
    {401, "", CoreErrors::TemporaryFailure, Retry::Never, FailureKind::LinkAgain},
    {409, "", CoreErrors::TemporaryFailure, Retry::Never, FailureKind::ExistsAlready},
    {429, "", CoreErrors::TemporaryFailure, Retry::Always},
    {500, "", CoreErrors::TemporaryFailure, Retry::Reads},
    {502, "", CoreErrors::TemporaryFailure, Retry::Reads},
    {503, "", CoreErrors::TemporaryFailure, Retry::Always},
    {504, "", CoreErrors::TemporaryFailure, Retry::Reads},
    {kAnyStatus, "", CoreErrors::TemporaryFailure, Retry::Never},
};

/// The profile endpoint sends OAuth2 errors instead of the service's own.
ServiceMessage readMessage(const Http::Response& response) {
  const auto texts = Json::texts(response.body, {"code", "error", "message", "error_description"});
  ServiceMessage message{texts[0], texts[2]};
  if (message.code.empty()) message.code = texts[1];
  if (message.message.empty()) message.message = texts[3];
  return message;
}

}  // namespace

ErrorTable errorTable() { return kRows; }

Error AmazonDriveErrorMarshaller::marshall(const Http::Response& response,
                                           Http::Method method) const {
  return withInvalidName(marshallError(response, method, readMessage, kRows), method);
}

}  // namespace CloudStorage::Client::AmazonDrive
