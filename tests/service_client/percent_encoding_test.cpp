#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>

#include "Http/PercentEncoding.h"

namespace {

using CloudStorage::Http::uriDecode;
using CloudStorage::Http::uriEncode;

constexpr std::string_view kUnreserved =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

std::string escaped(unsigned byte) {
  char text[4];
  std::snprintf(text, sizeof(text), "%%%02X", byte);
  return text;
}

std::string everyByte() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

TEST(PercentEncoding, EveryByteButTheUnreservedOnesIsEscaped) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    const bool isUnreserved = kUnreserved.find(text) != std::string_view::npos;
    EXPECT_EQ(uriEncode(text, false), isUnreserved ? text : escaped(byte)) << byte;
  }
}

TEST(PercentEncoding, KeepingSlashesChangesNothingElse) {
  for (unsigned byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    EXPECT_EQ(uriEncode(text, true), text == "/" ? text : uriEncode(text, false)) << byte;
  }
}

TEST(PercentEncoding, SpecialCharactersAreEscaped) {
  EXPECT_EQ(uriEncode("a b+c", false), "a%20b%2Bc");
  EXPECT_EQ(uriEncode("!'()*$&,:;=@", false), "%21%27%28%29%2A%24%26%2C%3A%3B%3D%40");
  EXPECT_EQ(uriEncode("100%", false), "100%25");
}

TEST(PercentEncoding, EncodesEachByteOfUtf8) {
  EXPECT_EQ(uriEncode("\xC3\x89t\xC3\xA9", false), "%C3%89t%C3%A9");
  EXPECT_EQ(uriEncode("\xF0\x9F\x98\x80", false), "%F0%9F%98%80");
  EXPECT_EQ(uriEncode("e\xCC\x81", false), "e%CC%81") << "no normalisation";
  EXPECT_EQ(uriEncode("\xFF", false), "%FF") << "also what is no UTF-8";
}

TEST(PercentEncoding, EncodesAnEmptyTextToAnEmptyText) {
  EXPECT_EQ(uriEncode("", false), "");
  EXPECT_EQ(uriDecode(""), "");
}

TEST(PercentEncoding, DecodingUndoesEncodingForEveryByte) {
  EXPECT_EQ(uriDecode(uriEncode(everyByte(), false)), everyByte());
  EXPECT_EQ(uriDecode(uriEncode(everyByte(), true)), everyByte());
}

TEST(PercentEncoding, DecodesDigitsOfBothCases) {
  EXPECT_EQ(uriDecode("%c3%A9%2f%2F"), "\xC3\xA9//");
  EXPECT_EQ(uriDecode("%aF%Af"), "\xAF\xAF");
}

TEST(PercentEncoding, DecodesOnce) { EXPECT_EQ(uriDecode("%2541"), "%41"); }

TEST(PercentEncoding, DecodingLeavesPlusAlone) { EXPECT_EQ(uriDecode("a+b%20c"), "a+b c"); }

TEST(PercentEncoding, DecodingLeavesMalformedEscapesAsTheyAre) {
  for (const char* text : {"%", "%4", "a%", "a%4", "%zz", "%4g", "%g4", "%-1", "% 41", "%%"}) {
    EXPECT_EQ(uriDecode(text), text);
  }
}

TEST(PercentEncoding, DecodingGoesOnAfterAMalformedEscape) {
  EXPECT_EQ(uriDecode("%%41"), "%A");
  EXPECT_EQ(uriDecode("%4%41"), "%4A");
  EXPECT_EQ(uriDecode("%zz%41"), "%zzA");
}

TEST(PercentEncoding, DecodingReadsNothingBeyondTheEnd) {
  const std::string_view text("%41%41", 5);
  EXPECT_EQ(uriDecode(text), "A%4");
}

}  // namespace
