#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Client/DriveCall.h"
#include "Client/ErrorMarshalling.h"
#include "Client/JsonAnswer.h"

namespace CloudStorage::Client::GoogleDrive {
namespace {

namespace Json = Util::Json;

// Of a listing, so that memory for the files of a page is asked for once.
constexpr std::size_t kUsualFileLength = 64;
constexpr std::size_t kMostFiles = 1000;

constexpr char kFiles[] = "https://www.googleapis.com/drive/v3/files";

// Each member is looked at for many files, so the search ends with the first that it is.
void readMember(std::string_view key, Json::Member& member, Model::FileResource& file) {
  if (key == "kind") return Json::read(member, file.kind);
  if (key == "id") return Json::read(member, file.id);
  if (key == "name") return Json::read(member, file.name);
  if (key == "mimeType") return Json::read(member, file.mimeType);
  if (key == "trashed") return Json::read(member, file.trashed);
  if (key == "createdTime") return Json::read(member, file.createdTime);
  if (key == "modifiedTime") return Json::read(member, file.modifiedTime);
  if (key == "md5Checksum") return Json::read(member, file.md5Checksum);
  if (key == "parents") return Json::read(member, file.parents);
}

void readFile(Json::Object object, Model::FileResource& file) {
  for (Json::Member member : object) readMember(Json::keyOf(member), member, file);
}

std::optional<Error> parseFile(Http::Response& response, Model::FileResource& file) {
  auto error =
      readJson(response, file.page, [&file](Json::Object object) { readFile(object, file); });
  if (!error && file.id.empty()) error = localError("MalformedResponse", "The answer has no id");
  return error;
}

std::optional<Error> parsePage(Http::Response& response, Model::ListFileResourceResult& result) {
  result.files.reserve(std::min(response.body.size() / kUsualFileLength, kMostFiles));
  return readJson(response, result.page, [&result](Json::Object object) {
    for (Json::Member member : object) {
      const std::string_view key = Json::keyOf(member);
      if (key == "nextPageToken") Json::read(member, result.nextPageToken);
      if (key == "files") {
        Json::readObjects(member.value(), [&result](Json::Object file) {
          readFile(file, result.files.emplace_back());
        });
      }
    }
  });
}

}  // namespace

struct GoogleDriveClient::Implementation {
  DriveCall call;
  Http::URI files;
};

GoogleDriveClient::GoogleDriveClient(Auth::OAuth2ClientSpec clientSpec,
                                     std::shared_ptr<Auth::OAuth2Credential> credential,
                                     std::shared_ptr<RetryStrategy> retryStrategy,
                                     std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                                     std::shared_ptr<Util::RateLimiter> readRateLimiter,
                                     std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                                     Config::ProxySetting proxy)
    : GoogleDriveClient(
          std::move(clientSpec),
          {std::move(credential), std::move(retryStrategy), std::move(errorMarshaller),
           std::move(readRateLimiter), std::move(writeRateLimiter), nullptr, std::move(proxy)},
          {}) {}

GoogleDriveClient::GoogleDriveClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                                     ClientEnvironment environment)
    : OAuth2Client(std::move(clientSpec), std::move(parts), std::move(environment)),
      implementation_(std::make_unique<Implementation>(
          Implementation{{this->parts(), this->environment()}, *Http::URI::parse(kFiles)})) {}

GoogleDriveClient::~GoogleDriveClient() = default;

Util::Outcome<Model::FileResource, Error> GoogleDriveClient::getFileResource(
    const Model::GetFileResourceRequest& request) const {
  if (!isPathSegment(request.fileId.value())) {
    return localError("InvalidRequest", "The file id is empty or a relative path");
  }
  Http::URI uri = implementation_->files;
  uri.addPathSegment(request.fileId.value());
  return implementation_->call.send<Model::FileResource>(Http::Method::Get, uri, request,
                                                         parseFile);
}

Util::Outcome<Model::ListFileResourceResult, Error> GoogleDriveClient::listFileResource(
    const Model::ListFileResourceRequest& request) const {
  return implementation_->call.send<Model::ListFileResourceResult>(
      Http::Method::Get, implementation_->files, request, parsePage);
}

Util::Outcome<Model::FileResource, Error> GoogleDriveClient::uploadFile(
    const Model::UploadFileRequest& request) const {
  return implementation_->call.send<Model::FileResource>(Http::Method::Post, implementation_->files,
                                                         request, parseFile);
}

std::vector<Http::URI::QueryParameter> GoogleDriveClient::authorizationParameters(
    const Auth::OAuth2RequestOptions& options) const {
  // The old name of the prompt is no longer heeded, and both at once are refused.
  const bool force = options.approvalPrompt == "force";
  return {{"access_type", options.accessType},
          force ? Http::URI::QueryParameter("prompt", "consent")
                : Http::URI::QueryParameter("approval_prompt", options.approvalPrompt)};
}

}  // namespace CloudStorage::Client::GoogleDrive
