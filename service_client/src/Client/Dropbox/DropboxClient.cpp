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
#include "Client/JsonAnswer.h"
#include "Util/TextArena.h"

namespace CloudStorage::Client::Dropbox {
namespace {

namespace Json = Util::Json;

constexpr char kListFolder[] = "https://api.dropboxapi.com/2/files/list_folder";
constexpr char kContinue[] = "https://api.dropboxapi.com/2/files/list_folder/continue";
constexpr char kCreateFolder[] = "https://api.dropboxapi.com/2/files/create_folder_v2";

// Without a refresh token every session would end with its first access token, after some hours.
constexpr char kTokenAccessType[] = "offline";

constexpr std::string_view kFolder = "folder";

void readMember(std::string_view key, Json::Member& member, Model::Metadata& entry) {
  if (key == ".tag") Json::read(member, entry.tag);
  if (key == "name") Json::read(member, entry.name);
  if (key == "id") Json::read(member, entry.id);
  if (key == "path_lower") Json::read(member, entry.pathLower);
  if (key == "path_display") Json::read(member, entry.path);
}

// False if it is something else.
bool readMember(std::string_view key, Json::Member& member, Model::FileFacts& file) {
  if (key == "client_modified") return Json::read(member, file.clientModified), true;
  if (key == "server_modified") return Json::read(member, file.serverModified), true;
  if (key == "size") return Json::read(member, file.size), true;
  if (key == "rev") return Json::read(member, file.rev), true;
  return false;
}

void readEntry(Json::Object object, Model::Metadata& entry) {
  Model::FileFacts file;
  bool isFile = false;
  for (Json::Member member : object) {
    const std::string_view key = Json::keyOf(member);
    readMember(key, member, entry);
    if (readMember(key, member, file)) isFile = true;
  }
  if (entry.path.empty()) entry.path = entry.pathLower;
  if (isFile) entry.file = std::make_shared<const Model::FileFacts>(file);
}

std::string_view tailOrCopy(std::string_view path, std::string_view name, Util::TextArena& texts) {
  const std::string_view tail = path.substr(path.size() - std::min(path.size(), name.size()));
  return tail == name ? tail : texts.keep(name);
}

// Moves the texts of `entry` from the received page to `texts`, which holds nothing twice.
void keepTexts(Model::Metadata& entry, Util::TextArena& texts) {
  const bool isLowerCase = entry.path == entry.pathLower;
  entry.tag = entry.tag == kFolder ? kFolder : texts.keep(entry.tag);
  entry.id = texts.keep(entry.id);
  if (entry.file) {
    const auto& file = *entry.file;
    entry.file = std::make_shared<const Model::FileFacts>(Model::FileFacts{
        Util::IsoTime(texts.keep(file.clientModified.text())),
        Util::IsoTime(texts.keep(file.serverModified.text())), file.size, texts.keep(file.rev)});
  }
  entry.path = texts.keep(entry.path);
  entry.pathLower = isLowerCase ? entry.path : texts.keep(entry.pathLower);
  entry.name = tailOrCopy(entry.path, entry.name, texts);
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

// The pages of a folder put together. Of what was received it keeps the third that is of use: a
// folder may have very many entries.
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

  Model::ListFolderResult take() && {
    result_.pages.push_back(std::move(texts_));
    return std::move(result_);
  }

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
            Model::Metadata& metadata = result_.entries.emplace_back();
            readEntry(entry, metadata);
            keepTexts(metadata, *texts_);
          });
        }
      }
    });
  }

  Model::ListFolderResult result_;
  std::shared_ptr<Util::TextArena> texts_ = std::make_shared<Util::TextArena>();
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
  Model::ListFolderRequest next = request;
  bool mayStartOver = !request.isContinuation();
  for (;;) {
    auto error = implementation_->readPage(next, listing);
    if (!error) {
      if (!listing.hasMore() || request.isContinuation()) return std::move(listing).take();
      next.cursor = listing.cursor();
      continue;
    }
    if (!mayStartOver || !next.isContinuation() || !isReset(*error)) return *std::move(error);
    mayStartOver = false;
    listing = {};
    next = request;
  }
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
