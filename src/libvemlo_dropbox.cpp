
#include <cstring>
#include <string>
#include <utility>

#include "CloudStorage/Client/CallBudget.h"
#include "CloudStorage/Client/Dropbox/Model.h"
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
namespace Model = CloudStorage::Client::Dropbox::Model;

namespace {

constexpr char kScope[] = "";  // every scope that the application is registered for
constexpr int kExchangeFailed = 343;

constexpr char kRoot[] = "/";
constexpr char kServiceRoot[] = "";  // the path of the root in requests
constexpr char kFolderTag[] = "folder";

constexpr char kAuthorizeUrlFailed[] = "Failed to build authorize URL. ";
constexpr char kTokenFailed[] = "Failed to set token. ";
constexpr char kListingFailed[] = "Failed to list directories. ";
constexpr char kCreationFailed[] = "Failed to create directory. ";

const char* pathOf(const directory& folder) {
  return std::strcmp(folder.id, kRoot) == 0 ? kServiceRoot : folder.id;
}

void addFolders(const Model::ListFolderResult& page, libvemlo::DirectoryList& folders) {
  folders.reserve(folders.size() + page.entries.size());
  for (const auto& entry : page.entries) {
    if (entry.tag == kFolderTag) folders.add(entry.path, entry.name);
  }
}

}  // namespace

int dropbox_get_authorize_url(session* handle, char** url) {
  if (handle == nullptr || url == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->dropbox_client;
  if (!client) return libvemlo::kBadArguments;
  *url = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kAuthorizeUrlFailed}, [&] {
    OAuth2RequestOptions options;
    options.scope = kScope;
    options.forceReapprove = "true";
    *url = libvemlo::copyOf(client->buildAuthorizeUrl(options));
    return libvemlo::kSuccess;
  });
}

int dropbox_get_token(session* handle, const char* code, char** access_token) {
  if (handle == nullptr || code == nullptr || access_token == nullptr) {
    return libvemlo::kBadArguments;
  }
  const auto client = handle->dropbox_client;
  if (!client) return libvemlo::kBadArguments;
  *access_token = nullptr;

  return guarded(kExchangeFailed, LoggedAs{libvemlo::kExchangeFailureText}, [&] {
    const auto exchange = libvemlo::exchangeCode(*client, code, kScope);
    if (!exchange.status.isSuccess()) {
      ErrorLine() << libvemlo::describeFailure(exchange, code);
      return kExchangeFailed;
    }
    *access_token = libvemlo::copyOf(exchange.accessToken);
    return libvemlo::kSuccess;
  });
}

int dropbox_set_token(session* handle, const char* access_token) {
  if (handle == nullptr || access_token == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->dropbox_client;
  if (!client) return libvemlo::kBadArguments;
  return guarded(libvemlo::kServiceFailure, LoggedAs{kTokenFailed}, [&] {
    const bool stored = libvemlo::storeAccessToken(*client, access_token);
    return stored ? libvemlo::kSuccess : libvemlo::kBadArguments;
  });
}

int dropbox_list_directory(session* handle, const directory* parent, directory** children,
                           int* count) {
  if (handle == nullptr || parent == nullptr || children == nullptr || count == nullptr ||
      parent->id == nullptr) {
    return libvemlo::kBadArguments;
  }
  const auto client = handle->dropbox_client;
  if (!client) return libvemlo::kBadArguments;
  *children = nullptr;
  *count = 0;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kListingFailed}, [&] {
    CallBudget budget;
    Model::ListFolderRequest request;
    request.budget = &budget;
    request.path = pathOf(*parent);
    request.recursive = false;
    request.includeMediaInfo = false;
    request.includeDeleted = false;
    request.includeHasExplicitSharedMembers = false;
    libvemlo::DirectoryList folders;
    std::string cursor;
    // The cursor is never cleared: with a client that returns a folder in several pages, the last
    // page is requested again until a request fails. The bundled client returns one page.
    do {
      if (!cursor.empty()) request.cursor = cursor;
      const auto outcome = client->listFolder(request);
      if (!outcome.isSuccess()) {
        ErrorLine() << kListingFailed << outcome.getError().message;
        return libvemlo::kServiceFailure;
      }
      const auto& page = outcome.getResult();
      addFolders(page, folders);
      if (page.hasMore) cursor = page.cursor;
    } while (!cursor.empty());

    std::move(folders).handOutArray(children, count);
    return libvemlo::kSuccess;
  });
}

int dropbox_create_directory(session* handle, const directory* parent, const char* name,
                             directory** created) {
  if (handle == nullptr || parent == nullptr) return libvemlo::kBadArguments;
  if (name == nullptr || created == nullptr) return libvemlo::kBadArguments;
  if (parent->id == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->dropbox_client;
  if (!client) return libvemlo::kBadArguments;
  *created = nullptr;

  return guarded(libvemlo::kServiceFailure, LoggedAs{kCreationFailed}, [&] {
    Model::CreateFolderRequest request;
    request.path = std::string(parent->id) + '/' + name;
    request.autorename = false;
    const auto outcome = client->createFolder(request);
    if (!outcome.isSuccess()) {
      ErrorLine() << kCreationFailed << outcome.getError().message;
      return libvemlo::kServiceFailure;
    }
    const auto& entry = outcome.getResult();
    *created = libvemlo::makeDirectory(entry.path, entry.name);
    return libvemlo::kSuccess;
  });
}
