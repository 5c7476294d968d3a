#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "Client/AccountRequests.h"
#include "Client/DriveCall.h"
#include "Client/ErrorMarshalling.h"
#include "Client/ErrorTables.h"
#include "Client/JsonResponse.h"
#include "Client/ListingExtent.h"
#include "Client/OneDrive/DriveItemJson.h"
#include "Client/OneDrive/OneDriveAddressing.h"
#include "Client/OneDrive/OneDriveRequestPolicy.h"
#include "Client/OptionalParameters.h"
#include "Client/Paging.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "Util/Json.h"
#include "Util/Text.h"

namespace CloudStorage::Client::OneDrive {

namespace Json = Util::Json;

std::vector<Http::URI::QueryParameter> OneDriveClient::authorizationParameters(
    const Auth::OAuth2RequestOptions& /*options*/) const {
  return {{"response_mode", "query"}};
}

// The drive

namespace {

Util::Outcome<Model::DriveMetadata, Error> parseDrive(Http::Response&& response,
                                                      Json::Parser& json) {
  Model::DriveMetadata drive;
  const auto storage =
      readJson(std::move(response), isWholeResult, json, [&drive](Json::Object object) {
        for (const auto& [key, value] : object) {
          if (key == "id") Json::read(value, drive.id);
          if (key == "driveType") Json::read(value, drive.driveType);
          if (key == "name") Json::read(value, drive.name);
        }
      });
  if (!storage.isSuccess()) return storage.getError();
  return drive;
}

}  // namespace

Util::Outcome<Model::DriveMetadata, Error> OneDriveClient::getDriveMetadata(
    const Model::GetDriveMetadataRequest& request) const {
  ListingExtent::reset();  // the first request of a listing
  return call().send(
      {"getDriveMetadata", Http::Method::Get}, [&] { return driveUri(request.driveId); }, request,
      parseDrive);
}

// One item

namespace {

template <StatusCheck kIsSuccess>
Util::Outcome<Model::DriveItem, Error> parseItem(Http::Response&& response, Json::Parser& json) {
  Model::DriveItem item;
  const auto storage = readJson(std::move(response), kIsSuccess, json,
                                [&item](Json::Object object) { readItem(object, item); });
  if (!storage.isSuccess()) return storage.getError();
  if (item.id.empty()) return malformedResponse("The answer has no id");
  item.storage = storage.getResult();
  return item;
}

}  // namespace

Util::Outcome<Model::DriveItem, Error> OneDriveClient::getDriveItem(
    const Model::GetDriveItemRequest& request) const {
  // The item itself, also where a reference to another drive has this id.
  const auto locate = [this, &request] {
    if (!request.driveId.isPresent()) {
      const auto known = remoteItems_.find(request.itemId.value());
      if (known && known->itemId == request.itemId.value()) return itemUri(*known);
    }
    return itemUri({request.driveId, request.itemId.value()});
  };
  return call().send({"getDriveItem", Http::Method::Get}, locate, request,
                     parseItem<isWholeResult>);
}

// Listing

namespace {

// The fields that listings need, including those that distinguish folders from files. All fields of
// an item would be ten times as much.
constexpr char kListFields[] = "id,name,root,folder,remoteItem";

// Typical bytes per item and items per page, so that memory for a page's items is allocated once.
constexpr std::size_t kUsualItemLength = 128;
constexpr std::size_t kMostItems = 1000;

using Children = Util::Outcome<Model::ListChildrenResult, Error>;

bool isFolder(const Model::DriveItem& item) { return item.isFolder; }
bool isFolderOrRemoteItem(const Model::DriveItem& item) { return item.isFolder || item.remoteItem; }

/// A filter of the service that can also be applied to the items of a response.
struct KnownFilter {
  std::string_view text;
  bool (*accepts)(const Model::DriveItem& item);
};

constexpr KnownFilter kKnownFilters[] = {
    {"folder ne null", isFolder},
    {"folder ne null or remoteItem ne null", isFolderOrRemoteItem},
};

// The filter that responses to `request` are to be filtered with; null if there is none. Filters
// are not guaranteed for listings of children: some drives refuse them, and some return files
// regardless.
const KnownFilter* filterFor(const Model::ListChildrenRequest& request) {
  if (!request.filter.isPresent() || !request.filtersResponses) return nullptr;
  const auto* known = std::find_if(
      std::begin(kKnownFilters), std::end(kKnownFilters),
      [&request](const KnownFilter& filter) { return filter.text == request.filter.value(); });
  return known == std::end(kKnownFilters) ? nullptr : known;
}

// Returns false if there is no list.
bool readItems(Json::Value value, std::size_t limit, const KnownFilter* filter,
               Model::ListChildrenResult& result) {
  auto& items = result.items;
  items.clear();
  result.received = 0;
  return Json::readObjects(value, limit, [&result, &items, filter](Json::Object object) {
    Model::DriveItem& item = items.emplace_back();
    readItem(object, item);
    ++result.received;
    if (item.id.empty() || (filter != nullptr && !filter->accepts(item))) items.pop_back();
  });
}

Children parseChildren(Http::Response&& response, Json::Parser& json,
                       const Model::ListChildrenRequest& request, const KnownFilter* filter) {
  Model::ListChildrenResult result;
  bool hasItems = false;
  result.items.reserve(std::min(response.body.size() / kUsualItemLength, kMostItems));
  const std::size_t limit = mostEntriesOf(request.pageSize);
  const auto storage = readJson(std::move(response), isWholeResult, json, [&](Json::Object object) {
    for (const auto& [key, value] : object) {
      if (key == "@odata.nextLink") Json::readToken(value, result.nextToken);
      if (key == "value") hasItems = readItems(value, limit, filter, result);
    }
  });
  if (!storage.isSuccess()) return storage.getError();
  if (!hasItems) return malformedResponse("The answer has no list of items");
  if (isRepeated(result.nextToken, request.pageToken)) return repeatedPage();
  result.storage = storage.getResult();
  return result;
}

}  // namespace

bool Model::ListChildrenRequest::namesItsPage() const {
  constexpr std::string_view kLinkStart = "https://";
  return pageToken.isPresent() &&
         Util::lowerCase(std::string_view(pageToken.value()).substr(0, kLinkStart.size())) ==
             kLinkStart;
}

void Model::ListChildrenRequest::addQueryStringParameters(Http::URI& uri) const {
  if (namesItsPage()) return;
  addIfPresent(uri, "$top", pageSize);
  addUnlessEmpty(uri, "$filter", filter);
  uri.addQueryStringParameter("$select", kListFields);
  addUnlessEmpty(uri, "$skiptoken", pageToken);
}

Children OneDriveClient::listChildren(const Model::ListChildrenRequest& request) const {
  return ListingExtent::noted(ServiceCall::guarded([this, &request] {
    const KnownFilter* const filter = filterFor(request);
    ListingPolicy policy(call(), remoteItems_, request, filter != nullptr);
    const auto locate = [&] {
      return request.namesItsPage() ? pageUri(request.pageToken.value()) : policy.uri();
    };
    const auto parseAndRemember = [&](Http::Response&& response, Json::Parser& json) {
      Children children = parseChildren(std::move(response), json, request, filter);
      if (!children.isSuccess()) return children;
      policy.rememberFolder();
      for (const auto& item : children.getResult().items) policy.remember(item);
      return children;
    };
    return policy.outcomeOf(call().send({"listChildren", Http::Method::Get}, locate, request,
                                        policy, parseAndRemember));
  }));
}

// Creation

std::string Model::CreateFolderRequest::serializePayload() const {
  Json::ObjectWriter folder;
  folder.addIfPresent("name", name);
  folder.addEmptyObject("folder");
  // Without this member some kinds of drives return the existing folder of that name.
  folder.add("@microsoft.graph.conflictBehavior", std::string_view("fail"));
  return folder.text();
}

Util::Outcome<Model::DriveItem, Error> OneDriveClient::createFolder(
    const Model::CreateFolderRequest& request) const {
  return ServiceCall::guarded([this, &request] {
    FolderCreationPolicy policy(call(), remoteItems_, request.driveId, request.parentItemId);
    const auto parseAndRemember = [&policy](Http::Response&& response, Json::Parser& json) {
      auto folder = parseItem<confirmsCreation>(std::move(response), json);
      if (!folder.isSuccess()) return folder;
      policy.rememberFolder();
      policy.remember(folder.getResult());
      return folder;
    };
    return policy.outcomeOf(call().send(
        {"createFolder", Http::Method::Post}, [&policy] { return policy.uri(); }, request, policy,
        parseAndRemember));
  });
}

// The owner of the account

namespace {

constexpr char kUser[] =
    "https://graph.microsoft.com/v1.0/me?$select=displayName,mail,userPrincipalName";
constexpr char kQuota[] = "https://graph.microsoft.com/v1.0/me/drive?$select=quota";

// Personal accounts have no mailbox, but their principal name is the address of their owner.
void readUser(Json::Object user, Account& account) {
  std::string principalName;
  for (const auto& [key, value] : user) {
    if (key == "displayName") Json::read(value, account.name);
    if (key == "mail") Json::read(value, account.email);
    if (key == "userPrincipalName") Json::read(value, principalName);
  }
  if (account.email.empty()) account.email = std::move(principalName);
}

void readQuota(Json::Object quota, Account& account) {
  for (const auto& [key, value] : quota) {
    if (key == "used") readSpace(value, account.usedSpace);
    if (key == "total") readSpace(value, account.totalSpace);
  }
  if (account.totalSpace == 0) account.totalSpace = -1;  // there is no limit
}

void readDriveQuota(Json::Object drive, Account& account) {
  for (const auto& [key, value] : drive) {
    if (key != "quota") continue;
    Json::readObject(value, [&](Json::Object quota) { readQuota(quota, account); });
  }
}

bool isWithheld(const Error& error) {
  return error.httpResponseCode == 403 && error.errorType == CoreErrors::AccessDenied;
}

}  // namespace

Util::Outcome<Account, Error> OneDriveClient::getAccount() const {
  return ServiceCall::guarded([this] {
    return AccountRequests(call(), isWithheld)
        .send({"getAccount", Http::Method::Get}, kUser, AccountRequest(), readUser)
        .send({"getSpace", Http::Method::Get}, kQuota, AccountRequest(), readDriveQuota)
        .account();
  });
}

// Errors

namespace {

constexpr ErrorRow kRows[] = {
    {400, "notSupported", CoreErrors::NotImplemented, Retry::Never},
    {400, "invalidFileName", CoreErrors::InvalidRequest, Retry::Never, FailureKind::NameNotAllowed},
    {400, "invalidPath", CoreErrors::InvalidRequest, Retry::Never, FailureKind::NameNotAllowed},
    {400, "pathIsTooLong", CoreErrors::InvalidRequest, Retry::Never, FailureKind::NameNotAllowed},
    {400, "pathTooDeep", CoreErrors::InvalidRequest, Retry::Never, FailureKind::NameNotAllowed},
    {401, "", CoreErrors::NotAuthenticated, Retry::Never, FailureKind::LinkAgain},
    {403, "quotaLimitReached", CoreErrors::QuotaExceeded, Retry::Never},
    {409, "nameAlreadyExists", CoreErrors::Conflict, Retry::Never, FailureKind::ExistsAlready},
    {410, "", CoreErrors::Conflict, Retry::Never},
    {501, "", CoreErrors::NotImplemented, Retry::Never},
    {503, "activityLimitReached", CoreErrors::Throttled, Retry::Always},
    {507, "", CoreErrors::QuotaExceeded, Retry::Never},
    {509, "", CoreErrors::Throttled, Retry::Always},  // bandwidth limit
};

ServiceMessage readMessage(const Http::Response& response) {
  const auto texts = Json::texts(response.body, {"error/code", "error/message",
                                                 "error/innerError/code", "error/innererror/code"});
  return {texts[0], texts[1], texts[2].empty() ? texts[3] : texts[2]};
}

}  // namespace

ErrorTable errorTable() { return kRows; }

Error OneDriveErrorMarshaller::marshall(const Http::Response& response, Http::Method method) const {
  return withInvalidName(marshallError(response, method, readMessage, kRows), method);
}

}  // namespace CloudStorage::Client::OneDrive
