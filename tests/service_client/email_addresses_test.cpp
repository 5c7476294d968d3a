#include <gtest/gtest.h>

#include <string>

#include "Recording/EmailAddresses.h"

namespace {

std::string masked(const std::string& text) {
  return CloudStorage::Recording::maskEmailAddresses(text, "#");
}

TEST(EmailAddresses, AreMasked) {
  EXPECT_EQ(masked("ann.o'neil+x@mail.example.test"), "#");
  EXPECT_EQ(masked("To: <a@b.test>, c-d@e-f.test. Bye"), "To: <#>, #. Bye");
  EXPECT_EQ(masked(R"({"emailAddress":"ann@example.test","n":1})"),
            R"({"emailAddress":"#","n":1})");
  EXPECT_EQ(masked("?login_hint=ann@example.test&x=1"), "?login_hint=#&x=1");
  EXPECT_EQ(masked("J\xC3\xBCrgen@m\xC3\xBCller.test"), "#");
}

TEST(EmailAddresses, AreMaskedInEverySpelling) {
  EXPECT_EQ(masked("?u=ann%40example.test&x"), "?u=#&x");
  EXPECT_EQ(masked("?u=%61nn%2Bx%40example%2Etest&x"), "?u=#&x");
  EXPECT_EQ(masked("?u=J%C3%BCrgen%40m%C3%BCller.test"), "?u=#");
  EXPECT_EQ(masked(R"({"e":"ann\u0040example.test"})"), R"({"e":"#"})");
  EXPECT_EQ(masked(R"({"e":"J\u00fcrgen\u0040m\u00fcller.test"})"), R"({"e":"#"})");
  EXPECT_EQ(masked("<m>ann&#64;example.test ann&#x40;example.test</m>"), "<m># #</m>");
}

TEST(EmailAddresses, EscapesBesideThemStayWhole) {
  EXPECT_EQ(masked(R"({"e":"by:\nann@example.test\n"})"), R"({"e":"by:\n#\n"})");
  EXPECT_EQ(masked(R"({"e":"\"ann@example.test\""})"), R"({"e":"\"#\""})");
  EXPECT_EQ(masked("?q=%27ann@example.test%27%22"), "?q=#%27%22") << "an apostrophe may be a part";
  EXPECT_EQ(masked("?q=%22ann@example.test%22"), "?q=%22#%22");
}

TEST(EmailAddresses, OtherTextStays) {
  for (const char* text : {R"({"@odata.context":"x","children@odata.count":1})",
                           R"({"a@microsoft.graph.b":1})", "photos@home", "a@", "@b.test", "a@.b",
                           "a @b.test", "5%", "\\", "a@b.", "%4", "&#64", ""}) {
    EXPECT_EQ(masked(text), text);
  }
}

}  // namespace
