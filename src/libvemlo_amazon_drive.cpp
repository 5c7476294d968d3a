#include <glog/logging.h>

#include <memory>
#include <string>
#include <utility>

#include "CloudStorage/Client/AmazonDrive/Model.h"
#include "CloudStorage/Client/CallBudget.h"
#include "libvemlo.h"
#include "libvemlo/exception_barrier.h"
#include "libvemlo/log_line.h"
#include "libvemlo/oauth2_flow.h"
#include "libvemlo/records.h"
#include "libvemlo/result_codes.h"
#include "libvemlo/session.h"

using CloudStorage::Auth::OAuth2RequestOptions;
using CloudStorage::Client::CallBudget;
using CloudStorage::Client::AmazonDrive::AmazonDriveClient;
using libvemlo::ErrorLine;
using libvemlo::guarded;
using libvemlo::LoggedAs;
using libvemlo::VerboseLine;
namespace Model = CloudStorage::Client::AmazonDrive::Model;

namespace {

constexpr char kScope[] = "profile clouddrive:read_all clouddrive:write";
constexpr int kExchangeFailed = 340;

constexpr int kNoRoot = 100;
constexpr char kFolderKind[] = "FOLDER";
constexpr char kRootFilter[] = "kind:FOLDER AND isRoot:true";
constexpr char kFolderFilter[] = "kind:FOLDER AND status:AVAILABLE";
constexpr char kSort[] = "[kind,name]";
constexpr int kPageSize = 100;

constexpr char kAuthorizeUrlFailed[] = "Failed to build authorize URL. ";
constexpr char kTokenFailed[] = "Failed to set token. ";
constexpr char kRootFailed[] = "Failed to get root directory. ";
constexpr char kListingFailed[] = "Failed to list directories. ";
constexpr char kCreationFailed[] = "Failed to create directory. ";
constexpr char kEndpointFailed[] = "Failed to get Endpoint. ";
// The text is that of another operation; log filters of hosts match it.
constexpr char kProfileFailed[] = "Failed to create directory. ";

// The id is not escaped.
std::string filterForFoldersIn(const std::string& parentId) {
  return std::string(kFolderFilter) + " AND parents:\"" + parentId + '"';
}

void storeEndpoints(AmazonDriveClient& client, const Model::GetEndpointResult& found) {
  client.setEndpoints({found.contentUrl, found.metadataUrl});
}

// Requests the endpoints of the account unless the client has them.
int ensureEndpoints(const std::shared_ptr<AmazonDriveClient>& client, CallBudget& budget) {
  const auto endpoints = client->endpoints();
  if (!endpoints.content.empty() && !endpoints.metadata.empty()) return libvemlo::kSuccess;

  Model::ComRequest request;
  request.budget = &budget;
  const auto outcome = client->getEndpoint(request);
  if (!outcome.isSuccess()) {
    const auto& error = outcome.getError();
    // Existing log readers expect the trailing line break.
    ErrorLine() << "Failed to get Endpoint. error: " << error.exceptionName << ' ' << error.message
                << '\n';
    return libvemlo::kServiceFailure;
  }
  storeEndpoints(*client, outcome.getResult());
  return libvemlo::kSuccess;
}

void logStart(const directory& parent) {
  if (VLOG_IS_ON(9)) {
    VerboseLine() << "Start to fetch children. parentId = " << parent.id
                  << ", filter = " << kFolderFilter;
  }
}

}  // namespace

int amazon_drive_get_authorize_url(session* handle, char** url) {
  if (handle == nullptr || url == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->amazon_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *url = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kAuthorizeUrlFailed}, [&] {
    OAuth2RequestOptions options;
    options.scope = kScope;
    *url = libvemlo::copyOf(client->buildAuthorizeUrl(options));
    return libvemlo::kSuccess;
  });
}

int amazon_drive_get_token(session* handle, const char* code, char** access_token,
                           char** refresh_token) {
  if (handle == nullptr || code == nullptr) return libvemlo::kBadArguments;
  if (access_token == nullptr || refresh_token == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->amazon_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *access_token = nullptr;
  *refresh_token = nullptr;

  return guarded(kExchangeFailed, LoggedAs{libvemlo::kExchangeFailureText}, [&] {
    const auto exchange = libvemlo::exchangeCode(*client, code, kScope);
    if (!exchange.status.isSuccess() || exchange.accessToken.empty() ||
        exchange.refreshToken.empty()) {
      ErrorLine() << libvemlo::describeFailure(exchange, code)
                  << ", accessToken = " << exchange.accessToken
                  << ", refreshToken = " << exchange.refreshToken;
      return kExchangeFailed;
    }
    libvemlo::handOutTokens(exchange, access_token, refresh_token);
    return libvemlo::kSuccess;
  });
}

int amazon_drive_set_token(session* handle, const char* access_token, const char* refresh_token) {
  if (handle == nullptr || access_token == nullptr || refresh_token == nullptr) {
    return libvemlo::kBadArguments;
  }
  const auto client = handle->amazon_drive_client;
  if (!client) return libvemlo::kBadArguments;
  return guarded(libvemlo::kServiceFailure, LoggedAs{kTokenFailed}, [&] {
    const bool stored = libvemlo::storeTokens(*client, access_token, refresh_token);
    return stored ? libvemlo::kSuccess : libvemlo::kBadArguments;
  });
}

int amazon_drive_get_endpoint(session* handle) {
  if (handle == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->amazon_drive_client;
  if (!client) return libvemlo::kBadArguments;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kEndpointFailed}, [&] {
    const auto outcome = client->getEndpoint(Model::ComRequest());
    if (!outcome.isSuccess()) {
      ErrorLine() << kEndpointFailed << outcome.getError().message;
      return libvemlo::kServiceFailure;
    }
    storeEndpoints(*client, outcome.getResult());
    return libvemlo::kSuccess;
  });
}

int amazon_drive_test_api(session* handle) {
  if (handle == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->amazon_drive_client;
  if (!client) return libvemlo::kBadArguments;
  return guarded(libvemlo::kServiceFailure, LoggedAs{kProfileFailed}, [&] {
    CallBudget budget;
    if (ensureEndpoints(client, budget) != libvemlo::kSuccess) return libvemlo::kServiceFailure;

    Model::ComRequest request;
    request.budget = &budget;
    const auto outcome = client->getProfile(request);
    if (!outcome.isSuccess()) {
      ErrorLine() << kProfileFailed << outcome.getError().message;
      return libvemlo::kServiceFailure;
    }
    // At ERROR severity, so that the account's holder is visible at every verbosity.
    const auto& resource = outcome.getResult();
    ErrorLine() << "resource.getName(): " << resource.name;
    ErrorLine() << "resource.getEmail(): " << resource.email;
    return libvemlo::kSuccess;
  });
}

int amazon_drive_get_root_directory(session* handle, directory** root) {
  if (handle == nullptr || root == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->amazon_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *root = nullptr;
  return guarded(libvemlo::kServiceFailure, LoggedAs{kRootFailed}, [&] {
    CallBudget budget;
    if (ensureEndpoints(client, budget) != libvemlo::kSuccess) return libvemlo::kServiceFailure;

    Model::ListFileResourceRequest request;
    request.budget = &budget;
    request.endpoint = client->endpoints().metadata;
    request.filters = kRootFilter;
    const auto outcome = client->listFileResource(request);
    if (!outcome.isSuccess()) {
      ErrorLine() << kRootFailed << outcome.getError().message;
      return libvemlo::kServiceFailure;
    }
    const auto& files = outcome.getResult().files;
    if (files.empty()) return kNoRoot;
    if (files.size() > 1) ErrorLine() << "Find duplicate root node metadata. ";

    const auto& file = files.front();
    if (VLOG_IS_ON(9)) VerboseLine() << "Fetch node file resource. " << file.toString();
    *root = libvemlo::makeDirectory(file.id, file.name);
    return libvemlo::kSuccess;
  });
}

int amazon_drive_list_directory(session* handle, const directory* parent, directory** children,
                                int* count) {
  if (handle == nullptr || parent == nullptr || children == nullptr || count == nullptr ||
      parent->id == nullptr) {
    return libvemlo::kBadArguments;
  }
  const auto client = handle->amazon_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *children = nullptr;
  *count = 0;
  return guarded(libvemlo::kServiceFailure, LoggedAs{kListingFailed}, [&] {
    CallBudget budget;
    if (ensureEndpoints(client, budget) != libvemlo::kSuccess) return libvemlo::kServiceFailure;

    logStart(*parent);
    Model::ListFileResourceRequest request;
    request.budget = &budget;
    request.endpoint = client->endpoints().metadata;
    request.sort = kSort;
    request.filters = filterForFoldersIn(parent->id);
    request.limit = kPageSize;
    libvemlo::DirectoryList folders;
    std::string pageToken;
    do {
      request.startToken = pageToken;
      const auto outcome = client->listFileResource(request);
      if (!outcome.isSuccess()) {
        ErrorLine() << kListingFailed << outcome.getError().message;
        return libvemlo::kServiceFailure;
      }
      const auto& page = outcome.getResult();
      for (const auto& file : page.files) folders.add(file.id, file.name);
      pageToken = page.nextToken;
    } while (!pageToken.empty());
    libvemlo::logDirectoryCount(VLOG_IS_ON(9), folders.size());

    std::move(folders).handOutArray(children, count);
    return libvemlo::kSuccess;
  });
}

int amazon_drive_create_directory(session* handle, const directory* parent, const char* name,
                                  directory** created) {
  if (handle == nullptr || parent == nullptr) return libvemlo::kBadArguments;
  if (name == nullptr || created == nullptr) return libvemlo::kBadArguments;
  if (parent->id == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->amazon_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *created = nullptr;
  return guarded(libvemlo::kServiceFailure, LoggedAs{kCreationFailed}, [&] {
    CallBudget budget;
    if (ensureEndpoints(client, budget) != libvemlo::kSuccess) return libvemlo::kServiceFailure;

    Model::FileRequest request;
    request.budget = &budget;
    request.endpoint = client->endpoints().metadata;
    request.name = name;
    request.kind = kFolderKind;
    request.parent = parent->id;
    const auto outcome = client->folderCreate(request);
    if (!outcome.isSuccess()) {
      ErrorLine() << kCreationFailed << outcome.getError().message;
      return libvemlo::kServiceFailure;
    }
    const auto& file = outcome.getResult();
    *created = libvemlo::makeDirectory(file.id, file.name);
    return libvemlo::kSuccess;
  });
}
