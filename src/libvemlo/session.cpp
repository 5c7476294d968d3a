#include "libvemlo/session.h"

#include "CloudStorage/Auth/AWSAuthCredential.h"
#include "CloudStorage/Auth/AzureSSBAuthentication.h"
#include "CloudStorage/Auth/OAuth2ClientSpec.h"
#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "CloudStorage/Config/ProxySetting.h"
#include "CloudStorage/Util/Threading/DefaultExecutor.h"
#include "libvemlo.h"
#include "libvemlo/constants.h"
#include "libvemlo/exception_barrier.h"
#include "libvemlo/lifecycle.h"
#include "libvemlo/log_line.h"
#include "libvemlo/retry_strategies.h"

using namespace CloudStorage;  // nearly every line below uses it
using libvemlo::guarded;

session::~session() { delete s3_client; }

namespace {

constexpr libvemlo::LoggedAs kFailureLog{"Failed to open session. "};

std::string textOrEmpty(const char* text) { return text == nullptr ? std::string() : text; }

Config::ProxySetting convertProxy(const proxy_setting* proxy) {
  Config::ProxySetting converted;
  if (proxy == nullptr) return converted;
  converted.host = textOrEmpty(proxy->host);
  converted.port = proxy->port;
  converted.username = textOrEmpty(proxy->username);
  converted.password = textOrEmpty(proxy->password);
  return converted;
}

// Opens a session with a drive service. The session is not authorized: its credential is empty. The
// client and the retry strategy share the credential, so that both use a refreshed token.
template <typename DriveClient, typename DriveRetryStrategy, typename DriveErrorMarshaller>
session* openDriveSession(const Auth::OAuth2ClientSpec& spec, const proxy_setting* proxy,
                          std::shared_ptr<DriveClient> session::*member) {
  libvemlo::setUpLogger();
  const auto credential = std::make_shared<Auth::OAuth2Credential>();
  auto client = std::make_shared<DriveClient>(
      spec, credential, std::make_shared<DriveRetryStrategy>(credential),
      std::make_shared<DriveErrorMarshaller>(), nullptr, nullptr, convertProxy(proxy));

  auto opened = std::make_unique<session>();
  (*opened).*member = std::move(client);
  return opened.release();
}

void closeSession(session* handle) { delete handle; }

}  // namespace

session* libvemlo_s3_init(const char* endpoint, const char* region, const char* access_key,
                          const char* secret_key, const proxy_setting* proxy) {
  return guarded(nullptr, kFailureLog, [&] {
    libvemlo::setUpLogger();
    auto client = std::make_unique<Client::S3::S3Client>(
        endpoint, region,
        std::make_shared<Auth::AWSAuthCredential>(access_key, secret_key, libvemlo::kS3Service,
                                                  Auth::AWSAuthCredential::DEFAULT_GLOBAL_REGION),
        std::make_shared<S3RetryStrategy>(nullptr),
        std::make_shared<Client::S3::S3ErrorMarshaller>(), nullptr, nullptr,
        std::make_shared<Util::Threading::DefaultExecutor>(), convertProxy(proxy));

    auto opened = std::make_unique<session>();
    opened->s3_client = client.release();
    return opened.release();
  });
}

session* libvemlo_azure_ssb_init(const char* region, const char* account_name,
                                 const char* access_key, const proxy_setting* proxy) {
  if (region == nullptr || account_name == nullptr || access_key == nullptr) return nullptr;
  return guarded(nullptr, kFailureLog, [&]() -> session* {
    libvemlo::setUpLogger();
    const auto authentication =
        std::make_shared<Auth::AzureSSBAuthentication>(account_name, access_key);
    if (!authentication->decodeAccessKey()) {
      libvemlo::ErrorLine() << "Failed to decode AzureSSB access key.";
      return nullptr;
    }
    auto client = std::make_shared<Client::AzureSSB::AzureSSBClient>(
        account_name, authentication, std::make_shared<AzureSSBRetryStrategy>(nullptr),
        std::make_shared<Client::AzureSSB::AzureSSBErrorMarshaller>(), nullptr, nullptr,
        std::make_shared<Util::Threading::DefaultExecutor>(), convertProxy(proxy),
        Client::AzureSSB::AzureSSBClient::getRegionForName(region));

    auto opened = std::make_unique<session>();
    opened->azure_ssb_client = std::move(client);
    return opened.release();
  });
}

session* libvemlo_google_drive_init(const proxy_setting* proxy) {
  return guarded(nullptr, kFailureLog, [proxy] {
    return openDriveSession<Client::GoogleDrive::GoogleDriveClient, GoogleDriveRetryStrategy,
                            Client::GoogleDrive::GoogleDriveErrorMarshaller>(
        {libvemlo::kGoogleDriveClientId, libvemlo::kGoogleDriveClientSecret, libvemlo::kRedirectUri,
         libvemlo::kGoogleDriveAuthorizationEndpoint, libvemlo::kGoogleDriveTokenEndpoint, ""},
        proxy, &session::google_drive_client);
  });
}

session* libvemlo_amazon_drive_init(const proxy_setting* proxy) {
  return guarded(nullptr, kFailureLog, [proxy] {
    return openDriveSession<Client::AmazonDrive::AmazonDriveClient, AmazonDriveRetryStrategy,
                            Client::AmazonDrive::AmazonDriveErrorMarshaller>(
        {libvemlo::kAmazonDriveClientId, libvemlo::kAmazonDriveClientSecret, libvemlo::kRedirectUri,
         libvemlo::kAmazonDriveAuthorizationEndpoint, libvemlo::kAmazonDriveTokenEndpoint, ""},
        proxy, &session::amazon_drive_client);
  });
}

session* libvemlo_one_drive_init(const proxy_setting* proxy) {
  return guarded(nullptr, kFailureLog, [proxy] {
    return openDriveSession<Client::OneDrive::OneDriveClient, OneDriveRetryStrategy,
                            Client::OneDrive::OneDriveErrorMarshaller>(
        {libvemlo::kOneDriveClientId, libvemlo::kOneDriveClientSecret, libvemlo::kRedirectUri,
         libvemlo::kOneDriveAuthorizationEndpoint, libvemlo::kOneDriveTokenEndpoint, ""},
        proxy, &session::one_drive_client);
  });
}

session* libvemlo_dropbox_init(const proxy_setting* proxy) {
  return guarded(nullptr, kFailureLog, [proxy] {
    return openDriveSession<Client::Dropbox::DropboxClient, DropboxRetryStrategy,
                            Client::Dropbox::DropboxErrorMarshaller>(
        {libvemlo::kDropboxClientId, libvemlo::kDropboxClientSecret, libvemlo::kRedirectUri,
         libvemlo::kDropboxAuthorizationEndpoint, libvemlo::kDropboxTokenEndpoint, ""},
        proxy, &session::dropbox_client);
  });
}

void libvemlo_s3_cleanup(session* handle) { closeSession(handle); }
void libvemlo_azure_ssb_cleanup(session* handle) { closeSession(handle); }
void libvemlo_google_drive_cleanup(session* handle) { closeSession(handle); }
void libvemlo_amazon_drive_cleanup(session* handle) { closeSession(handle); }
void libvemlo_one_drive_cleanup(session* handle) { closeSession(handle); }
void libvemlo_dropbox_cleanup(session* handle) { closeSession(handle); }
