#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CloudStorage/Util/ChunkedList.h"

namespace {

using CloudStorage::Util::ChunkedList;

TEST(ChunkedList, BeginsEmpty) {
  const ChunkedList<int> list;
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.size(), 0U);
  EXPECT_FALSE(list.begin() != list.end());
}

TEST(ChunkedList, KeepsItsOrder) {
  constexpr int kCount = 1000;
  ChunkedList<std::string> list;
  for (int i = 0; i < kCount; ++i) {
    EXPECT_EQ(list.size(), static_cast<std::size_t>(i));
    list.push_back(std::to_string(i));
  }
  EXPECT_FALSE(list.empty());
  EXPECT_EQ(list.front(), "0");
  EXPECT_EQ(list[kCount - 1], std::to_string(kCount - 1));
  int next = 0;
  for (const std::string& element : list) EXPECT_EQ(element, std::to_string(next++));
  EXPECT_EQ(next, kCount);
}

TEST(ChunkedList, ElementsStayWhereTheyAre) {
  ChunkedList<int> list;
  const int* const first = &list.emplace_back();
  for (int i = 0; i < 1000; ++i) list.push_back(i);
  EXPECT_EQ(&list.front(), first);
}

TEST(ChunkedList, TakesARange) {
  const std::vector<int> numbers{3, 1, 2};
  const ChunkedList<int> list(numbers.begin(), numbers.end());
  EXPECT_EQ(std::vector<int>({list[0], list[1], list[2]}), numbers);
}

}  // namespace
