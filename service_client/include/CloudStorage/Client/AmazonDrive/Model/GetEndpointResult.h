#pragma once

#include <string>

namespace CloudStorage::Client::AmazonDrive::Model {

/// The addresses under which an account is served, as the service gave them.
struct GetEndpointResult {
  std::string contentUrl;
  std::string metadataUrl;
};

}  // namespace CloudStorage::Client::AmazonDrive::Model
