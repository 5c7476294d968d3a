#include "Client/S3/S3Addressing.h"
#include "CloudStorage/Client/S3/Model/CreateBucketRequest.h"
#include "CloudStorage/Client/S3/Model/ListObjectsV2Request.h"

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

void ListObjectsV2Request::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("list-type", "2");
  if (continuationToken.isPresent() && !continuationToken.value().empty()) {
    uri.addQueryStringParameter("continuation-token", continuationToken.value());
  }
  if (delimiter.isPresent()) uri.addQueryStringParameter("delimiter", delimiter.value());
  if (encodingType.isPresent()) uri.addQueryStringParameter("encoding-type", encodingType.value());
  if (maxKeys.isPresent()) {
    uri.addQueryStringParameter("max-keys", std::to_string(maxKeys.value()));
  }
  if (prefix.isPresent()) uri.addQueryStringParameter("prefix", prefix.value());
  if (startAfter.isPresent()) uri.addQueryStringParameter("start-after", startAfter.value());
  uri.sortQuery();  // as the signature has them, so that wire and signature cannot differ
}

}  // namespace CloudStorage::Client::S3::Model
