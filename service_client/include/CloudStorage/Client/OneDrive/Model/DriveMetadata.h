#pragma once

#include <string>

namespace CloudStorage::Client::OneDrive::Model {

/// A drive as a whole.
struct DriveMetadata {
  std::string id;
  /// "personal", "business" or "documentLibrary", in the service's spelling; empty if it said
  /// nothing.
  std::string driveType;
  std::string name;
};

}  // namespace CloudStorage::Client::OneDrive::Model
