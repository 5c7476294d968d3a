#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "azure_session_fixture.h"

// The Azure operations on folders, beside what tests/behaviour shows of all services.
namespace {

using CloudStorage::Client::AzureSSB::AzureSSBClient;
using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Return;
using testing::SaveArg;
using TestSupport::errorLine;
using TestSupport::AzureSSBModel::ListBlobRequest;
using TestSupport::AzureSSBModel::ListBlobResult;
using TestSupport::AzureSSBModel::PutBlobRequest;
using TestSupport::AzureSSBModel::PutBlobResult;
using UnitTests::accessDenied;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::numberedNames;
using UnitTests::PageTexts;

using Pages = UnitTests::Script<ListBlobRequest, TestSupport::OutcomeOf<ListBlobResult>>;

// Constructed when it is requested, so that its texts are released as soon as the library releases
// it.
Pages::Responder page(std::vector<std::string> prefixes, std::string nextMarker) {
  return [prefixes = std::move(prefixes), nextMarker = std::move(nextMarker)] {
    const PageTexts texts(prefixes);
    ListBlobResult result;
    result.storage = texts.page();
    for (const auto name : texts.views()) result.blobPrefixes.push_back({name});
    result.blobs = {{"photos/"}, {"photos/a.jpg"}};  // the marker of the folder, and a file
    result.nextMarker = nextMarker;
    return result;
  };
}

template <typename Marker>
auto requestWith(const std::string& prefix, Marker marker) {
  return AllOf(Field("container", &ListBlobRequest::container, IsPresentAs("a-container")),
               Field("prefix", &ListBlobRequest::prefix, IsPresentAs(prefix)),
               Field("marker", &ListBlobRequest::marker, marker),
               Field("maxResults", &ListBlobRequest::maxResults, IsPresentAs(100)),
               Field("delimiter", &ListBlobRequest::delimiter, IsPresentAs("/")),
               Field("contentType", &ListBlobRequest::contentType, "application/xml"));
}

auto firstRequest() { return requestWith("photos/", IsAbsent()); }
auto requestAfter(const std::string& marker) { return requestWith("photos/", IsPresentAs(marker)); }

class AzureListDirectory : public UnitTests::AzureTest {
 protected:
  int list(const char* prefix = "photos/") {
    folders_.reset();
    return azure_ssb_list_directory(&handle_, "a-container", prefix, &folders_.list,
                                    &folders_.count);
  }

  /// Expects one request for each page, and no others.
  void willReturn(std::vector<Pages::Responder> responders) {
    const int count = pages_.reset(std::move(responders));
    EXPECT_CALL(client(), listBlob(_))
        .Times(count)
        .WillRepeatedly([this](const ListBlobRequest& request) { return pages_(request); });
  }

  TestSupport::FolderListOut folders_;
  Pages pages_;
};

using AzureCreateDirectory = UnitTests::AzureTest;

TEST_F(AzureListDirectory, RequestsTheFirstPageTwiceAndUsesTheSecondResponse) {
  willReturn({page({"photos/probed/"}, "marker of the probe"), page({"photos/2019/"}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(pages_.requests, ElementsAre(firstRequest(), firstRequest()));
  EXPECT_THAT(folders_.names(), ElementsAre("photos/2019/"));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureListDirectory, ListsTwoHundredThirtyFoldersInFourRequests) {
  const Pages::Responder firstPage = page(numberedNames(0, 100, "/"), "first marker");
  willReturn({firstPage, firstPage, page(numberedNames(100, 100, "/"), "second/marker="),
              page(numberedNames(200, 30, "/"), "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(pages_.requests,
              ElementsAre(firstRequest(), firstRequest(), requestAfter("first marker"),
                          requestAfter("second/marker=")));
  EXPECT_EQ(folders_.names(), numberedNames(0, 230, "/"));
}

TEST_F(AzureListDirectory, ContinuesAfterPagesThatHoldFilesOnly) {
  willReturn({page({}, "1"), page({}, "1"), page({"photos/a/"}, "2"), page({}, "3"), page({}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(pages_.requests, ElementsAre(firstRequest(), firstRequest(), requestAfter("1"),
                                           requestAfter("2"), requestAfter("3")));
  EXPECT_THAT(folders_.names(), ElementsAre("photos/a/"));
}

TEST_F(AzureListDirectory, TheEmptyPrefixIsSentAndListsTheTopLevel) {
  willReturn({page({}, ""), page({"photos/", "music/"}, "")});

  ASSERT_EQ(list(""), 0);
  EXPECT_THAT(pages_.requests,
              ElementsAre(requestWith("", IsAbsent()), requestWith("", IsAbsent())));
  EXPECT_THAT(folders_.names(), ElementsAre("photos/", "music/"));
}

TEST_F(AzureListDirectory, SendsThePrefixUnchanged) {
  for (const char* prefix : UnitTests::kPrefixes) {
    SCOPED_TRACE(prefix);
    willReturn({page({}, ""), page({}, "")});
    EXPECT_EQ(list(prefix), 0);
    EXPECT_THAT(pages_.requests,
                ElementsAre(requestWith(prefix, IsAbsent()), requestWith(prefix, IsAbsent())));
  }
}

TEST_F(AzureListDirectory, DoesNotCheckTheContainer) {
  for (const char* container : UnitTests::kBucketNames) {
    SCOPED_TRACE(container);
    EXPECT_CALL(client(), listBlob(Field(&ListBlobRequest::container, IsPresentAs(container))))
        .Times(2)
        .WillRepeatedly(Return(ListBlobResult{}));
    folders_.reset();
    EXPECT_EQ(azure_ssb_list_directory(&handle_, container, "", &folders_.list, &folders_.count),
              0);
  }
}

TEST_F(AzureListDirectory, ReturnsFoldersWithoutIds) {
  willReturn({page({}, ""), page({"photos/2019/", "photos/2020/"}, "")});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(folders_.count, 2);
  EXPECT_EQ(folders_.list[0].id, nullptr);
  EXPECT_EQ(folders_.list[1].id, nullptr);
}

TEST_F(AzureListDirectory, KeepsTheServicesOrderAndEveryByteAndDuplicates) {
  willReturn({page({}, ""), page({"z/", "", "no slash", "a/"}, "m"),
              page({"a/", "\xC3\xA4\xFF/", " /"}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(folders_.names(),
              ElementsAre("z/", "", "no slash", "a/", "a/", "\xC3\xA4\xFF/", " /"));
}

TEST_F(AzureListDirectory, FillsTheOutsWithSeparateBlocksOfTheStandardAllocator) {
  willReturn({page({}, ""), page({"one/", "two/"}, "")});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(folders_.count, 2);
  std::free(folders_.list[0].name);
  std::free(folders_.list[1].name);
  std::free(folders_.list);
  folders_.forget();
}

TEST_F(AzureListDirectory, OfAFolderWithoutFoldersReturnsANullArrayAfterTwoEqualRequests) {
  willReturn({page({}, ""), page({}, "")});

  EXPECT_EQ(list(), 0);
  EXPECT_THAT(pages_.requests, ElementsAre(firstRequest(), firstRequest()));
  EXPECT_TRUE(folders_.isCleared());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureListDirectory, FailureOnTheFirstPageAfterAGoodProbeEndsTheListing) {
  willReturn({page({"photos/a/"}, "m"), accessDenied});

  EXPECT_EQ(list(), 15);
  EXPECT_THAT(pages_.requests, ElementsAre(firstRequest(), firstRequest()));
  EXPECT_TRUE(folders_.isCleared());
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::kAccessDeniedLine)));
}

TEST_F(AzureListDirectory, ReturnsAndLogsEveryErrorType) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    for (const bool probeFails : {true, false}) {
      SCOPED_TRACE(testing::Message() << type << (probeFails ? " for the probe" : ""));
      log_.clear();
      std::vector<Pages::Responder> responders{[type] { return UnitTests::errorOfType(type); }};
      if (!probeFails) responders.insert(responders.begin(), page({}, ""));
      willReturn(responders);
      EXPECT_EQ(list(), static_cast<int>(type));
      EXPECT_TRUE(folders_.isCleared());
      EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
    }
  }
}

TEST_F(AzureCreateDirectory, SendsOneEmptyBlockBlobNamedLikeTheFolder) {
  PutBlobRequest sent;
  EXPECT_CALL(client(), putBlob(_))
      .WillOnce(testing::DoAll(SaveArg<0>(&sent), Return(PutBlobResult{})));

  EXPECT_EQ(azure_ssb_create_directory(&handle_, "a-container", "photos/2020/"), 0);
  EXPECT_EQ(sent.container, "a-container");
  EXPECT_THAT(sent.contentLength, IsPresentAs(0));
  EXPECT_THAT(sent.blob, IsPresentAs("photos/2020/"));
  EXPECT_THAT(sent.blobType, IsPresentAs(AzureSSBClient::BLOB_TYPE_BLOCK_BLOB));
  EXPECT_EQ(sent.body, nullptr);
  EXPECT_EQ(sent.contentType, "application/xml");  // that of all requests to the service
  EXPECT_THAT(log_.records(), IsEmpty());
}

}  // namespace
