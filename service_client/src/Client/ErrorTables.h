#pragma once

#include "Client/ErrorMarshalling.h"

/// The tables of the services' failures, for the tests that compare them with the documentation.
namespace CloudStorage::Client::S3 {
ErrorTable errorTable();
}
namespace CloudStorage::Client::AzureSSB {
ErrorTable errorTable();
}
namespace CloudStorage::Client::AmazonDrive {
ErrorTable errorTable();
}
namespace CloudStorage::Client::GoogleDrive {
ErrorTable errorTable();
}
namespace CloudStorage::Client::OneDrive {
ErrorTable errorTable();
}
namespace CloudStorage::Client::Dropbox {
ErrorTable errorTable();
}
namespace CloudStorage::Auth {
Client::ErrorTable tokenErrorTable();
}
