#pragma once

#include <chrono>
#include <string>

#include "CloudStorage/Client/GoogleDrive/GoogleDriveRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::GoogleDrive::Model {

/// Creates a file from its metadata alone, which is how folders are made.
class CLOUDSTORAGE_API UploadFileRequest : public GoogleDriveRequest {
 public:
  /// How the content follows. Empty, and then not sent: there is none.
  Util::Field<std::string> uploadType;
  Util::Field<std::chrono::system_clock::time_point> createdTime;
  Util::Field<std::chrono::system_clock::time_point> modifiedTime;
  Util::Field<std::string> mimeType;
  Util::Field<std::string> name;
  /// The id of the folder to create it in; the service takes one.
  Util::Field<std::string> parents;

  std::string serializePayload() const override;
  void addQueryStringParameters(Http::URI& uri) const override;
};

}  // namespace CloudStorage::Client::GoogleDrive::Model
