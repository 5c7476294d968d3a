#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Auth/OAuth2ClientSpec.h"
#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Auth {

/// The token endpoint of an OAuth2 service (RFC 6749, section 3.2). Requests to it bypass the
/// attempt loop of the clients: a 401 there would ask the retry strategy, which would ask for a
/// refresh, which would come back here.
class OAuth2TokenEndpoint : public TokenRefresher {
 public:
  OAuth2TokenEndpoint(OAuth2ClientSpec clientSpec, std::shared_ptr<Http::Transport> transport);

  /// The code of a failure is the HTTP status of the answer, or -1 if there was none.
  Util::Status refresh(Tokens& tokens) override;

  /// Trades an authorization code for `tokens`, which are replaced on success only; the refresh
  /// token becomes empty if none came. Codes of failures as above.
  virtual Util::Status exchange(const std::string& code, const std::string& scope, Tokens& tokens);

 private:
  OAuth2ClientSpec clientSpec_;
  std::shared_ptr<Http::Transport> transport_;
};

}  // namespace CloudStorage::Auth
