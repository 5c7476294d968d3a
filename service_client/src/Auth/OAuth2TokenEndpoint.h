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
  /// What a user's consent has given. Empty texts are not sent, except for the code.
  struct Grant {
    std::string code;
    std::string scope{};
    /// See ProofKey.
    std::string codeVerifier{};
  };

  /// A client secret that is empty is not sent. `service` is what failures and tokens are reported
  /// with.
  OAuth2TokenEndpoint(OAuth2ClientSpec clientSpec, std::shared_ptr<Http::Transport> transport,
                      Client::Service service = {});

  Util::Status refresh(Tokens& tokens) override;

  /// Calls what the host has set for renewed tokens.
  void report(const Tokens& former, const Tokens& renewed) const override;

  /// Exchanges `grant` for `tokens`, which are replaced on success only. The refresh token becomes
  /// empty if the response contains none. The codes of failures are those of refresh().
  virtual Util::Status exchange(const Grant& grant, Tokens& tokens);

 private:
  OAuth2ClientSpec clientSpec_;
  std::shared_ptr<Http::Transport> transport_;
  Client::Service service_;
};

}  // namespace CloudStorage::Auth
