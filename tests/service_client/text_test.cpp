#include "Util/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;
using CloudStorage::Util::oneLine;
using CloudStorage::Util::replaceInvalidUtf8;
using CloudStorage::Util::skipByteOrderMark;
using CloudStorage::Util::toName;
using CloudStorage::Util::trimmed;

TEST(OneLine, EmptyTextStaysEmpty) { EXPECT_EQ(oneLine(""), ""); }

TEST(OneLine, TextWithoutBreaksIsUnchanged) {
  EXPECT_EQ(oneLine("The bucket  \"a\" does not exist."), "The bucket  \"a\" does not exist.");
}

TEST(OneLine, RunOfBreaksAndTabsBecomesOneSpace) {
  EXPECT_EQ(oneLine("one\r\n\t\ntwo"), "one two");
  EXPECT_EQ(oneLine("one\ttwo\nthree\rfour"), "one two three four");
}

TEST(OneLine, SpacesBesideABreakAreKept) { EXPECT_EQ(oneLine("one \n two"), "one   two"); }

TEST(OneLine, UnicodeLineBreaksAreBreaks) {
  EXPECT_EQ(oneLine("a\u2028b\u2029c\u0085d\ve\ff"), "a b c d e f");
}

TEST(OneLine, EndsAreTrimmed) { EXPECT_EQ(oneLine(" \r\n one\t \n"), "one"); }

TEST(OneLine, TextOfSpacesIsEmpty) { EXPECT_EQ(oneLine(" \r\n\t "), ""); }

TEST(OneLine, ControlCharactersBecomeQuestionMarks) {
  EXPECT_EQ(oneLine("a\0b\x1b[31mc\x7f\bd"s), "a?b?[31mc??d");
}

TEST(OneLine, ControlCharactersBeyondAsciiBecomeQuestionMarks) {
  EXPECT_EQ(oneLine("a\u009b31mb\u0080"), "a?31mb?");
  EXPECT_EQ(oneLine("a\u00a0b"), "a\u00a0b");
}

TEST(OneLine, InvalidUtf8BecomesQuestionMarks) { EXPECT_EQ(oneLine("caf\xe9!"), "caf?!"); }

TEST(OneLine, LongTextIsCutAt1024Bytes) {
  EXPECT_EQ(oneLine(std::string(1024, 'x')), std::string(1024, 'x'));
  EXPECT_EQ(oneLine(std::string(1025, 'x')), std::string(1024, 'x'));
}

TEST(OneLine, CutNeverSplitsACharacter) {
  EXPECT_EQ(oneLine(std::string(1023, 'x') + "\u00e9"), std::string(1023, 'x'));
  EXPECT_EQ(oneLine(std::string(1022, 'x') + "\u00e9y"), std::string(1022, 'x') + "\u00e9");
  EXPECT_EQ(oneLine(std::string(1021, 'x') + "\U0001F600"), std::string(1021, 'x'));
  EXPECT_EQ(oneLine(std::string(1020, 'x') + "\U0001F600"), std::string(1020, 'x') + "\U0001F600");
}

TEST(OneLine, NothingFollowsACharacterThatDidNotFit) { EXPECT_EQ(oneLine("ab\u00e9c", 3), "ab"); }

TEST(OneLine, SpaceBeforeTheCutIsTrimmed) {
  EXPECT_EQ(oneLine(std::string(1023, 'x') + " y"), std::string(1023, 'x'));
}

TEST(OneLine, LeadingSpacesDoNotCountTowardsTheLimit) {
  EXPECT_EQ(oneLine(std::string(2000, '\n') + "text"), "text");
  EXPECT_EQ(oneLine(std::string(2000, ' ') + "text"), "text");
}

TEST(OneLine, MegabyteOfJunkIsCut) {
  EXPECT_EQ(oneLine(std::string(1 << 20, '\xff')), std::string(1024, '?'));
}

TEST(ReplaceInvalidUtf8, ValidTextOfEveryLengthIsUnchanged) {
  const std::string valid = "a\u0080\u07ff\u0800\ud7ff\ue000\uffff\U00010000\U0010ffff"s + '\0';
  EXPECT_EQ(replaceInvalidUtf8(valid), valid);
}

struct BadSequence {
  const char* name;
  std::string bytes;
  std::string replaced;
};

class ReplaceInvalidUtf8Of : public testing::TestWithParam<BadSequence> {};

TEST_P(ReplaceInvalidUtf8Of, EachBadByteIsReplaced) {
  EXPECT_EQ(replaceInvalidUtf8("<" + GetParam().bytes + ">"), "<" + GetParam().replaced + ">");
}

INSTANTIATE_TEST_SUITE_P(All, ReplaceInvalidUtf8Of,
                         testing::Values(BadSequence{"LoneContinuation", "\x80", "?"},
                                         BadSequence{"OverlongOfTwo", "\xc0\xaf", "??"},
                                         BadSequence{"OverlongOfTwoEnd", "\xc1\xbf", "??"},
                                         BadSequence{"OverlongOfThree", "\xe0\x9f\xbf", "???"},
                                         BadSequence{"FirstSurrogate", "\xed\xa0\x80", "???"},
                                         BadSequence{"LastSurrogate", "\xed\xbf\xbf", "???"},
                                         BadSequence{"OverlongOfFour", "\xf0\x8f\xbf\xbf", "????"},
                                         BadSequence{"BeyondUnicode", "\xf4\x90\x80\x80", "????"},
                                         BadSequence{"FiveBytes", "\xf8\x88\x80\x80\x80", "?????"},
                                         BadSequence{"TruncatedOfTwo", "\xc3", "?"},
                                         BadSequence{"TruncatedOfThree", "\xe2\x82", "??"},
                                         BadSequence{"TruncatedOfFour", "\xf0\x9f\x98", "???"},
                                         BadSequence{"BadThirdByte", "\xe2\x82(", "?\?("},
                                         BadSequence{"BadFourthByte", "\xf0\x9f\x98(", "??\?("},
                                         BadSequence{"NeverUsed", "\xfe\xff", "??"}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ReplaceInvalidUtf8, SequenceCutOffByTheEndIsReplaced) {
  EXPECT_EQ(replaceInvalidUtf8("x\xe2\x82"), "x??");
}

TEST(SkipByteOrderMark, OnlyOneMarkAtTheBeginningIsSkipped) {
  EXPECT_EQ(skipByteOrderMark("\xEF\xBB\xBF{}"), "{}");
  EXPECT_EQ(skipByteOrderMark("\xEF\xBB\xBF\xEF\xBB\xBF{}"), "\xEF\xBB\xBF{}");
  EXPECT_EQ(skipByteOrderMark("{}\xEF\xBB\xBF"), "{}\xEF\xBB\xBF");
  EXPECT_EQ(skipByteOrderMark("\xEF\xBB"), "\xEF\xBB");
  EXPECT_EQ(skipByteOrderMark(""), "");
}

TEST(ToName, ReplacesNulAndInvalidUtf8) {
  EXPECT_EQ(toName("a\0b"s), "a\uFFFDb");
  EXPECT_EQ(toName("\xC3\xA9\xC3(\xED\xA0\x80"), "\u00E9\uFFFD(\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(toName("\x01\x1b\n/"), "\x01\x1b\n/");
  EXPECT_EQ(toName(""), "");
}

TEST(Trimmed, RemovesWhiteSpaceAtBothEndsOnly) {
  EXPECT_EQ(trimmed(" \t\r\na  b\r\n"), "a  b");
  EXPECT_EQ(trimmed("ab"), "ab");
  EXPECT_EQ(trimmed(" \r\n"), "");
  EXPECT_EQ(trimmed(""), "");
}

}  // namespace
