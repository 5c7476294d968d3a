#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "CloudStorage/Client/AzureSSB/Model.h"
#include "CloudStorage/Client/CallBudget.h"
#include "libvemlo.h"
#include "libvemlo/exception_barrier.h"
#include "libvemlo/object_store.h"
#include "libvemlo/records.h"
#include "libvemlo/result_codes.h"
#include "libvemlo/session.h"

using CloudStorage::Client::CallBudget;
using CloudStorage::Client::AzureSSB::AzureSSBClient;
using libvemlo::guarded;
namespace Model = CloudStorage::Client::AzureSSB::Model;

namespace {

constexpr std::int64_t kPageSize = 100;

}  // namespace

int azure_ssb_list_bucket(session* handle, char*** buckets, int* count) {
  if (buckets == nullptr || count == nullptr) return libvemlo::kBadArguments;
  if (handle == nullptr) return libvemlo::kBadArguments;
  *buckets = nullptr;
  *count = 0;
  const auto client = handle->azure_ssb_client;
  if (!client) return libvemlo::kBadArguments;

  return guarded(libvemlo::kLocalFailure, libvemlo::logAsError, [&] {
    CallBudget budget;
    Model::ListContainerRequest request;
    request.budget = &budget;
    request.maxResults = kPageSize;
    libvemlo::NameList names;
    std::string marker;
    do {
      const auto outcome = client->listContainer(request);
      if (!outcome.isSuccess()) return libvemlo::reportFailure(outcome.getError());
      const auto& page = outcome.getResult();
      marker = page.nextMarker;
      request.marker = marker;
      for (const auto& container : page.containers) names.add(container.name);
    } while (!marker.empty());

    std::move(names).handOut(buckets, count);
    return libvemlo::kSuccess;
  });
}

int azure_ssb_create_bucket(session* handle, const char* bucket) {
  if (handle == nullptr || bucket == nullptr) return libvemlo::kBadArguments;
  const auto client = handle->azure_ssb_client;
  if (!client) return libvemlo::kBadArguments;

  return guarded(libvemlo::kLocalFailure, libvemlo::logAsError, [&] {
    Model::CreateContainerRequest request;
    request.container = bucket;
    const auto outcome = client->createContainer(request);
    return outcome.isSuccess() ? libvemlo::kSuccess : libvemlo::reportFailure(outcome.getError());
  });
}

int azure_ssb_list_directory(session* handle, const char* bucket, const char* prefix,
                             directory** directories, int* count) {
  if (handle == nullptr || bucket == nullptr) return libvemlo::kBadArguments;
  if (prefix == nullptr || directories == nullptr || count == nullptr) {
    return libvemlo::kBadArguments;
  }
  *directories = nullptr;
  *count = 0;
  const auto client = handle->azure_ssb_client;
  if (!client) return libvemlo::kBadArguments;

  return guarded(libvemlo::kLocalFailure, libvemlo::logAsError, [&] {
    CallBudget budget;
    Model::ListBlobRequest request;
    request.budget = &budget;
    request.container = bucket;
    request.delimiter = "/";
    request.maxResults = kPageSize;
    request.prefix = prefix;
    // The first page is requested twice on purpose: once to check that the container can be listed,
    // then as the beginning of the listing.
    const auto probe = client->listBlob(request);
    if (!probe.isSuccess()) return libvemlo::reportFailure(probe.getError());

    libvemlo::DirectoryList prefixes;
    std::string marker;
    do {
      const auto outcome = client->listBlob(request);
      if (!outcome.isSuccess()) return libvemlo::reportFailure(outcome.getError());
      const auto& page = outcome.getResult();
      marker = page.nextMarker;
      request.marker = marker;
      for (const auto& blobPrefix : page.blobPrefixes) prefixes.addPrefix(blobPrefix.name);
    } while (!marker.empty());

    std::move(prefixes).handOut(directories, count);
    return libvemlo::kSuccess;
  });
}

int azure_ssb_create_directory(session* handle, const char* bucket, const char* path) {
  if (handle == nullptr || path == nullptr) return libvemlo::kBadArguments;
  const std::size_t length = std::strlen(path);
  if (length < 2 || path[0] == '/' || path[length - 1] != '/') return libvemlo::kBadArguments;
  const auto client = handle->azure_ssb_client;
  if (!client) return libvemlo::kBadArguments;

  return guarded(libvemlo::kLocalFailure, libvemlo::notLogged, [&] {
    Model::PutBlobRequest request;
    request.container = bucket;
    request.contentLength = 0;
    request.blob = path;
    request.blobType = AzureSSBClient::BLOB_TYPE_BLOCK_BLOB;
    const auto outcome = client->putBlob(request);
    // Not logged: reporting the failure to the user is left to the host.
    return outcome.isSuccess() ? libvemlo::kSuccess : libvemlo::resultCodeOf(outcome.getError());
  });
}
