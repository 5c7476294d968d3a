#include "Util/Xml.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace {

using namespace std::string_literals;
namespace Xml = CloudStorage::Util::Xml;

/// A document with the text it points into.
struct Parsed {
  explicit Parsed(std::string text) : body(std::move(text)), status(Xml::parse(body, document)) {}

  pugi::xml_node root() const { return document.document_element(); }

  std::string body;
  pugi::xml_document document;
  CloudStorage::Util::Status status;
};

std::string rootText(const std::string& body) {
  const Parsed parsed(body);
  EXPECT_TRUE(parsed.status.isSuccess()) << parsed.status.toString();
  return Xml::text(parsed.root());
}

std::string refusal(const std::string& body) {
  const Parsed parsed(body);
  EXPECT_FALSE(parsed.status.isSuccess());
  EXPECT_FALSE(parsed.document.first_child()) << "a refused document must be empty";
  return parsed.status.toString();
}

std::string nested(std::size_t depth, const std::string& inside) {
  std::string body;
  for (std::size_t level = 0; level < depth; ++level) body += "<a>";
  body += inside;
  for (std::size_t level = 0; level < depth; ++level) body += "</a>";
  return body;
}

TEST(XmlParse, DeclarationCommentsAndInstructionsAreSkipped) {
  const Parsed parsed("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- c -->\n<?p i?><a/>\n");
  ASSERT_TRUE(parsed.status.isSuccess());
  EXPECT_TRUE(Xml::isNamed(parsed.root(), "a"));
}

TEST(XmlParse, ByteOrderMarkIsSkipped) {
  EXPECT_EQ(rootText("\xEF\xBB\xBF<?xml version=\"1.0\"?><a>x</a>"), "x");
  EXPECT_EQ(rootText("\xEF\xBB\xBF<a>x</a>"), "x");
}

TEST(XmlParse, WhiteSpaceBeforeTheRootIsSkipped) { EXPECT_EQ(rootText("\r\n <a>x</a>"), "x"); }

TEST(XmlParse, DocumentPointsIntoTheBody) {
  Parsed parsed("<a>some text</a>");
  const char* value = parsed.root().child_value();
  EXPECT_GE(value, parsed.body.data());
  EXPECT_LT(value, parsed.body.data() + parsed.body.size());
}

TEST(XmlParse, FailureEmptiesADocumentThatWasInUse) {
  Parsed parsed("<a/>");
  std::string bad = "<a>";
  EXPECT_FALSE(Xml::parse(bad, parsed.document).isSuccess());
  EXPECT_FALSE(parsed.document.first_child());
}

TEST(XmlParse, DocumentTypeDefinitionIsRefused) {
  const std::string reason = "The XML cannot be used: it has a document type definition.";
  EXPECT_EQ(refusal("<!DOCTYPE a><a/>"), reason);
  EXPECT_EQ(refusal("<?xml version=\"1.0\"?>\n<!DOCTYPE a SYSTEM \"http://127.0.0.1/x\"><a/>"),
            reason);
  EXPECT_EQ(refusal("<!DOCTYPE a [<!ENTITY b \"c\"><!ENTITY d \"&b;&b;\">]><a>&d;</a>"), reason);
}

TEST(XmlParse, DocumentTypeDefinitionInsideAnElementIsRefused) { refusal("<a><!DOCTYPE a></a>"); }

TEST(XmlParse, DeeplyNestedDocumentTypeDefinitionIsRefused) {
  std::string groups;
  for (int level = 0; level < 100000; ++level) groups += "<![INCLUDE[";
  refusal("<!DOCTYPE a [" + groups + "]><a/>");
}

TEST(XmlParse, UndeclaredEntityIsPlainText) { EXPECT_EQ(rootText("<a>&other;</a>"), "&other;"); }

TEST(XmlParse, TextThatIsNoXmlIsRefused) {
  EXPECT_EQ(refusal(""), "The XML cannot be used: it is empty.");
  EXPECT_EQ(refusal("\xEF\xBB\xBF"), "The XML cannot be used: it is empty.");
  EXPECT_EQ(refusal(" \n"), "The XML cannot be used: it is empty.");
  EXPECT_EQ(refusal("{\"a\":1}"), "The XML cannot be used: it does not begin with an element.");
  EXPECT_EQ(refusal("text <a/>"), "The XML cannot be used: it does not begin with an element.");
}

TEST(XmlParse, BrokenXmlIsRefused) {
  for (const auto body : {"<", "<a", "<a>", "<a><b></a>", "<a></b>", "<a", "<a x=1/>", "<a x='1/>",
                          "<a><!-- </a>", "<a><![CDATA[ </a>", "<?xml", "<?xml version=\"1.0\"?>",
                          "<!-- only a comment -->", "<html><body><p>text<br></body></html>"}) {
    EXPECT_NE(refusal(body), "") << body;
  }
}

TEST(XmlParse, SecondRootIsRefused) {
  EXPECT_EQ(refusal("<a/><b/>"), "The XML cannot be used: it has more than one root element.");
}

TEST(XmlParse, NulIsRefused) {
  const std::string reason = "The XML cannot be used: it holds a byte of value 0.";
  EXPECT_EQ(refusal("<a>x\0y</a>"s), reason);
  EXPECT_EQ(refusal("<a/>\0"s), reason);
  EXPECT_EQ(refusal("<a>\0</a>"s), reason);
}

TEST(XmlParse, Utf16IsRefused) { refusal("\xFF\xFE<\0a\0/\0>\0"s); }

TEST(XmlParse, NestingIsLimitedTo64) {
  EXPECT_TRUE(Parsed(nested(64, "")).status.isSuccess());
  EXPECT_TRUE(Parsed(nested(64, "text")).status.isSuccess());
  const std::string reason = "The XML cannot be used: its elements are too deep.";
  EXPECT_EQ(refusal(nested(65, "")), reason);
  EXPECT_EQ(refusal(nested(64, "text<b/>")), reason);
  EXPECT_EQ(refusal("<a><b/>" + nested(64, "") + "</a>"), reason);
}

std::string filled(const std::string& piece, std::size_t times) {
  std::string body = "<a>";
  for (std::size_t i = 0; i < times; ++i) body += piece;
  return body + "</a>";
}

// A tree of this many nodes would take many times the memory of its text.
TEST(XmlParse, MoreNodesThanAnyListingHasAreRefused) {
  const std::string reason = "The XML cannot be used: it has too many elements.";
  EXPECT_EQ(refusal(filled("<b/>", 2'000'000)), reason);
  EXPECT_EQ(refusal(filled("<b/>x", 1'000'000)), reason) << "a text beside elements is a node";
  EXPECT_EQ(refusal(filled("<b c='' d=''/>", 700'000)), reason) << "so is an attribute";
  EXPECT_EQ(refusal(filled("<![CDATA[]]>x", 1'000'000)), reason);
}

TEST(XmlParse, LongestListingIsRead) {
  EXPECT_TRUE(Parsed(filled("<Contents><Key>key</Key><LastModified>date</LastModified><ETag>tag"
                            "</ETag><ChecksumAlgorithm>crc</ChecksumAlgorithm><ChecksumType>full"
                            "</ChecksumType><Size>1</Size><StorageClass>class</StorageClass>"
                            "</Contents>",
                            100'000))
                  .status.isSuccess());
}

TEST(XmlParse, StatusTellsWhyABodyIsRefused) {
  for (const auto& body : {""s, "text"s, "<a>"s, "<a/><b/>"s, "<a>\0</a>"s}) {
    EXPECT_EQ(Parsed(body).status.getCode(), Xml::kNotXml) << body;
  }
  EXPECT_EQ(Parsed("<!DOCTYPE a><a/>").status.getCode(), Xml::kForbidden);
  EXPECT_EQ(Parsed(nested(65, "")).status.getCode(), Xml::kForbidden);
  EXPECT_EQ(Parsed(filled("<b/>", 2'000'000)).status.getCode(), Xml::kTooLarge);
}

TEST(XmlParse, HostileNestingIsRefused) {
  refusal(nested(100000, ""));
  refusal(nested(100000, "text"));
  std::string open;
  for (int level = 0; level < 100000; ++level) open += "<a>";
  refusal(open);
}

TEST(XmlParse, ManySiblingsAreRead) {
  std::string body = "<list>";
  for (int entry = 0; entry < 1000; ++entry) body += "<e>" + std::to_string(entry) + "</e>";
  const Parsed parsed(body + "</list>");
  ASSERT_TRUE(parsed.status.isSuccess());
  int count = 0;
  for (const auto& node : parsed.root().children()) {
    EXPECT_EQ(Xml::text(node), std::to_string(count++));
  }
  EXPECT_EQ(count, 1000);
}

TEST(XmlReferences, PredefinedEntitiesAndCharactersAreDecoded) {
  EXPECT_EQ(rootText("<a>&amp;&lt;&gt;&quot;&apos;&#65;&#x42;&#233;&#x1F600;</a>"),
            "&<>\"'AB\u00e9\U0001F600");
}

TEST(XmlReferences, ControlCharactersAreDecoded) {
  EXPECT_EQ(rootText("<a>x&#x1b;y&#1;z&#31;</a>"), "x\x1by\x01z\x1f");
  EXPECT_EQ(rootText("<a>&#13;&#10;&#9;</a>"), "\r\n\t");
}

TEST(XmlReferences, NonCharactersThatUtf8CanHoldAreDecoded) {
  EXPECT_EQ(rootText("<a>&#xFFFE;&#xFFFF;&#x10FFFF;</a>"), "\ufffe\uffff\U0010ffff");
}

TEST(XmlReferences, NumberOfNoCharacterReadsAsTheReplacementCharacter) {
  for (const auto reference :
       {"&#0;", "&#x0;", "&#00000;", "&#xD800;", "&#xDFFF;", "&#55296;", "&#x110000;", "&#1114112;",
        "&#4294967296;", "&#4294967361;", "&#99999999999999999999999;"}) {
    EXPECT_EQ(rootText("<a>x"s + reference + "y</a>"), "x\uFFFDy") << reference;
    Xml::Document page("<a>x"s + reference + "y</a>");
    EXPECT_EQ(page.text(page.root()), "x\uFFFDy") << reference;
  }
}

TEST(XmlReferences, IncompleteReferenceIsPlainText) {
  for (const std::string text : {"&#;", "&#x;", "&#xG;", "&#1A;", "&#12", "&#-1;", "&# 1;",
                                 "&#X41;", "&", "&&amp", "&#", "&AMP;", "&amp"}) {
    EXPECT_EQ(rootText("<a>x" + text + "</a>"), "x" + text);
    Xml::Document page("<a>x" + text + "</a>");
    EXPECT_EQ(page.text(page.root()), "x" + text);
  }
}

TEST(XmlReferences, AreDecodedOnce) {
  EXPECT_EQ(rootText("<a>&amp;lt;&amp;#65;&#38;amp;</a>"), "&lt;&#65;&amp;");
}

TEST(XmlReferences, MeanNothingInCharacterDataCommentsAndInstructions) {
  EXPECT_EQ(rootText("<a>x<![CDATA[&#0;&#x41;&amp;]]><!-- &#0; --><?p &#0;?>&#x42;</a>"),
            "x&#0;&#x41;&amp;B");
  Xml::Document page("<a><![CDATA[&#0;&#x41;]]><!-- &#0; -->&#x42;</a>");
  EXPECT_EQ(page.text(page.root()), "&#0;&#x41;B");
}

TEST(XmlText, WhiteSpaceIsKept) {
  EXPECT_EQ(rootText("<a>  two words \n</a>"), "  two words \n");
  EXPECT_EQ(rootText("<a>   </a>"), "   ");
  EXPECT_EQ(rootText("<a>&#32;</a>"), " ");
}

TEST(XmlText, LineBreaksBecomeLineFeeds) { EXPECT_EQ(rootText("<a>x\r\ny\rz</a>"), "x\ny\nz"); }

TEST(XmlText, PiecesAreAppended) {
  EXPECT_EQ(rootText("<a>one<!-- c --> two<?p i?> three</a>"), "one two three");
  EXPECT_EQ(rootText("<a>one<b>inside</b>two</a>"), "onetwo");
}

TEST(XmlText, CharacterDataSectionsAreText) {
  EXPECT_EQ(rootText("<a>x<![CDATA[<&amp;> ]]>y<![CDATA[ ]]></a>"), "x<&amp;> y ");
}

TEST(XmlText, NullNodeAndEmptyElementHaveNone) {
  EXPECT_EQ(Xml::text(pugi::xml_node()), "");
  EXPECT_EQ(rootText("<a/>"), "");
  EXPECT_EQ(rootText("<a></a>"), "");
  EXPECT_EQ(rootText("<a>\n  <b/>\n</a>"), "");
}

TEST(XmlText, InvalidUtf8IsKept) { EXPECT_EQ(rootText("<a>\xff\xe9</a>"), "\xff\xe9"); }

TEST(XmlNames, NamespaceAndPrefixDoNotMatter) {
  for (const auto body :
       {"<L><B>x</B></L>", "<L xmlns=\"urn:one\"><B>x</B></L>",
        "<s:L xmlns:s=\"urn:one\"><s:B>x</s:B></s:L>", "<s:L><t:B>x</t:B></s:L>"}) {
    const Parsed parsed(body);
    EXPECT_TRUE(Xml::isNamed(parsed.root(), "L")) << body;
    EXPECT_EQ(Xml::text(Xml::child(parsed.root(), "B")), "x") << body;
  }
}

TEST(XmlNames, WholeLocalNameIsCompared) {
  const Parsed parsed("<Buckets><Buck/><Bucketed/><bucket/><x:Bucket/></Buckets>");
  EXPECT_FALSE(Xml::isNamed(parsed.root(), "Bucket"));
  EXPECT_FALSE(Xml::isNamed(parsed.root(), ""));
  EXPECT_STREQ(Xml::child(parsed.root(), "Bucket").name(), "x:Bucket");
}

TEST(XmlNames, OnlyElementsHaveNames) {
  const Parsed parsed("<a>text</a>");
  EXPECT_FALSE(Xml::isNamed(pugi::xml_node(), ""));
  EXPECT_FALSE(Xml::isNamed(parsed.root().first_child(), ""));
  EXPECT_FALSE(Xml::child(parsed.root(), ""));
}

TEST(XmlNames, NullNodesHaveNoRelatives) {
  EXPECT_FALSE(Xml::child(pugi::xml_node(), "a"));
  EXPECT_FALSE(Xml::lastChild(pugi::xml_node(), "a"));
}

TEST(XmlNames, FirstAndLastOfSeveralAreFound) {
  const Parsed parsed("<l><c/><a>1</a><b/>text<a>2</a><s:a>3</s:a><b/></l>");
  EXPECT_EQ(Xml::text(Xml::child(parsed.root(), "a")), "1");
  EXPECT_EQ(Xml::text(Xml::lastChild(parsed.root(), "a")), "3");
  EXPECT_FALSE(Xml::lastChild(parsed.root(), "d"));
}

TEST(XmlNames, GrandchildrenAreNoChildren) {
  EXPECT_FALSE(Xml::child(Parsed("<l><a><b/></a></l>").root(), "b"));
}

TEST(XmlDocument, TextsLieInTheStorage) {
  Xml::Document page("<a><b>one &amp; all</b></a>");
  ASSERT_TRUE(page.status().isSuccess());
  const std::string_view text = page.text(Xml::child(page.root(), "b"));
  EXPECT_EQ(text, "one & all");
  EXPECT_GE(text.data(), page.storage()->data());
  EXPECT_LE(text.data() + text.size(), page.storage()->data() + page.storage()->size());
}

TEST(XmlDocument, TextsOutliveThePageInItsStorage) {
  std::string_view text;
  std::shared_ptr<const std::string> storage;
  {
    Xml::Document page("<a>kept</a>");
    text = page.text(page.root());
    storage = page.storage();
  }
  EXPECT_EQ(text, "kept");
}

TEST(XmlDocument, PiecesOfATextAreJoined) {
  Xml::Document page("<a>one<!-- c --> two<![CDATA[<three>]]>&amp;four<b>not</b></a>");
  EXPECT_EQ(page.text(page.root()), "one two<three>&four");
  Xml::Document onlyMarkup("<a><![CDATA[x]]><!-- c --><![CDATA[]]>y</a>");
  EXPECT_EQ(onlyMarkup.text(onlyMarkup.root()), "xy");
}

TEST(XmlDocument, NothingHasAnEmptyText) {
  Xml::Document page("<a><b/></a>");
  EXPECT_EQ(page.text(Xml::child(page.root(), "b")), "");
  EXPECT_EQ(page.text(Xml::child(page.root(), "c")), "");
  EXPECT_EQ(page.text({}), "");
}

TEST(XmlDocument, TextCanBeReplacedByOneThatIsNoLonger) {
  Xml::Document page("<a><b>%41%42c</b><b>next</b></a>");
  const auto first = Xml::child(page.root(), "b");
  EXPECT_EQ(page.replace(page.text(first), "ABc"), "ABc");
  EXPECT_EQ(page.text(Xml::lastChild(page.root(), "b")), "next");
  EXPECT_EQ(page.replace(page.text(page.root()), ""), "");
}

TEST(XmlDocument, TextCanBeReplacedByALongerOne) {
  Xml::Document page("<a><b>x</b><b>next</b></a>");
  const std::string_view longer = page.replace(page.text(Xml::child(page.root(), "b")), "xyz");
  page.replace(page.text(Xml::lastChild(page.root(), "b")), "longer than the text was");
  EXPECT_EQ(longer, "xyz");
}

TEST(XmlDocument, TextThatIsNoXmlHasNoRoot) {
  Xml::Document page("Please log in");
  EXPECT_FALSE(page.status().isSuccess());
  EXPECT_FALSE(page.root());
}

TEST(XmlNames, ElementsWithAPrefixAreFound) {
  Xml::Document page("<s:a xmlns:s='u'><s:b>1</s:b><s:c/><s:b>2</s:b></s:a>");
  const auto first = Xml::child(page.root(), "b");
  EXPECT_EQ(page.text(first), "1");
  EXPECT_EQ(page.text(Xml::lastChild(page.root(), "b")), "2");
}

}  // namespace
