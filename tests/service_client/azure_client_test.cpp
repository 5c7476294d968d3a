#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "support/azure_fixture.h"
#include "support/expectations.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::AzureSSB::Model;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::AzureSSB::AzureSSBClient;
using CloudStorage::Client::AzureSSB::Region;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::azureError;
using TestSupport::expectInvalidRequest;
using TestSupport::expectMalformedResponse;
using TestSupport::response;

constexpr char kEmptyPage[] = "<EnumerationResults><NextMarker/></EnumerationResults>";

Model::CreateContainerRequest newContainer(const std::string& name) {
  Model::CreateContainerRequest request;
  request.container = name;
  return request;
}

Model::PutBlobRequest newBlob(const std::string& container, const std::string& blob) {
  Model::PutBlobRequest request;
  request.container = container;
  request.contentLength = 0;
  request.blob = blob;
  request.blobType = AzureSSBClient::BLOB_TYPE_BLOCK_BLOB;
  return request;
}

Model::ListBlobRequest blobsOf(const std::string& container) {
  Model::ListBlobRequest request;
  request.container = container;
  return request;
}

class AzureClientTest : public ::testing::Test, protected TestSupport::AzureFixture {
 protected:
  // The address of a blob.
  std::string addressOf(const std::string& container, const std::string& blob) {
    enqueue(response(201));
    EXPECT_TRUE(makeClient()->putBlob(newBlob(container, blob)).isSuccess());
    return addresses().back();
  }

  Outcome<Model::ListContainerResult, Error> listFails(int status, const std::string& body,
                                                       Http::HeaderValueCollection headers = {}) {
    enqueue(response(status, body, std::move(headers)));
    auto outcome = makeClient()->listContainer({});
    EXPECT_FALSE(outcome.isSuccess()) << status << ' ' << body;
    return outcome;
  }
};

using AzureCreateContainer = AzureClientTest;

TEST_F(AzureCreateContainer, RequestIsExactlyThis) {
  enqueue(response(201, "", {{"etag", "\"0x8D\""}}));
  EXPECT_TRUE(makeClient()->createContainer(newContainer("pictures")).isSuccess());
  ASSERT_THAT(requests(), SizeIs(1));
  const auto request = requests().at(0);
  EXPECT_EQ(request.method, Http::Method::Put);
  EXPECT_EQ(request.uri.toString(),
            "https://vemloacct.blob.core.windows.net/pictures?restype=container");
  EXPECT_EQ(request.body, "");
  EXPECT_THAT(
      request.headers,
      ElementsAre(
          Pair("authorization", "SharedKey vemloacct:Zqd2B3YX189NgjGltKetUKQgSWuNPJoZa/xcM5AOtBY="),
          Pair("content-type", "application/xml"),
          Pair("x-ms-date", "Thu, 29 Feb 2024 08:30:15 GMT"), Pair("x-ms-version", "2021-12-02")));
}

TEST_F(AzureCreateContainer, NameIsAlwaysOneSegment) {
  for (const char* name : {"a/../b", "A b%41?x=1#", "$root"}) {
    enqueue(response(201));
    EXPECT_TRUE(makeClient()->createContainer(newContainer(name)).isSuccess());
  }
  EXPECT_THAT(
      addresses(),
      ElementsAre("https://vemloacct.blob.core.windows.net/a%2F..%2Fb?restype=container",
                  "https://vemloacct.blob.core.windows.net/A%20b%2541%3Fx%3D1%23?restype=container",
                  "https://vemloacct.blob.core.windows.net/%24root?restype=container"));
}

TEST_F(AzureCreateContainer, ConflictIsReportedEvenAfterAnAttemptThatMayHaveSucceeded) {
  enqueue(response(503, azureError("ServerBusy")));
  enqueue(response(409, azureError("ContainerAlreadyExists")));
  const auto outcome = makeClient()->createContainer(newContainer("pictures"));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::BucketAlreadyOwned);
  EXPECT_EQ(outcome.getError().message, "about ContainerAlreadyExists");
}

using AzurePutBlob = AzureClientTest;

TEST_F(AzurePutBlob, RequestIsExactlyThis) {
  enqueue(response(201));
  EXPECT_TRUE(makeClient()->putBlob(newBlob("pictures", "photos/a b+c/")).isSuccess());
  ASSERT_THAT(requests(), SizeIs(1));
  const auto request = requests().at(0);
  EXPECT_EQ(request.method, Http::Method::Put);
  EXPECT_EQ(request.uri.toString(),
            "https://vemloacct.blob.core.windows.net/pictures/photos/a%20b%2Bc/");
  EXPECT_EQ(request.body, "");
  EXPECT_THAT(
      request.headers,
      ElementsAre(
          Pair("authorization", "SharedKey vemloacct:qHC+2b6vCzBRoysvouEUtqsZrZ89nbKULTmrOvTVVzs="),
          Pair("content-type", "application/xml"), Pair("x-ms-blob-type", "BlockBlob"),
          Pair("x-ms-date", "Thu, 29 Feb 2024 08:30:15 GMT"), Pair("x-ms-version", "2021-12-02")));
}

TEST_F(AzurePutBlob, NameIsNotNormalised) {
  const std::string container = "https://vemloacct.blob.core.windows.net/c";
  EXPECT_EQ(addressOf("c", "a/b/"), container + "/a/b/");
  EXPECT_EQ(addressOf("c", "a//b//"), container + "/a//b//");
  EXPECT_EQ(addressOf("c", "/a"), container + "//a");
  EXPECT_EQ(addressOf("c", "a/./b/../"), container + "/a/./b/../");
  EXPECT_EQ(addressOf("c", ".."), container + "/..");
  EXPECT_EQ(addressOf("c", "?comp=x&y#z%2F"), container + "/%3Fcomp%3Dx%26y%23z%252F");
}

TEST_F(AzurePutBlob, NameIsSentByteForByte) {
  const std::string container = "https://vemloacct.blob.core.windows.net/c/";
  EXPECT_EQ(addressOf("c", "\xC3\xA9"), container + "%C3%A9");
  EXPECT_EQ(addressOf("c", "e\xCC\x81"), container + "e%CC%81") << "not composed";
  EXPECT_EQ(addressOf("c", " x "), container + "%20x%20");
}

TEST_F(AzurePutBlob, EmptyNameIsNotSent) {
  expectInvalidRequest(makeClient()->putBlob(newBlob("pictures", "")));
  EXPECT_THAT(requests(), IsEmpty());
}

using AzureClient = AzureClientTest;

TEST_F(AzureClient, EachCloudHasItsHost) {
  for (const auto region : {Region::Global, Region::China, Region::Germany, Region::USGovernment}) {
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(makeClient("vemloacct", region)->listContainer({}).isSuccess());
  }
  EXPECT_THAT(addresses(), ElementsAre("https://vemloacct.blob.core.windows.net/?comp=list",
                                       "https://vemloacct.blob.core.chinacloudapi.cn/?comp=list",
                                       "https://vemloacct.blob.core.cloudapi.de/?comp=list",
                                       "https://vemloacct.blob.core.usgovcloudapi.net/?comp=list"));
}

TEST_F(AzureClient, ValidAccountNamesAreAccepted) {
  for (const char* account : {"abc", "000", "abcdefghijklmnopqrstuvwx"}) {
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(makeClient(account)->listContainer({}).isSuccess()) << account;
    EXPECT_EQ(requests().back().uri.host(), std::string(account) + ".blob.core.windows.net");
    EXPECT_THAT(requests().back().headers.at("authorization"),
                HasSubstr("SharedKey " + std::string(account) + ':'));
  }
}

TEST_F(AzureClient, OtherAccountNamesFailEveryCallAndSendNothing) {
  for (const char* account :
       {"", "ab", "abcdefghijklmnopqrstuvwxy", "Account", "my-account", "my_account", "evil.test",
        "evil.test/", "user@evil", "evil#", "evil?", "evil:80", " abc", "abc\n", "abc\r\nx: y",
        "acc\xC3\xA9t", "%61bc", "[::1]"}) {
    const auto client = makeClient(account);
    expectInvalidRequest(client->listContainer({}));
    expectInvalidRequest(client->createContainer(newContainer("pictures")));
    expectInvalidRequest(client->listBlob(blobsOf("pictures")));
    expectInvalidRequest(client->putBlob(newBlob("pictures", "a/")));
  }
  EXPECT_THAT(requests(), IsEmpty());
  EXPECT_THAT(strategy->calls(), IsEmpty());
}

TEST_F(AzureClient, InvalidContainerIsNotSent) {
  for (const char* container : {"", ".", ".."}) {
    expectInvalidRequest(makeClient()->createContainer(newContainer(container)));
    expectInvalidRequest(makeClient()->listBlob(blobsOf(container)));
    expectInvalidRequest(makeClient()->putBlob(newBlob(container, "a/")));
  }
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(AzureClient, EachAttemptIsSignedWithTheTimeOfItsSending) {
  for (int i = 0; i < 4; ++i) enqueue(response(503, azureError("ServerBusy")));
  const auto outcome = makeClient()->listContainer({});
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::Throttled);
  EXPECT_THAT(delays(), ElementsAre(1000, 2000, 3000));
  EXPECT_THAT(headers("x-ms-date"),
              ElementsAre("Thu, 29 Feb 2024 08:30:15 GMT", "Thu, 29 Feb 2024 08:30:16 GMT",
                          "Thu, 29 Feb 2024 08:30:18 GMT", "Thu, 29 Feb 2024 08:30:21 GMT"));
  const auto signatures = headers("authorization");
  EXPECT_NE(signatures.at(0), signatures.at(1));
  EXPECT_NE(signatures.at(1), signatures.at(2));
  EXPECT_NE(signatures.at(2), signatures.at(3));
}

TEST_F(AzureClient, ServiceFailuresAreRetried) {
  for (const auto& [status, code] :
       {std::pair(503, "ServerBusy"), std::pair(500, "InternalError"),
        std::pair(500, "OperationTimedOut"), std::pair(502, ""), std::pair(599, "")}) {
    enqueue(response(status, *code == '\0' ? std::string() : azureError(code)));
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(makeClient()->listContainer({}).isSuccess()) << status << ' ' << code;
  }
  EXPECT_THAT(delays(), ElementsAre(1000, 1000, 1000, 1000, 1000));
}

TEST_F(AzureClient, RefusalsAreFinal) {
  for (const auto& [status, code] :
       {std::pair(400, "InvalidResourceName"), std::pair(401, "NoAuthenticationInformation"),
        std::pair(403, "AuthenticationFailed"), std::pair(404, "ContainerNotFound"),
        std::pair(409, "ContainerBeingDeleted"), std::pair(429, "")}) {
    listFails(status, *code == '\0' ? std::string() : azureError(code));
  }
  EXPECT_THAT(requests(), SizeIs(6));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(400, 0), Pair(401, 0), Pair(403, 0), Pair(404, 0),
                                             Pair(409, 0), Pair(429, 0)));
}

TEST_F(AzureClient, BrokenConnectionIsNotRetried) {
  enqueue(TestSupport::failedResponse(Http::TransportFailure::Kind::Interrupted, "CURLE_RECV_ERROR",
                                      "the connection broke", true));
  const auto outcome = makeClient()->putBlob(newBlob("pictures", "a/"));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::NetworkFailure);
  EXPECT_EQ(outcome.getError().httpResponseCode, 0);
  EXPECT_THAT(requests(), SizeIs(1));
}

TEST_F(AzureClient, HeaderNamesTheFailure) {
  const auto outcome = listFails(403, "", {{"x-ms-error-code", "AuthorizationFailure"}});
  EXPECT_EQ(outcome.getError().exceptionName, "AuthorizationFailure");
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::AccessDenied);
}

TEST_F(AzureClient, EchoOfTheSignatureIsRedacted) {
  enqueue([](const Http::Request& request) {
    const std::string header = request.headers.at("authorization");
    return response(403, "<Error><Code>AuthenticationFailed</Code><Message>not " + header +
                             "</Message><AuthenticationErrorDetail>" + header +
                             "</AuthenticationErrorDetail></Error>");
  });
  const auto outcome = makeClient()->listContainer({});
  ASSERT_FALSE(outcome.isSuccess());
  const std::string header = headers("authorization").at(0);
  const std::string signature = header.substr(header.find(':') + 1, 40);
  EXPECT_THAT(outcome.getError().message, HasSubstr("not SharedKey vemloacct:"));
  EXPECT_THAT(outcome.getError().message, Not(HasSubstr(signature)));
}

TEST_F(AzureClient, EverySuccessStatusConfirmsACreation) {
  for (const int status : {200, 201, 202, 203, 204, 205, 207, 299}) {
    enqueue(response(status));
    EXPECT_TRUE(makeClient()->createContainer(newContainer("pictures")).isSuccess()) << status;
    enqueue(response(status, "\r\n"));
    EXPECT_TRUE(makeClient()->putBlob(newBlob("pictures", "a/")).isSuccess()) << status;
  }
}

TEST_F(AzureClient, PartialContentConfirmsNoCreation) {
  enqueue(response(206));
  enqueue(response(206));
  for (const Error& error : {makeClient()->createContainer(newContainer("pictures")).getError(),
                             makeClient()->putBlob(newBlob("pictures", "a/")).getError()}) {
    EXPECT_EQ(error.errorType, CoreErrors::LocalFailure);
    EXPECT_EQ(error.exceptionName, "MalformedResponse");
    EXPECT_EQ(error.httpResponseCode, 206);
  }
}

TEST_F(AzureClient, BodyOfACreationDoesNotMatter) {
  for (const char* body : {"created", R"({"status":"created"})", "<Created/>", "\xEF\xBB\xBF ok"}) {
    enqueue(response(200, body));
    EXPECT_TRUE(makeClient()->createContainer(newContainer("pictures")).isSuccess()) << body;
    enqueue(response(201, body));
    EXPECT_TRUE(makeClient()->putBlob(newBlob("pictures", "a/")).isSuccess()) << body;
  }
}

TEST_F(AzureClient, ErrorUnderAStatusOfSuccessIsAFailure) {
  enqueue(response(200, azureError("ContainerAlreadyExists")));
  const auto container = makeClient()->createContainer(newContainer("pictures"));
  ASSERT_FALSE(container.isSuccess());
  EXPECT_EQ(container.getError().exceptionName, "ContainerAlreadyExists");
  EXPECT_EQ(container.getError().errorType, CoreErrors::BucketAlreadyOwned);
  for (const char* body :
       {"<Error/>", "<Error><Message>of no code</Message></Error>", "<Error><Code>Cut"}) {
    SCOPED_TRACE(body);
    enqueue(response(200, body));
    expectMalformedResponse(makeClient()->putBlob(newBlob("pictures", "a/")));
  }
}

TEST_F(AzureClient, HtmlPageOfAProxyIsNoSuccess) {
  for (const char* body : {"<html><body>Please log in</body></html>",
                           "<!DOCTYPE html><html></html>", "Please log in"}) {
    SCOPED_TRACE(body);
    enqueue(response(200, body, {{"content-type", "text/html"}}));
    expectMalformedResponse(makeClient()->createContainer(newContainer("pictures")));
  }
  for (const char* body : {"<html><body>Please log in</body></html>",
                           "\xEF\xBB\xBF\n<!DOCTYPE html><html></html>", "<html><br></html>"}) {
    SCOPED_TRACE(body);
    enqueue(response(200, body));
    expectMalformedResponse(makeClient()->putBlob(newBlob("pictures", "a/")));
  }
}

TEST_F(AzureClient, ConstructorDoesNotConnect) {
  const AzureSSBClient client("no account", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                              {}, Region::Global);
  expectInvalidRequest(client.listContainer({}));
}

}  // namespace
