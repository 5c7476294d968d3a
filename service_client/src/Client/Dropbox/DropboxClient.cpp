#include "CloudStorage/Client/Dropbox/DropboxClient.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Client/DriveCall.h"
#include "Client/Dropbox/DropboxTokenEndpoint.h"
#include "Client/ErrorMarshalling.h"
#include "Client/Guarded.h"
#include "Client/JsonAnswer.h"

namespace CloudStorage::Client::Dropbox {
namespace {

namespace Json = Util::Json;

constexpr char kListFolder[] = "https://api.dropboxapi.com/2/files/list_folder";
constexpr char kContinue[] = "https://api.dropboxapi.com/2/files/list_folder/continue";
constexpr char kCreateFolder[] = "https://api.dropboxapi.com/2/files/create_folder_v2";

// Without a refresh token every session would end with its first access token, after some hours.
constexpr char kTokenAccessType[] = "offline";

constexpr std::string_view kFolder = "folder";

// False if it is something else.
bool readFact(std::string_view key, Json::Member& member, Model::FileFacts& file) {
  if (key == "client_modified") return Json::read(member, file.clientModified), true;
  if (key == "server_modified") return Json::read(member, file.serverModified), true;
  if (key == "size") return Json::read(member, file.size), true;
  if (key == "rev") return Json::read(member, file.rev), true;
  return false;
}

// Each member is looked at for many entries, so the search ends with the first that it is.
void readMember(std::string_view key, Json::Member& member, Model::Metadata& entry) {
  if (key == ".tag") return Json::read(member, entry.tag);
  if (key == "name") return Json::read(member, entry.name);
  if (key == "id") return Json::read(member, entry.id);
  if (key == "path_lower") return Json::read(member, entry.pathLower);
  if (key == "path_display") return Json::read(member, entry.path);

  Model::FileFacts file = entry.file.value_or(Model::FileFacts());
  if (readFact(key, member, file)) entry.file = file;
}

void readEntry(Json::Object object, Model::Metadata& entry) {
  for (Json::Member member : object) readMember(Json::keyOf(member), member, entry);
  if (entry.path.empty()) entry.path = entry.pathLower;
}

std::optional<Error> parseCreated(Http::Response& response, Model::Metadata& folder) {
  auto error = readJson(response, folder.page, [&folder](Json::Object object) {
    for (Json::Member member : object) {
      const std::string_view key = Json::keyOf(member);
      if (key != "metadata") continue;
      Json::readObject(member.value(), [&folder](Json::Object entry) { readEntry(entry, folder); });
    }
  });
  if (!error && (folder.id.empty() || folder.path.empty())) {
    error = localError("MalformedResponse", "The answer names no folder");
  }
  folder.tag = kFolder;  // the service leaves out what goes without saying
  return error;
}

// The pages of a folder put together.
class Listing {
 public:
  std::optional<Error> append(Http::Response page) {
    const std::string askedWith = std::exchange(result_.cursor, {});
    const std::size_t sizeBefore = result_.entries.size();
    auto error = read(page);
    const bool isStuck = result_.cursor.empty() ||
                         (result_.cursor == askedWith && result_.entries.size() == sizeBefore);
    if (!error && result_.hasMore && isStuck) {
      error = localError("MalformedResponse", "More entries follow, but not how to get them");
    }
    if (error) {
      error->httpResponseCode = page.status;
      error->responseHeaders = std::move(page.headers);
    }
    return error;
  }

  const std::string& cursor() const { return result_.cursor; }
  bool hasMore() const { return result_.hasMore; }

  Model::ListFolderResult take() && { return std::move(result_); }

 private:
  std::optional<Error> read(Http::Response& page) {
    result_.hasMore = false;
    std::shared_ptr<const void> received;
    return readJson(page, received, [this](Json::Object object) {
      for (Json::Member member : object) {
        const std::string_view key = Json::keyOf(member);
        if (key == "cursor") Json::read(member, result_.cursor);
        if (key == "has_more") Json::read(member, result_.hasMore);
        if (key == "entries") {
          Json::readObjects(member.value(), [this](Json::Object entry) {
            Model::Metadata metadata;
            readEntry(entry, metadata);
            result_.entries.push_back(metadata);
          });
        }
      }
    });
  }

  Model::ListFolderResult result_;
};

// Pages go into the listing without a stop in between, which would cost as much as reading them.
std::optional<Error> takeAnswer(Http::Response& answer, Http::Response& taken) {
  taken = std::move(answer);
  return std::nullopt;
}

// The service has forgotten what a cursor stands for.
bool isReset(const Error& error) {
  const std::string_view code = error.exceptionName;
  return code.substr(0, code.find('/')) == "reset";
}

}  // namespace

struct DropboxClient::Implementation {
  std::optional<Error> readPage(const Model::ListFolderRequest& request, Listing& listing) const {
    const Http::URI& uri = request.isContinuation() ? nextEntries : listFolder;
    auto outcome = call.send<Http::Response>(Http::Method::Post, uri, request, takeAnswer);
    if (!outcome.isSuccess()) return outcome.getError();
    return listing.append(std::move(outcome).getResult());
  }

  // All pages, or the one that follows the request's cursor.
  std::optional<Error> readFolder(const Model::ListFolderRequest& request, Listing& listing) const {
    Model::ListFolderRequest next = request;
    bool mayStartOver = !request.isContinuation();
    for (;;) {
      auto error = readPage(next, listing);
      if (!error) {
        if (!listing.hasMore() || request.isContinuation()) return std::nullopt;
        next.cursor = listing.cursor();
        continue;
      }
      if (!mayStartOver || !next.isContinuation() || !isReset(*error)) return error;
      mayStartOver = false;
      listing = {};
      next = request;
    }
  }

  DriveCall call;
  Http::URI listFolder;
  Http::URI nextEntries;
  Http::URI createFolder;
};

DropboxClient::DropboxClient(Auth::OAuth2ClientSpec clientSpec,
                             std::shared_ptr<Auth::OAuth2Credential> credential,
                             std::shared_ptr<RetryStrategy> retryStrategy,
                             std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                             std::shared_ptr<Util::RateLimiter> readRateLimiter,
                             std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                             Config::ProxySetting proxy)
    : DropboxClient(
          std::move(clientSpec),
          {std::move(credential), std::move(retryStrategy), std::move(errorMarshaller),
           std::move(readRateLimiter), std::move(writeRateLimiter), nullptr, std::move(proxy)},
          {}) {}

DropboxClient::DropboxClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                             ClientEnvironment environment)
    : DropboxClient(std::move(clientSpec), std::move(parts), std::move(environment),
                    VEMLO_DROPBOX_DURABLE_TOKEN) {}

DropboxClient::DropboxClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                             ClientEnvironment environment, bool joinsTokens)
    : OAuth2Client(std::move(clientSpec), std::move(parts), std::move(environment)),
      implementation_(
          std::make_unique<Implementation>(Implementation{{this->parts(), this->environment()},
                                                          *Http::URI::parse(kListFolder),
                                                          *Http::URI::parse(kContinue),
                                                          *Http::URI::parse(kCreateFolder)})) {
  setTokenEndpoint(std::make_shared<DropboxTokenEndpoint>(tokenEndpoint(), joinsTokens));
}

DropboxClient::~DropboxClient() = default;

Util::Outcome<Model::ListFolderResult, Error> DropboxClient::listFolder(
    const Model::ListFolderRequest& request) const {
  Listing listing;
  auto error = guarded([&] { return implementation_->readFolder(request, listing); });
  if (error) return *std::move(error);
  return std::move(listing).take();
}

Util::Outcome<Model::Metadata, Error> DropboxClient::createFolder(
    const Model::CreateFolderRequest& request) const {
  return implementation_->call.send<Model::Metadata>(
      Http::Method::Post, implementation_->createFolder, request, parseCreated);
}

std::vector<Http::URI::QueryParameter> DropboxClient::authorizationParameters(
    const Auth::OAuth2RequestOptions& options) const {
  return {{"force_reapprove", options.forceReapprove}, {"token_access_type", kTokenAccessType}};
}

}  // namespace CloudStorage::Client::Dropbox
