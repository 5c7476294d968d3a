#include "Util/Json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Util/JsonParserPool.h"

namespace {

namespace Json = CloudStorage::Util::Json;
using namespace std::string_literals;
using CloudStorage::Util::Json::number;
using CloudStorage::Util::Json::texts;
using testing::ElementsAre;

std::string textAt(std::string_view body, std::string_view path) { return texts(body, {path})[0]; }

std::string nested(std::size_t depth) {
  std::string body;
  for (std::size_t level = 1; level < depth; ++level) body += R"({"in":)";
  body += R"({"name":"x"})";
  return body + std::string(depth - 1, '}');
}

std::string pathInto(std::size_t depth) {
  std::string path;
  for (std::size_t level = 1; level < depth; ++level) path += "in/";
  return path + "name";
}

TEST(JsonNumber, IsFoundAsANumberAndAsAText) {
  EXPECT_EQ(number(R"({"a":{"b":[7,-8]}})", "a/b/1"), -8);
  EXPECT_EQ(number(R"({"a":"42"})", "a"), 42);
  EXPECT_EQ(number(R"({"a":1,"a":2})", "a"), 2);
}

TEST(JsonNumber, NothingElseIsOne) {
  for (const char* body :
       {"", "[1]", "7", "{}", R"({"a":1.5})", R"({"a":true})", R"({"a":" 1"})", R"({"a":"1 "})",
        R"({"a":"0x1"})", R"({"a":99999999999999999999})", R"({"a":[1]})", R"({"a":1} 2)"}) {
    EXPECT_EQ(number(body, "a"), std::nullopt) << body;
  }
}

TEST(JsonTexts, OneTextForEachPathInItsOrder) {
  EXPECT_THAT(texts(R"({"a":"1","b":{"c":"2"}})", {"b/c", "missing", "a"}),
              ElementsAre("2", "", "1"));
}

TEST(JsonTexts, ElementsOfArraysGoByNumber) {
  const auto body = R"({"errors":[{"reason":"first"},{"reason":"second"}]})";
  EXPECT_EQ(textAt(body, "errors/0/reason"), "first");
  EXPECT_EQ(textAt(body, "errors/1/reason"), "second");
  EXPECT_EQ(textAt(body, "errors/2/reason"), "");
  EXPECT_EQ(textAt(body, "errors/first/reason"), "");
}

TEST(JsonTexts, NumberNamesAMemberOfAnObject) { EXPECT_EQ(textAt(R"({"0":"x"})", "0"), "x"); }

TEST(JsonTexts, OtherTypesReadAsEmpty) {
  for (const auto value : {"1", "1.5", "true", "null", "{}", "[]", R"(["x"])"}) {
    EXPECT_EQ(textAt(R"({"a":)"s + value + "}", "a"), "") << value;
  }
}

TEST(JsonTexts, PathThroughAStringReadsAsEmpty) { EXPECT_EQ(textAt(R"({"a":"x"})", "a/b"), ""); }

TEST(JsonTexts, LastOfDuplicateMembersCounts) {
  EXPECT_EQ(textAt(R"({"a":"first","a":"last"})", "a"), "last");
  EXPECT_EQ(textAt(R"({"a":{"b":"first"},"a":{}})", "a/b"), "");
}

TEST(JsonTexts, EscapesAreDecoded) {
  EXPECT_EQ(textAt(R"({"a":"\u00e9\ud83d\ude00\n\"\\"})", "a"), "\u00e9\U0001F600\n\"\\");
}

TEST(JsonTexts, EscapedZeroIsPartOfTheText) {
  EXPECT_EQ(textAt(R"({"a":"x\u0000y"})", "a"), "x\0y"s);
}

TEST(JsonTexts, ByteOrderMarkIsSkipped) {
  EXPECT_EQ(textAt("\xEF\xBB\xBF{\"a\":\"x\"}", "a"), "x");
}

TEST(JsonTexts, InvalidUtf8IsReplaced) {
  EXPECT_EQ(textAt("{\"a\":\"caf\xe9\",\"b\":\"\xff\"}", "a"), "caf?");
}

TEST(JsonTexts, WhatIsNoObjectReadsAsEmpty) {
  for (const auto& body :
       {""s, " "s, "text"s, "\"a\""s, "[{\"a\":\"x\"}]"s, "{\"a\":\"x\""s, "{\"a\":\"x"s,
        "{\"a\":\"x\"} junk"s, "{\"a\":\"x\"}{}"s, "<html/>"s, "{\"a\":\"x\"}\0"s, "\0"s,
        "{\"a\":\"x\",\"b\":\"\0\"}"s, "{a:\"x\"}"s}) {
    EXPECT_EQ(textAt(body, "a"), "") << body;
  }
}

TEST(JsonTexts, NestingIsLimitedTo64) {
  EXPECT_EQ(textAt(nested(64), pathInto(64)), "x");
  EXPECT_EQ(textAt(nested(65), pathInto(65)), "");
}

TEST(JsonTexts, HostileNestingReadsAsEmpty) {
  EXPECT_EQ(textAt(nested(100000), "in"), "");
  EXPECT_EQ(textAt(std::string(100000, '['), "in"), "");
  EXPECT_EQ(textAt("{\"a\":\"x\",\"b\":" + std::string(100000, '[') + "}", "a"), "");
}

TEST(JsonTexts, LongTextArrivesWhole) {
  const std::string value(1 << 20, 'x');
  EXPECT_EQ(textAt("{\"a\":\"" + value + "\"}", "a"), value);
}

// What is read as a text from a document with the one member `json`.
std::string readMember(const std::string& json, std::string_view name) {
  std::string document = "{" + json + "}";
  Json::Parser parser;
  std::string_view found = "nothing";
  Json::parse(document, parser, [&](Json::Object object) {
    for (const auto& [key, value] : object) {
      if (key == name) Json::read(value, found);
    }
  });
  return std::string(found);
}

TEST(JsonDocument, NamesAndTextsOfAnyLengthAreRead) {
  for (std::size_t length = 0; length <= 50; ++length) {
    const std::string text(length, 'x');
    EXPECT_EQ(readMember("\"" + text + "\":\"" + text + "\"", text), text) << length;
    EXPECT_EQ(readMember("\"" + text + "\" : \"" + text + "\" \n", text), text) << length;
  }
}

TEST(JsonDocument, EscapesAreDecodedWhereverTheyAre) {
  for (std::size_t position = 0; position <= 40; ++position) {
    std::string written(40, 'x');
    std::string text = written;
    written.insert(position, R"(\")");
    text.insert(position, "\"");
    EXPECT_EQ(readMember("\"" + written + "\":\"" + written + "\"", text), text) << position;
  }
}

TEST(JsonDocument, TextsThatDoNotEndAreRefused) {
  for (const std::string json : {R"("a":"b)", R"("a":"b\)", R"("a":"b\")", R"("a":\"b")",
                                 R"("a\":1)", R"("a)", R"("a":"b\u00)", R"(")"}) {
    EXPECT_THROW(readMember(json, "a"), simdjson::simdjson_error) << json;
  }
}

TEST(JsonDocument, OnlyTextsAreReadAsTexts) {
  EXPECT_EQ(readMember(R"("b":"x")", "a"), "nothing");
  for (const char* value : {"null", "1", "true", "[\"x\"]", "{\"a\":\"x\"}"}) {
    EXPECT_EQ(readMember(std::string(R"("a":)") + value, "a"), "") << value;
  }
}

// The last of several members with one name counts.
TEST(JsonDocument, ValueOfAnotherTypeReplacesAnEarlierOne) {
  std::string document = R"({"a":"x","b":true,"c":7,"d":"8","e":["x"],)"
                         R"("a":null,"b":null,"c":null,"d":null,"e":null})";
  Json::Parser parser;
  std::string text;
  bool flag = false;
  std::int64_t number = 0;
  std::uint64_t size = 0;
  std::vector<std::string_view> ids;
  Json::parse(document, parser, [&](Json::Object object) {
    for (const auto& [key, value] : object) {
      if (key == "a") Json::read(value, text);
      if (key == "b") Json::read(value, flag);
      if (key == "c") Json::read(value, number);
      if (key == "d") Json::read(value, size);
      if (key == "e") Json::readIds(value, ids);
    }
  });
  EXPECT_EQ(text, "");
  EXPECT_FALSE(flag);
  EXPECT_EQ(number, 0);
  EXPECT_EQ(size, 0U);
  EXPECT_TRUE(ids.empty());
}

using Json::ParserPool;

// Parses a document of about `size` bytes with a parser of the pool, and returns that parser.
const Json::Parser* parseWith(ParserPool& pool, std::size_t size) {
  const ParserPool::Lease lease(pool);
  std::string document = "{\"a\":\"" + std::string(size, 'x') + "\"}";
  std::string_view text;
  Json::parse(document, lease.parser(), [&text](Json::Object object) {
    for (const auto& [key, value] : object) Json::read(value, text);
  });
  EXPECT_EQ(text.size(), size);
  return &lease.parser();
}

TEST(JsonParserPool, LeasesTheSameParserAgain) {
  ParserPool pool;
  const Json::Parser* const first = parseWith(pool, 100);
  EXPECT_EQ(parseWith(pool, 200), first);
}

TEST(JsonParserPool, LeasesAParserToOneCallAtATime) {
  ParserPool pool;
  const ParserPool::Lease one(pool);
  const ParserPool::Lease other(pool);
  EXPECT_NE(&one.parser(), &other.parser());
}

TEST(JsonParserPool, KeepsNoParserOfALargeResponse) {
  ParserPool pool;
  parseWith(pool, std::size_t{2} << 20U);
  const ParserPool::Lease lease(pool);
  EXPECT_EQ(lease.parser().capacity(), 0U) << "a new one";
}

TEST(JsonParserPool, KeepsEightIdleParsers) {
  ParserPool pool;
  const auto idle = [&pool] {
    int used = 0;
    std::vector<std::unique_ptr<ParserPool::Lease>> leases;
    for (int i = 0; i < 10; ++i) {
      leases.push_back(std::make_unique<ParserPool::Lease>(pool));
      if (leases.back()->parser().capacity() > 0) ++used;
      std::string document = "{}";
      Json::parse(document, leases.back()->parser(), [](Json::Object) {});
    }
    return used;
  };
  EXPECT_EQ(idle(), 0);
  EXPECT_EQ(idle(), 8);
}

}  // namespace
