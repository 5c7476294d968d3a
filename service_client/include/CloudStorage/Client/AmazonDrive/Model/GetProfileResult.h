#pragma once

#include <string>

namespace CloudStorage::Client::AmazonDrive::Model {

/// Who an account belongs to.
struct GetProfileResult {
  std::string name;
  std::string email;
};

}  // namespace CloudStorage::Client::AmazonDrive::Model
