#include "text.h"

#include <gtest/gtest.h>

namespace {

TEST(PrintableText, EscapesWhatControlsATerminal) {
  EXPECT_EQ(tool::printable("a\x1b[31m\r\n\t\x7f"), R"(a\x1b[31m\x0d\x0a\x09\x7f)");
  EXPECT_EQ(tool::printable(u8"\u009b1m\u2028\u2029"), R"(\u009b1m\u2028\u2029)");
}

TEST(PrintableText, EscapesWhatChangesItsDirection) {
  EXPECT_EQ(tool::printable(u8"\u200e\u200f\u061c"), R"(\u200e\u200f\u061c)");
  EXPECT_EQ(tool::printable(u8"\u202a\u202e\u2066\u2069"), R"(\u202a\u202e\u2066\u2069)");
}

TEST(PrintableText, KeepsOtherLetters) {
  EXPECT_EQ(tool::printable(u8"M\u00e1laga \u65e5\u672c \U0001f4f7 \u05d0"),
            u8"M\u00e1laga \u65e5\u672c \U0001f4f7 \u05d0");
}

TEST(PrintableText, EscapesBytesThatAreNotUtf8) {
  EXPECT_EQ(tool::printable("a\xff\xc3"), R"(a\xff\xc3)");
  EXPECT_EQ(tool::printable("\xc0\xaf"), R"(\xc0\xaf)");          // an overlong slash
  EXPECT_EQ(tool::printable("\xed\xa0\x80"), R"(\xed\xa0\x80)");  // a surrogate
  EXPECT_EQ(tool::printable(u8"\ufffd"), u8"\ufffd");             // a valid character
}

TEST(PrintableText, EscapesWhatShowsNothing) {
  EXPECT_EQ(tool::printable(u8"a\u200b\u2060\ufeff"), R"(a\u200b\u2060\ufeff)");
  EXPECT_EQ(tool::printable(u8"\u200c\u200d"), u8"\u200c\u200d");
}

TEST(PrintableText, DoublesBackslashesSoThatNoneLooksLikeAnEscape) {
  EXPECT_EQ(tool::printable("\x1b"), R"(\x1b)");
  EXPECT_EQ(tool::printable(R"(\x1b)"), R"(\\x1b)");
}

TEST(PrintableText, NeedsNoEscape) {
  EXPECT_TRUE(tool::isPrintable(u8"a\\ \u65e5"));
  for (const char* text : {"a\n", "\xff", u8"\u200b"}) EXPECT_FALSE(tool::isPrintable(text));
}

TEST(JsonString, IsExact) {
  EXPECT_EQ(tool::jsonString("a\"b\\c\x1b\n"), R"("a\"b\\c\u001b\u000a")");
  EXPECT_EQ(tool::jsonString(u8"\u202e"), R"("\u202e")");
  EXPECT_EQ(tool::jsonString("\xff"), u8"\"\uFFFD\"");
}

TEST(WrappedText, HasNoLineThatIsLonger) {
  EXPECT_EQ(tool::wrapped("one two three four", 9), "one two\nthree\nfour");
  EXPECT_EQ(tool::wrapped("one two three four", 8), "one two\nthree\nfour");
  EXPECT_EQ(tool::wrapped("one two", 7), "one two");
}

TEST(WrappedText, KeepsLineBreaks) {
  EXPECT_EQ(tool::wrapped("", 10), "");
  EXPECT_EQ(tool::wrapped("\n\none\n\ntwo three\n", 5), "\n\none\n\ntwo\nthree\n");
}

TEST(WrappedText, DoesNotBreakALongWord) {
  EXPECT_EQ(tool::wrapped("a incomprehensible b", 5), "a\nincomprehensible\nb");
}

TEST(WrappedText, ContinuesBelowTheDescription) {
  EXPECT_EQ(tool::wrapped("  0  all is well", 10), "  0  all\n     is\n     well");
  EXPECT_EQ(tool::wrapped("  --json   one two", 14), "  --json   one\n           two");
}

TEST(WrappedText, TakesAnyNumberOfColumns) {
  EXPECT_EQ(tool::wrapped("  0  a b", 0), "  0  a\n     b");
  EXPECT_EQ(tool::wrapped("    ", 1), "    ");
}

}  // namespace
