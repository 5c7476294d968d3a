#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>

#include "Auth/ConsentState.h"
#include "Auth/Digest.h"
#include "Auth/ProofKey.h"

namespace {

using CloudStorage::Auth::base64UrlEncode;
using CloudStorage::Auth::codeChallengeOf;
using CloudStorage::Auth::ConsentState;
using CloudStorage::Auth::ProofKey;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

// The example of RFC 7636, appendix B.
TEST(ProofKey, ChallengeIsThatOfTheStandard) {
  const unsigned char bytes[] = {116, 24,  223, 180, 151, 153, 224, 37,  79,  250, 96,
                                 125, 216, 173, 187, 186, 22,  212, 37,  77,  105, 214,
                                 191, 240, 91,  88,  5,   88,  83,  132, 141, 121};
  const std::string verifier =
      base64UrlEncode({reinterpret_cast<const char*>(bytes), sizeof bytes});
  EXPECT_EQ(verifier, "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk");
  EXPECT_EQ(codeChallengeOf(verifier), "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM");
}

TEST(ProofKey, EachVerifierIsNew) {
  ProofKey key;
  std::set<std::string> verifiers;
  for (int i = 0; i < 100; ++i) {
    const std::string challenge = key.renew();
    EXPECT_EQ(challenge, codeChallengeOf(key.verifier()));
    EXPECT_THAT(key.verifier(), MatchesRegex("[A-Za-z0-9_-]{43}"));
    verifiers.insert(key.verifier());
  }
  EXPECT_THAT(verifiers, SizeIs(100));
}

TEST(ProofKey, IsDiscarded) {
  ProofKey key;
  EXPECT_THAT(key.verifier(), IsEmpty());
  key.renew();
  const std::string used = key.verifier();
  key.renew();
  key.discard(used);
  EXPECT_THAT(key.verifier(), SizeIs(43)) << "it has been replaced";
  key.discard(key.verifier());
  EXPECT_THAT(key.verifier(), IsEmpty());
  key.renew();
  key.discard();
  EXPECT_THAT(key.verifier(), IsEmpty());
}

TEST(ConsentState, IsTakenOnceAndByItsThread) {
  ConsentState::set("first");
  ConsentState::set("second");
  std::thread([] { EXPECT_THAT(ConsentState::take(), IsEmpty()); }).join();
  EXPECT_EQ(ConsentState::take(), "second");
  EXPECT_THAT(ConsentState::take(), IsEmpty());
}

}  // namespace
