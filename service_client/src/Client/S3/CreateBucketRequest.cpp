#include "CloudStorage/Client/S3/Model/CreateBucketRequest.h"

#include "Client/S3/S3Addressing.h"

namespace CloudStorage::Client::S3::Model {

std::string CreateBucketRequest::serializePayload() const {
  const auto& location = createBucketConfiguration.value().locationConstraint;
  if (!createBucketConfiguration.isPresent() || !location.isPresent()) return {};
  const std::string_view region = regionOf(location.value());
  if (region.empty()) return {};
  return R"(<?xml version="1.0" encoding="UTF-8"?>)"
         R"(<CreateBucketConfiguration xmlns="http://s3.amazonaws.com/doc/2006-03-01/">)"
         "<LocationConstraint>" +
         std::string(region) + "</LocationConstraint></CreateBucketConfiguration>";
}

Http::HeaderValueCollection CreateBucketRequest::getRequestSpecificHeaders() const {
  if (serializePayload().empty()) return {};
  return {{Http::CONTENT_TYPE_HEADER, "application/xml"}};
}

}  // namespace CloudStorage::Client::S3::Model
