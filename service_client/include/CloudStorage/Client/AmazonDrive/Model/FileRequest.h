#pragma once

#include <string>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::AmazonDrive::Model {

/// Creates a node. Unlike the service's other requests this one is JSON.
class CLOUDSTORAGE_API FileRequest : public AmazonDriveRequest {
 public:
  /// Base of the URL: the account's metadata endpoint.
  Util::Field<std::string> endpoint;
  Util::Field<std::string> name;
  /// "FOLDER".
  Util::Field<std::string> kind;
  /// The id of the folder to create it in.
  Util::Field<std::string> parent;

  std::string serializePayload() const override;
  Http::HeaderValueCollection getRequestSpecificHeaders() const override;
};

}  // namespace CloudStorage::Client::AmazonDrive::Model
