#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/azure_fixture.h"
#include "support/expectations.h"

namespace {

namespace Http = CloudStorage::Http;
namespace Model = CloudStorage::Client::AzureSSB::Model;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::expectMalformedResponse;
using TestSupport::response;

constexpr char kEmptyPage[] = "<EnumerationResults><NextMarker/></EnumerationResults>";
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
constexpr char kMarker[] =
    "2!92!MDAwMDE2IXBob3Rvcy8yMDE5ITAwMDAyOCE5OTk5LTEyLTMxVDIzOjU5OjU5Ljk5OTk5OTlaIQ--";

Model::ListContainerRequest pageOfContainers(const std::string& marker = {}) {
  Model::ListContainerRequest request;
  if (!marker.empty()) request.marker = marker;
  request.maxResults = 100;
  return request;
}

Model::ListBlobRequest pageOfBlobs(const std::string& prefix = {}, const std::string& marker = {}) {
  Model::ListBlobRequest request;
  request.container = "pictures";
  request.prefix = prefix;
  if (!marker.empty()) request.marker = marker;
  request.maxResults = 100;
  request.delimiter = "/";
  return request;
}

class AzureListingTest : public ::testing::Test, protected TestSupport::AzureFixture {
 protected:
  // The address of `request` as it is sent.
  std::string addressOf(const Model::ListContainerRequest& request) {
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(makeClient()->listContainer(request).isSuccess());
    return addresses().back();
  }
  std::string addressOf(const Model::ListBlobRequest& request) {
    enqueue(response(200, kEmptyPage));
    EXPECT_TRUE(makeClient()->listBlob(request).isSuccess());
    return addresses().back();
  }

  Outcome<Model::ListContainerResult, Error> readContainers(const std::string& body) {
    enqueue(response(200, body, {{"content-type", "application/xml"}}));
    return makeClient()->listContainer(pageOfContainers());
  }

  Outcome<Model::ListBlobResult, Error> readBlobs(const std::string& body) {
    enqueue(response(200, body, {{"content-type", "application/xml"}}));
    return makeClient()->listBlob(pageOfBlobs());
  }

  // The only prefix of a page whose name element is `name`.
  std::string prefixFrom(const std::string& name) {
    const auto outcome = readBlobs("<EnumerationResults><Blobs><BlobPrefix>" + name +
                                   "</BlobPrefix></Blobs></EnumerationResults>");
    if (!outcome.isSuccess()) return "failed: " + outcome.getError().message;
    return std::string(outcome.getResult().blobPrefixes.at(0).name);
  }

  // The same for a container.
  std::string containerFrom(const std::string& name) {
    const auto outcome = readContainers("<EnumerationResults><Containers><Container>" + name +
                                        "</Container></Containers></EnumerationResults>");
    if (!outcome.isSuccess()) return "failed: " + outcome.getError().message;
    return std::string(outcome.getResult().containers.at(0).name);
  }

  std::string markerFrom(const std::string& element) {
    const std::string body = "<EnumerationResults>" + element + "</EnumerationResults>";
    const auto containers = readContainers(body);
    const auto blobs = readBlobs(body);
    EXPECT_TRUE(containers.isSuccess()) << element;
    EXPECT_EQ(containers.getResult().nextMarker, blobs.getResult().nextMarker);
    return blobs.getResult().nextMarker;
  }
};

auto isContainer(const std::string& name, const std::string& lastModified = {},
                 const std::string& eTag = {}) {
  return AllOf(Field(&Model::Container::name, name),
               Field(&Model::Container::lastModified, lastModified),
               Field(&Model::Container::eTag, eTag));
}

std::vector<std::string> namesOf(const std::vector<Model::BlobPrefix>& prefixes) {
  std::vector<std::string> names;
  for (const auto& prefix : prefixes) names.emplace_back(prefix.name);
  return names;
}

std::vector<std::string> namesOf(const std::vector<Model::Blob>& blobs) {
  std::vector<std::string> names;
  for (const auto& blob : blobs) names.emplace_back(blob.name);
  return names;
}

using AzureContainers = AzureListingTest;

TEST_F(AzureContainers, RequestIsExactlyThis) {
  EXPECT_EQ(addressOf(pageOfContainers()),
            "https://vemloacct.blob.core.windows.net/?comp=list&maxresults=100");
  const auto request = requests().at(0);
  EXPECT_EQ(request.method, Http::Method::Get);
  EXPECT_EQ(request.body, "");
  EXPECT_THAT(
      request.headers,
      ElementsAre(
          Pair("authorization", "SharedKey vemloacct:UAQx2B2ZJwuKFASl7EOfptAnXGXE/PVuR66Gd125aUY="),
          Pair("content-type", "application/xml"),
          Pair("x-ms-date", "Thu, 29 Feb 2024 08:30:15 GMT"), Pair("x-ms-version", "2021-12-02")));
}

TEST_F(AzureContainers, OnlyPresentParametersAreSent) {
  const std::string list = "https://vemloacct.blob.core.windows.net/?comp=list";
  Model::ListContainerRequest request;
  EXPECT_EQ(addressOf(request), list);
  request.marker = "";
  request.prefix = "";
  EXPECT_EQ(addressOf(request), list) << "an empty text counts as absent";
  request.maxResults = 5000;
  EXPECT_EQ(addressOf(request), list + "&maxresults=5000");
  request.marker = "/vemloacct/a b+c%41";
  EXPECT_EQ(addressOf(request), list + "&marker=%2Fvemloacct%2Fa%20b%2Bc%2541&maxresults=5000");
  request.prefix = "p&q";
  EXPECT_EQ(addressOf(request),
            list + "&prefix=p%26q&marker=%2Fvemloacct%2Fa%20b%2Bc%2541&maxresults=5000");
}

TEST_F(AzureContainers, AreReadInTheServicesOrder) {
  const auto outcome = readContainers(std::string(kByteOrderMark) + R"(<?xml version="1.0"?>
<EnumerationResults ServiceEndpoint="https://vemloacct.blob.core.windows.net/">
  <Prefix>ignored</Prefix><MaxResults>100</MaxResults>
  <Containers>
    <Container><Name>zebra</Name>
      <Properties><Last-Modified>Thu, 29 Feb 2024 08:00:00 GMT</Last-Modified>
      <Etag>"0x8DC38F"</Etag><LeaseStatus>unlocked</LeaseStatus></Properties></Container>
    <Container><Properties><Etag>0x1</Etag><Name>no</Name></Properties>
      <Metadata><Name>no</Name></Metadata><Name>alpha</Name></Container>
    <Other><Name>no</Name></Other>
    <Container><Name>$root</Name><Last-Modified>no</Last-Modified></Container>
  </Containers>
  <NextMarker>/vemloacct/videos</NextMarker>
</EnumerationResults>)");
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_THAT(outcome.getResult().containers,
              ElementsAre(isContainer("zebra", "Thu, 29 Feb 2024 08:00:00 GMT", "\"0x8DC38F\""),
                          isContainer("alpha", "", "0x1"), isContainer("$root")));
  EXPECT_EQ(outcome.getResult().nextMarker, "/vemloacct/videos");
}

TEST_F(AzureContainers, EmptyPageMayHaveANextPage) {
  for (const char* body :
       {"<EnumerationResults><Containers/><NextMarker>m</NextMarker></EnumerationResults>",
        "<EnumerationResults><Containers></Containers><NextMarker>m</NextMarker>"
        "</EnumerationResults>",
        "<EnumerationResults><NextMarker>m</NextMarker></EnumerationResults>"}) {
    const auto outcome = readContainers(body);
    ASSERT_TRUE(outcome.isSuccess()) << body;
    EXPECT_THAT(outcome.getResult().containers, IsEmpty());
    EXPECT_EQ(outcome.getResult().nextMarker, "m");
  }
}

TEST_F(AzureContainers, NamesAreReadByteForByte) {
  EXPECT_EQ(containerFrom("<Name> a&amp;b </Name>"), " a&b ");
  EXPECT_EQ(containerFrom("<Name>a%41+b</Name>"), "a%41+b");
  EXPECT_EQ(containerFrom("<Name>&#x1;&#x1b;</Name>"), "\x01\x1b");
}

using AzureBlobs = AzureListingTest;

TEST_F(AzureBlobs, RequestIsExactlyThis) {
  EXPECT_EQ(addressOf(pageOfBlobs("photos/\xC3\x89t\xC3\xA9 & co/", kMarker)),
            "https://vemloacct.blob.core.windows.net/pictures?restype=container&comp=list"
            "&prefix=photos%2F%C3%89t%C3%A9%20%26%20co%2F&delimiter=%2F"
            "&marker=2%2192%21MDAwMDE2IXBob3Rvcy8yMDE5ITAwMDAyOCE5OTk5LTEyLTMxVDIzOjU5OjU5Ljk5OTk5"
            "OTlaIQ--&maxresults=100");
  const auto request = requests().at(0);
  EXPECT_EQ(request.method, Http::Method::Get);
  EXPECT_EQ(request.body, "");
  EXPECT_THAT(
      request.headers,
      ElementsAre(
          Pair("authorization", "SharedKey vemloacct:5o+599fIT6Tv57Q4Zcrt7GcZc59Zy+dVjXtbpy9BFYA="),
          Pair("content-type", "application/xml"),
          Pair("x-ms-date", "Thu, 29 Feb 2024 08:30:15 GMT"), Pair("x-ms-version", "2021-12-02")));
}

TEST_F(AzureBlobs, OnlyPresentParametersAreSent) {
  const std::string list =
      "https://vemloacct.blob.core.windows.net/pictures?restype=container&comp=list";
  Model::ListBlobRequest request;
  request.container = "pictures";
  EXPECT_EQ(addressOf(request), list);
  request.prefix = "";
  request.marker = "";
  request.delimiter = "";
  EXPECT_EQ(addressOf(request), list) << "an empty text counts as absent";
  request.delimiter = "/";
  request.maxResults = 1;
  EXPECT_EQ(addressOf(request), list + "&delimiter=%2F&maxresults=1");
}

TEST_F(AzureBlobs, ContainerIsOneSegment) {
  auto request = pageOfBlobs();
  request.container = "a/b?c";
  EXPECT_EQ(addressOf(request),
            "https://vemloacct.blob.core.windows.net/a%2Fb%3Fc?restype=container&comp=list"
            "&delimiter=%2F&maxresults=100");
}

TEST_F(AzureBlobs, EachRequestIsSent) {
  enqueue(response(200, kEmptyPage));
  enqueue(response(200, kEmptyPage));
  const auto client = makeClient();
  EXPECT_TRUE(client->listBlob(pageOfBlobs()).isSuccess());
  EXPECT_TRUE(client->listBlob(pageOfBlobs()).isSuccess());
  EXPECT_THAT(requests(), SizeIs(2));
}

TEST_F(AzureBlobs, BlobsAndPrefixesAreDistinguishedInAnyOrder) {
  const auto outcome = readBlobs(std::string(kByteOrderMark) + R"(<?xml version="1.0"?>
<EnumerationResults ServiceEndpoint="https://vemloacct.test/" ContainerName="pictures">
  <Prefix>photos/</Prefix><MaxResults>100</MaxResults><Delimiter>/</Delimiter>
  <Blobs>
    <BlobPrefix><Name>photos/2019/</Name></BlobPrefix>
    <Blob><Name>photos/</Name><Properties><Content-Length>0</Content-Length></Properties></Blob>
    <BlobPrefix><Properties><Name>no</Name></Properties><Name>photos/2018/</Name></BlobPrefix>
    <Blob><Name>photos/a.jpg</Name></Blob>
    <BlobPrefix><Name>photos/2019/</Name></BlobPrefix>
    <New><BlobPrefix><Name>no</Name></BlobPrefix></New>
  </Blobs>
  <BlobPrefix><Name>no</Name></BlobPrefix>
  <NextMarker />
</EnumerationResults>)");
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_THAT(namesOf(outcome.getResult().blobPrefixes),
              ElementsAre("photos/2019/", "photos/2018/", "photos/2019/"));
  EXPECT_THAT(namesOf(outcome.getResult().blobs), ElementsAre("photos/", "photos/a.jpg"));
  EXPECT_EQ(outcome.getResult().nextMarker, "");
}

TEST_F(AzureBlobs, EmptyPageMayHaveANextPage) {
  const auto outcome =
      readBlobs("<EnumerationResults><Blobs /><NextMarker>m</NextMarker></EnumerationResults>");
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_THAT(outcome.getResult().blobs, IsEmpty());
  EXPECT_THAT(outcome.getResult().blobPrefixes, IsEmpty());
  EXPECT_EQ(outcome.getResult().nextMarker, "m");
}

TEST_F(AzureBlobs, NamespacesAndPrefixesDoNotMatter) {
  for (const char* body :
       {R"(<EnumerationResults xmlns="urn:x"><Blobs><BlobPrefix><Name>a/</Name></BlobPrefix><Blob>)"
        "<Name>b</Name></Blob></Blobs><NextMarker>m</NextMarker></EnumerationResults>",
        R"(<s:EnumerationResults xmlns:s="urn:x"><s:Blobs><s:BlobPrefix><s:Name>a/</s:Name>)"
        "</s:BlobPrefix><s:Blob><s:Name>b</s:Name></s:Blob></s:Blobs><s:NextMarker>m</s:NextMarker>"
        "</s:EnumerationResults>"}) {
    const auto outcome = readBlobs(body);
    ASSERT_TRUE(outcome.isSuccess()) << body;
    EXPECT_THAT(namesOf(outcome.getResult().blobPrefixes), ElementsAre("a/"));
    EXPECT_THAT(namesOf(outcome.getResult().blobs), ElementsAre("b"));
    EXPECT_EQ(outcome.getResult().nextMarker, "m");
  }
}

TEST_F(AzureBlobs, NamesAreReadByteForByte) {
  EXPECT_EQ(prefixFrom("<Name>  two  spaces  /</Name>"), "  two  spaces  /");
  EXPECT_EQ(prefixFrom("<Name> </Name>"), " ");
  EXPECT_EQ(prefixFrom("<Name>a </Name>"), "a ");
  EXPECT_EQ(prefixFrom("<Name>&amp;&lt;&gt;&quot;&apos;+/</Name>"), "&<>\"'+/");
  EXPECT_EQ(prefixFrom("<Name>&amp;amp;/</Name>"), "&amp;/");
  EXPECT_EQ(prefixFrom("<Name>&#233;&#x1F600;/</Name>"), "\xC3\xA9\xF0\x9F\x98\x80/");
  EXPECT_EQ(prefixFrom("<Name>&#x1;&#x1b;&#9;&#10;&#13;/</Name>"), "\x01\x1b\t\n\r/");
  EXPECT_EQ(prefixFrom("<Name>a<![CDATA[<b>&amp;]]>c<!-- no -->/</Name>"), "a<b>&amp;c/");
  EXPECT_EQ(prefixFrom("<Name>\xF0\x9F\x98\x80\xE6\x97\xA5/</Name>"),
            "\xF0\x9F\x98\x80\xE6\x97\xA5/");
  EXPECT_EQ(prefixFrom("<Name>\xEF\xBF\xBE&#xFFFF;/</Name>"), "\xEF\xBF\xBE\xEF\xBF\xBF/");
}

TEST_F(AzureBlobs, UnicodeIsNotNormalised) {
  EXPECT_EQ(prefixFrom("<Name>\xC3\xA9/</Name>"), "\xC3\xA9/");
  EXPECT_EQ(prefixFrom("<Name>e\xCC\x81/</Name>"), "e\xCC\x81/");
}

TEST_F(AzureBlobs, NameWithTheAttributeEncodedIsDecoded) {
  EXPECT_EQ(prefixFrom(R"(<Name Encoded="true">photos/a%EF%BF%BE/</Name>)"),
            "photos/a\xEF\xBF\xBE/");
  EXPECT_EQ(prefixFrom(R"(<Name Encoded="true">%41%2b+%2B%20%26amp;/</Name>)"), "A+++ &amp;/");
  EXPECT_EQ(prefixFrom(R"(<Name Encoded="true">%</Name>)"), "%");
  EXPECT_EQ(prefixFrom(R"(<Name Encoded="true">%4&amp;%zz</Name>)"), "%4&%zz");
}

TEST_F(AzureBlobs, AnyOtherNameIsNotDecoded) {
  EXPECT_EQ(prefixFrom("<Name>%41%EF%BF%BE+/</Name>"), "%41%EF%BF%BE+/");
  EXPECT_EQ(prefixFrom(R"(<Name Encoded="false">%41/</Name>)"), "%41/");
  EXPECT_EQ(prefixFrom(R"(<Name Encoded="">%41/</Name>)"), "%41/");
  EXPECT_EQ(prefixFrom(R"(<Name Other="true">%41/</Name>)"), "%41/");
}

TEST_F(AzureBlobs, EncodedAndPlainNamesMayOccurOnOnePage) {
  const auto outcome = readBlobs(
      R"(<EnumerationResults><Prefix Encoded="true">%41</Prefix><Blobs><Blob>)"
      R"(<Name Encoded="true">%41%42</Name></Blob><Blob><Name>%41%42</Name></Blob><BlobPrefix>)"
      R"(<Name Encoded="true">%43/</Name></BlobPrefix><BlobPrefix><Name>%43/</Name></BlobPrefix>)"
      "</Blobs></EnumerationResults>");
  EXPECT_THAT(namesOf(outcome.getResult().blobs), ElementsAre("AB", "%41%42"));
  EXPECT_THAT(namesOf(outcome.getResult().blobPrefixes), ElementsAre("C/", "%43/"));
}

using AzurePages = AzureListingTest;

TEST_F(AzurePages, MarkerIsOpaque) {
  EXPECT_EQ(markerFrom(""), "");
  EXPECT_EQ(markerFrom("<NextMarker/>"), "");
  EXPECT_EQ(markerFrom("<NextMarker />"), "");
  EXPECT_EQ(markerFrom("<NextMarker></NextMarker>"), "");
  EXPECT_EQ(markerFrom("<Containers><NextMarker>no</NextMarker></Containers>"), "");
  EXPECT_EQ(markerFrom(std::string("<NextMarker>") + kMarker + "</NextMarker>"), kMarker);
  EXPECT_EQ(markerFrom("<NextMarker> a%41+&amp;&#xe9;/ </NextMarker>"), " a%41+&\xC3\xA9/ ");
}

TEST_F(AzurePages, MarkerIsSentAsReceived) {
  const std::string marker = markerFrom("<NextMarker> a%41+&amp;\xC3\xA9/</NextMarker>");
  EXPECT_EQ(addressOf(pageOfContainers(marker)),
            "https://vemloacct.blob.core.windows.net/?comp=list"
            "&marker=%20a%2541%2B%26%C3%A9%2F&maxresults=100");
}

TEST_F(AzurePages, NamesLastAsLongAsTheirPage) {
  Model::ListBlobResult kept;
  {
    const auto outcome = readBlobs(
        "<EnumerationResults><Blobs><BlobPrefix><Name>longer than a short string is/</Name>"
        "</BlobPrefix></Blobs></EnumerationResults>");
    kept = outcome.getResult();
  }
  EXPECT_THAT(namesOf(kept.blobPrefixes), ElementsAre("longer than a short string is/"));
}

TEST_F(AzurePages, ResponseThatIsNoListIsALocalFailure) {
  for (const char* body :
       {"", " \n", "no markup", kByteOrderMark, "<html><body>Welcome to our network</body></html>",
        "<!DOCTYPE html><html><body></body></html>",
        R"(<!DOCTYPE r [<!ENTITY e "x">]><EnumerationResults/>)",
        "<EnumerationResults><Blobs><BlobPrefix><Name>cut/</Name></BlobPrefix><BlobPre",
        "<EnumerationResults><Containers><Container><Name>cut</Name></Container>",
        "<EnumerationResults/><EnumerationResults/>", "<ListBucketResult/>",
        "<EnumerationResultsOfAnother/>", "<Error/>", R"({"containers":[]})"}) {
    const auto containers = readContainers(body);
    const auto blobs = readBlobs(body);
    SCOPED_TRACE(body);
    expectMalformedResponse(containers);
    expectMalformedResponse(blobs);
    for (const auto& error : {containers.getError(), blobs.getError()}) {
      EXPECT_THAT(error.responseHeaders, ElementsAre(Pair("content-type", "application/xml")));
    }
  }
  EXPECT_THAT(delays(), IsEmpty()) << "a retry cannot help";
}

}  // namespace
