#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Auth/OAuth2RequestOptions.h"
#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Util/Status.h"

// The steps of the authorization flow that are the same for all drive services.
namespace libvemlo {

// The tokens of `client`'s account; null if a layer of the host's own keeps none.
std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credentialOf(
    const CloudStorage::Client::OAuth2Client& client);

// What trading a code for tokens has come to.
struct CodeExchange {
  CloudStorage::Util::Status status;
  // As they stand in the client's credential afterwards.
  std::string accessToken;
  std::string refreshToken;
};
CodeExchange exchangeCode(const CloudStorage::Client::OAuth2Client& client, const std::string& code,
                          const CloudStorage::Auth::OAuth2RequestOptions& options);

// What the log is told first of a failed exchange.
std::string describeFailure(const CodeExchange& exchange, const std::string& code);

}  // namespace libvemlo
