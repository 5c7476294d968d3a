#include <string_view>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "error_checks.h"
#include "fuzz_input.h"

void checkInput(std::string_view input) {
  namespace Client = CloudStorage::Client;
  for (const int status : {400, 403, 503}) {
    ErrorChecks::checkMarshaller(Client::GoogleDrive::GoogleDriveErrorMarshaller(), status, input);
    ErrorChecks::checkMarshaller(Client::AmazonDrive::AmazonDriveErrorMarshaller(), status, input);
    ErrorChecks::checkMarshaller(Client::OneDrive::OneDriveErrorMarshaller(), status, input);
    ErrorChecks::checkMarshaller(Client::Dropbox::DropboxErrorMarshaller(), status, input);
  }
}
