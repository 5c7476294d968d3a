#pragma once

#include <optional>
#include <string>

#include "Client/ErrorMarshalling.h"
#include "CloudStorage/Client/S3/Model/ListBucketsResult.h"
#include "CloudStorage/Client/S3/Model/ListObjectsV2Result.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"

/// Reading the answers of S3 that say success: what was asked for, or an error after all. They take
/// the body to pieces.
namespace CloudStorage::Client::S3 {

std::optional<Error> parseBucketList(Http::Response& response, Model::ListBucketsResult& result);

std::optional<Error> parseObjectList(Http::Response& response, Model::ListObjectsV2Result& result);

/// The answer to a request that stores something. The services say nothing; what else comes is an
/// error, or a page of somebody on the way.
std::optional<Error> checkStored(Http::Response& response);

/// What the service's table makes of a code that came with this answer.
Error s3Error(const Http::Response& response, Http::Method method, const ServiceMessage& said);

/// One element of an error document; empty if the answer is none or lacks the element.
std::string errorElement(const Http::Response& response, const char* name);

}  // namespace CloudStorage::Client::S3
