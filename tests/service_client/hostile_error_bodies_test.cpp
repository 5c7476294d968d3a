#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "Util/Text.h"
#include "support/responses.h"

namespace {

using namespace std::string_literals;
using namespace CloudStorage::Client;  // NOLINT: everything under test
using CloudStorage::Http::Method;
using TestSupport::response;

struct Service {
  const char* name;
  std::function<std::unique_ptr<WSErrorMarshaller>()> make;
  /// The start of the name of a failure without a usable code; the status follows.
  std::string prefix;
};

template <typename Marshaller>
Service service(const char* name, std::string prefix = "HTTP") {
  return {name, [] { return std::make_unique<Marshaller>(); }, std::move(prefix)};
}

struct Body {
  const char* name;
  std::string text;
};

std::ostream& operator<<(std::ostream& out, const Service& service) { return out << service.name; }
std::ostream& operator<<(std::ostream& out, const Body& body) { return out << body.name; }

std::string repeated(const std::string& piece, int times) {
  std::string text;
  for (int count = 0; count < times; ++count) text += piece;
  return text;
}

/// None of these holds a code or a message in a form that any of the services uses.
const Body kBodies[] = {
    {"Empty", ""},
    {"WhiteSpace", " \r\n\t "},
    {"ByteOrderMarkAlone", "\xEF\xBB\xBF"},
    {"HtmlPage", "<!DOCTYPE html><html><body><h1>Bad Gateway</h1></body></html>"},
    {"HtmlWithoutDoctype", "<html><head><title>502</title></head><body><hr></body></html>"},
    {"TruncatedXml", "<?xml version=\"1.0\"?><Error><Code>NoSuchBucket</Code><Mess"},
    {"TruncatedJson", R"({"error":{"code":"itemNotFound","message":"The res)"},
    {"TrailingGarbage", R"({"error":{"code":"x","message":"y"}} z)"},
    {"EntityExpansion",
     "<!DOCTYPE Error [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]>"
     "<Error><Code>&b;</Code></Error>"},
    {"ExternalEntity",
     "<!DOCTYPE Error [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>"
     "<Error><Code>Code</Code><Message>&x;</Message></Error>"},
    {"DeepXml", repeated("<Error>", 100000) + repeated("</Error>", 100000)},
    {"DeepXmlNeverClosed", repeated("<Error>", 100000)},
    {"DeepJsonObjects", repeated(R"({"error":)", 100000) + "1" + repeated("}", 100000)},
    {"DeepJsonArrays", R"({"error":)" + repeated("[", 100000) + repeated("]", 100000) + "}"},
    {"DeepJsonNeverClosed", repeated(R"({"error":)", 100000)},
    {"NumbersForTexts",
     R"({"error":{"code":1,"message":2,"status":3,"errors":[{"reason":4}]},"code":5,"message":6,)"
     R"("error_summary":7,"user_message":{"text":8},"error_description":9})"},
    {"ArraysForTexts", R"({"error":[{"code":["x"]}],"code":["x"],"message":{},"error_summary":[],)"
                       R"("user_message":[]})"},
    {"NullsForTexts", R"({"error":null,"code":null,"message":null,"error_summary":null})"},
    {"ArrayRoot", R"([{"code":"x","message":"y"}])"},
    {"NulInXml", "<Error><Code>Ab\0c</Code></Error>"s},
    {"NulInJson", "{\"code\":\"a\0b\",\"error_summary\":\"a\0b\"}"s},
    {"MegabyteOfOpenBraces", std::string(1 << 20, '{')},
    {"MegabyteOfOpenBrackets", std::string(1 << 20, '<')},
};

class HostileErrorBody : public testing::TestWithParam<std::tuple<Service, Body>> {
 protected:
  static const Service& service() { return std::get<0>(GetParam()); }
  static Error marshall(int status, const std::string& body) {
    return service().make()->marshall(response(status, body), Method::Get);
  }
};

TEST_P(HostileErrorBody, IsReplacedByTheStatus) {
  const Error error = marshall(502, std::get<1>(GetParam()).text);
  EXPECT_EQ(error.exceptionName, service().prefix + "502");
  EXPECT_EQ(error.message, "Bad Gateway");
  EXPECT_EQ(error.httpResponseCode, 502);
  EXPECT_GT(static_cast<unsigned>(error.errorType), 1U);
}

const Service kServices[] = {
    service<S3::S3ErrorMarshaller>("S3"),
    service<AzureSSB::AzureSSBErrorMarshaller>("AzureSSB"),
    service<GoogleDrive::GoogleDriveErrorMarshaller>("GoogleDrive", ""),
    service<OneDrive::OneDriveErrorMarshaller>("OneDrive"),
    service<Dropbox::DropboxErrorMarshaller>("Dropbox"),
    service<AmazonDrive::AmazonDriveErrorMarshaller>("AmazonDrive"),
};

INSTANTIATE_TEST_SUITE_P(All, HostileErrorBody,
                         testing::Combine(testing::ValuesIn(kServices), testing::ValuesIn(kBodies)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) + "_" +
                                  std::get<1>(test.param).name;
                         });

class ErrorOf : public testing::TestWithParam<Service> {
 protected:
  static Error marshall(int status, const std::string& body) {
    return GetParam().make()->marshall(response(status, body), Method::Get);
  }
};

TEST_P(ErrorOf, ResponseIsNeverASuccessNorALocalFailure) {
  for (int status = 100; status < 600; ++status) {
    const auto type = static_cast<unsigned>(marshall(status, "").errorType);
    EXPECT_NE(type, 0U) << status;
    EXPECT_NE(type, 1U) << status;
  }
}

std::string wholeLine(const std::string& text) {
  return CloudStorage::Util::oneLine(text, std::string::npos);
}

TEST_P(ErrorOf, JunkGivesTwoLinesOfValidText) {
  const std::string junk[] = {std::string(1 << 20, '\xff'), std::string(1 << 20, '\0'),
                              repeated("\xED\xA0\x80\r\n", 100000), repeated("\x1b[31m", 100000),
                              repeated("text ", 200000)};
  for (const auto& body : junk) {
    const Error error = marshall(400, body);
    for (const auto& text : {error.exceptionName, error.message}) {
      EXPECT_NE(text, "");
      EXPECT_EQ(text, wholeLine(text));
    }
  }
}

TEST_P(ErrorOf, LongHostileTextsAreOneLineEach) {
  const std::string bad = "bad\\u0000\\r\\n\\u001b" + std::string(300000, 'x');
  const std::string json = R"({"error":{"code":")" + bad + R"(","message":")" + bad +
                           R"(","errors":[{"reason":")" + bad + R"("}]},"code":")" + bad +
                           R"(","message":")" + bad + R"(","error_summary":")" + bad + "\"}";
  const std::string text = "bad&#1;\r\n\xff" + std::string(300000, 'x');
  const std::string xml =
      "<Error><Code>" + text + "</Code><Message>first" + text + "</Message></Error>";
  for (const auto& body : {json, xml}) {
    const Error error = marshall(400, body);
    for (const auto& line : {error.exceptionName, error.message}) {
      EXPECT_NE(line, "");
      EXPECT_EQ(line, wholeLine(line));
    }
  }
}

TEST_P(ErrorOf, HeaderValuesAreNotEchoed) {
  auto response = TestSupport::response(403, "");
  response.headers = {{"www-authenticate", "Bearer s3cr3t"}, {"x-odd", "s3cr3t"}};
  const Error error = GetParam().make()->marshall(response, Method::Get);
  EXPECT_EQ((error.exceptionName + error.message).find("s3cr3t"), std::string::npos);
  EXPECT_EQ(error.responseHeaders, response.headers);
}

INSTANTIATE_TEST_SUITE_P(All, ErrorOf, testing::ValuesIn(kServices),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
