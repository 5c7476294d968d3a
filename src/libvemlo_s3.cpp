#include <glog/logging.h>

#include <cstdlib>
#include <cstring>

#include "CloudStorage/Client/S3/Model/CreateBucketRequest.h"
#include "libvemlo.h"
#include "libvemlo/result_codes.h"
#include "libvemlo/session.h"

namespace Model = CloudStorage::Client::S3::Model;

namespace {

constexpr int32_t kEndOfTable = 17;

// Hosts get pointers to these as they stand. The gaps in the first are the regions of the second.
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

// No name: such an endpoint offers no choice.
location_contraint_name_mapping customizedLocations[] = {{16, nullptr}, {kEndOfTable, nullptr}};

int reportFailure(const CloudStorage::Client::Error& error) {
  SYSLOG(ERROR) << error;
  return static_cast<int>(error.errorType);
}

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

  const auto outcome = handle->s3_client->listBuckets();
  if (!outcome.isSuccess()) return reportFailure(outcome.getError());

  const auto& found = outcome.getResult().buckets;
  *buckets = nullptr;
  *count = static_cast<int>(found.size());
  if (*count <= 0) return libvemlo::kSuccess;
  *buckets = static_cast<char**>(std::calloc(found.size(), sizeof(char*)));
  for (std::size_t i = 0; i < found.size(); ++i) (*buckets)[i] = strdup(found[i].name.c_str());
  return libvemlo::kSuccess;
}

int s3_create_bucket(session* handle, const char* bucket, int location_contraint) {
  if (handle == nullptr) return libvemlo::kBadArguments;
  if (handle->s3_client == nullptr) return libvemlo::kBadArguments;

  Model::CreateBucketRequest request;
  request.bucket = bucket;
  Model::CreateBucketConfiguration configuration;
  // Whatever the code means: what goes over the wire for it is the client's business.
  configuration.locationConstraint =
      static_cast<Model::BucketLocationConstraint>(location_contraint);
  request.createBucketConfiguration = configuration;

  const auto outcome = handle->s3_client->createBucket(request);
  return outcome.isSuccess() ? libvemlo::kSuccess : reportFailure(outcome.getError());
}
