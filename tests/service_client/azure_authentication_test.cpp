#include <gtest/gtest.h>

#include <string>

#include "CloudStorage/Auth/AzureSSBAuthentication.h"

namespace {

using CloudStorage::Auth::AzureSSBAuthentication;

struct KeyText {
  const char* name;
  std::string text;
};

void PrintTo(const KeyText& key, std::ostream* out) { *out << key.name; }

class AzureAuthenticationRefusal : public ::testing::TestWithParam<KeyText> {};

TEST_P(AzureAuthenticationRefusal, LeavesNoKey) {
  AzureSSBAuthentication authentication("account", GetParam().text);
  EXPECT_FALSE(authentication.decodeAccessKey());
  EXPECT_TRUE(authentication.isEmpty());
  EXPECT_EQ(authentication.decodedKey(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, AzureAuthenticationRefusal,
    ::testing::Values(KeyText{"Empty", ""}, KeyText{"PaddingMissing", "a2V5MQ"},
                      KeyText{"HalfThePaddingMissing", "a2V5MQ="},
                      KeyText{"TooMuchPadding", "a2V5MQ===="}, KeyText{"PaddingAlone", "===="},
                      KeyText{"PaddingInside", "a2==a2V5"}, KeyText{"LeadingSpace", " a2V5MQ=="},
                      KeyText{"TrailingLineBreak", "a2V5MQ==\n"},
                      KeyText{"SpacesToAFullGroup", "a2V5    "},
                      KeyText{"SpaceInside", "a2V5 MQ=="}, KeyText{"LineBreakInside", "a2V5\nMQ=="},
                      KeyText{"LineBreakInsideAGroup", "a2\n5"}, KeyText{"UrlAlphabet", "-_-_"},
                      KeyText{"OtherCharacter", "a2V!"}, KeyText{"ByteAboveAscii", "a2V\xc3"},
                      KeyText{"NulByte", std::string("a2V\0", 4)}, KeyText{"StrayBits", "a2V5MR=="},
                      KeyText{"Words", "not base64 at all"}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(AzureAuthentication, DecodesEachPaddingLength) {
  const struct {
    const char* text;
    const char* key;
  } kCases[] = {{"a2V5", "key"}, {"a2V5MTI=", "key12"}, {"a2V5MQ==", "key1"}};
  for (const auto& [text, key] : kCases) {
    SCOPED_TRACE(text);
    AzureSSBAuthentication authentication("account", text);
    EXPECT_TRUE(authentication.isEmpty());
    EXPECT_TRUE(authentication.decodeAccessKey());
    EXPECT_FALSE(authentication.isEmpty());
    EXPECT_EQ(authentication.decodedKey(), key);
  }
}

TEST(AzureAuthentication, DecodesEveryByteValue) {
  std::string bytes;
  for (int value = 0; value < 256; ++value) bytes += static_cast<char>(value);
  AzureSSBAuthentication authentication(
      "account",
      "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+P0BBQkNE"
      "RUZHSElKS0xNTk9QUVJTVFVWV1hZWltcXV5fYGFiY2RlZmdoaWprbG1ub3BxcnN0dXZ3eHl6e3x9fn+AgYKDhIWGh4iJ"
      "iouMjY6PkJGSk5SVlpeYmZqbnJ2en6ChoqOkpaanqKmqq6ytrq+wsbKztLW2t7i5uru8vb6/wMHCw8TFxsfIycrLzM3O"
      "z9DR0tPU1dbX2Nna29zd3t/g4eLj5OXm5+jp6uvs7e7v8PHy8/T19vf4+fr7/P3+/w==");
  ASSERT_TRUE(authentication.decodeAccessKey());
  EXPECT_EQ(authentication.decodedKey(), bytes);
}

TEST(AzureAuthentication, KeepsTheAccountName) {
  EXPECT_EQ(AzureSSBAuthentication("account", "").accountName(), "account");
}

}  // namespace
