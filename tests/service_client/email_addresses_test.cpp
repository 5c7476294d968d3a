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

TEST(EmailAddresses, AreMaskedInSpellingsWithinSpellings) {
  EXPECT_EQ(masked("?u=ann%2540x.org&x"), "?u=#&x");
  EXPECT_EQ(masked("<m>ann&commat;x.org ann&#064;x&period;org ann&amp;#64;x.org</m>"),
            "<m># # #</m>");
  EXPECT_EQ(masked(R"({"e":"ann\\u0040x.org","f": ann\x40x.org })"), R"({"e":"#","f": # })");
}

TEST(EmailAddresses, WithPartsInQuotesOrBracketsAreMasked) {
  EXPECT_EQ(masked("To: \"ann lee\"@x.org."), "To: #.");
  EXPECT_EQ(masked(R"({"e":"\"ann (lee)\"@x.org","n":1})"), R"({"e":"#","n":1})");
  EXPECT_EQ(masked("?u=%22ann%20lee%22%40x.org&x"), "?u=#&x");
  EXPECT_EQ(masked("to ann@[192.0.2.1] and ann@[IPv6:2001:db8::1]."), "to # and #.");
  EXPECT_EQ(masked("?u=ann%40%5B192.0.2.1%5D&x"), "?u=#&x");
}

TEST(EmailAddresses, EscapesBesideThemStayWhole) {
  EXPECT_EQ(masked(R"({"e":"by:\nann@example.test\n"})"), R"({"e":"by:\n#\n"})");
  EXPECT_EQ(masked(R"({"e":"\"ann@example.test\""})"), R"({"e":"\"#\""})");
  EXPECT_EQ(masked("?q=%27ann@example.test%27%22"), "?q=#%27%22") << "an apostrophe may be a part";
  EXPECT_EQ(masked("?q=%22ann@example.test%22"), "?q=%22#%22");
}

TEST(EmailAddresses, OtherTextStays) {
  for (const char* text : {R"({"@odata.context":"x","children@odata.count":1})",
                           R"({"a@microsoft.graph.b":1})",
                           "photos@home",
                           "a@",
                           "@b.test",
                           "a@.b",
                           "a @b.test",
                           "5%",
                           "\\",
                           "a@b.",
                           "%4",
                           "a@[b]",
                           "a@[1.2",
                           "a@[]",
                           "\"\"@b.test",
                           R"({"x":"y\"@b.test"})",
                           R"({"p":"C:\\new"})",
                           "a%2540b",
                           "&commat;b.c",
                           R"("a" @b.test)",
                           "x &amp; y@",
                           "a\\@",
                           "&#64",
                           ""}) {
    EXPECT_EQ(masked(text), text);
  }
}

}  // namespace
