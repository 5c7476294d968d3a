// Listings of all drives with unusual entries, statuses, sizes and tokens.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
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

/// An entry of any drive. `address` and `name` are JSON texts without their quotes.
std::string entry(const std::string& address, const std::string& name) {
  return R"({"id":")" + address + R"(","path_lower":")" + address + R"(","name":")" + name + "\"}";
}

/// A list of `size` entries that no drive can address.
std::string emptyEntries(std::size_t size) {
  std::string list = "[";
  for (std::size_t i = 0; i < size; ++i) list += i == 0 ? "{}" : ",{}";
  return list + "]";
}

template <typename Drive>
class DriveOddListing : public ::testing::Test, protected TestSupport::DriveFixture<Drive> {
 protected:
  using Operations = DriveOperations<Drive>;

  auto read(const std::string& body, int status = 200, const std::string& token = {}) {
    this->enqueue(response(status, body));
    return Operations::list(*this->makeClient(), "folder", token);
  }

  /// A page whose member for the entries has this value.
  static std::string pageWith(const std::string& value) {
    return std::string("{\"") + Operations::kEntries + "\":" + value + "}";
  }

  /// A page with the token `next`, a JSON text without its quotes, and a list with `entries`.
  static std::string pageBefore(const std::string& next, const std::string& entries) {
    return std::string("{\"") + Operations::kNext + "\":\"" + next + R"(","has_more":true,")" +
           Operations::kEntries + "\":[" + entries + "]}";
  }

  /// "address=name" of each entry that is listed for a body.
  std::vector<std::string> entriesIn(const std::string& body) {
    const auto outcome = read(body);
    if (!outcome.isSuccess()) return {"failed: " + outcome.getError().message};
    std::vector<std::string> entries;
    for (const auto& item : Operations::entriesOf(outcome.getResult())) {
      entries.push_back(Operations::addressOf(item) + "=" + std::string(item.name));
    }
    return entries;
  }

  std::vector<std::string> entriesFrom(const std::string& list) {
    return entriesIn(pageWith(list));
  }
};
TYPED_TEST_SUITE(DriveOddListing, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(DriveOddListing, CharactersThatANameCannotHaveAreReplaced) {
  const std::pair<std::string, std::string> names[] = {
      {R"(a\u0000b)", "a\uFFFDb"},
      {R"(\u0000)", "\uFFFD"},
      {R"(a\ud83cb)", "a\uFFFDb"},
      {R"(\udf1e)", "\uFFFD"},
      {R"(\ud83c\u0041)", "\uFFFDA"},
      {R"(\ud83c\n)", "\uFFFD\n"},
      {R"(\ud83c\ud83c\udf1e)", "\uFFFD\U0001F31E"},
      {R"(\udf1e\ud83c)", "\uFFFD\uFFFD"},
      {"caf\xE9", "caf?"},
      {"\xF0\x9F\x8C \xC3\xA9", "??? \u00e9"},
      {"\xFF\\u0000\\t", "?\uFFFD\t"},
  };
  for (const auto& [sent, name] : names) {
    EXPECT_THAT(this->entriesFrom("[" + entry("/1", "one") + "," + entry("/2", sent) + "," +
                                  entry("/3", R"(\u00e9)") + "]"),
                ElementsAre("/1=one", "/2=" + name, "/3=\u00e9"))
        << sent;
  }
}

TYPED_TEST(DriveOddListing, EntryThatCannotBeAddressedIsLeftOut) {
  for (const std::string& odd : {std::string("{}"), std::string(R"({"name":"b"})"),
                                 std::string(R"({"id":null,"path_lower":null,"name":"b"})"),
                                 std::string(R"({"id":7,"path_lower":["/7"],"name":"b"})"),
                                 entry("", "b"), entry(R"(/\u0000)", "b"), entry(R"(/\ud83c)", "b"),
                                 entry("/caf\xE9", "b"), entry("/\xFF\\n", "b")}) {
    EXPECT_THAT(
        this->entriesFrom("[" + entry("/1", "a") + "," + odd + "," + entry("/3?", "c") + "]"),
        ElementsAre("/1=a", "/3?=c"))
        << odd;
  }
}

TYPED_TEST(DriveOddListing, EntryWithoutANameIsListed) {
  for (const char* name : {"", R"(,"name":null)", R"(,"name":7)", R"(,"name":"")"}) {
    EXPECT_THAT(this->entriesFrom(R"([{"id":"/1","path_lower":"/1")" + std::string(name) + "}]"),
                ElementsAre("/1="))
        << name;
  }
}

TYPED_TEST(DriveOddListing, ElementThatIsNoObjectIsLeftOut) {
  EXPECT_THAT(this->entriesFrom(R"([null,7,"x",true,[],[["a"],{"id":"/9","path_lower":"/9"}],)" +
                                entry("/1", "a") + ",-1.5e3]"),
              ElementsAre("/1=a"));
}

TYPED_TEST(DriveOddListing, LastOfDuplicateListsCounts) {
  const std::string name = std::string("\"") + DriveOperations<TypeParam>::kEntries + "\":";
  EXPECT_THAT(this->entriesIn("{" + name + "[" + entry("/1", "a") + "," + entry("/2", "b") + "]," +
                              name + "[" + entry("/3", "c") + "]}"),
              ElementsAre("/3=c"));
  EXPECT_THAT(this->entriesIn("{" + name + "[" + entry("/1", "a") + "]," + name + "[]}"),
              IsEmpty());
}

TYPED_TEST(DriveOddListing, LastOfDuplicateMembersCounts) {
  EXPECT_THAT(this->entriesFrom(R"([{"id":"/1","path_lower":"/1","name":"a","id":"/2",)"
                                R"("path_lower":"/2","name":"b"},)"
                                R"({"id":"/3","path_lower":"/3","name":"c","name":null},)"
                                R"({"id":"/4","path_lower":"/4","id":null,"path_lower":null}])"),
              ElementsAre("/2=b", "/3="));
}

TYPED_TEST(DriveOddListing, NamesOfMembersMayBeOdd) {
  EXPECT_THAT(this->entriesFrom(R"([{"\ud83c":1,"\u0000":2,"i\u0064":"/1","path\u005flower":"/1",)"
                                R"("name\u0000":"x","n\u0061me":"a"}])"),
              ElementsAre("/1=a"));
}

TYPED_TEST(DriveOddListing, MembersThatAreNotReadMayBeNestedAtWill) {
  constexpr std::size_t kDepth = 100000;
  const std::string nested = std::string(kDepth, '[') + std::string(kDepth, ']');
  EXPECT_THAT(
      this->entriesFrom(R"([{"x":)" + nested + R"(,"id":"/1","path_lower":"/1","name":"a"}])"),
      ElementsAre("/1=a"));
}

TYPED_TEST(DriveOddListing, OnlyTheStatus200HasAListing) {
  for (const int status : {201, 202, 203, 204, 205, 206, 226, 299}) {
    const auto outcome = this->read(this->pageWith("[]"), status);
    ASSERT_FALSE(outcome.isSuccess()) << status;
    EXPECT_EQ(outcome.getError().errorType, CloudStorage::Client::CoreErrors::LocalFailure);
    EXPECT_EQ(outcome.getError().exceptionName, "MalformedResponse");
    EXPECT_EQ(outcome.getError().httpResponseCode, status);
  }
  EXPECT_THAT(this->delays(), IsEmpty()) << "a retry cannot help";
}

// A small compressed response may contain millions of entries.
TYPED_TEST(DriveOddListing, PageHasAtMostTenTimesTheEntriesThatWereRequested) {
  constexpr int kPageSize = DriveOperations<TypeParam>::kPageSize;
  constexpr std::size_t kMost = kPageSize == 0 ? 100000 : 10 * std::size_t{kPageSize};
  EXPECT_THAT(this->entriesFrom(emptyEntries(kMost)), IsEmpty());

  for (const std::string& token : {std::string(), std::string("token")}) {
    const auto outcome = this->read(this->pageWith(emptyEntries(kMost + 1)), 200, token);
    ASSERT_FALSE(outcome.isSuccess());
    const auto& error = outcome.getError();
    EXPECT_EQ(error.errorType, CloudStorage::Client::CoreErrors::LocalFailure);
    EXPECT_EQ(error.exceptionName, "ResponseTooLarge");
    EXPECT_EQ(error.message, "The answer has more than " + std::to_string(kMost) + " entries");
    EXPECT_EQ(error.httpResponseCode, 200);
    EXPECT_FALSE(error.retryable);
  }
  EXPECT_THAT(this->requests(), SizeIs(3));
}

TYPED_TEST(DriveOddListing, ElementsThatAreNoObjectsCount) {
  std::string list = "[1";
  for (int i = 0; i < 100000; ++i) list += ",1";
  const auto outcome = this->read(this->pageWith(list + "]"));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().exceptionName, "ResponseTooLarge");
}

TYPED_TEST(DriveOddListing, PageThatNamesItselfAsTheNextIsMalformed) {
  const auto otherPage = this->read(this->pageBefore("other", ""), 200, "token");
  EXPECT_TRUE(otherPage.isSuccess()) << otherPage.getError();
  for (const std::string& entries : {std::string(), entry("/1", "a")}) {
    const auto outcome = this->read(this->pageBefore(R"(t\u006fken)", entries), 200, "token");
    expectMalformedResponse(outcome);
    EXPECT_EQ(outcome.getError().message, "The answer repeats the token of its request");
  }
  EXPECT_THAT(this->requests(), SizeIs(3));
}

// Without its odd character the token would select another page.
TYPED_TEST(DriveOddListing, NextPageThatCannotBeRequestedIsMalformed) {
  for (const char* next : {R"(t\u0000)", R"(\ud83c)", "t\xFF"}) {
    expectMalformedResponse(this->read(this->pageBefore(next, entry("/1", "a"))));
  }
}

template <typename Drive>
class DriveCreation : public DriveOddListing<Drive> {
 protected:
  auto createdBy(int status, const std::string& folder) {
    const std::string members = folder.substr(1, folder.size() - 2);
    this->enqueue(response(status, R"({"metadata":)" + folder + "," + members + "}"));
    return DriveOperations<Drive>::create(*this->makeClient());
  }
};
TYPED_TEST_SUITE(DriveCreation, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(DriveCreation, EverySuccessStatusExceptPartialContentConfirmsIt) {
  for (const int status : {200, 201, 202, 203, 204, 226, 299}) {
    const auto outcome = this->createdBy(status, entry("/1", "a"));
    ASSERT_TRUE(outcome.isSuccess()) << status << outcome.getError();
    EXPECT_EQ(DriveOperations<TypeParam>::addressOf(outcome.getResult()), "/1");
  }
  const auto outcome = this->createdBy(206, entry("/1", "a"));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CloudStorage::Client::CoreErrors::LocalFailure);
  EXPECT_EQ(outcome.getError().exceptionName, "MalformedResponse");
  EXPECT_EQ(outcome.getError().httpResponseCode, 206);
}

TYPED_TEST(DriveCreation, OddNameOfACreatedFolderIsHandedOut) {
  const auto outcome = this->createdBy(200, entry("/1", "a\\u0000\xFF"));
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
  EXPECT_EQ(outcome.getResult().name, "a\uFFFD?");
  EXPECT_EQ(DriveOperations<TypeParam>::addressOf(outcome.getResult()), "/1");
}

}  // namespace
