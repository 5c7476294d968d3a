#include <Poco/Exception.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "crypto_recorder.h"
#include "libvemlo.h"
#include "support/log_capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::errorLine;
using TestSupport::LogCapture;
using UnitTests::CryptoRecorder;

struct Free {
  void operator()(char* text) const { std::free(text); }
};
using Text = std::unique_ptr<char, Free>;

Text encrypt(const std::string& text) { return Text(encrypt_string(text.c_str())); }
Text decrypt(const std::string& text) { return Text(decrypt_string(text.c_str())); }

std::string repeated(std::string_view text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i) result += text;
  return result;
}

std::vector<std::string> texts() {
  constexpr int kAboutOneMegabyte = 70'000;
  return {"",         "x",
          "secret",   "two\nlines\r\n",
          "\t ",      "K\xC3\xB6nigsstra\xC3\x9F\x65 \xE2\x82\xAC",
          "\xFF\xFE", "sixteen letters.",
          "a==",      repeated("0123456789 \xC3\xA4\r\n", kAboutOneMegabyte)};
}

class StringEncryption : public testing::TestWithParam<std::string> {};

TEST_P(StringEncryption, IsReversible) {
  const LogCapture log;
  const Text secret = encrypt(GetParam());
  ASSERT_NE(secret, nullptr);
  const Text text = decrypt(secret.get());
  ASSERT_NE(text, nullptr);
  EXPECT_TRUE(text.get() == GetParam());  // not EXPECT_EQ: the longest is too long to print
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(StringEncryption, IsDeterministicAndHidesTheText) {
  const Text first = encrypt(GetParam());
  const Text second = encrypt(GetParam());
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_STREQ(first.get(), second.get());
  EXPECT_STRNE(first.get(), GetParam().c_str());
}

INSTANTIATE_TEST_SUITE_P(Texts, StringEncryption, testing::ValuesIn(texts()));

// Encrypted with OpenSSL's command: aes-256-cbc, with key and initialisation vector derived as
// EVP_BytesToKey() does with MD5, two thousand rounds and no salt.
TEST(EncryptString, ReturnsTheCiphertextOfOtherToolsWithTheSamePassPhrase) {
  EXPECT_STREQ(encrypt("").get(), "L0ka1fprB/VAqRk+hh8zPw==");
  EXPECT_STREQ(encrypt("secret").get(), "KApy8RapopOCxBfTyQlKlg==");
  EXPECT_STREQ(encrypt("ya29.a0 \xC3\xA4\n").get(), "owQcVV6AfEK8sRB9UcPy6g==");
}

TEST(EncryptString, BreaksItsLinesAfterSeventyTwoLetters) {
  std::string text;
  for (int i = 0; i < 9; ++i) text += "0123456789";
  EXPECT_STREQ(encrypt(text).get(),
               "XAEfKE4b0z7i5OCty/zQ57x9TnRtPM6ZmaLkPFyTxN34LNCq4f9rV7LCIatzW2U8eP2TMCa/\r\n"
               "LNVj6QTV7/sgaKGlYHnl06hWjeNfSBYl+eJZeBbakKDy0EY9ljacR47z");
}

TEST(EncryptString, ReturnsNullForNullAndLogsNothing) {
  const LogCapture log;
  EXPECT_EQ(encrypt_string(nullptr), nullptr);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(EncryptString, LogsAFailureOfTheCryptoLibrary) {
  const LogCapture log;
  CryptoRecorder crypto;
  crypto.cipherFactory = []() -> Poco::Crypto::Cipher* { throw Poco::IOException("no luck"); };
  EXPECT_EQ(encrypt_string("secret"), nullptr);
  EXPECT_THAT(log.records(),
              ElementsAre(errorLine("Failed to encrypt string. I/O error: no luck")));
}

TEST(EncryptString, LogsThatThereIsNoCipher) {
  const LogCapture log;
  CryptoRecorder crypto;
  crypto.cipherFactory = [] { return nullptr; };
  EXPECT_EQ(encrypt_string("secret"), nullptr);
  EXPECT_THAT(log.records(), ElementsAre(errorLine("Failed to encrypt string. Null pointer")));
}

TEST(DecryptString, ReadsTheCiphertextOfOtherToolsWithTheSamePassPhrase) {
  EXPECT_STREQ(decrypt("KApy8RapopOCxBfTyQlKlg==").get(), "secret");
}

TEST(DecryptString, DoesNotRequireTheLineBreaks) {
  const std::string text(300, 'x');
  std::string enciphered = encrypt(text).get();
  for (const char c : {'\r', '\n'}) {
    enciphered.erase(std::remove(enciphered.begin(), enciphered.end(), c), enciphered.end());
    EXPECT_EQ(decrypt(enciphered).get(), text);
  }
}

TEST(DecryptString, ReturnsNullForNullAndLogsNothing) {
  const LogCapture log;
  EXPECT_EQ(decrypt_string(nullptr), nullptr);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(DecryptString, ReturnsNullForThreeLettersAndLogsOneErrorLine) {
  const LogCapture log;
  EXPECT_EQ(decrypt("abc"), nullptr);
  ASSERT_EQ(log.records().size(), 1U);
  EXPECT_EQ(log.records()[0].severity, google::GLOG_ERROR);
  EXPECT_THAT(log.records()[0].text,
              testing::MatchesRegex("Failed to decrypt string\\. I/O error: .*wrong final.*"));
}

TEST(DecryptString, ReturnsNullForInvalidCiphertext) {
  // Empty, not base64, too short, bad padding, truncated, and with a changed letter.
  for (const char* text : {"", "%%%%", "KApy8RapopOCxBfT", "AAAAAAAAAAAAAAAAAAAAAA==",
                           "KApy8RapopOCxBfTyQlKl", "KApy8RapopOCxBfTyQlKmg=="}) {
    SCOPED_TRACE(text);
    const LogCapture log;
    EXPECT_EQ(decrypt(text), nullptr);
    ASSERT_EQ(log.records().size(), 1U);
    EXPECT_EQ(log.records()[0].severity, google::GLOG_ERROR);
    EXPECT_THAT(log.records()[0].text, testing::StartsWith("Failed to decrypt string. "));
  }
}

TEST(DecryptString, LogsAFailureOfTheCryptoLibrary) {
  const LogCapture log;
  CryptoRecorder crypto;
  crypto.cipherFactory = []() -> Poco::Crypto::Cipher* { throw Poco::IOException("no luck"); };
  EXPECT_EQ(decrypt_string("KApy8RapopOCxBfTyQlKlg=="), nullptr);
  EXPECT_THAT(log.records(),
              ElementsAre(errorLine("Failed to decrypt string. I/O error: no luck")));
}

TEST(DecryptString, LogsThatThereIsNoCipher) {
  const LogCapture log;
  CryptoRecorder crypto;
  crypto.cipherFactory = [] { return nullptr; };
  EXPECT_EQ(decrypt_string("KApy8RapopOCxBfTyQlKlg=="), nullptr);
  EXPECT_THAT(log.records(), ElementsAre(errorLine("Failed to decrypt string. Null pointer")));
}

TEST(DecryptString, WorksAgainAfterAFailure) {
  EXPECT_EQ(decrypt("abc"), nullptr);
  EXPECT_STREQ(decrypt("KApy8RapopOCxBfTyQlKlg==").get(), "secret");
}

TEST(StringEncryptionFunctions, WorkOnSeveralThreadsAtOnce) {
  constexpr int kThreads = 4;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([i] {
      for (int round = 0; round < 20; ++round) {
        const std::string text = std::to_string(i) + ", round " + std::to_string(round);
        const Text secret = encrypt(text);
        EXPECT_NE(secret, nullptr);
        EXPECT_STREQ(decrypt(secret.get()).get(), text.c_str());
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
