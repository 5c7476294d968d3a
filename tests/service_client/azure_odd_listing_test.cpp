#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/azure_fixture.h"
#include "support/expectations.h"

/// Pages with odd, repeated, missing or far too many parts.
namespace {

namespace Model = CloudStorage::Client::AzureSSB::Model;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::azureError;
using TestSupport::expectMalformedResponse;
using TestSupport::response;

std::string repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

std::string inContainers(const std::string& entries) {
  return "<EnumerationResults><Containers>" + entries + "</Containers></EnumerationResults>";
}

std::string inBlobs(const std::string& entries) {
  return "<EnumerationResults><Blobs>" + entries + "</Blobs></EnumerationResults>";
}

template <typename Entry>
std::vector<std::string> namesOf(const std::vector<Entry>& entries) {
  std::vector<std::string> names;
  for (const auto& entry : entries) names.emplace_back(entry.name);
  return names;
}

class AzureOddListing : public ::testing::Test, protected TestSupport::AzureFixture {
 protected:
  Outcome<Model::ListContainerResult, Error> containers(const std::string& body, int status = 200) {
    enqueue(response(status, body, {{"content-type", "application/xml"}}));
    return makeClient()->listContainer(containersRequest);
  }

  Outcome<Model::ListBlobResult, Error> blobs(const std::string& body, int status = 200) {
    enqueue(response(status, body, {{"content-type", "application/xml"}}));
    blobsRequest.container = "pictures";
    return makeClient()->listBlob(blobsRequest);
  }

  std::vector<std::string> containersIn(const std::string& body) {
    return namesOf(containers(body).getResult().containers);
  }
  std::vector<std::string> prefixesIn(const std::string& body) {
    return namesOf(blobs(body).getResult().blobPrefixes);
  }

  Model::ListContainerRequest containersRequest;
  Model::ListBlobRequest blobsRequest;
};

using AzureOddEntry = AzureOddListing;

TEST_F(AzureOddEntry, ReferenceToNoCharacterReadsAsTheReplacementCharacter) {
  for (const char* reference : {"&#0;", "&#x0;", "&#xD800;", "&#57343;", "&#x110000;"}) {
    const std::string name = std::string("<Name>a") + reference + "b/</Name>";
    EXPECT_THAT(containersIn(inContainers("<Container>" + name +
                                          "</Container><Container><Name>next"
                                          "</Name></Container>")),
                ElementsAre("a\uFFFDb/", "next"))
        << reference;
    EXPECT_THAT(prefixesIn(inBlobs("<BlobPrefix>" + name +
                                   "</BlobPrefix><BlobPrefix><Name>next/"
                                   "</Name></BlobPrefix>")),
                ElementsAre("a\uFFFDb/", "next/"))
        << reference;
  }
}

TEST_F(AzureOddEntry, EncodedNulAndInvalidUtf8ReadAsTheReplacementCharacter) {
  const auto prefix = [](const std::string& name) {
    return R"(<BlobPrefix><Name Encoded="true">)" + name + "</Name></BlobPrefix>";
  };
  EXPECT_THAT(prefixesIn(inBlobs(prefix("a%00b/") + prefix("%FF%C3%A9%c3/") + prefix("ok/"))),
              ElementsAre("a\uFFFDb/", "\uFFFD\u00E9\uFFFD/", "ok/"));
  // Longer than the text in the response.
  EXPECT_THAT(prefixesIn(inBlobs(prefix("\xFF\xFE\xFD/") + prefix("ok/"))),
              ElementsAre("\uFFFD\uFFFD\uFFFD/", "ok/"));
}

TEST_F(AzureOddEntry, WithoutANameIsLeftOut) {
  EXPECT_THAT(containersIn(inContainers(
                  "<Container><Name/></Container><Container><Name>a</Name></Container><Container>"
                  "<Properties><Etag>1</Etag></Properties></Container><Container/>")),
              ElementsAre("a"));
  EXPECT_THAT(prefixesIn(inBlobs("<BlobPrefix/><BlobPrefix><Name></Name></BlobPrefix><BlobPrefix>"
                                 "<Name>a/</Name></BlobPrefix><BlobPrefix><Other/></BlobPrefix>")),
              ElementsAre("a/"));
}

TEST_F(AzureOddListing, LastOfTwoListsCounts) {
  EXPECT_THAT(containersIn("<EnumerationResults><Containers><Container><Name>old</Name></Container>"
                           "</Containers><NextMarker/><Containers><Container><Name>new</Name>"
                           "</Container></Containers></EnumerationResults>"),
              ElementsAre("new"));
  EXPECT_THAT(prefixesIn("<EnumerationResults><Blobs><BlobPrefix><Name>old/</Name></BlobPrefix>"
                         "</Blobs><Blobs/></EnumerationResults>"),
              IsEmpty());
  EXPECT_EQ(blobs("<EnumerationResults><NextMarker>old</NextMarker><Blobs/><NextMarker>new"
                  "</NextMarker></EnumerationResults>")
                .getResult()
                .nextMarker,
            "new");
}

TEST_F(AzureOddListing, OnlyStatus200IsAListing) {
  for (const int status : {201, 202, 203, 204, 206}) {
    const std::string body = status == 204 ? "" : inBlobs("");
    for (const Error& error :
         {containers(body, status).getError(), blobs(body, status).getError()}) {
      EXPECT_EQ(error.errorType, CoreErrors::LocalFailure) << status;
      EXPECT_EQ(error.exceptionName, "MalformedResponse") << status;
      EXPECT_EQ(error.httpResponseCode, status);
    }
  }
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(AzureOddListing, HtmlContentTypeIsNoListing) {
  enqueue(response(200, inContainers(""), {{"content-type", "text/html; charset=utf-8"}}));
  expectMalformedResponse(makeClient()->listContainer({}));
}

TEST_F(AzureOddListing, ErrorUnderAStatusOfSuccessIsNamedByTheService) {
  const auto outcome = containers(azureError("InternalError"));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().exceptionName, "InternalError");
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::ServiceFailure);
  EXPECT_THAT(requests(), SizeIs(1));
}

using AzureTooManyEntries = AzureOddListing;

void expectTooLarge(const Error& error) {
  EXPECT_EQ(error.errorType, CoreErrors::LocalFailure);
  EXPECT_EQ(error.exceptionName, "ResponseTooLarge");
  EXPECT_EQ(error.httpResponseCode, 200);
}

TEST_F(AzureTooManyEntries, AreMoreThanTenTimesTheRequestedNumber) {
  containersRequest.maxResults = 100;
  blobsRequest.maxResults = 100;
  const std::string container = "<Container><Name>c</Name></Container>";
  const std::string prefix = "<BlobPrefix><Name>p/</Name></BlobPrefix>";
  EXPECT_THAT(containersIn(inContainers(repeated(container, 1000))), SizeIs(1000));
  EXPECT_THAT(prefixesIn(inBlobs(repeated(prefix, 1000))), SizeIs(1000));
  expectTooLarge(containers(inContainers(repeated(container, 1001))).getError());
  expectTooLarge(blobs(inBlobs(repeated(prefix, 1001))).getError());
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(AzureTooManyEntries, CountBlobsAndEntriesWithoutAName) {
  containersRequest.maxResults = 1;
  blobsRequest.maxResults = 1;
  EXPECT_TRUE(containers(inContainers(repeated("<Container/>", 10))).isSuccess());
  expectTooLarge(containers(inContainers(repeated("<Container/>", 11))).getError());
  expectTooLarge(blobs(inBlobs(repeated("<Blob/>", 6) + repeated("<BlobPrefix/>", 5))).getError());
}

TEST_F(AzureTooManyEntries, AreMoreThanAHundredThousandIfNoNumberIsRequested) {
  EXPECT_TRUE(blobs(inBlobs(repeated("<Blob/>", 100'000))).isSuccess());
  expectTooLarge(blobs(inBlobs(repeated("<Blob/>", 100'001))).getError());
  expectTooLarge(containers(inContainers(repeated("<Container/>", 100'001))).getError());
}

using AzureRepeatedMarker = AzureOddListing;

TEST_F(AzureRepeatedMarker, IsAFailure) {
  const std::string page =
      "<EnumerationResults><NextMarker>again</NextMarker></EnumerationResults>";
  containersRequest.marker = "again";
  blobsRequest.marker = "again";
  expectMalformedResponse(containers(page));
  expectMalformedResponse(blobs(page));
  EXPECT_EQ(blobs(page).getError().message, "The answer repeats the marker of its request");
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(AzureRepeatedMarker, IsNoOtherMarker) {
  containersRequest.marker = "a";
  EXPECT_TRUE(containers("<EnumerationResults><NextMarker>b</NextMarker></EnumerationResults>")
                  .isSuccess());
  EXPECT_TRUE(containers("<EnumerationResults><NextMarker/></EnumerationResults>").isSuccess());
  containersRequest.marker = "";
  EXPECT_TRUE(containers("<EnumerationResults><NextMarker/></EnumerationResults>").isSuccess());
}

}  // namespace
