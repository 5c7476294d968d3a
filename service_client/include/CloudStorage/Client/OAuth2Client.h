#pragma once

#include <memory>

#include "CloudStorage/Auth/OAuth2ClientSpec.h"
#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Client/WSClient.h"

namespace CloudStorage::Client {

/// Base of the clients whose requests carry an OAuth2 access token. Construction ties the
/// credential to the service's token endpoint, so that it can be refreshed.
class CLOUDSTORAGE_API OAuth2Client : public WSClient {
 public:
  ~OAuth2Client() override;

  const Auth::OAuth2ClientSpec& clientSpec() const { return clientSpec_; }

 protected:
  OAuth2Client(Auth::OAuth2ClientSpec clientSpec, ClientParts parts, ClientEnvironment environment);

  const ClientEnvironment& environment() const { return environment_; }

 private:
  Auth::OAuth2ClientSpec clientSpec_;
  ClientEnvironment environment_;
};

}  // namespace CloudStorage::Client
