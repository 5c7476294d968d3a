#include <utility>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/AmazonDrive/AmazonDriveErrorMarshaller.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/Dropbox/DropboxErrorMarshaller.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveErrorMarshaller.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveErrorMarshaller.h"
#include "stand_in_layer.h"

// The drive services' part of the stand-in.
namespace CloudStorage {

using StandIn::journal;

namespace Auth {

OAuth2Credential::OAuth2Credential() : id_(0) {}
OAuth2Credential::~OAuth2Credential() = default;
bool OAuth2Credential::isEmpty() const { return accessToken_.empty(); }
Util::Status OAuth2Credential::refreshAccessToken() { return {1, "the stand-in cannot refresh"}; }
std::string OAuth2Credential::accessToken() const { return accessToken_; }
std::string OAuth2Credential::refreshToken() const { return refreshToken_; }
void OAuth2Credential::setAccessToken(std::string token) { accessToken_ = std::move(token); }
void OAuth2Credential::setTokens(std::string accessToken, std::string refreshToken) {
  accessToken_ = std::move(accessToken);
  refreshToken_ = std::move(refreshToken);
}

}  // namespace Auth

namespace Client {
namespace {

ClientParts partsWith(std::shared_ptr<Auth::AuthorizationCredential> credential) {
  ClientParts parts;
  parts.credential = std::move(credential);
  return parts;
}

}  // namespace

OAuth2Client::OAuth2Client(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                           ClientEnvironment /*environment*/)
    : WSClient(std::move(parts)), clientSpec_(std::move(clientSpec)) {}
OAuth2Client::~OAuth2Client() = default;

std::string OAuth2Client::buildAuthorizeUrl(const Auth::OAuth2RequestOptions& options) const {
  return "consent to " + options.scope;
}

Util::Status OAuth2Client::exchangeAuthorizationCode(const std::string& code,
                                                     const Auth::OAuth2RequestOptions&,
                                                     Auth::OAuth2Credential& credential) const {
  journal().calls.push_back("exchange " + code);
  if (journal().operationsFail) return {403, "as told"};
  credential.setTokens("access", "refresh");
  return {};
}

namespace GoogleDrive {

struct GoogleDriveClient::Implementation {};

GoogleDriveClient::GoogleDriveClient(Auth::OAuth2ClientSpec clientSpec,
                                     std::shared_ptr<Auth::OAuth2Credential> credential,
                                     std::shared_ptr<RetryStrategy>,
                                     std::shared_ptr<WSErrorMarshaller>,
                                     std::shared_ptr<Util::RateLimiter>,
                                     std::shared_ptr<Util::RateLimiter>, Config::ProxySetting)
    : OAuth2Client(std::move(clientSpec), partsWith(credential), {}) {
  StandIn::noteClient("GoogleDriveClient", credential);
}

GoogleDriveClient::~GoogleDriveClient() = default;

Error GoogleDriveErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

std::vector<Http::URI::QueryParameter> GoogleDriveClient::authorizationParameters(
    const Auth::OAuth2RequestOptions&) const {
  return {};
}

Util::Outcome<Model::FileResource, Error> GoogleDriveClient::getFileResource(
    const Model::GetFileResourceRequest& request) const {
  journal().calls.push_back("getFileResource " + request.fileId.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::FileResource result;
  result.id = "id";
  result.name = "name";
  return result;
}

Util::Outcome<Model::ListFileResourceResult, Error> GoogleDriveClient::listFileResource(
    const Model::ListFileResourceRequest& request) const {
  journal().calls.push_back("listFileResource " + request.query.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::ListFileResourceResult result;
  result.files.resize(2);
  result.files[0].name = "one";
  result.files[1].name = "two";
  return result;
}

Util::Outcome<Model::FileResource, Error> GoogleDriveClient::uploadFile(
    const Model::UploadFileRequest& request) const {
  journal().calls.push_back("uploadFile " + request.name.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::FileResource result;
  result.id = "id";
  result.name = "name";
  return result;
}

void Model::GetFileResourceRequest::addQueryStringParameters(Http::URI&) const {}
void Model::ListFileResourceRequest::addQueryStringParameters(Http::URI&) const {}
void Model::UploadFileRequest::addQueryStringParameters(Http::URI&) const {}
std::string Model::UploadFileRequest::serializePayload() const { return {}; }

}  // namespace GoogleDrive

namespace AmazonDrive {

struct AmazonDriveClient::Implementation {};

AmazonDriveClient::AmazonDriveClient(Auth::OAuth2ClientSpec clientSpec,
                                     std::shared_ptr<Auth::OAuth2Credential> credential,
                                     std::shared_ptr<RetryStrategy>,
                                     std::shared_ptr<WSErrorMarshaller>,
                                     std::shared_ptr<Util::RateLimiter>,
                                     std::shared_ptr<Util::RateLimiter>, Config::ProxySetting)
    : OAuth2Client(std::move(clientSpec), partsWith(credential), {}) {
  StandIn::noteClient("AmazonDriveClient", credential);
}

AmazonDriveClient::~AmazonDriveClient() = default;

Error AmazonDriveErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

AmazonDriveClient::Endpoints AmazonDriveClient::endpoints() const { return endpoints_; }
void AmazonDriveClient::setEndpoints(Endpoints endpoints) { endpoints_ = std::move(endpoints); }

Util::Outcome<Model::GetEndpointResult, Error> AmazonDriveClient::getEndpoint(
    const Model::ComRequest&) const {
  journal().calls.push_back("getEndpoint");
  if (journal().operationsFail) return StandIn::failure();
  Model::GetEndpointResult result;
  result.contentUrl = "https://content/";
  result.metadataUrl = "https://metadata/";
  return result;
}

Util::Outcome<Model::GetProfileResult, Error> AmazonDriveClient::getProfile(
    const Model::ComRequest&) const {
  journal().calls.push_back("getProfile");
  if (journal().operationsFail) return StandIn::failure();
  Model::GetProfileResult result;
  result.name = "Ann";
  return result;
}

Util::Outcome<Model::ListFileResourceResult, Error> AmazonDriveClient::listFileResource(
    const Model::ListFileResourceRequest& request) const {
  journal().calls.push_back("listFileResource " + request.filters.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::ListFileResourceResult result;
  result.files.resize(2);
  result.files[0].name = "one";
  result.files[1].name = "two";
  return result;
}

Util::Outcome<Model::FileResource, Error> AmazonDriveClient::folderCreate(
    const Model::FileRequest& request) const {
  journal().calls.push_back("folderCreate " + request.name.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::FileResource result;
  result.id = "id";
  result.name = "name";
  return result;
}

std::string Model::FileResource::toString() const { return "a node"; }
void Model::ListFileResourceRequest::addQueryStringParameters(Http::URI&) const {}
std::string Model::FileRequest::serializePayload() const { return {}; }
Http::HeaderValueCollection Model::FileRequest::getRequestSpecificHeaders() const { return {}; }

}  // namespace AmazonDrive

namespace OneDrive {

struct OneDriveClient::Implementation {};

OneDriveClient::OneDriveClient(Auth::OAuth2ClientSpec clientSpec,
                               std::shared_ptr<Auth::OAuth2Credential> credential,
                               std::shared_ptr<RetryStrategy>, std::shared_ptr<WSErrorMarshaller>,
                               std::shared_ptr<Util::RateLimiter>,
                               std::shared_ptr<Util::RateLimiter>, Config::ProxySetting)
    : OAuth2Client(std::move(clientSpec), partsWith(credential), {}) {
  StandIn::noteClient("OneDriveClient", credential);
}

OneDriveClient::~OneDriveClient() = default;

Error OneDriveErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

std::vector<Http::URI::QueryParameter> OneDriveClient::authorizationParameters(
    const Auth::OAuth2RequestOptions&) const {
  return {};
}

Util::Outcome<Model::DriveItem, Error> OneDriveClient::getDriveItem(
    const Model::GetDriveItemRequest& request) const {
  journal().calls.push_back("getDriveItem " + request.itemId.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::DriveItem result;
  result.id = "id";
  result.name = "name";
  return result;
}

Util::Outcome<Model::DriveMetadata, Error> OneDriveClient::getDriveMetadata(
    const Model::GetDriveMetadataRequest&) const {
  journal().calls.push_back("getDriveMetadata");
  if (journal().operationsFail) return StandIn::failure();
  Model::DriveMetadata result;
  return result;
}

Util::Outcome<Model::ListChildrenResult, Error> OneDriveClient::listChildren(
    const Model::ListChildrenRequest& request) const {
  journal().calls.push_back("listChildren " + request.itemId.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::ListChildrenResult result;
  result.items.resize(2);
  result.items[0].name = "one";
  result.items[1].name = "two";
  return result;
}

Util::Outcome<Model::DriveItem, Error> OneDriveClient::createFolder(
    const Model::CreateFolderRequest& request) const {
  journal().calls.push_back("createFolder " + request.name.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::DriveItem result;
  result.id = "id";
  result.name = "name";
  return result;
}

std::string Model::DriveItem::toString() const { return "an item"; }
void Model::ListChildrenRequest::addQueryStringParameters(Http::URI&) const {}
std::string Model::CreateFolderRequest::serializePayload() const { return {}; }

}  // namespace OneDrive

namespace Dropbox {

struct DropboxClient::Implementation {};

DropboxClient::DropboxClient(Auth::OAuth2ClientSpec clientSpec,
                             std::shared_ptr<Auth::OAuth2Credential> credential,
                             std::shared_ptr<RetryStrategy>, std::shared_ptr<WSErrorMarshaller>,
                             std::shared_ptr<Util::RateLimiter>, std::shared_ptr<Util::RateLimiter>,
                             Config::ProxySetting)
    : OAuth2Client(std::move(clientSpec), partsWith(credential), {}) {
  StandIn::noteClient("DropboxClient", credential);
}

DropboxClient::~DropboxClient() = default;

Error DropboxErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

std::vector<Http::URI::QueryParameter> DropboxClient::authorizationParameters(
    const Auth::OAuth2RequestOptions&) const {
  return {};
}

Util::Outcome<Model::ListFolderResult, Error> DropboxClient::listFolder(
    const Model::ListFolderRequest& request) const {
  journal().calls.push_back("listFolder " + request.path.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::ListFolderResult result;
  for (const char* name : {"one", "two"}) {
    Model::Metadata folder;
    folder.tag = "folder";
    folder.name = name;
    result.entries.push_back(folder);
  }
  return result;
}

Util::Outcome<Model::Metadata, Error> DropboxClient::createFolder(
    const Model::CreateFolderRequest& request) const {
  journal().calls.push_back("createFolder " + request.path.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::Metadata result;
  result.path = "/x/name";
  result.name = "name";
  return result;
}

std::string Model::ListFolderRequest::serializePayload() const { return {}; }
std::string Model::CreateFolderRequest::serializePayload() const { return {}; }

}  // namespace Dropbox
}  // namespace Client
}  // namespace CloudStorage
