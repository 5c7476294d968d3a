#include "Auth/Digest.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using CloudStorage::Auth::base64Decode;
using CloudStorage::Auth::base64Encode;
using CloudStorage::Auth::hex;
using CloudStorage::Auth::hmacSha256;
using CloudStorage::Auth::md5;
using CloudStorage::Auth::sha256;

// The examples published with FIPS 180.
TEST(Digest, Sha256AgreesWithThePublishedExamples) {
  EXPECT_EQ(hex(sha256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(hex(sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(hex(sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(hex(sha256(std::string(1000000, 'a'))),
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

// RFC 1321, appendix A.5.
TEST(Digest, Md5AgreesWithThePublishedExamples) {
  const std::vector<std::pair<const char*, const char*>> examples = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57edf4a22be3c955ac49da2e2107b67a"},
  };
  for (const auto& [text, digest] : examples) EXPECT_EQ(hex(md5(text)), digest) << text;
}

struct HmacExample {
  std::string key;
  std::string data;
  std::string code;
};

// RFC 4231, section 4; case 5 is about truncated codes, which nothing here uses.
std::vector<HmacExample> hmacExamples() {
  std::string counting;
  for (int byte = 1; byte <= 25; ++byte) counting += static_cast<char>(byte);
  return {
      {std::string(20, '\x0b'), "Hi There",
       "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7"},
      {"Jefe", "what do ya want for nothing?",
       "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
      {std::string(20, '\xaa'), std::string(50, '\xdd'),
       "773ea91e36800e46854db8ebd09181a72959098b3ef8c122d9635514ced565fe"},
      {counting, std::string(50, '\xcd'),
       "82558a389a443c0ea4cc819899f2083a85f0faa3e578f8077a2e3ff46729665b"},
      {std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First",
       "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
      {std::string(131, '\xaa'),
       "This is a test using a larger than block-size key and a larger than block-size data. The "
       "key needs to be hashed before being used by the HMAC algorithm.",
       "9b09ffa71b942fcb27635fbcd5b0e944bfdc63644f0713938a7f51535c3a35e2"},
  };
}

TEST(Digest, HmacSha256AgreesWithThePublishedExamples) {
  for (const auto& [key, data, code] : hmacExamples()) {
    EXPECT_EQ(hex(hmacSha256(key, data)), code) << data;
  }
}

TEST(Digest, HmacSha256TakesAnEmptyKeyAndEmptyData) {
  EXPECT_EQ(hex(hmacSha256("", "")),
            "b613679a0814d9ec772f95d778c35fc5ff1697c493715653c6c712144292c5ad");
}

TEST(Digest, HexWritesTwoLowerCaseDigitsAByte) {
  EXPECT_EQ(hex(std::string("\x00\x01\x7f\x80\xab\xff", 6)), "00017f80abff");
  EXPECT_EQ(hex(""), "");
}

// RFC 4648, section 10.
const std::vector<std::pair<std::string, std::string>> kBase64Examples = {
    {"", ""},
    {"f", "Zg=="},
    {"fo", "Zm8="},
    {"foo", "Zm9v"},
    {"foob", "Zm9vYg=="},
    {"fooba", "Zm9vYmE="},
    {"foobar", "Zm9vYmFy"},
};

TEST(Digest, Base64AgreesWithThePublishedExamples) {
  for (const auto& [bytes, text] : kBase64Examples) {
    EXPECT_EQ(base64Encode(bytes), text);
    EXPECT_EQ(base64Decode(text), bytes);
  }
}

TEST(Digest, Base64DecodesWhatItEncodes) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  for (std::size_t start = 0; start < 3; ++start) {
    EXPECT_EQ(base64Decode(base64Encode(bytes.substr(start))), bytes.substr(start));
  }
}

TEST(Digest, LongBase64TextHasNoLineBreaks) {
  const std::string bytes(1000, 'x');
  EXPECT_EQ(base64Encode(bytes).find('\n'), std::string::npos);
  EXPECT_EQ(base64Decode(base64Encode(bytes)), bytes);
}

TEST(Digest, DecodingRefusesWhatIsNotExactlyBase64) {
  const std::vector<std::string> texts = {
      "Z",
      "Zg",
      "Zg=",
      "Zg===",
      "Zm8",  // padding is missing or wrong
      "=",
      "====",
      "Z===",
      "=Zm9",
      "Zg==Zg==",  // or at the wrong place
      " Zm9v",
      "Zm9v ",
      "Zm9v\n",
      "Zm\n9v===",
      "    ",  // white space
      "Zm9v\r\n  ",
      "\n\n\n\n",
      "Zm9vZm9v\n\n\n\n",
      "Zh==",
      "Zm9=",  // bits beyond the last byte
      "Zm-_",
      "Zm9*",
      "\xC3\xA9xy",  // other alphabets
      std::string("Zm9\0", 4),
      std::string("\0\0\0\0", 4),
  };
  for (const auto& text : texts) EXPECT_EQ(base64Decode(text), std::nullopt) << '"' << text << '"';
}

// Encoding the decoded bytes gives the same text, for all texts over an alphabet of special bytes.
TEST(Digest, DecodingAcceptsOneTextForEachSequenceOfBytes) {
  constexpr std::string_view kAlphabet("A=B/ \n-\0", 8);
  int accepted = 0;
  for (unsigned number = 0; number < 8U * 8 * 8 * 8; ++number) {
    std::string text;
    for (unsigned digit = 0; digit < 4; ++digit) text += kAlphabet[(number >> (3 * digit)) & 7U];
    const auto bytes = base64Decode(text);
    if (!bytes) continue;
    ++accepted;
    EXPECT_EQ(base64Encode(*bytes), text);
  }
  // A, B and / stand for 0, 1 and 63: all 81 texts without padding; with one `=` the third digit
  // must be A, with two the second one.
  EXPECT_EQ(accepted, 81 + 9 + 3);
}

}  // namespace
