#include "text.h"

#include <gtest/gtest.h>

namespace {

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
