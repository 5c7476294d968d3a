#pragma once

#include <mutex>
#include <string>

#include "CloudStorage/Client/Account.h"
#include "CloudStorage/Client/AmazonDrive/Model.h"
#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client::AmazonDrive {

/// Amazon Drive, API v1.
class CLOUDSTORAGE_API AmazonDriveClient : public OAuth2Client {
 public:
  using OAuth2Client::OAuth2Client;

  virtual Util::Outcome<Model::GetEndpointResult, Error> getEndpoint(
      const Model::ComRequest& request) const;
  virtual Util::Outcome<Model::GetProfileResult, Error> getProfile(
      const Model::ComRequest& request) const;
  virtual Util::Outcome<Model::ListFileResourceResult, Error> listFileResource(
      const Model::ListFileResourceRequest& request) const;
  virtual Util::Outcome<Model::FileResource, Error> folderCreate(
      const Model::FileRequest& request) const;

  /// The addresses that serve the account; empty until the caller of getEndpoint() sets them. Each
  /// request states the address that it is sent to.
  struct Endpoints {
    std::string content;
    std::string metadata;
  };
  Endpoints endpoints() const;
  void setEndpoints(Endpoints endpoints);

  /// The owner of the account, in two requests.
  Util::Outcome<Account, Error> getAccount() const;

 private:
  mutable std::mutex endpointsMutex_;
  Endpoints endpoints_;
};

/// Translates the failures of Amazon Drive, which are JSON.
class CLOUDSTORAGE_API AmazonDriveErrorMarshaller : public WSErrorMarshaller {
 public:
  Service service() const override { return Service::AmazonDrive; }
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::AmazonDrive
