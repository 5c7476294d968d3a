#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "stand_in_layer.h"

// The part of the stand-in layer for the drives.
namespace CloudStorage {

using StandIn::journal;
using StandIn::perform;

namespace Auth {

OAuth2Credential::OAuth2Credential() : id_(0) {}
OAuth2Credential::~OAuth2Credential() = default;
bool OAuth2Credential::isEmpty() const { return accessToken_.empty(); }
Util::Status OAuth2Credential::refreshAccessToken() { return {1, "the stand-in cannot refresh"}; }
std::string OAuth2Credential::accessToken() const { return accessToken_; }
std::string OAuth2Credential::refreshToken() const { return refreshToken_; }
void OAuth2Credential::setAccessToken(std::string token) {
  StandIn::throwIfTold();
  accessToken_ = std::move(token);
}
void OAuth2Credential::setTokens(std::string accessToken, std::string refreshToken) {
  StandIn::throwIfTold();
  accessToken_ = std::move(accessToken);
  refreshToken_ = std::move(refreshToken);
}

}  // namespace Auth

namespace Client {
namespace {

using AuthorizationParameters = std::vector<Http::URI::QueryParameter>;

template <typename Item>
Item itemNamed(const char* name) {
  Item item;
  item.id = "id";
  item.name = name;
  return item;
}

template <typename Item>
std::vector<Item> twoItems() {
  return {itemNamed<Item>("one"), itemNamed<Item>("two")};
}

}  // namespace

OAuth2Client::OAuth2Client(Auth::OAuth2ClientSpec clientSpec,
                           std::shared_ptr<Auth::OAuth2Credential> credential,
                           std::shared_ptr<RetryStrategy>, std::shared_ptr<WSErrorMarshaller>,
                           std::shared_ptr<Util::RateLimiter>, std::shared_ptr<Util::RateLimiter>,
                           Config::ProxySetting)
    : WSClient(
          StandIn::notedParts("OAuth2Client " + clientSpec.tokenEndpoint, std::move(credential))),
      clientSpec_(std::move(clientSpec)) {}
OAuth2Client::~OAuth2Client() = default;

std::string OAuth2Client::buildAuthorizeUrl(const Auth::OAuth2RequestOptions& options) const {
  StandIn::throwIfTold();
  return "consent to " + options.scope;
}

Util::Status OAuth2Client::exchangeAuthorizationCode(const std::string& code,
                                                     const Auth::OAuth2RequestOptions&,
                                                     Auth::OAuth2Credential& credential) const {
  journal().calls.push_back("exchange " + code);
  StandIn::throwIfTold();
  if (journal().operationsFail) return {403, "as told"};
  credential.setTokens("access", "refresh");
  return {};
}

namespace GoogleDrive {

Error GoogleDriveErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

AuthorizationParameters GoogleDriveClient::authorizationParameters(
    const Auth::OAuth2RequestOptions&) const {
  return {};
}

Util::Outcome<Model::FileResource, Error> GoogleDriveClient::getFileResource(
    const Model::GetFileResourceRequest& request) const {
  return perform("getFileResource " + request.fileId.value(),
                 itemNamed<Model::FileResource>("name"));
}

Util::Outcome<Model::ListFileResourceResult, Error> GoogleDriveClient::listFileResource(
    const Model::ListFileResourceRequest& request) const {
  Model::ListFileResourceResult result;
  result.files = twoItems<Model::FileResource>();
  return perform("listFileResource " + request.query.value(), std::move(result));
}

Util::Outcome<Model::FileResource, Error> GoogleDriveClient::uploadFile(
    const Model::UploadFileRequest& request) const {
  return perform("uploadFile " + request.name.value(), itemNamed<Model::FileResource>("name"));
}

void Model::GetFileResourceRequest::addQueryStringParameters(Http::URI&) const {}
void Model::ListFileResourceRequest::addQueryStringParameters(Http::URI&) const {}
void Model::UploadFileRequest::addQueryStringParameters(Http::URI&) const {}
std::string Model::UploadFileRequest::serializePayload() const { return {}; }

}  // namespace GoogleDrive

namespace AmazonDrive {

Error AmazonDriveErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

AmazonDriveClient::Endpoints AmazonDriveClient::endpoints() const { return endpoints_; }
void AmazonDriveClient::setEndpoints(Endpoints endpoints) { endpoints_ = std::move(endpoints); }

Util::Outcome<Model::GetEndpointResult, Error> AmazonDriveClient::getEndpoint(
    const Model::ComRequest&) const {
  Model::GetEndpointResult result;
  result.contentUrl = "https://content/";
  result.metadataUrl = "https://metadata/";
  return perform("getEndpoint", std::move(result));
}

Util::Outcome<Model::GetProfileResult, Error> AmazonDriveClient::getProfile(
    const Model::ComRequest&) const {
  Model::GetProfileResult result;
  result.name = "Ann";
  return perform("getProfile", std::move(result));
}

Util::Outcome<Model::ListFileResourceResult, Error> AmazonDriveClient::listFileResource(
    const Model::ListFileResourceRequest& request) const {
  Model::ListFileResourceResult result;
  result.files = twoItems<Model::FileResource>();
  return perform("listFileResource " + request.filters.value(), std::move(result));
}

Util::Outcome<Model::FileResource, Error> AmazonDriveClient::folderCreate(
    const Model::FileRequest& request) const {
  return perform("folderCreate " + request.name.value(), itemNamed<Model::FileResource>("name"));
}

std::string Model::FileResource::toString() const { return "a node"; }
void Model::ListFileResourceRequest::addQueryStringParameters(Http::URI&) const {}
std::string Model::FileRequest::serializePayload() const { return {}; }
Http::HeaderValueCollection Model::FileRequest::getRequestSpecificHeaders() const { return {}; }

}  // namespace AmazonDrive

namespace OneDrive {

Error OneDriveErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

AuthorizationParameters OneDriveClient::authorizationParameters(
    const Auth::OAuth2RequestOptions&) const {
  return {};
}

Util::Outcome<Model::DriveItem, Error> OneDriveClient::getDriveItem(
    const Model::GetDriveItemRequest& request) const {
  return perform("getDriveItem " + request.itemId.value(), itemNamed<Model::DriveItem>("name"));
}

Util::Outcome<Model::DriveMetadata, Error> OneDriveClient::getDriveMetadata(
    const Model::GetDriveMetadataRequest&) const {
  return perform("getDriveMetadata", Model::DriveMetadata{});
}

Util::Outcome<Model::ListChildrenResult, Error> OneDriveClient::listChildren(
    const Model::ListChildrenRequest& request) const {
  Model::ListChildrenResult result;
  result.items = twoItems<Model::DriveItem>();
  return perform("listChildren " + request.itemId.value(), std::move(result));
}

Util::Outcome<Model::DriveItem, Error> OneDriveClient::createFolder(
    const Model::CreateFolderRequest& request) const {
  return perform("createFolder " + request.name.value(), itemNamed<Model::DriveItem>("name"));
}

std::string Model::DriveItem::toString() const { return "an item"; }
void Model::ListChildrenRequest::addQueryStringParameters(Http::URI&) const {}
std::string Model::CreateFolderRequest::serializePayload() const { return {}; }

}  // namespace OneDrive

namespace Dropbox {

DropboxClient::DropboxClient(Auth::OAuth2ClientSpec clientSpec,
                             std::shared_ptr<Auth::OAuth2Credential> credential,
                             std::shared_ptr<RetryStrategy> strategy,
                             std::shared_ptr<WSErrorMarshaller> marshaller,
                             std::shared_ptr<Util::RateLimiter> readLimiter,
                             std::shared_ptr<Util::RateLimiter> writeLimiter,
                             Config::ProxySetting proxy)
    : OAuth2Client(std::move(clientSpec), std::move(credential), std::move(strategy),
                   std::move(marshaller), std::move(readLimiter), std::move(writeLimiter),
                   std::move(proxy)) {}

Error DropboxErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

AuthorizationParameters DropboxClient::authorizationParameters(
    const Auth::OAuth2RequestOptions&) const {
  return {};
}

Util::Outcome<Model::ListFolderResult, Error> DropboxClient::listFolder(
    const Model::ListFolderRequest& request) const {
  Model::ListFolderResult result;
  for (Model::Metadata& folder : twoItems<Model::Metadata>()) {
    folder.tag = "folder";
    result.entries.push_back(folder);
  }
  return perform("listFolder " + request.path.value(), std::move(result));
}

Util::Outcome<Model::Metadata, Error> DropboxClient::createFolder(
    const Model::CreateFolderRequest& request) const {
  auto result = itemNamed<Model::Metadata>("name");
  result.path = "/x/name";
  return perform("createFolder " + request.path.value(), std::move(result));
}

std::string Model::ListFolderRequest::serializePayload() const { return {}; }
std::string Model::CreateFolderRequest::serializePayload() const { return {}; }

}  // namespace Dropbox
}  // namespace Client
}  // namespace CloudStorage
