#include "Auth/ProofKey.h"

#include <openssl/rand.h>

#include <stdexcept>
#include <utility>

#include "Auth/Digest.h"

namespace CloudStorage::Auth {
namespace {

// 43 characters, as RFC 7636 recommends in section 4.1.
std::string randomVerifier() {
  constexpr std::size_t kBytes = 32;
  std::string bytes(kBytes, '\0');
  if (RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), kBytes) != 1) {
    throw std::runtime_error("the crypto library has no random numbers");
  }
  return base64UrlEncode(bytes);
}

}  // namespace

std::string codeChallengeOf(std::string_view verifier) { return base64UrlEncode(sha256(verifier)); }

std::string ProofKey::renew() {
  std::string verifier = randomVerifier();
  std::string challenge = codeChallengeOf(verifier);
  const std::lock_guard<std::mutex> lock(mutex_);
  verifier_ = std::move(verifier);
  return challenge;
}

std::string ProofKey::verifier() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return verifier_;
}

void ProofKey::discard() {
  const std::lock_guard<std::mutex> lock(mutex_);
  verifier_.clear();
}

void ProofKey::discard(std::string_view verifier) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (verifier_ == verifier) verifier_.clear();
}

}  // namespace CloudStorage::Auth
