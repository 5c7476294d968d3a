#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "Client/DriveCall.h"
#include "Client/Dropbox/DropboxTokenEndpoint.h"
#include "Client/Dropbox/EntryJson.h"
#include "Client/ErrorMarshalling.h"
#include "Client/ErrorTables.h"
#include "Client/JsonResponse.h"
#include "Client/ListingExtent.h"
#include "Client/Paging.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "Config/ProcessSettings.h"
#include "Util/Json.h"

namespace CloudStorage::Client::Dropbox {

namespace Json = Util::Json;

// Addresses

namespace {

constexpr char kListFolder[] = "https://api.dropboxapi.com/2/files/list_folder";
constexpr char kContinue[] = "https://api.dropboxapi.com/2/files/list_folder/continue";
constexpr char kCreateFolder[] = "https://api.dropboxapi.com/2/files/create_folder_v2";

// The service refuses empty path segments, including one after the last slash. Paths that were
// composed of a folder and a name may contain some.
std::string withoutEmptySegments(std::string_view path) {
  std::string clean;
  for (const char c : path) {
    if (c != '/' || clean.empty() || clean.back() != '/') clean += c;
  }
  if (!clean.empty() && clean.back() == '/') clean.pop_back();
  return clean;
}

void addPath(Json::ObjectWriter& arguments, const Util::Field<std::string>& path) {
  if (path.isPresent()) arguments.add("path", withoutEmptySegments(path.value()));
}

}  // namespace

// Authorization

namespace {

DropboxClient::Options currentOptions() {
  const auto settings = Config::ProcessSettings::current();
  return {settings->dropboxDurableToken.value_or(VEMLO_DROPBOX_DURABLE_TOKEN),
          VEMLO_DROPBOX_OFFLINE_ACCESS};
}

}  // namespace

DropboxClient::DropboxClient(Auth::OAuth2ClientSpec clientSpec,
                             std::shared_ptr<Auth::OAuth2Credential> credential,
                             std::shared_ptr<RetryStrategy> retryStrategy,
                             std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                             std::shared_ptr<Util::RateLimiter> readRateLimiter,
                             std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                             Config::ProxySetting proxy)
    : OAuth2Client(std::move(clientSpec), std::move(credential), std::move(retryStrategy),
                   std::move(errorMarshaller), std::move(readRateLimiter),
                   std::move(writeRateLimiter), std::move(proxy)),
      options_(currentOptions()) {
  setTokenEndpoint(std::make_shared<DropboxTokenEndpoint>(tokenEndpoint(), options_.joinsTokens));
}

DropboxClient::DropboxClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                             ClientEnvironment environment)
    : DropboxClient(std::move(clientSpec), std::move(parts), std::move(environment),
                    currentOptions()) {}

DropboxClient::DropboxClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                             ClientEnvironment environment, Options options)
    : OAuth2Client(std::move(clientSpec), std::move(parts), std::move(environment)),
      options_(options) {
  setTokenEndpoint(std::make_shared<DropboxTokenEndpoint>(tokenEndpoint(), options.joinsTokens));
}

// Without the parameter the service grants access for some hours only.
std::vector<Http::URI::QueryParameter> DropboxClient::authorizationParameters(
    const Auth::OAuth2RequestOptions& options) const {
  return {{"force_reapprove", options.forceReapprove},
          {"token_access_type", options_.requestsOfflineAccess ? "offline" : ""}};
}

// Listing

namespace {

using Folder = Util::Outcome<Model::ListFolderResult, Error>;

// Returns false if there is no list.
bool readEntries(Json::Value value, Model::EntryList& entries) {
  entries = {};
  const std::size_t limit = mostEntriesOf(0);  // the service chooses the size of its pages
  return Json::readObjects(value, limit, [&entries](Json::Object object) {
    Model::Metadata entry;
    Model::readEntry(object, entry);
    if (!entry.path.empty()) entries.push_back(entry);
  });
}

Folder checkedForMore(Model::ListFolderResult result, const Model::ListFolderRequest& request) {
  if (result.cursor.empty()) {
    return malformedResponse("More entries follow, but not how to get them");
  }
  if (isRepeated(result.cursor, request.cursor)) return repeatedPage();
  return result;
}

Folder parsePage(Http::Response&& response, Json::Parser& json,
                 const Model::ListFolderRequest& request) {
  Model::ListFolderResult result;
  bool hasEntries = false;
  const auto storage = readJson(std::move(response), isWholeResult, json, [&](Json::Object object) {
    for (const auto& [key, value] : object) {
      if (key == "cursor") Json::readToken(value, result.cursor);
      if (key == "has_more") Json::read(value, result.hasMore);
      if (key == "entries") hasEntries = readEntries(value, result.entries);
    }
  });
  if (!storage.isSuccess()) return storage.getError();
  if (!hasEntries) return malformedResponse("The answer has no list of entries");
  return result.hasMore ? checkedForMore(std::move(result), request) : Folder(std::move(result));
}

Folder listPage(const DriveCall& call, const Model::ListFolderRequest& request) {
  return call.send(
      {"listFolder", Http::Method::Post},
      [&] { return *Http::URI::parse(request.isContinuation() ? kContinue : kListFolder); },
      request,
      [&request](Http::Response&& response, Json::Parser& json) {
        return parsePage(std::move(response), json, request);
      });
}

void append(Model::ListFolderResult& folder, const Model::ListFolderResult& page) {
  folder.entries.append(page.entries);
  folder.cursor = page.cursor;
  folder.hasMore = page.hasMore;
}

// Whether the service has invalidated a cursor.
bool isReset(const Error& error) {
  const std::string_view code = error.exceptionName;
  return code.substr(0, code.find('/')) == "reset";
}

Folder listPages(const DriveCall& call, const Model::ListFolderRequest& request) {
  CallBudget ownBudget;
  Model::ListFolderRequest first = request;
  if (first.budget == nullptr) first.budget = &ownBudget;  // which all pages share
  Model::ListFolderRequest next = first;
  Model::ListFolderResult folder;
  for (bool mayStartOver = !request.isContinuation();;) {
    const auto page = listPage(call, next);
    if (page.isSuccess()) {
      append(folder, page.getResult());
      if (!folder.hasMore || request.isContinuation()) return folder;
      next.cursor = folder.cursor;
    } else if (mayStartOver && next.isContinuation() && isReset(page.getError())) {
      mayStartOver = false;
      folder = {};
      next = first;
    } else {
      return page.getError();
    }
  }
}

}  // namespace

std::string Model::ListFolderRequest::serializePayload() const {
  Json::ObjectWriter arguments;
  // The service accepts only the cursor in a continuation.
  if (isContinuation()) return arguments.add("cursor", cursor.value()).text();

  addPath(arguments, path);
  arguments.addIfPresent("recursive", recursive)
      .addIfPresent("include_media_info", includeMediaInfo)
      .addIfPresent("include_deleted", includeDeleted)
      .addIfPresent("include_has_explicit_shared_members", includeHasExplicitSharedMembers);
  return arguments.text();
}

Folder DropboxClient::listFolder(const Model::ListFolderRequest& request) const {
  // Guarded as a whole, because the code between the requests allocates memory.
  return ListingExtent::noted(call().run("listFolder", [&] { return listPages(call(), request); }));
}

// Creation

namespace {

// Returns false if there is no metadata.
bool readMetadata(Json::Value value, Model::Metadata& folder) {
  folder = {};
  return Json::readObject(value,
                          [&folder](Json::Object object) { Model::readEntry(object, folder); });
}

Util::Outcome<Model::Metadata, Error> parseCreated(Http::Response&& response, Json::Parser& json,
                                                   const std::string& sentPath) {
  Model::Metadata folder;
  bool hasMetadata = false;
  const auto storage =
      readJson(std::move(response), confirmsCreation, json, [&](Json::Object object) {
        for (const auto& [key, value] : object) {
          if (key == "metadata") hasMetadata = readMetadata(value, folder);
        }
      });
  if (!storage.isSuccess()) return storage.getError();
  if (!hasMetadata) return malformedResponse("The answer names no folder");
  folder.tag = "folder";  // the service omits it, because only a folder can have been created
  const auto texts = std::make_shared<std::pair<TextStorage, std::string>>(
      storage.getResult(), withoutEmptySegments(sentPath));
  if (folder.path.empty()) folder.path = texts->second;
  folder.storage = texts;
  return folder;
}

}  // namespace

std::string Model::CreateFolderRequest::serializePayload() const {
  Json::ObjectWriter arguments;
  addPath(arguments, path);
  return arguments.addIfPresent("autorename", autorename).text();
}

Util::Outcome<Model::Metadata, Error> DropboxClient::createFolder(
    const Model::CreateFolderRequest& request) const {
  return call().create(
      "createFolder", [] { return *Http::URI::parse(kCreateFolder); }, request,
      [&request](Http::Response&& response, Json::Parser& json) {
        return parseCreated(std::move(response), json, request.path.value());
      });
}

// Errors

namespace {

/// The layer's own words for invalid requests, which the service describes in plain text only.
constexpr char kMalformedToken[] = "malformed_token";
constexpr char kMalformedPath[] = "malformed_path";

/// Codes are paths into nested unions, to which the service may add further segments.
constexpr ErrorRow kRows[] = {
    {400, kMalformedToken, CoreErrors::InvalidRequest, Retry::Never, FailureKind::LinkAgain},
    {400, kMalformedPath, CoreErrors::InvalidRequest, Retry::Never, FailureKind::NameNotAllowed},
    {401, "missing_scope", CoreErrors::AccessDenied, Retry::Never},
    {401, "route_access_denied", CoreErrors::AccessDenied, Retry::Never},
    {401, "user_suspended", CoreErrors::AccountProblem, Retry::Never},
    {401, "", CoreErrors::NotAuthenticated, Retry::Never, FailureKind::LinkAgain},
    {403, "invalid_account_type", CoreErrors::AccountProblem, Retry::Never},
    {409, "path/not_found", CoreErrors::NotFound, Retry::Never},
    {409, "path/malformed_path", CoreErrors::InvalidRequest, Retry::Never,
     FailureKind::NameNotAllowed},
    {409, "path/no_write_permission", CoreErrors::AccessDenied, Retry::Never},
    {409, "path/insufficient_space", CoreErrors::QuotaExceeded, Retry::Never},
    {409, "path/conflict", CoreErrors::Conflict, Retry::Never, FailureKind::ExistsAlready},
    {409, "path/disallowed_name", CoreErrors::Conflict, Retry::Never, FailureKind::NameNotAllowed},
    {409, "path/not_folder", CoreErrors::Conflict, Retry::Never, FailureKind::NotFound},
    {409, "path/restricted_content", CoreErrors::Conflict, Retry::Never, FailureKind::Denied},
    {409, "path/team_folder", CoreErrors::Conflict, Retry::Never, FailureKind::Denied},
    {409, "path/insufficient_quota", CoreErrors::Conflict, Retry::Never, FailureKind::Quota},
    {409, "too_many_write_operations", CoreErrors::Conflict, Retry::Never, FailureKind::Wait},
    {409, "reset", CoreErrors::Conflict, Retry::Never, FailureKind::Wait},
    {409, "", CoreErrors::Conflict, Retry::Never, FailureKind::NotUnderstood},
    {422, "no_permission", CoreErrors::AccessDenied, Retry::Never},
};

/// The maximum number of bytes of a body that is not JSON in a message.
constexpr std::size_t kPlainTextLimit = 256;

/// "path/conflict/folder/..." becomes "path/conflict/folder": the number of dots is random.
std::string codeOf(std::string_view summary) {
  return std::string(summary.substr(0, summary.find_last_not_of("/.") + 1));
}

/// The service's plain text about an invalid request; empty for an HTML page or other JSON.
std::string plainTextOf(std::string_view body) {
  std::string text = Util::oneLine(Util::skipByteOrderMark(body), kPlainTextLimit);
  if (text.find_first_of("<{[") == 0) text.clear();
  return text;
}

/// What the service's plain text about an invalid request means; empty if it is about neither.
std::string finerCodeOf(const std::string& text) {
  const auto mentions = [&text](const char* words) {
    return text.find(words) != std::string::npos;
  };
  if (mentions("path: ") && mentions("did not match pattern")) return kMalformedPath;
  const bool isAboutToken =
      mentions("access token is malformed") || mentions("HTTP header \"Authorization\"");
  return isAboutToken ? kMalformedToken : "";
}

ServiceMessage readMessage(const Http::Response& response) {
  const auto texts = Json::texts(response.body, {"error_summary", "user_message/text"});
  const std::string& summary = texts[0];
  const std::string& userMessage = texts[1];
  ServiceMessage message{codeOf(summary), userMessage.empty() ? summary : userMessage};
  if (!message.code.empty() || !message.message.empty()) return message;

  message.message = plainTextOf(response.body);
  if (response.status == 400 && !message.message.empty()) {
    message.code = "bad_input";
    message.finerCode = finerCodeOf(response.body);
  }
  return message;
}

}  // namespace

ErrorTable errorTable() { return kRows; }

Error DropboxErrorMarshaller::marshall(const Http::Response& response, Http::Method method) const {
  return marshallError(response, method, readMessage, kRows);
}

}  // namespace CloudStorage::Client::Dropbox
