#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "Client/DriveCall.h"
#include "Client/ErrorMarshalling.h"
#include "Client/JsonAnswer.h"

namespace CloudStorage::Client::AmazonDrive {
namespace {

namespace Json = Util::Json;

// Of a listing, so that memory for the nodes of a page is asked for once.
constexpr std::size_t kUsualNodeLength = 256;
constexpr std::size_t kMostNodes = 200;

constexpr char kEndpoint[] = "https://drive.amazonaws.com/drive/v1/account/endpoint";
constexpr char kProfile[] = "https://api.amazon.com/user/profile";

// The access token goes to the addresses that the service names.
std::optional<Http::URI> secureAddress(std::string_view text) {
  auto uri = Http::URI::parse(text);
  if (uri && uri->scheme() != "https") return std::nullopt;
  return uri;
}

void readContent(Json::Object object, Model::FileResource& file) {
  for (Json::Member member : object) {
    const std::string_view key = Json::keyOf(member);
    if (key == "contentType") Json::read(member, file.mimeType);
    if (key == "md5") Json::read(member, file.md5Checksum);
    if (key == "size") Json::read(member, file.size);
  }
}

// Each member is looked at for many nodes, so the search ends with the first that it is.
void readMember(std::string_view key, Json::Member& member, Model::FileResource& file) {
  if (key == "id") return Json::read(member, file.id);
  if (key == "name") return Json::read(member, file.name);
  if (key == "kind") return Json::read(member, file.kind);
  if (key == "createdDate") return Json::read(member, file.createdTime);
  if (key == "modifiedDate") return Json::read(member, file.modifiedTime);
  if (key == "parents") return Json::read(member, file.parents);
  if (key == "status") {
    std::string_view status;
    Json::read(member, status);
    file.trashed = status == "TRASH";
  } else if (key == "contentProperties") {
    Json::readObject(member.value(), [&file](Json::Object content) { readContent(content, file); });
  }
}

void readNode(Json::Object object, Model::FileResource& file) {
  for (Json::Member member : object) readMember(Json::keyOf(member), member, file);
}

std::optional<Error> parseEndpoint(Http::Response& response, Model::GetEndpointResult& result) {
  std::shared_ptr<const void> page;
  auto error = readJson(response, page, [&result](Json::Object object) {
    for (Json::Member member : object) {
      const std::string_view key = Json::keyOf(member);
      if (key == "contentUrl") Json::read(member, result.contentUrl);
      if (key == "metadataUrl") Json::read(member, result.metadataUrl);
    }
  });
  if (!error && (!secureAddress(result.contentUrl) || !secureAddress(result.metadataUrl))) {
    error = localError("MalformedResponse", "The answer names no pair of https addresses");
  }
  return error;
}

std::optional<Error> parseProfile(Http::Response& response, Model::GetProfileResult& result) {
  std::shared_ptr<const void> page;
  return readJson(response, page, [&result](Json::Object object) {
    for (Json::Member member : object) {
      const std::string_view key = Json::keyOf(member);
      if (key == "name") Json::read(member, result.name);
      if (key == "email") Json::read(member, result.email);
    }
  });
}

std::optional<Error> parseNodes(Http::Response& response, Model::ListFileResourceResult& result) {
  result.files.reserve(std::min(response.body.size() / kUsualNodeLength, kMostNodes));
  return readJson(response, result.page, [&result](Json::Object object) {
    for (Json::Member member : object) {
      const std::string_view key = Json::keyOf(member);
      if (key == "nextToken") Json::read(member, result.nextToken);
      if (key == "data") {
        Json::readObjects(member.value(), [&result](Json::Object node) {
          readNode(node, result.files.emplace_back());
        });
      }
    }
  });
}

std::optional<Error> parseNode(Http::Response& response, Model::FileResource& file) {
  auto error =
      readJson(response, file.page, [&file](Json::Object object) { readNode(object, file); });
  if (!error && file.id.empty()) error = localError("MalformedResponse", "The answer has no id");
  return error;
}

}  // namespace

struct AmazonDriveClient::Implementation {
  /// Sends `request`, which names the metadata endpoint that it goes to, to the nodes there.
  template <typename Result, typename Request>
  Util::Outcome<Result, Error> sendToNodes(Http::Method method, const Request& request,
                                           ServiceCall::Parser<Result> parse) const {
    auto uri = secureAddress(request.endpoint.value());
    if (!uri) return localError("InvalidRequest", "The metadata endpoint is no https address");
    uri->addPathSegment("nodes");
    return call.send<Result>(method, *uri, request, parse);
  }

  DriveCall call;
  Http::URI endpoint;
  Http::URI profile;
};

AmazonDriveClient::AmazonDriveClient(Auth::OAuth2ClientSpec clientSpec,
                                     std::shared_ptr<Auth::OAuth2Credential> credential,
                                     std::shared_ptr<RetryStrategy> retryStrategy,
                                     std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                                     std::shared_ptr<Util::RateLimiter> readRateLimiter,
                                     std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                                     Config::ProxySetting proxy)
    : AmazonDriveClient(
          std::move(clientSpec),
          {std::move(credential), std::move(retryStrategy), std::move(errorMarshaller),
           std::move(readRateLimiter), std::move(writeRateLimiter), nullptr, std::move(proxy)},
          {}) {}

AmazonDriveClient::AmazonDriveClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                                     ClientEnvironment environment)
    : OAuth2Client(std::move(clientSpec), std::move(parts), std::move(environment)),
      implementation_(
          std::make_unique<Implementation>(Implementation{{this->parts(), this->environment()},
                                                          *Http::URI::parse(kEndpoint),
                                                          *Http::URI::parse(kProfile)})) {}

AmazonDriveClient::~AmazonDriveClient() = default;

Util::Outcome<Model::GetEndpointResult, Error> AmazonDriveClient::getEndpoint(
    const Model::ComRequest& request) const {
  return implementation_->call.send<Model::GetEndpointResult>(
      Http::Method::Get, implementation_->endpoint, request, parseEndpoint);
}

Util::Outcome<Model::GetProfileResult, Error> AmazonDriveClient::getProfile(
    const Model::ComRequest& request) const {
  return implementation_->call.send<Model::GetProfileResult>(
      Http::Method::Get, implementation_->profile, request, parseProfile);
}

Util::Outcome<Model::ListFileResourceResult, Error> AmazonDriveClient::listFileResource(
    const Model::ListFileResourceRequest& request) const {
  return implementation_->sendToNodes<Model::ListFileResourceResult>(Http::Method::Get, request,
                                                                     parseNodes);
}

Util::Outcome<Model::FileResource, Error> AmazonDriveClient::folderCreate(
    const Model::FileRequest& request) const {
  return implementation_->sendToNodes<Model::FileResource>(Http::Method::Post, request, parseNode);
}

AmazonDriveClient::Endpoints AmazonDriveClient::endpoints() const {
  const std::lock_guard<std::mutex> lock(endpointsMutex_);
  return endpoints_;
}

void AmazonDriveClient::setEndpoints(Endpoints endpoints) {
  const std::lock_guard<std::mutex> lock(endpointsMutex_);
  endpoints_ = std::move(endpoints);
}

}  // namespace CloudStorage::Client::AmazonDrive
