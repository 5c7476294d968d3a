#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Auth/OAuth2ClientSpec.h"
#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Client/Service.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Auth {

/// The token endpoint of an OAuth2 service (RFC 6749, section 3.2). Requests to it bypass the
/// clients' attempt loop, where a 401 would recurse: the retry strategy would refresh the token,
/// which sends a request to this endpoint. A failure becomes the last one of the thread.
class OAuth2TokenEndpoint : public TokenRefresher {
 public:
  /// `service` is stated in the records of failures.
  OAuth2TokenEndpoint(OAuth2ClientSpec clientSpec, std::shared_ptr<Http::Transport> transport,
                      Client::Service service = {});

  Util::Status refresh(Tokens& tokens) override;

  /// Exchanges an authorization code for `tokens`, which are replaced on success only. The refresh
  /// token becomes empty if the response contains none. The codes of failures are those of
  /// refresh().
  virtual Util::Status exchange(const std::string& code, const std::string& scope, Tokens& tokens);

 private:
  OAuth2ClientSpec clientSpec_;
  std::shared_ptr<Http::Transport> transport_;
  Client::Service service_;
};

}  // namespace CloudStorage::Auth
