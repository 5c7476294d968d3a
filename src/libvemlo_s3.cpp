#include <cstring>
#include <utility>

#include "CloudStorage/Client/S3/Model.h"
#include "libvemlo.h"
#include "libvemlo/exception_barrier.h"
#include "libvemlo/object_store.h"
#include "libvemlo/records.h"
#include "libvemlo/result_codes.h"
#include "libvemlo/session.h"

using libvemlo::guarded;
namespace Model = CloudStorage::Client::S3::Model;

namespace {

constexpr int32_t kEndOfTable = 17;

// Hosts receive pointers to these tables. The codes missing in the first are those of the second.
location_contraint_name_mapping s3Locations[] = {
    {0, "US Standard"}, {1, "Ohio"},       {2, "Northern California"},
    {3, "Oregon"},      {4, "Mumbai"},     {5, "Singapore"},
    {6, "Sydney"},      {7, "Tokyo"},      {8, "Seoul"},
    {9, "Sao Paulo"},   {12, "Frankfurt"}, {13, "Ireland"},
    {14, "London"},     {15, "Montreal"},  {kEndOfTable, nullptr},
};

location_contraint_name_mapping s3ChinaLocations[] = {
    {10, "Beijing"}, {11, "Ningxia"}, {kEndOfTable, nullptr}};

location_contraint_name_mapping wasabiLocations[] = {{0, "US Standard"}, {kEndOfTable, nullptr}};

// No name: a customized endpoint has no locations to choose from.
location_contraint_name_mapping customizedLocations[] = {{16, nullptr}, {kEndOfTable, nullptr}};

}  // namespace

location_contraint_name_mapping* s3_get_location_contraint_name_mappings(void) {
  return s3Locations;
}

location_contraint_name_mapping* s3_cn_get_location_contraint_name_mappings(void) {
  return s3ChinaLocations;
}

location_contraint_name_mapping* wasabi_get_location_contraint_name_mappings(void) {
  return wasabiLocations;
}

location_contraint_name_mapping* customized_get_location_contraint_name_mappings(void) {
  return customizedLocations;
}

int s3_list_bucket(session* handle, char*** buckets, int* count) {
  if (buckets == nullptr || count == nullptr) return libvemlo::kBadArguments;
  if (handle == nullptr) return libvemlo::kBadArguments;
  if (handle->s3_client == nullptr) return libvemlo::kBadArguments;

  return guarded(libvemlo::kLocalFailure, libvemlo::logAsError, [&] {
    const auto outcome = handle->s3_client->listBuckets();
    if (!outcome.isSuccess()) return libvemlo::reportFailure(outcome.getError());
    libvemlo::NameList names;
    names.reserve(outcome.getResult().buckets.size());
    for (const auto& found : outcome.getResult().buckets) names.add(found.name);
    std::move(names).handOut(buckets, count);
    return libvemlo::kSuccess;
  });
}

int s3_create_bucket(session* handle, const char* bucket, int location_contraint) {
  if (handle == nullptr) return libvemlo::kBadArguments;
  if (handle->s3_client == nullptr) return libvemlo::kBadArguments;

  return guarded(libvemlo::kLocalFailure, libvemlo::logAsError, [&] {
    Model::CreateBucketRequest request;
    request.bucket = bucket;
    Model::CreateBucketConfiguration configuration;
    // Not checked here: the client maps the code to the request.
    configuration.locationConstraint =
        static_cast<Model::BucketLocationConstraint>(location_contraint);
    request.createBucketConfiguration = configuration;

    const auto outcome = handle->s3_client->createBucket(request);
    return outcome.isSuccess() ? libvemlo::kSuccess : libvemlo::reportFailure(outcome.getError());
  });
}

int s3_list_directory(session* handle, const char* bucket, const char* prefix,
                      directory** directories, int* count) {
  if (handle == nullptr || bucket == nullptr) return libvemlo::kBadArguments;
  if (prefix == nullptr || directories == nullptr || count == nullptr) {
    return libvemlo::kBadArguments;
  }
  if (handle->s3_client == nullptr) return libvemlo::kBadArguments;
  *directories = nullptr;
  *count = 0;

  return guarded(libvemlo::kLocalFailure, libvemlo::logAsError, [&] {
    Model::ListObjectsV2Request request;
    request.bucket = bucket;
    request.prefix = prefix;
    request.delimiter = "/";
    // A single page of the service's default size: hosts display a folder, they do not mirror it.
    const auto outcome = handle->s3_client->listObjectsV2(request);
    if (!outcome.isSuccess()) return libvemlo::reportFailure(outcome.getError());
    libvemlo::DirectoryList prefixes;
    prefixes.reserve(outcome.getResult().commonPrefixes.size());
    for (const auto& found : outcome.getResult().commonPrefixes) prefixes.addPrefix(found);
    std::move(prefixes).handOut(directories, count);
    return libvemlo::kSuccess;
  });
}

int s3_create_directory(session* handle, const char* bucket, const char* key) {
  if (handle == nullptr || key == nullptr) return libvemlo::kBadArguments;
  const std::size_t length = std::strlen(key);
  if (length < 2 || key[0] == '/' || key[length - 1] != '/') return libvemlo::kBadArguments;
  if (handle->s3_client == nullptr) return libvemlo::kBadArguments;

  return guarded(libvemlo::kLocalFailure, libvemlo::notLogged, [&] {
    Model::PutObjectRequest request;
    request.bucket = bucket;
    request.contentLength = 0;
    request.key = key;
    const auto outcome = handle->s3_client->putObject(request);
    // Not logged: reporting the failure to the user is left to the host.
    return outcome.isSuccess() ? libvemlo::kSuccess : libvemlo::resultCodeOf(outcome.getError());
  });
}
