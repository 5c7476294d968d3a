#include "Client/AccountLookup.h"

#include <memory>
#include <utility>

#include "Client/BuiltInApplications.h"
#include "Client/ErrorMarshalling.h"
#include "Client/LastFailure.h"
#include "Client/RefreshOnce.h"
#include "Client/ServiceCall.h"
#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"

namespace CloudStorage::Client {
namespace {

using Lookup = Util::Outcome<Account, Error>;

template <typename Client, typename ErrorMarshaller>
Lookup lookUpWith(const Auth::OAuth2ClientSpec& application, ClientParts parts,
                  const ClientEnvironment& environment) {
  parts.errorMarshaller = std::make_shared<ErrorMarshaller>();
  const auto client = std::make_shared<Client>(application, std::move(parts), environment);
  return client->getAccount();
}

Lookup lookUp(Service service, const ClientParts& parts, const ClientEnvironment& environment) {
  switch (service) {
    case Service::AmazonDrive:
      return lookUpWith<AmazonDrive::AmazonDriveClient, AmazonDrive::AmazonDriveErrorMarshaller>(
          kAmazonDriveApplication, parts, environment);
    case Service::GoogleDrive:
      return lookUpWith<GoogleDrive::GoogleDriveClient, GoogleDrive::GoogleDriveErrorMarshaller>(
          kGoogleDriveApplication, parts, environment);
    case Service::OneDrive:
      return lookUpWith<OneDrive::OneDriveClient, OneDrive::OneDriveErrorMarshaller>(
          kOneDriveApplication, parts, environment);
    case Service::Dropbox:
      return lookUpWith<Dropbox::DropboxClient, Dropbox::DropboxErrorMarshaller>(
          kDropboxApplication, parts, environment);
    case Service::S3:
    case Service::AzureSSB:
      break;
  }
  return localError("InvalidRequest", "The service is no drive");
}

}  // namespace

bool isDrive(Service service) {
  return service == Service::AmazonDrive || service == Service::GoogleDrive ||
         service == Service::OneDrive || service == Service::Dropbox;
}

Lookup lookUpAccount(Service service, const std::string& accessToken,
                     const std::string& refreshToken, const Config::ProxySetting& proxy,
                     const ClientEnvironment& environment) {
  bool isDone = false;
  auto lookup = ServiceCall::guarded([&]() -> Lookup {
    const auto credential = std::make_shared<Auth::OAuth2Credential>();
    credential->setTokens(accessToken, refreshToken);
    ClientParts parts;
    parts.credential = credential;
    parts.retryStrategy = std::make_shared<RefreshOnce>(credential);
    parts.proxy = proxy;
    auto found = lookUp(service, parts, environment);
    isDone = true;
    return found;
  });
  // The failure of a request is noted already.
  if (!isDone) LastFailure::set(service, "getAccount", lookup.getError());
  return lookup;
}

}  // namespace CloudStorage::Client
