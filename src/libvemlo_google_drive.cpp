#include <glog/logging.h>

#include <string>
#include <utility>

#include "CloudStorage/Client/CallBudget.h"
#include "CloudStorage/Client/GoogleDrive/Model.h"
#include "libvemlo.h"
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
namespace Model = CloudStorage::Client::GoogleDrive::Model;

namespace {

constexpr char kScope[] = "email profile https://www.googleapis.com/auth/drive";
constexpr int kExchangeFailed = 337;

constexpr char kRootAlias[] = "root";
constexpr char kFolderMimeType[] = "application/vnd.google-apps.folder";
constexpr char kOrder[] = "folder,name";
constexpr int kPageSize = 500;

constexpr char kAuthorizeUrlFailed[] = "Failed to build authorize URL. ";
constexpr char kTokenFailed[] = "Failed to set token. ";
constexpr char kRootFailed[] = "Failed to get root directory. ";
constexpr char kListingFailed[] = "Failed to list directories. ";
constexpr char kCreationFailed[] = "Failed to create directory. ";

// The id is not escaped: the service rejects the query if the id contains a quotation mark.
std::string queryForFoldersIn(const std::string& parentId) {
  return "'" + parentId + "' in parents and trashed = false and mimeType = '" + kFolderMimeType +
         "'";
}

void logStart(const directory& parent, const std::string& query) {
  if (VLOG_IS_ON(9)) {
    VerboseLine() << "Start to fetch children. parentId = " << parent.id << ", filter = " << query;
  }
}

}  // namespace

int google_drive_get_authorize_url(session* handle, char** url) {
  if (handle == nullptr || url == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->google_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *url = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kAuthorizeUrlFailed}, [&] {
    OAuth2RequestOptions options;
    options.scope = kScope;
    // Without both, the service issues no refresh token to a user who has given consent before.
    options.accessType = "offline";
    options.approvalPrompt = "force";
    *url = libvemlo::copyOf(client->buildAuthorizeUrl(options));
    return libvemlo::kSuccess;
  });
}

int google_drive_get_token(session* handle, const char* code, char** access_token,
                           char** refresh_token) {
  if (handle == nullptr || code == nullptr) return libvemlo::kBadArguments;
  if (access_token == nullptr || refresh_token == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->google_drive_client;
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

int google_drive_set_token(session* handle, const char* access_token, const char* refresh_token) {
  if (handle == nullptr || access_token == nullptr || refresh_token == nullptr) {
    return libvemlo::kBadArguments;
  }
  const auto client = handle->google_drive_client;
  if (!client) return libvemlo::kBadArguments;
  return guarded(libvemlo::kServiceFailure, LoggedAs{kTokenFailed}, [&] {
    const bool stored = libvemlo::storeTokens(*client, access_token, refresh_token);
    return stored ? libvemlo::kSuccess : libvemlo::kBadArguments;
  });
}

int google_drive_get_root_directory(session* handle, directory** root) {
  if (handle == nullptr || root == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->google_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *root = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kRootFailed}, [&] {
    Model::GetFileResourceRequest request;
    request.fileId = kRootAlias;
    const auto outcome = client->getFileResource(request);
    if (!outcome.isSuccess()) {
      ErrorLine() << kRootFailed << outcome.getError().message;
      return libvemlo::kServiceFailure;
    }
    const auto& file = outcome.getResult();
    *root = libvemlo::makeDirectory(file.id, file.name);
    return libvemlo::kSuccess;
  });
}

int google_drive_list_directory(session* handle, const directory* parent, directory** children,
                                int* count) {
  if (handle == nullptr || parent == nullptr || children == nullptr || count == nullptr ||
      parent->id == nullptr) {
    return libvemlo::kBadArguments;
  }
  const auto client = handle->google_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *children = nullptr;
  *count = 0;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kListingFailed}, [&] {
    const std::string query = queryForFoldersIn(parent->id);
    logStart(*parent, query);
    CallBudget budget;
    Model::ListFileResourceRequest request;
    request.budget = &budget;
    request.orderBy = kOrder;
    request.pageSize = kPageSize;
    request.query = query;
    libvemlo::DirectoryList folders;
    std::string pageToken;
    do {
      if (!pageToken.empty()) request.pageToken = pageToken;
      const auto outcome = client->listFileResource(request);
      if (!outcome.isSuccess()) {
        ErrorLine() << kListingFailed << outcome.getError().message;
        return libvemlo::kServiceFailure;
      }
      const auto& page = outcome.getResult();
      for (const auto& file : page.files) folders.add(file.id, file.name);
      pageToken = page.nextPageToken;
    } while (!pageToken.empty());
    libvemlo::logDirectoryCount(VLOG_IS_ON(9), folders.size());

    std::move(folders).handOutArray(children, count);
    return libvemlo::kSuccess;
  });
}

int google_drive_create_directory(session* handle, const directory* parent, const char* name,
                                  directory** created) {
  if (handle == nullptr || parent == nullptr) return libvemlo::kBadArguments;
  if (name == nullptr || created == nullptr) return libvemlo::kBadArguments;
  if (parent->id == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->google_drive_client;
  if (!client) return libvemlo::kBadArguments;
  *created = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kCreationFailed}, [&] {
    Model::UploadFileRequest request;
    request.uploadType.markPresent();
    request.name = name;
    request.mimeType = kFolderMimeType;
    request.parents = parent->id;
    const auto outcome = client->uploadFile(request);
    if (!outcome.isSuccess()) {
      ErrorLine() << kCreationFailed << outcome.getError().message;
      return libvemlo::kServiceFailure;
    }
    const auto& file = outcome.getResult();
    *created = libvemlo::makeDirectory(file.id, file.name);
    return libvemlo::kSuccess;
  });
}
