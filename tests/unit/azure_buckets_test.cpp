#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "azure_session_fixture.h"

// The Azure operations on containers, beside what tests/behaviour shows of all services.
namespace {

using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Return;
using testing::SaveArg;
using TestSupport::errorLine;
using TestSupport::AzureSSBModel::CreateContainerRequest;
using TestSupport::AzureSSBModel::CreateContainerResult;
using TestSupport::AzureSSBModel::ListContainerRequest;
using TestSupport::AzureSSBModel::ListContainerResult;
using UnitTests::accessDenied;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::numberedNames;
using UnitTests::PageTexts;

using Pages = UnitTests::Script<ListContainerRequest, TestSupport::OutcomeOf<ListContainerResult>>;

// Constructed when it is requested, so that its texts are released as soon as the library releases
// it.
Pages::Responder page(std::vector<std::string> names, std::string nextMarker) {
  return [names = std::move(names), nextMarker = std::move(nextMarker)] {
    const PageTexts texts(names);
    ListContainerResult result;
    result.storage = texts.page();
    for (const auto name : texts.views()) result.containers.push_back({name, "then", "tag"});
    result.nextMarker = nextMarker;
    return result;
  };
}

template <typename Marker>
auto requestWith(Marker marker) {
  return AllOf(Field("prefix", &ListContainerRequest::prefix, IsAbsent()),
               Field("marker", &ListContainerRequest::marker, marker),
               Field("maxResults", &ListContainerRequest::maxResults, IsPresentAs(100)),
               Field("contentType", &ListContainerRequest::contentType, "application/xml"));
}

class AzureListBucket : public UnitTests::AzureTest {
 protected:
  int list() {
    containers_.reset();
    return azure_ssb_list_bucket(&handle_, &containers_.list, &containers_.count);
  }

  /// Expects one request for each page, and no others.
  void willReturn(std::vector<Pages::Responder> responders) {
    const int count = pages_.reset(std::move(responders));
    EXPECT_CALL(client(), listContainer(_))
        .Times(count)
        .WillRepeatedly([this](const ListContainerRequest& request) { return pages_(request); });
  }

  TestSupport::BucketListOut containers_;
  Pages pages_;
};

using AzureCreateBucket = UnitTests::AzureTest;

TEST_F(AzureListBucket, RequestsAHundredContainersWithoutFilterAndMarker) {
  willReturn({page({"one", "two"}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(pages_.requests, ElementsAre(requestWith(IsAbsent())));
  EXPECT_THAT(containers_.names(), ElementsAre("one", "two"));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureListBucket, ListsTwoHundredFiftyContainersInThreeRequests) {
  willReturn({page(numberedNames(0, 100, "c"), "first marker"),
              page(numberedNames(100, 100, "c"), "second/marker="),
              page(numberedNames(200, 50, "c"), "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(pages_.requests,
              ElementsAre(requestWith(IsAbsent()), requestWith(IsPresentAs("first marker")),
                          requestWith(IsPresentAs("second/marker="))));
  EXPECT_EQ(containers_.names(), numberedNames(0, 250, "c"));
}

TEST_F(AzureListBucket, ContinuesAfterPagesThatAreShortOrEmpty) {
  willReturn({page({}, "1"), page({"only"}, "2"), page({}, "3"), page({}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(pages_.requests,
              ElementsAre(requestWith(IsAbsent()), requestWith(IsPresentAs("1")),
                          requestWith(IsPresentAs("2")), requestWith(IsPresentAs("3"))));
  EXPECT_THAT(containers_.names(), ElementsAre("only"));
}

TEST_F(AzureListBucket, HasNoLimitOfPages) {
  std::vector<Pages::Responder> responders;
  for (int i = 0; i < 300; ++i) responders.push_back(page(numberedNames(i, 1, ""), "next"));
  responders.push_back(page({}, ""));
  willReturn(responders);

  ASSERT_EQ(list(), 0);
  EXPECT_EQ(pages_.requests.size(), 301U);
  EXPECT_EQ(containers_.names(), numberedNames(0, 300, ""));
}

TEST_F(AzureListBucket, KeepsTheServicesOrderAndEveryByteAndDuplicates) {
  willReturn({page({"z", "", "$logs", "a"}, "m"), page({"a", "\xC3\xA4\xFF", " "}, "")});

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(containers_.names(), ElementsAre("z", "", "$logs", "a", "a", "\xC3\xA4\xFF", " "));
}

TEST_F(AzureListBucket, FillsTheOutsWithSeparateBlocksOfTheStandardAllocator) {
  willReturn({page({"one", "two"}, "")});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(containers_.count, 2);
  std::free(containers_.list[0]);
  std::free(containers_.list[1]);
  std::free(containers_.list);
  containers_.forget();
}

TEST_F(AzureListBucket, OfAnAccountWithoutContainersReturnsANullArrayAndACountOfZero) {
  willReturn({page({}, "")});

  EXPECT_EQ(list(), 0);
  EXPECT_TRUE(containers_.isCleared());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureListBucket, FailureOnTheSecondPageDiscardsTheFirst) {
  willReturn({page({"one", "two"}, "m"), accessDenied});

  EXPECT_EQ(list(), 15);
  EXPECT_THAT(pages_.requests, ElementsAre(requestWith(IsAbsent()), requestWith(IsPresentAs("m"))));
  EXPECT_TRUE(containers_.isCleared());
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::kAccessDeniedLine)));
}

TEST_F(AzureListBucket, ReturnsAndLogsEveryErrorType) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    log_.clear();
    willReturn({[type] { return UnitTests::errorOfType(type); }});
    EXPECT_EQ(list(), static_cast<int>(type));
    EXPECT_TRUE(containers_.isCleared());
    EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
  }
}

TEST_F(AzureCreateBucket, SendsOneRequestWithTheNameAndNoBody) {
  CreateContainerRequest sent;
  EXPECT_CALL(client(), createContainer(_))
      .WillOnce(testing::DoAll(SaveArg<0>(&sent), Return(CreateContainerResult{})));

  EXPECT_EQ(azure_ssb_create_bucket(&handle_, "a-container"), 0);
  EXPECT_EQ(sent.container, "a-container");
  EXPECT_EQ(sent.contentType, "application/xml");
  EXPECT_EQ(sent.getBody(), nullptr);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AzureCreateBucket, DoesNotCheckTheName) {
  for (const char* name : UnitTests::kBucketNames) {
    SCOPED_TRACE(name);
    EXPECT_CALL(client(), createContainer(Field(&CreateContainerRequest::container, name)))
        .WillOnce(Return(CreateContainerResult{}));
    EXPECT_EQ(azure_ssb_create_bucket(&handle_, name), 0);
  }
}

TEST_F(AzureCreateBucket, ReturnsAndLogsEveryErrorType) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    log_.clear();
    EXPECT_CALL(client(), createContainer(_)).WillOnce(Return(UnitTests::errorOfType(type)));
    EXPECT_EQ(azure_ssb_create_bucket(&handle_, "c"), static_cast<int>(type));
    EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
  }
}

}  // namespace
