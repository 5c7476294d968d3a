#include <gtest/gtest.h>

#include <string>

#include "Auth/AWSV4Signer.h"
#include "Auth/AzureSharedKeySigner.h"
#include "support/azure_fixture.h"
#include "support/dropbox_fixture.h"
#include "support/s3_fixture.h"

// Services that quote the request, and what the clients' errors show of it.
namespace {

namespace Http = CloudStorage::Http;

using TestSupport::response;

std::string errorDocument(const std::string& message) {
  return "<Error><Code>SignatureDoesNotMatch</Code><Message>" + message + "</Message></Error>";
}

std::string withJsonBreaks(std::string text) {
  for (auto at = text.find('\n'); at != std::string::npos; at = text.find('\n', at)) {
    text.replace(at, 1, "\\n");
  }
  return text;
}

TEST(QuotedRequest, SignatureAndSignedTextOfS3AreRedacted) {
  TestSupport::S3Fixture s3;
  s3.enqueue([](const Http::Request& request) {
    namespace AWSV4 = CloudStorage::Auth::AWSV4;
    const std::string& date = request.headers.at("x-amz-date");
    std::string names;
    const std::string text = AWSV4::stringToSign(
        date, AWSV4::credentialScope(date, "eu-west-1", "s3"),
        AWSV4::canonicalRequest(request, request.headers.at("x-amz-content-sha256"), names));
    const std::string& header = request.headers.at("authorization");
    const std::string signature = header.substr(header.rfind('=') + 1);
    return response(403, errorDocument("Got " + signature + " for '" + text + "', \"" +
                                       withJsonBreaks(text) + "\"."));
  });
  const auto error = s3.makeClient("s3.eu-west-1.amazonaws.com")->listBuckets().getError();
  EXPECT_EQ(error.exceptionName, "SignatureDoesNotMatch");
  EXPECT_EQ(error.message, "Got *** for '***', \"***\".");
}

TEST(QuotedRequest, SignatureAndSignedTextOfAzureAreRedacted) {
  TestSupport::AzureFixture azure;
  azure.enqueue([](const Http::Request& request) {
    const std::string text = CloudStorage::Auth::AzureSharedKey::stringToSign(request, "vemloacct");
    const std::string& header = request.headers.at("authorization");
    const std::string signature = header.substr(header.rfind(':') + 1);
    return response(403,
                    errorDocument("Got " + signature + " for \"" + withJsonBreaks(text) + "\"."));
  });
  const auto error = azure.makeClient()->listContainer({}).getError();
  EXPECT_EQ(error.message, "Got *** for \"***\".");
}

TEST(QuotedRequest, TokenThatDropboxsPlainTextContainsIsRedactedAlsoIfItIsCutOff) {
  TestSupport::DropboxFixture dropbox;
  const std::string token = "sl.B" + std::string(1300, 'x') + "y";
  dropbox.credential->setTokens(token, "");
  const std::string begin = "Error in call: invalid header: \"Bearer ";
  dropbox.enqueue(response(400, begin + token + "\". Expecting \"Bearer <token>\"."));
  const auto error = dropbox.makeClient()->createFolder({}).getError();
  EXPECT_EQ(error.exceptionName, "bad_input");
  EXPECT_EQ(error.message, begin + "***");
}

}  // namespace
