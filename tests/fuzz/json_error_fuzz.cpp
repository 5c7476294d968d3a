#include <cstddef>
#include <cstdint>
#include <string_view>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "error_checks.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  namespace Client = CloudStorage::Client;
  const std::string_view body(reinterpret_cast<const char*>(data), size);
  for (const int status : {400, 403, 503}) {
    ErrorChecks::checkMarshaller(Client::GoogleDrive::GoogleDriveErrorMarshaller(), status, body);
    ErrorChecks::checkMarshaller(Client::AmazonDrive::AmazonDriveErrorMarshaller(), status, body);
    ErrorChecks::checkMarshaller(Client::OneDrive::OneDriveErrorMarshaller(), status, body);
    ErrorChecks::checkMarshaller(Client::Dropbox::DropboxErrorMarshaller(), status, body);
  }
  return 0;
}
