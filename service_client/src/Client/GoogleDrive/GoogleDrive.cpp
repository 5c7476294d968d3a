#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "Client/AccountRequests.h"
#include "Client/DriveCall.h"
#include "Client/ErrorMarshalling.h"
#include "Client/ErrorTables.h"
#include "Client/JsonResponse.h"
#include "Client/ListingExtent.h"
#include "Client/OptionalParameters.h"
#include "Client/Paging.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "Util/Json.h"
#include "Util/Time.h"

namespace CloudStorage::Client::GoogleDrive {

namespace Json = Util::Json;

// Addresses

namespace {

Http::URI filesUri() { return *Http::URI::parse("https://www.googleapis.com/drive/v3/files"); }

Util::Outcome<Http::URI, Error> fileUri(const std::string& id) {
  if (!Http::URI::isPathSegment(id)) {
    return localError("InvalidRequest", "The file id is empty or a relative path");
  }
  Http::URI uri = filesUri();
  uri.addPathSegment(id);
  return uri;
}

// Folders of shared drives are visible only to requests with this parameter.
void addSharedDriveSupport(Http::URI& uri) {
  uri.addQueryStringParameter("supportsAllDrives", "true");
}

// By default the service indents its responses, which makes a listing a third larger.
void omitIndentation(Http::URI& uri) { uri.addQueryStringParameter("prettyPrint", "false"); }

}  // namespace

std::vector<Http::URI::QueryParameter> GoogleDriveClient::authorizationParameters(
    const Auth::OAuth2RequestOptions& options) const {
  // The service ignores the prompt's old name, and refuses both names at once.
  const bool force = options.approvalPrompt == "force";
  return {{"access_type", options.accessType},
          force ? Http::URI::QueryParameter("prompt", "consent")
                : Http::URI::QueryParameter("approval_prompt", options.approvalPrompt)};
}

// One file

namespace {

// Without a mask the service omits most members of a FileResource.
constexpr char kFileFields[] =
    "kind,id,name,mimeType,trashed,createdTime,modifiedTime,md5Checksum,parents";

// Runs for every member of a listing, so it returns at the first name that matches.
void readMember(std::string_view key, Json::Value value, Model::FileResource& file) {
  if (key == "kind") return Json::read(value, file.kind);
  if (key == "id") return Json::readId(value, file.id);
  if (key == "name") return Json::read(value, file.name);
  if (key == "mimeType") return Json::read(value, file.mimeType);
  if (key == "trashed") return Json::read(value, file.trashed);
  if (key == "createdTime") return Json::read(value, file.createdTime);
  if (key == "modifiedTime") return Json::read(value, file.modifiedTime);
  if (key == "md5Checksum") return Json::read(value, file.md5Checksum);
  if (key == "parents") return Json::readIds(value, file.parents);
}

void readFile(Json::Object object, Model::FileResource& file) {
  for (const auto& [key, value] : object) readMember(key, value, file);
}

template <StatusCheck kIsSuccess>
Util::Outcome<Model::FileResource, Error> parseFile(Http::Response&& response, Json::Parser& json) {
  Model::FileResource file;
  const auto storage = readJson(std::move(response), kIsSuccess, json,
                                [&file](Json::Object object) { readFile(object, file); });
  if (!storage.isSuccess()) return storage.getError();
  if (file.id.empty()) return malformedResponse("The answer has no id");
  file.storage = storage.getResult();
  return file;
}

}  // namespace

void Model::GetFileResourceRequest::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("fields", kFileFields);
  addSharedDriveSupport(uri);
  omitIndentation(uri);
}

Util::Outcome<Model::FileResource, Error> GoogleDriveClient::getFileResource(
    const Model::GetFileResourceRequest& request) const {
  return call().send(
      {"getFileResource", Http::Method::Get}, [&] { return fileUri(request.fileId.value()); },
      request, parseFile<isWholeResult>);
}

// Listing

namespace {

// The fields that listings need; all fields would be three times as much. Without the token in the
// mask every page would appear to be the last.
constexpr char kListFields[] = "nextPageToken,files(id,name)";

// Typical bytes per file and files per page, so that memory for a page's files is allocated once.
constexpr std::size_t kUsualFileLength = 64;
constexpr std::size_t kMostFiles = 1000;

using FileList = Util::Outcome<Model::ListFileResourceResult, Error>;

void readFiles(Json::Value value, std::size_t limit, std::vector<Model::FileResource>& files) {
  files.clear();
  Json::readObjects(value, limit, [&files](Json::Object object) {
    Model::FileResource& file = files.emplace_back();
    readFile(object, file);
    if (file.id.empty()) files.pop_back();
  });
}

FileList parseFileList(Http::Response&& response, Json::Parser& json,
                       const Model::ListFileResourceRequest& request) {
  Model::ListFileResourceResult result;
  result.files.reserve(std::min(response.body.size() / kUsualFileLength, kMostFiles));
  const std::size_t limit = mostEntriesOf(request.pageSize);
  const auto storage =
      readJson(std::move(response), isWholeResult, json, [&result, limit](Json::Object object) {
        for (const auto& [key, value] : object) {
          if (key == "nextPageToken") Json::readToken(value, result.nextPageToken);
          if (key == "files") readFiles(value, limit, result.files);
        }
      });
  if (!storage.isSuccess()) return storage.getError();
  if (isRepeated(result.nextPageToken, request.pageToken)) return repeatedPage();
  result.storage = storage.getResult();
  return result;
}

}  // namespace

void Model::ListFileResourceRequest::addQueryStringParameters(Http::URI& uri) const {
  addUnlessEmpty(uri, "orderBy", orderBy);
  addIfPresent(uri, "pageSize", pageSize);
  addUnlessEmpty(uri, "pageToken", pageToken);
  addUnlessEmpty(uri, "q", query);
  uri.addQueryStringParameter("fields", kListFields);
  addSharedDriveSupport(uri);
  uri.addQueryStringParameter("includeItemsFromAllDrives", "true");
  omitIndentation(uri);
}

Util::Outcome<Model::ListFileResourceResult, Error> GoogleDriveClient::listFileResource(
    const Model::ListFileResourceRequest& request) const {
  return ListingExtent::noted(
      call().send({"listFileResource", Http::Method::Get}, filesUri, request,
                  [&request](Http::Response&& response, Json::Parser& json) {
                    return parseFileList(std::move(response), json, request);
                  }));
}

// Creation

void Model::UploadFileRequest::addQueryStringParameters(Http::URI& uri) const {
  addUnlessEmpty(uri, "uploadType", uploadType);
  uri.addQueryStringParameter("fields", kFileFields);
  addSharedDriveSupport(uri);
  omitIndentation(uri);
}

std::string Model::UploadFileRequest::serializePayload() const {
  Json::ObjectWriter metadata;
  if (createdTime.isPresent()) {
    metadata.add("createdTime", Util::formatIsoTime(createdTime.value()));
  }
  if (modifiedTime.isPresent()) {
    metadata.add("modifiedTime", Util::formatIsoTime(modifiedTime.value()));
  }
  metadata.addIfPresent("name", name);
  metadata.addIfPresent("mimeType", mimeType);
  if (parents.isPresent()) metadata.addList("parents", parents.value());
  return metadata.text();
}

Util::Outcome<Model::FileResource, Error> GoogleDriveClient::uploadFile(
    const Model::UploadFileRequest& request) const {
  return call().create("uploadFile", filesUri, request, parseFile<confirmsCreation>);
}

// The owner of the account

namespace {

constexpr char kAbout[] =
    "https://www.googleapis.com/drive/v3/about"
    "?fields=user(displayName,emailAddress),storageQuota(usage,limit)&prettyPrint=false";

void readUser(Json::Object user, Account& account) {
  for (const auto& [key, value] : user) {
    if (key == "displayName") Json::read(value, account.name);
    if (key == "emailAddress") Json::read(value, account.email);
  }
}

// Without a limit the service sends none.
void readQuota(Json::Object quota, Account& account) {
  for (const auto& [key, value] : quota) {
    if (key == "usage") readSpace(value, account.usedSpace);
    if (key == "limit") readSpace(value, account.totalSpace);
  }
}

void readAbout(Json::Object about, Account& account) {
  for (const auto& [key, value] : about) {
    if (key == "user") {
      Json::readObject(value, [&](Json::Object user) { readUser(user, account); });
    } else if (key == "storageQuota") {
      Json::readObject(value, [&](Json::Object quota) { readQuota(quota, account); });
    }
  }
}

// The service refuses requests with 403 for other reasons, too, such as exceeded limits.
bool isWithheld(const Error& error) {
  return error.httpResponseCode == 403 && (error.exceptionName == "insufficientPermissions" ||
                                           error.exceptionName == "PERMISSION_DENIED");
}

}  // namespace

Util::Outcome<Account, Error> GoogleDriveClient::getAccount() const {
  return ServiceCall::guarded([this] {
    return AccountRequests(call(), isWithheld)
        .send({"getAccount", Http::Method::Get}, kAbout, AccountRequest(), readAbout)
        .account();
  });
}

// Errors

namespace {

/// All rows have this type, because the service's retry strategy reads the retryable flag of no
/// other.
/// Exceeded limits and 503 are sent before any work is done. After other failures of the service a
/// repeated creation could create a second folder.
constexpr ErrorRow kRows[] = {
    {403, "rateLimitExceeded", CoreErrors::TemporaryFailure, Retry::Always, FailureKind::Wait},
    {403, "userRateLimitExceeded", CoreErrors::TemporaryFailure, Retry::Always, FailureKind::Wait},
    {401, "", CoreErrors::TemporaryFailure, Retry::Never, FailureKind::LinkAgain},
    {403, "dailyLimitExceeded", CoreErrors::TemporaryFailure, Retry::Never, FailureKind::Wait},
    {403, "sharingRateLimitExceeded", CoreErrors::TemporaryFailure, Retry::Never,
     FailureKind::Wait},
    {403, "RESOURCE_EXHAUSTED", CoreErrors::TemporaryFailure, Retry::Never, FailureKind::Wait},
    {403, "quotaExceeded", CoreErrors::TemporaryFailure, Retry::Never, FailureKind::Quota},
    {403, "storageQuotaExceeded", CoreErrors::TemporaryFailure, Retry::Never, FailureKind::Quota},
    {403, "teamDriveFileLimitExceeded", CoreErrors::TemporaryFailure, Retry::Never,
     FailureKind::Quota},
    {403, "numChildrenInNonRootLimitExceeded", CoreErrors::TemporaryFailure, Retry::Never,
     FailureKind::Quota},
    {403, "activeItemCreationLimitExceeded", CoreErrors::TemporaryFailure, Retry::Never,
     FailureKind::Quota},
    {403, "myDriveHierarchyTooDeep", CoreErrors::TemporaryFailure, Retry::Never,
     FailureKind::Quota},
    {403, "teamDriveHierarchyTooDeep", CoreErrors::TemporaryFailure, Retry::Never,
     FailureKind::Quota},
    {403, "accessNotConfigured", CoreErrors::TemporaryFailure, Retry::Never,
     FailureKind::HostFault},
    {403, "SERVICE_DISABLED", CoreErrors::TemporaryFailure, Retry::Never, FailureKind::HostFault},
    {429, "", CoreErrors::TemporaryFailure, Retry::Always},
    {500, "", CoreErrors::TemporaryFailure, Retry::Reads},
    {502, "", CoreErrors::TemporaryFailure, Retry::Reads},
    {503, "", CoreErrors::TemporaryFailure, Retry::Always},
    {504, "", CoreErrors::TemporaryFailure, Retry::Reads},
    {kAnyStatus, "", CoreErrors::TemporaryFailure, Retry::Never},
};

/// Newer front ends omit the list of errors. They state the reason among the details, of which the
/// first may be a link to the documentation.
ServiceMessage readMessage(const Http::Response& response) {
  const auto texts =
      Json::texts(response.body, {"error/errors/0/reason", "error/status", "error/message",
                                  "error/details/0/reason", "error/details/1/reason"});
  ServiceMessage message{texts[0], texts[2], texts[3].empty() ? texts[4] : texts[3]};
  if (message.code.empty()) message.code = texts[1];
  if (message.code.empty()) {
    message.code = std::to_string(response.status);
    if (message.message.empty()) message.message = reasonPhrase(response.status);
  }
  return message;
}

}  // namespace

ErrorTable errorTable() { return kRows; }

Error GoogleDriveErrorMarshaller::marshall(const Http::Response& response,
                                           Http::Method method) const {
  return marshallError(response, method, readMessage, kRows);
}

}  // namespace CloudStorage::Client::GoogleDrive
