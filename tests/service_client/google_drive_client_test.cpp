#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/expectations.h"
#include "support/google_drive_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::GoogleDrive::Model;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using Kind = Http::TransportFailure::Kind;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::expectInvalidRequest;
using TestSupport::expectMalformedResponse;
using TestSupport::failedResponse;
using TestSupport::googleError;
using TestSupport::response;

constexpr char kFolderType[] = "application/vnd.google-apps.folder";
constexpr char kFile[] = R"({"id":"7"})";
constexpr char kMask[] =
    "?fields=kind%2Cid%2Cname%2CmimeType%2Ctrashed%2CcreatedTime%2CmodifiedTime%2Cmd5Checksum"
    "%2Cparents&supportsAllDrives=true&prettyPrint=false";

Model::GetFileResourceRequest fileOf(const std::string& id) {
  Model::GetFileResourceRequest request;
  request.fileId = id;
  return request;
}

Model::UploadFileRequest newFolder(const std::string& name) {
  Model::UploadFileRequest request;
  request.uploadType.markPresent();
  request.name = name;
  request.mimeType = kFolderType;
  request.parents = "parent-1";
  return request;
}

class GoogleDriveClientTest : public ::testing::Test, protected TestSupport::GoogleDriveFixture {
 protected:
  using FileOutcome = Outcome<Model::FileResource, Error>;

  FileOutcome getRoot() { return makeClient()->getFileResource(fileOf("root")); }
  FileOutcome createFolder() { return makeClient()->uploadFile(newFolder("New")); }

  FileOutcome fileFrom(const std::string& body) {
    enqueue(response(200, body, {{"content-type", "application/json; charset=UTF-8"}}));
    return getRoot();
  }

  // Method and address of the request for the file `id`.
  std::string lineOf(const std::string& id) {
    enqueue(response(200, kFile));
    EXPECT_TRUE(makeClient()->getFileResource(fileOf(id)).isSuccess());
    return lines().back();
  }

  std::string creationOf(const Model::UploadFileRequest& request) {
    enqueue(response(200, kFile));
    EXPECT_TRUE(makeClient()->uploadFile(request).isSuccess());
    return bodies().back();
  }

  // How often a call is sent if `response` is the response to each attempt.
  template <typename Call>
  std::size_t sendsOf(const Http::Response& response, Call call) {
    const std::size_t before = requests().size();
    for (int i = 0; i < 4; ++i) enqueue(response);
    EXPECT_FALSE(call().isSuccess());
    const std::size_t sends = requests().size() - before;
    while (transport->unusedResponses() != 0) transport->send({});
    return sends;
  }
  std::size_t readsSent(const Http::Response& response) {
    return sendsOf(response, [this] { return getRoot(); });
  }
  std::size_t creationsSent(const Http::Response& response) {
    return sendsOf(response, [this] { return createFolder(); });
  }
};

using GoogleDriveGetFile = GoogleDriveClientTest;

TEST_F(GoogleDriveGetFile, RequestsEachFieldOfAFile) {
  EXPECT_EQ(lineOf("root"),
            "GET https://www.googleapis.com/drive/v3/files/root" + std::string(kMask));
  const auto request = requests().at(0);
  EXPECT_THAT(request.body, IsEmpty());
  EXPECT_THAT(request.headers, ElementsAre(Pair("accept", "application/json"),
                                           Pair("authorization", "Bearer token-1")));
}

TEST_F(GoogleDriveGetFile, IdIsOneSegmentOfThePath) {
  EXPECT_EQ(lineOf("a/b c?d#e%\xC3\xA4"),
            "GET https://www.googleapis.com/drive/v3/files/a%2Fb%20c%3Fd%23e%25%C3%A4" +
                std::string(kMask));
}

TEST_F(GoogleDriveGetFile, IdThatAddressesSomethingElseIsRefused) {
  for (const auto* id : {"", ".", ".."}) {
    SCOPED_TRACE(id);
    expectInvalidRequest(makeClient()->getFileResource(fileOf(id)));
  }
  expectInvalidRequest(makeClient()->getFileResource({}));
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(GoogleDriveGetFile, ReadsAllFields) {
  const auto outcome = fileFrom(R"({
    "kind": "drive#file", "id": "0AFvRootId9PVA", "name": "Meine \"Ablage\" \u00e4\/",
    "mimeType": "application/vnd.google-apps.folder", "trashed": true,
    "createdTime": "2016-03-01T10:00:00.123Z", "modifiedTime": "2016-03-02T10:00:00Z",
    "md5Checksum": "d41d8cd9", "parents": ["p1", "p2"],
    "capabilities": {"id": "not this", "deep": [{"name": 1}]}, "size": "12"})");
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
  const auto& file = outcome.getResult();
  EXPECT_EQ(file.kind, "drive#file");
  EXPECT_EQ(file.id, "0AFvRootId9PVA");
  EXPECT_EQ(file.name, "Meine \"Ablage\" \xC3\xA4/");
  EXPECT_EQ(file.mimeType, kFolderType);
  EXPECT_TRUE(file.trashed);
  EXPECT_EQ(file.createdTime.toString(), "2016-03-01T10:00:00.123000Z");
  EXPECT_EQ(file.modifiedTime.toString(), "2016-03-02T10:00:00.000000Z");
  EXPECT_EQ(file.md5Checksum, "d41d8cd9");
  EXPECT_THAT(file.parents, ElementsAre("p1", "p2"));
}

TEST_F(GoogleDriveGetFile, AllButTheIdMayBeMissingNullOrOfAnotherType) {
  for (const auto* body :
       {R"({"id":"7"})",
        R"({"kind":null,"id":"7","name":null,"mimeType":null,"trashed":null,"createdTime":null,
            "modifiedTime":null,"md5Checksum":null,"parents":null})",
        R"({"kind":[],"id":"7","name":{"id":"8"},"mimeType":5,"trashed":"true","createdTime":0,
            "modifiedTime":{},"md5Checksum":false,"parents":"p"})",
        R"({"id":"7","parents":[]})", "\xEF\xBB\xBF{\"id\":\"7\"}", " \r\n\t{\"id\":\"7\"}\n"}) {
    SCOPED_TRACE(body);
    const auto outcome = fileFrom(body);
    ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
    const auto& file = outcome.getResult();
    EXPECT_EQ(file.id, "7");
    EXPECT_THAT(file.kind, IsEmpty());
    EXPECT_THAT(file.name, IsEmpty());
    EXPECT_THAT(file.mimeType, IsEmpty());
    EXPECT_FALSE(file.trashed);
    EXPECT_THAT(file.createdTime.text(), IsEmpty());
    EXPECT_THAT(file.modifiedTime.text(), IsEmpty());
    EXPECT_THAT(file.md5Checksum, IsEmpty());
    EXPECT_THAT(file.parents, IsEmpty());
  }
}

TEST_F(GoogleDriveGetFile, LastOfSeveralMembersCounts) {
  EXPECT_EQ(fileFrom(R"({"id":"1","id":"2"})").getResult().id, "2");
}

TEST_F(GoogleDriveGetFile, InvalidTimeIsAccepted) {
  const auto outcome = fileFrom(R"({"id":"7","createdTime":"yesterday"})");
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_EQ(outcome.getResult().createdTime.value(), std::chrono::system_clock::time_point());
}

TEST_F(GoogleDriveGetFile, ResponseWithoutAnIdIsAFailure) {
  for (const auto* body : {"{}", R"({"id":""})", R"({"id":null})", R"({"id":7})",
                           R"({"file":{"id":"7"}})", R"({"name":"My Drive"})"}) {
    SCOPED_TRACE(body);
    expectMalformedResponse(fileFrom(body));
  }
}

TEST_F(GoogleDriveGetFile, ResponseThatIsNoObjectIsAFailure) {
  for (const auto* body :
       {"", " ", "null", "7", "[]", R"([{"id":"7"}])", R"("id")", "<html><body>{}</body></html>",
        R"({"id":"7")", R"({"id":"7)", R"({"id":"7"} x)", R"({"id":"7"}{})", R"({"id":"7",})",
        "{\"id\":\"\xFF\"}", R"({"id":"7\q"})", R"({"id":"\ud800"})", R"({"id":"a\u0000b"})",
        "{\"id\":\"7\",\"name\":\"a\nb\"}"}) {
    SCOPED_TRACE(body);
    expectMalformedResponse(fileFrom(body));
  }
}

TEST_F(GoogleDriveGetFile, JsonWithTheContentTypeOfHtmlIsAFailure) {
  enqueue(response(200, R"({"id":"7"})", {{"content-type", "text/html; charset=utf-8"}}));
  expectMalformedResponse(getRoot());
}

TEST_F(GoogleDriveGetFile, ContentTypeMayBeMissing) {
  enqueue(response(200, R"({"id":"7"})"));
  EXPECT_EQ(getRoot().getResult().id, "7");
}

TEST_F(GoogleDriveGetFile, NeedsACredential) {
  const CloudStorage::Client::GoogleDrive::GoogleDriveClient client({}, {}, {});
  expectInvalidRequest(client.getFileResource(fileOf("root")));
}

TEST_F(GoogleDriveGetFile, UnknownMembersMayBeNestedDeeply) {
  std::string nested = R"({"x":)";
  for (int i = 0; i < 60; ++i) nested += "[";
  for (int i = 0; i < 60; ++i) nested += "]";
  EXPECT_EQ(fileFrom(nested + R"(,"id":"7"})").getResult().id, "7");
}

TEST_F(GoogleDriveGetFile, TextsOutliveTheCallAndItsClient) {
  std::vector<Model::FileResource> files;
  {
    TestSupport::GoogleDriveFixture other;
    for (const auto* id : {"first", "second"}) {
      other.enqueue(response(200, std::string(R"({"id":")") + id + R"("})"));
      files.push_back(other.makeClient()->getFileResource(fileOf("root")).getResult());
    }
  }
  EXPECT_EQ(files.at(0).id, "first");
  EXPECT_EQ(files.at(1).id, "second");
}

using GoogleDriveUpload = GoogleDriveClientTest;

TEST_F(GoogleDriveUpload, FolderIsCreatedWithMetadataOnly) {
  EXPECT_EQ(creationOf(newFolder("New folder")),
            R"({"name":"New folder","mimeType":"application/vnd.google-apps.folder",)"
            R"("parents":["parent-1"]})");
  EXPECT_THAT(lines(),
              ElementsAre("POST https://www.googleapis.com/drive/v3/files" + std::string(kMask)));
  EXPECT_THAT(requests().at(0).headers, ElementsAre(Pair("accept", "application/json"),
                                                    Pair("authorization", "Bearer token-1"),
                                                    Pair("content-type", "application/json")));
}

TEST_F(GoogleDriveUpload, ParametersAreSentInAFixedOrder) {
  const auto time = std::chrono::system_clock::from_time_t(1709195415);
  auto request = newFolder("x");
  request.createdTime = time;
  request.modifiedTime = time + std::chrono::milliseconds(1500);
  EXPECT_EQ(creationOf(request),
            R"({"createdTime":"2024-02-29T08:30:15.000000Z",)"
            R"("modifiedTime":"2024-02-29T08:30:16.500000Z","name":"x",)"
            R"("mimeType":"application/vnd.google-apps.folder","parents":["parent-1"]})");
}

TEST_F(GoogleDriveUpload, AbsentParametersAreNotSent) {
  Model::UploadFileRequest request;
  EXPECT_EQ(creationOf(request), "{}");
  request.parents = "root";
  EXPECT_EQ(creationOf(request), R"({"parents":["root"]})");
  request = {};
  request.name = "";
  EXPECT_EQ(creationOf(request), R"({"name":""})");
}

TEST_F(GoogleDriveUpload, NameIsEscapedAndOtherwiseSentAsItIs) {
  Model::UploadFileRequest request;
  request.name = std::string("a\"b\\c/\x01\t\r\n\x1F\x7F \xC3\xA4\xF0\x9F\x93\x81 \xE2\x80\xA8") +
                 '\0' + "end";
  EXPECT_EQ(creationOf(request),
            "{\"name\":\"a\\\"b\\\\c/\\u0001\\u0009\\u000D\\u000A\\u001F\x7F "
            "\xC3\xA4\xF0\x9F\x93\x81 \xE2\x80\xA8\\u0000end\"}");
}

TEST_F(GoogleDriveUpload, InvalidUtf8IsRefused) {
  for (const auto* text : {"\xFF", "a\xC3", "\xED\xA0\x80", "\xC0\xAF"}) {
    auto request = newFolder(text);
    expectInvalidRequest(makeClient()->uploadFile(request));
    request = newFolder("good");
    request.parents = text;
    expectInvalidRequest(makeClient()->uploadFile(request));
  }
  EXPECT_THAT(requests(), IsEmpty());
}

TEST_F(GoogleDriveUpload, ReadsTheCreatedFile) {
  enqueue(response(200, R"({"kind":"drive#file","id":"1New","name":"New 2"})"));
  const auto outcome = createFolder();
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
  EXPECT_EQ(outcome.getResult().id, "1New");
  EXPECT_EQ(outcome.getResult().name, "New 2");
}

TEST_F(GoogleDriveUpload, ResponseWithoutAnIdIsAFailureAndNotRetried) {
  enqueue(response(200, R"({"name":"New"})"));
  expectMalformedResponse(createFolder());
  enqueue(response(200, "<html></html>"));
  expectMalformedResponse(createFolder());
  EXPECT_THAT(requests(), SizeIs(2));
}

using GoogleDriveErrors = GoogleDriveClientTest;

TEST_F(GoogleDriveErrors, AreNamedByTheService) {
  enqueue(response(404, googleError(404, "notFound"), {{"x-header", "value"}}));
  const auto outcome = getRoot();
  ASSERT_FALSE(outcome.isSuccess());
  const Error& error = outcome.getError();
  EXPECT_EQ(error.errorType, CoreErrors::TemporaryFailure);
  EXPECT_EQ(error.exceptionName, "notFound");
  EXPECT_EQ(error.message, "about notFound");
  EXPECT_EQ(error.httpResponseCode, 404);
  EXPECT_FALSE(error.retryable);
  EXPECT_THAT(error.responseHeaders, ElementsAre(Pair("x-header", "value")));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(404, 0)));
}

TEST_F(GoogleDriveErrors, RefusalsAreFinal) {
  for (const int status : {302, 400, 403, 404, 409, 411, 412}) {
    SCOPED_TRACE(status);
    const auto response = TestSupport::response(status, googleError(status, "domainPolicy"));
    EXPECT_EQ(readsSent(response), 1U);
    EXPECT_EQ(creationsSent(response), 1U);
  }
}

TEST_F(GoogleDriveErrors, RateLimitsAreRetriedInReadsAndCreations) {
  for (const auto& response :
       {response(403, googleError(403, "rateLimitExceeded")),
        response(403, googleError(403, "userRateLimitExceeded")),
        response(429, googleError(429, "rateLimitExceeded")), response(503)}) {
    SCOPED_TRACE(response.status);
    EXPECT_EQ(readsSent(response), 4U);
    EXPECT_EQ(creationsSent(response), 4U);
  }
}

TEST_F(GoogleDriveErrors, ServiceFailuresAreRetriedInReadsOnly) {
  for (const int status : {500, 502, 504}) {
    SCOPED_TRACE(status);
    const auto response = TestSupport::response(status, googleError(status, "backendError"));
    EXPECT_EQ(readsSent(response), 4U);
    EXPECT_EQ(creationsSent(response), 1U);
  }
}

TEST_F(GoogleDriveErrors, CreationWithALostResponseIsNotRetried) {
  const auto lost = failedResponse(Kind::Interrupted, "CURLE_RECV_ERROR", "reset", true);
  EXPECT_EQ(readsSent(lost), 4U);
  EXPECT_EQ(creationsSent(lost), 1U);

  const auto unreachable =
      failedResponse(Kind::Unreachable, "CURLE_COULDNT_CONNECT", "refused", false);
  EXPECT_EQ(readsSent(unreachable), 4U);
  EXPECT_EQ(creationsSent(unreachable), 4U);

  const auto untrusted =
      failedResponse(Kind::Untrusted, "CURLE_PEER_FAILED_VERIFICATION", "", false);
  EXPECT_EQ(readsSent(untrusted), 1U);
}

TEST_F(GoogleDriveErrors, CallSucceedsAfterTemporaryFailures) {
  enqueue(response(503));
  enqueue(response(429));
  EXPECT_TRUE(fileFrom(kFile).isSuccess());
  EXPECT_THAT(delays(), ElementsAre(1000, 2000));
  EXPECT_THAT(lines(), SizeIs(3));
  EXPECT_EQ(lines().at(0), lines().at(2));
}

TEST_F(GoogleDriveErrors, WithoutAnAccessTokenNoneIsSent) {
  credential->setTokens("", "");
  EXPECT_TRUE(fileFrom(kFile).isSuccess());
  EXPECT_EQ(requests().at(0).headers.count("authorization"), 0U);
}

}  // namespace
