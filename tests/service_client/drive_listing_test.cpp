// What the listings of all drives have in common.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/drive_operations.h"
#include "support/drives.h"
#include "support/expectations.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::DriveOperations;
using TestSupport::expectMalformedResponse;
using TestSupport::response;

template <typename Drive>
class DriveListing : public ::testing::Test, protected TestSupport::DriveFixture<Drive> {
 protected:
  static constexpr char kFolder[] = "folder-1";

  auto read(const std::string& body) {
    this->enqueue(response(200, body));
    return DriveOperations<Drive>::list(*this->makeClient(), kFolder);
  }

  /// A page whose member for the entries has this value.
  static std::string pageWith(const std::string& value) {
    return std::string("{\"") + DriveOperations<Drive>::kEntries + "\":" + value + "}";
  }

  template <typename Result>
  static std::vector<std::string> namesOf(const Result& result) {
    std::vector<std::string> names;
    for (const auto& entry : DriveOperations<Drive>::entriesOf(result))
      names.emplace_back(entry.name);
    return names;
  }
};
TYPED_TEST_SUITE(DriveListing, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(DriveListing, ResponseThatIsNoJsonObjectIsMalformed) {
  const std::string page = this->pageWith(R"([{"id":"1","path_lower":"/1","name":"a"}])");
  for (const std::string& body :
       {std::string(), std::string(" \n"), std::string("\xEF\xBB\xBF"), std::string("no JSON"),
        std::string("null"), std::string("[]"), std::string(R"([{"id":"1"}])"),
        std::string("<html><body>Welcome to our network</body></html>"), page + page, page + "x",
        page.substr(0, page.size() - 1), page.substr(0, page.size() - 2),
        page.substr(0, page.size() - 3), page.substr(0, page.size() / 2), page.substr(0, 12),
        std::string(100000, '[')}) {
    SCOPED_TRACE(body.substr(0, 200));
    expectMalformedResponse(this->read(body));
  }
  EXPECT_THAT(this->delays(), IsEmpty()) << "a retry cannot help";
}

TYPED_TEST(DriveListing, EntriesThatAreNoListAreMalformed) {
  for (const std::string& value :
       {std::string("{}"), std::string(R"({"id":"1"})"), std::string(R"("none")"), std::string("7"),
        std::string("["), std::string("[7,]"), std::string(R"([{"id":"1"},])"),
        std::string(R"([{"id":"1"})"), std::string(100000, '[')}) {
    SCOPED_TRACE(value.substr(0, 200));
    expectMalformedResponse(this->read(this->pageWith(value)));
  }
}

TYPED_TEST(DriveListing, InvalidTextIsMalformed) {
  for (const char* text : {"a\nb", R"(\u12)", R"(\u00g0)", R"(\q)", R"(not closed\)"}) {
    SCOPED_TRACE(text);
    expectMalformedResponse(this->read(
        this->pageWith(R"([{"id":"1","path_lower":"/1","name":")" + std::string(text) + "\"}]")));
  }
}

TYPED_TEST(DriveListing, ByteOrderMarkAndWhiteSpaceAreSkipped) {
  const std::string page = this->pageWith(R"([{"id":"1","path_lower":"/1","name":"a"}])");
  for (const std::string& body : {"\xEF\xBB\xBF" + page, " \r\n" + page + "\r\n "}) {
    const auto outcome = this->read(body);
    ASSERT_TRUE(outcome.isSuccess()) << body << outcome.getError();
    EXPECT_THAT(this->namesOf(outcome.getResult()), ElementsAre("a"));
  }
}

TYPED_TEST(DriveListing, TextsLastAsLongAsTheResult) {
  const std::string first = "a name that is longer than a short string";
  auto outcome =
      this->read(this->pageWith(R"([{"id":"1","path_lower":"/1","name":")" + first + "\"}]"));
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
  const auto kept = std::move(outcome).getResult();
  outcome = this->read(this->pageWith(R"([{"id":"2","path_lower":"/2","name":"b"}])"));
  EXPECT_THAT(this->namesOf(kept), ElementsAre(first));
  EXPECT_THAT(this->namesOf(outcome.getResult()), ElementsAre("b"));
  EXPECT_THAT(this->requests(), SizeIs(2));
}

/// The name of the folder that `request` lists.
std::string folderIn(const CloudStorage::Http::Request& request) {
  const std::string text = request.uri.toString() + request.body;
  const auto begin = text.find("folder-");
  return text.substr(begin, text.find_first_not_of("folder-0123456789", begin) - begin);
}

TYPED_TEST(DriveListing, ThreadsOfOneClientGetTheirOwnResponses) {
  constexpr std::size_t kThreads = 16;
  constexpr std::size_t kCalls = 10;
  for (std::size_t i = 0; i < kThreads * kCalls; ++i) {
    this->enqueue([this](const CloudStorage::Http::Request& request) {
      return response(200, this->pageWith(R"([{"id":"1","path_lower":"/1","name":")" +
                                          folderIn(request) + "\"}]"));
    });
  }
  const auto client = this->makeClient();
  std::atomic<std::size_t> successes{0};
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < kThreads; ++number) {
    threads.emplace_back([&, folder = "folder-" + std::to_string(number)] {
      for (std::size_t call = 0; call < kCalls; ++call) {
        const auto outcome = DriveOperations<TypeParam>::list(*client, folder);
        if (!outcome.isSuccess()) continue;
        successes +=
            this->namesOf(outcome.getResult()) == std::vector<std::string>{folder} ? 1U : 0U;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(successes, kThreads * kCalls);
}

}  // namespace
