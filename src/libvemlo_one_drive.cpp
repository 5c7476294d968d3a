#include <Poco/URI.h>
#include <glog/logging.h>

#include <string>
#include <string_view>
#include <utility>

#include "CloudStorage/Client/CallBudget.h"
#include "CloudStorage/Client/OneDrive/Model.h"
#include "libvemlo.h"
#include "libvemlo/constants.h"
#include "libvemlo/exception_barrier.h"
#include "libvemlo/log_line.h"
#include "libvemlo/oauth2_flow.h"
#include "libvemlo/records.h"
#include "libvemlo/result_codes.h"
#include "libvemlo/session.h"

using CloudStorage::Auth::OAuth2RequestOptions;
using CloudStorage::Client::CallBudget;
using libvemlo::ErrorLine;
using libvemlo::guarded;
using libvemlo::LoggedAs;
using libvemlo::VerboseLine;
namespace Model = CloudStorage::Client::OneDrive::Model;

namespace {

constexpr char kScope[] = "https://graph.microsoft.com/files.readwrite user.read offline_access";
constexpr int kExchangeFailed = 343;

constexpr char kRootAlias[] = "root";
constexpr char kRootName[] = "/";
constexpr char kBusinessDrive[] = "business";
constexpr char kFolderFilter[] = "folder ne null";
// A folder that others share with the user is a remote item, which has no folder facet.
constexpr char kFolderOrSharedFilter[] = "folder ne null or remoteItem ne null";
constexpr int kPageSize = 500;

constexpr char kAuthorizeUrlFailed[] = "Failed to build authorize URL. ";
constexpr char kTokenFailed[] = "Failed to set token. ";
constexpr char kLogoutUrlFailed[] = "Failed to build logout URL. ";
constexpr char kRootFailed[] = "Failed to get root directory. ";
constexpr char kListingFailed[] = "Failed to list directories. ";
constexpr char kCreationFailed[] = "Failed to create directory. ";

// The service's own name for the root depends on the user's language.
std::string_view nameOf(const Model::DriveItem& item) { return item.root ? kRootName : item.name; }

void addFolders(const Model::ListChildrenResult& page, libvemlo::DirectoryList& folders) {
  for (const auto& item : page.items) folders.add(item.id, nameOf(item));
}

void logStart(const directory& parent) {
  if (VLOG_IS_ON(9)) {
    VerboseLine() << "Start to fetch children. parentId = " << parent.id;
  }
}

}  // namespace

int one_drive_get_authorize_url(session* handle, char** url) {
  if (handle == nullptr || url == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->one_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *url = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kAuthorizeUrlFailed}, [&] {
    OAuth2RequestOptions options;
    options.scope = kScope;
    *url = libvemlo::copyOf(client->buildAuthorizeUrl(options));
    return libvemlo::kSuccess;
  });
}

int one_drive_get_logout_url(session* handle, char** url) {
  if (handle == nullptr || url == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->one_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *url = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kLogoutUrlFailed}, [&] {
    Poco::URI logout(libvemlo::kOneDriveLogoutEndpoint);
    logout.addQueryParameter("post_logout_redirect_uri", client->clientSpec().redirectUri);
    *url = libvemlo::copyOf(logout.toString());
    return libvemlo::kSuccess;
  });
}

int one_drive_get_token(session* handle, const char* code, char** access_token,
                        char** refresh_token) {
  if (handle == nullptr || code == nullptr) return libvemlo::kBadArguments;
  if (access_token == nullptr || refresh_token == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->one_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *access_token = nullptr;
  *refresh_token = nullptr;

  return guarded(kExchangeFailed, LoggedAs{libvemlo::kExchangeFailureText}, [&] {
    const auto exchange = libvemlo::exchangeCode(*client, code, kScope);
    if (!exchange.status.isSuccess()) {
      ErrorLine() << libvemlo::describeFailure(exchange, code);
      return kExchangeFailed;
    }
    libvemlo::handOutTokens(exchange, access_token, refresh_token);
    return libvemlo::kSuccess;
  });
}

int one_drive_set_token(session* handle, const char* access_token, const char* refresh_token) {
  if (handle == nullptr || access_token == nullptr || refresh_token == nullptr) {
    return libvemlo::kBadArguments;
  }
  const auto client = handle->one_drive_client;
  if (!client) return libvemlo::kBadArguments;
  return guarded(libvemlo::kServiceFailure, LoggedAs{kTokenFailed}, [&] {
    const bool stored = libvemlo::storeTokens(*client, access_token, refresh_token);
    return stored ? libvemlo::kSuccess : libvemlo::kBadArguments;
  });
}

int one_drive_get_root_directory(session* handle, directory** root) {
  if (handle == nullptr || root == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->one_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *root = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kRootFailed}, [&] {
    Model::GetDriveItemRequest request;
    request.itemId = kRootAlias;
    const auto outcome = client->getDriveItem(request);
    if (!outcome.isSuccess()) {
      ErrorLine() << kRootFailed << outcome.getError().message;
      return libvemlo::kServiceFailure;
    }
    const auto& item = outcome.getResult();
    if (VLOG_IS_ON(9)) VerboseLine() << item.toString();
    *root = libvemlo::makeDirectory(item.id, kRootName);
    return libvemlo::kSuccess;
  });
}

int one_drive_list_directory(session* handle, const directory* parent, directory** children,
                             int* count) {
  if (handle == nullptr || parent == nullptr || children == nullptr || count == nullptr ||
      parent->id == nullptr) {
    return libvemlo::kBadArguments;
  }
  const auto client = handle->one_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *children = nullptr;
  *count = 0;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kListingFailed}, [&] {
    CallBudget budget;
    Model::GetDriveMetadataRequest driveRequest;
    driveRequest.budget = &budget;
    const auto drive = client->getDriveMetadata(driveRequest);
    if (!drive.isSuccess()) {
      const auto& error = drive.getError();
      ErrorLine() << "Failed to get Drive Metadata. error: " << error.exceptionName << ' '
                  << error.message;
      return libvemlo::kServiceFailure;
    }
    const bool isBusiness = drive.getResult().driveType == kBusinessDrive;

    logStart(*parent);
    Model::ListChildrenRequest request;
    request.budget = &budget;
    request.itemId = parent->id;
    request.pageSize = kPageSize;
    request.filter = isBusiness ? kFolderFilter : kFolderOrSharedFilter;
    libvemlo::DirectoryList folders;
    std::string pageToken;
    do {
      if (!pageToken.empty()) request.pageToken = pageToken;
      const auto outcome = client->listChildren(request);
      if (!outcome.isSuccess()) {
        ErrorLine() << kListingFailed << outcome.getError().message;
        return libvemlo::kServiceFailure;
      }
      const auto& page = outcome.getResult();
      addFolders(page, folders);
      pageToken = page.nextToken;
    } while (!pageToken.empty());
    libvemlo::logDirectoryCount(VLOG_IS_ON(9), folders.size());

    std::move(folders).handOutArray(children, count);
    return libvemlo::kSuccess;
  });
}

int one_drive_create_directory(session* handle, const directory* parent, const char* name,
                               directory** created) {
  if (handle == nullptr || parent == nullptr) return libvemlo::kBadArguments;
  if (name == nullptr || created == nullptr) return libvemlo::kBadArguments;
  if (parent->id == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->one_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *created = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kCreationFailed}, [&] {
    Model::CreateFolderRequest request;
    request.parentItemId = parent->id;
    request.name = name;
    const auto outcome = client->createFolder(request);
    if (!outcome.isSuccess()) {
      ErrorLine() << kCreationFailed << outcome.getError().message;
      return libvemlo::kServiceFailure;
    }
    const auto& item = outcome.getResult();
    *created = libvemlo::makeDirectory(item.id, nameOf(item));
    return libvemlo::kSuccess;
  });
}
