
#include <chrono>

#include "any_service.h"
#include "support/locale_with_thousands.h"

namespace Behaviour {
namespace {

using testing::IsEmpty;

class Listing : public AnyService {
 protected:
  /// Lists the parent, which must succeed with `pages` requests for pages.
  std::vector<Folder> listed(std::size_t pages) {
    const auto handle = openAuthorized();
    const auto requestsBefore = cloud->count(Subject::Page);
    Outs outs;
    EXPECT_EQ(service().listing().call(handle.get(), outs), 0);
    EXPECT_EQ(cloud->count(Subject::Page) - requestsBefore, pages + service().facts.probes);
    EXPECT_EQ(cloud->count(Subject::Unknown), 0U);
    EXPECT_THAT(log.records(), IsEmpty());
    EXPECT_TRUE(outs.folders.isWritten());
    return outs.folders.folders();
  }
};

TEST_P(Listing, EmptyFolderHasNone) { EXPECT_THAT(listed(1), IsEmpty()); }

TEST_P(Listing, OnePageIsReadInOneRequest) {
  cloud->addFolders(5);
  EXPECT_EQ(listed(1), cloud->folders());
}

TEST_P(Listing, CountInTheLogHasNoThousandsSeparators) {
  constexpr char kCounted[] = "Got 1200 directories. ";
  cloud->pageLength = 400;
  cloud->addFolders(1200);
  const auto handle = openAuthorized();
  const TestSupport::LocaleWithThousands locale;
  const TestSupport::VerboseLevel level(9);
  Outs outs;
  EXPECT_EQ(service().listing().call(handle.get(), outs), 0);
  for (const auto& line : log.records()) {
    if (line.text.find("Got ") == 0) {
      EXPECT_EQ(line.text, kCounted);
    }
  }
}

TEST_P(Listing, ManyPagesAreReadInOrder) {
  constexpr std::size_t kPageLength = 2;
  cloud->pageLength = kPageLength;
  cloud->addFolders(5);
  auto expected = cloud->folders();
  if (!service().facts.listsAllPages) expected.resize(kPageLength);
  EXPECT_EQ(listed(service().facts.listsAllPages ? 3 : 1), expected);
}

TEST_P(Listing, FullLastPageIsTheLast) {
  cloud->pageLength = 3;
  cloud->addFolders(3);
  EXPECT_EQ(listed(1), cloud->folders());
}

TEST_P(Listing, RefusalReturnsNoFolders) {
  cloud->addFolders(5);
  cloud->deniedPage = 1;
  const auto handle = openAuthorized();
  const Operation operation = service().listing();
  const Failure failure = service().accessDenied().failure;
  Outs outs;
  EXPECT_EQ(operation.call(handle.get(), outs), service().resultOf(failure));
  EXPECT_EQ(outs.state(), operation.afterFailure);
  EXPECT_EQ(log.records(), linesOf(operation, failure));
  EXPECT_EQ(cloud->count(Subject::Page), 1U);
}

INSTANTIATE_TEST_SUITE_P(Services, Listing, testing::ValuesIn(allServices()), ServiceName());

using ListingOfAllPages = AnyService;

TEST_P(ListingOfAllPages, FailureOnALaterPageDiscardsTheOthers) {
  cloud->pageLength = 2;
  cloud->addFolders(5);
  const auto handle = openAuthorized();
  const Operation operation = service().listing();
  const Failure failure = service().accessDenied().failure;
  for (const std::size_t number : {2U, 3U}) {
    SCOPED_TRACE(number);
    cloud->deniedPage = number;
    const auto linesBefore = log.records().size();
    const auto requestsBefore = cloud->count(Subject::Page);
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), service().resultOf(failure));
    EXPECT_EQ(outs.state(), operation.afterFailure);
    auto lines = log.records();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(linesBefore));
    EXPECT_EQ(lines, linesOf(operation, failure));
    EXPECT_EQ(cloud->count(Subject::Page) - requestsBefore, number + service().facts.probes);
  }

  cloud->deniedPage = 0;
  Outs outs;
  EXPECT_EQ(operation.call(handle.get(), outs), 0) << "the session is still usable";
  EXPECT_EQ(outs.folders.folders(), cloud->folders());
}

TEST_P(ListingOfAllPages, HasNoLimitOfPages) {
  cloud->pageLength = 1;
  cloud->addFolders(301);
  const auto handle = openAuthorized();
  Outs outs;
  EXPECT_EQ(service().listing().call(handle.get(), outs), 0);
  EXPECT_EQ(outs.folders.folders(), cloud->folders());
  EXPECT_EQ(cloud->count(Subject::Page), 301 + service().facts.probes);
}

// All requests of a call share its time, so that many slow pages do not add up.
TEST_P(ListingOfAllPages, EndsAfterTenMinutes) {
  cloud->pageLength = 1;
  cloud->addFolders(301);
  const auto handle = openAuthorized();
  const Operation operation = service().listing();
  const auto requestsBefore = cloud->count();
  cloud->onRequest = [this] { fixture.pass(std::chrono::minutes(1)); };
  Outs outs;
  EXPECT_NE(operation.call(handle.get(), outs), 0);
  EXPECT_EQ(outs.state(), operation.afterFailure);
  EXPECT_EQ(cloud->count() - requestsBefore, 10U);
  ASSERT_EQ(log.records().size(), 1U);
  EXPECT_THAT(log.records().front().text,
              testing::HasSubstr("The call has not ended within 10 minutes"));
}

INSTANTIATE_TEST_SUITE_P(Services, ListingOfAllPages,
                         testing::ValuesIn(servicesWith(&Service::Facts::listsAllPages)),
                         ServiceName());

}  // namespace
}  // namespace Behaviour
