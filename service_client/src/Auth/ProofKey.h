#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace CloudStorage::Auth {

/// The `code_challenge` for a verifier, with the method S256 (RFC 7636, section 4.2).
std::string codeChallengeOf(std::string_view verifier);

/// The proof that a code was requested by the client that exchanges it (PKCE, RFC 7636): the
/// address for consent has a challenge, and the token request the verifier that fits it. Safe for
/// concurrent calls.
class ProofKey {
 public:
  /// Replaces the verifier by a random one. Returns its challenge.
  std::string renew();

  /// Empty if there is none.
  std::string verifier() const;

  void discard();
  /// Does nothing if `verifier` has been replaced.
  void discard(std::string_view verifier);

 private:
  mutable std::mutex mutex_;
  std::string verifier_;
};

}  // namespace CloudStorage::Auth
