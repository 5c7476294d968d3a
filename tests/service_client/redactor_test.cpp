#include "Auth/Redactor.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Auth/Digest.h"
#include "Http/PercentEncoding.h"

namespace {

using CloudStorage::Auth::base64Encode;
using CloudStorage::Auth::Redactor;

constexpr char kSecret[] = "ya29.a0 AfH/6SMB+~\"=:\\%x";

std::string redacted(const std::string& text, const std::string& secret = kSecret) {
  return Redactor({secret}).line(text);
}

std::string repeated(const std::string& piece, int times) {
  std::string text;
  for (int count = 0; count < times; ++count) text += piece;
  return text;
}

std::string lowerCaseHex(std::string encoded) {
  for (std::size_t at = encoded.find('%'); at != std::string::npos;
       at = encoded.find('%', at + 1)) {
    for (std::size_t digit = at + 1; digit < at + 3; ++digit) {
      if (encoded[digit] >= 'A' && encoded[digit] <= 'F') encoded[digit] += 'a' - 'A';
    }
  }
  return encoded;
}

TEST(Redactor, SecretIsReplacedWhereverItIs) {
  const std::string secret = kSecret;
  EXPECT_EQ(redacted(secret), "***");
  EXPECT_EQ(redacted("<" + secret + ">"), "<***>");
  EXPECT_EQ(redacted(secret + secret + " and " + secret + "."), "****** and ***.");
}

TEST(Redactor, OtherTextStays) {
  EXPECT_EQ(redacted("Access denied to \"a%20b\" \\ \xC3\xA9"),
            "Access denied to \"a%20b\" \\ \xC3\xA9");
  EXPECT_EQ(redacted("ya29.a0 AfH/6SMB+~\"=:\\%"), "ya29.a0 AfH/6SMB+~\"=:\\%") << "a part";
  EXPECT_EQ(redacted(""), "");
}

TEST(Redactor, SecretOfAnyLengthIsReplaced) {
  EXPECT_EQ(redacted("not x, no", "x"), "not ***, no");
  EXPECT_EQ(redacted("a=b: c", "a=b"), "***: c");
  EXPECT_EQ(redacted("Bearer a b:c=", "a b:c="), "Bearer ***");
  EXPECT_EQ(redacted(std::string(20000, 'x') + "!", std::string(20000, 'x')), "***!");
}

TEST(Redactor, SpacesAroundTheSecretAreNoPartOfIt) {
  EXPECT_EQ(redacted("token \"abc\"", " abc\t"), "token \"***\"");
}

TEST(Redactor, EmptySecretIsIgnored) {
  EXPECT_EQ(redacted("text", ""), "text");
  EXPECT_EQ(redacted("a text", " "), "a text");
  EXPECT_EQ(Redactor({}).line("text"), "text");
}

TEST(Redactor, PercentEncodedSecretIsReplaced) {
  const std::string encoded = CloudStorage::Http::uriEncode(kSecret, false);
  EXPECT_EQ(redacted("?t=" + encoded + "&x"), "?t=***&x");
  EXPECT_EQ(redacted("?t=" + lowerCaseHex(encoded) + "&x"), "?t=***&x");
  EXPECT_EQ(redacted("?t=" + CloudStorage::Http::uriEncode(kSecret, true)), "?t=***");
  EXPECT_EQ(redacted("?t=ya29.a0+AfH/6SMB%2b~\"%3d:\\%25x"), "?t=***") << "only partly encoded";
  EXPECT_EQ(redacted("%61%62%63", "abc"), "***") << "also what need not be encoded";
}

TEST(Redactor, SecretEscapedAsInJsonIsReplaced) {
  EXPECT_EQ(redacted(R"({"t":"ya29.a0 AfH\/6SMB+~\"=:\\%x"})"), R"({"t":"***"})");
  EXPECT_EQ(redacted(R"({"t":"ya29.a0\u0020AfH\u002f6SMB\u002B~\"\u003D:\u005c%x"})"),
            R"({"t":"***"})");
  EXPECT_EQ(redacted(R"(one\ntwo\tthree)", "one\ntwo\tthree"), "***");
}

constexpr char kOddSecret[] = "ab&c'\"defgh+ij/kl<m>";

TEST(Redactor, SecretEscapedAsInHtmlAndXmlIsReplaced) {
  for (const std::string text :
       {"ab&amp;c&apos;&quot;defgh+ij/kl&lt;m&gt;",
        "ab&amp;c&#39;&quot;defgh&#43;ij&#47;kl&lt;m&gt;",
        "ab&#x26;c&#x27;&#x22;defgh&#x2B;ij&#X2f;kl&#x3C;m&#x3e;",
        "ab&#038;c&#0039;&#34;defgh&plus;ij&sol;kl&#60;m>", "ab&c&#39;\"defgh+ij/kl&lt;m&gt;"}) {
    EXPECT_EQ(redacted("<b>" + text + ".</b>", kOddSecret), "<b>***.</b>") << text;
    EXPECT_EQ(Redactor({kOddSecret}).text("<b>" + text + ".</b>", "#"), "<b>#.</b>") << text;
  }
  EXPECT_EQ(redacted("&#97;&#x62;&#99;", "abc"), "***") << "also what need not be escaped";
}

TEST(Redactor, SecretWithEscapesWithinEscapesIsReplaced) {
  for (const std::string text :
       {"ab%2526c%2527%2522defgh%252Bij%252Fkl%253cm%253E",
        R"(ab\\u0026c'\\\"defgh\\u002bij\\/kl<m>)",
        R"(ab\\u0026c'\\u0022defgh+ij/kl\\u003cm\\u003e)",
        "ab&amp;amp;c&amp;#39;&amp;quot;defgh+ij/kl&amp;lt;m&amp;gt;",
        R"(ab\u0026amp;c\u0026#39;\u0026quot;defgh+ij\/kl\u0026lt;m\u0026gt;)",
        R"(ab&amp;c'\&quot;defgh+ij\/kl\u003cm&gt;)", R"(ab%26c%27%22defgh%2Bij\/kl%3Cm%3E)"}) {
    EXPECT_EQ(redacted("x=" + text + ";", kOddSecret), "x=***;") << text;
    EXPECT_EQ(Redactor({kOddSecret}).text("x=" + text + ";", "#"), "x=#;") << text;
  }
}

TEST(Redactor, EscapedTextWithoutTheSecretStays) {
  for (const std::string text :
       {"ab&amp;c&apos;&quot;defgh", "a &amp; b &unknown; &# &#; &#x; &#99999999999; & &amp",
        "%2 %zz %252 %25", R"(\u00 \u00zz \ \x \q)", "&", "%", "\\"}) {
    EXPECT_EQ(redacted(text, kOddSecret), text);
    EXPECT_EQ(Redactor({kOddSecret}).text(text, "#"), text);
  }
}

TEST(Redactor, EscapeThatTheEndOfALongTextHasCutOffIsReplaced) {
  const std::string filler(250, 'x');
  for (const std::string end : {"abcde&am", "abcde&#3", "abcde%252", "abcde\\\\u00"}) {
    EXPECT_EQ(redacted(filler + " " + end, "abcde&fgh"), filler + " ***") << end;
  }
}

TEST(Redactor, HostileTextThatResemblesTheSecretEnds) {
  const std::string secret = std::string(16000, '%') + "b";
  const std::string text = repeated("%25", 200000);
  EXPECT_EQ(redacted(text, secret), "***");
  EXPECT_EQ(Redactor({secret}).text(text, "#"), "#");
}

TEST(Redactor, LongTextWithManyEscapesIsKept) {
  std::vector<std::string> secrets;
  for (int count = 0; count < 128; ++count) secrets.push_back("a token " + std::to_string(count));
  const std::string text = repeated("a%20b%C3%A9&amp;\\u00e9", 30000);
  EXPECT_TRUE(Redactor(secrets).text(text + "a%20token%20117.", "#") == text + "#.");
}

TEST(Redactor, SecretInBase64IsReplaced) {
  for (const std::string secret : {"abc", "abcd", "abcde", kSecret, "\xfb\xef\xbe\xff\xfe\xfd"}) {
    EXPECT_EQ(redacted("<" + base64Encode(secret) + ">", secret), "<***>") << secret;
  }
  EXPECT_EQ(redacted("<YWJjZGVmZw>", "abcdefg"), "<***>") << "without padding";
  EXPECT_EQ(redacted("<--++__//>", "\xfb\xef\xbe\xff\xff\xff"), "<--++__//>");
  EXPECT_EQ(redacted("<----____>", "\xfb\xef\xbe\xff\xff\xff"), "<***>") << "for URLs";
  EXPECT_EQ(redacted("<%2b%2B%2B%2B%2f%2F\\/\\/>", "\xfb\xef\xbe\xff\xff\xff"), "<***>")
      << "an address in JSON";
  EXPECT_EQ(redacted("<%2b%2B%2B%2B%2f%2F%2F%2f>", "\xfb\xef\xbe\xff\xff\xff"), "<***>");
}

TEST(Redactor, SecretWithinATextInBase64IsReplaced) {
  const std::string secret = "a-long-access-token";
  for (const std::string prefix : {"id:", "idx:", "index:", "Bearer "}) {
    for (const std::string suffix : {"", ".", "..", "..."}) {
      const std::string line = redacted("<" + base64Encode(prefix + secret + suffix) + ">", secret);
      EXPECT_NE(line.find("***"), std::string::npos) << prefix << suffix;
      // What is left of it are the characters that also encode what is beside it.
      const std::size_t others = base64Encode(prefix).size() + base64Encode(suffix).size();
      EXPECT_LE(line.size(), others + 3 + 2 + 4) << line;
    }
  }
}

TEST(Redactor, LongestSecretIsReplaced) {
  EXPECT_EQ(Redactor({"abc", "abcdef"}).line("x abcdef abc y"), "x *** *** y");
  EXPECT_EQ(Redactor({"abcdef", "abc"}).line("x abcdef abc y"), "x *** *** y");
}

TEST(Redactor, TextIsOneLine) {
  EXPECT_EQ(redacted(" \r\none\n\ttwo\x01\xff "), "one two??");
  EXPECT_EQ(redacted("text GET  x:y z", "GET\n\nx:y\nz"), "text GET  x:y z");
  EXPECT_EQ(redacted("text GET\n\nx:y\nz.", "GET\n\nx:y\nz"), "text ***.");
}

TEST(Redactor, TextIsTruncatedAfterTheSecretsAreReplaced) {
  const std::string filler(1000, 'x');
  EXPECT_EQ(redacted(filler + kSecret + " end"), filler + "*** end");
  EXPECT_EQ(redacted(filler + kSecret + filler), filler + "***" + std::string(21, 'x'));
  EXPECT_EQ(redacted(repeated(std::string(kSecret) + ' ', 100)), repeated("*** ", 99) + "***");
  EXPECT_EQ(redacted(std::string(1023, 'x') + kSecret), std::string(1023, 'x') + '*');
  EXPECT_EQ(redacted(std::string(1021, 'x') + kSecret + "y"), std::string(1021, 'x') + "***");
}

TEST(Redactor, TruncationNeverSplitsACharacter) {
  const std::string filler(1000, 'x');
  std::string text = filler + kSecret;
  for (int count = 0; count < 20; ++count) text += "\U0001F600";
  EXPECT_EQ(redacted(text), filler + "***" + repeated("\U0001F600", 5));
}

TEST(Redactor, SecretThatTheEndOfALongTextHasCutOffIsReplaced) {
  const std::string filler(240, 'x');
  const std::string secret(1300, 's');
  EXPECT_EQ(redacted(filler + " " + secret.substr(0, 15), secret), filler + " ***");
  EXPECT_EQ(redacted(filler + " ya29.a0%20AfH%2", kSecret), filler + " ***");
  EXPECT_EQ(redacted(filler + " ya29.a0\\u0020AfH\\u00", kSecret), filler + " ***");
  EXPECT_EQ(redacted(filler + " at the ya2", kSecret), filler + " at the ya2");
  EXPECT_EQ(redacted("short ya29.a0 AfH", kSecret), "short ya29.a0 AfH");
}

TEST(Redactor, OnlyTheBeginningOfALongTextIsSearched) {
  const std::string megabyte(1 << 20, 'a');
  const std::string secret = std::string(8000, 'a') + 'b';
  EXPECT_EQ(redacted(megabyte, secret), std::string(1024, 'a'));
  EXPECT_EQ(redacted(repeated(secret, 130) + megabyte, secret),
            repeated("***", 130) + std::string(1024 - 390, 'a'));
}

}  // namespace
