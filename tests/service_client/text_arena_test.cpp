#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "Util/TextArena.h"

namespace {

using CloudStorage::Util::TextArena;
using ::testing::ElementsAreArray;

TEST(TextArena, KeepsCopies) {
  TextArena arena;
  std::string original = "short";
  const std::string_view kept = arena.keep(original);
  original = "other";
  EXPECT_EQ(kept, "short");
}

TEST(TextArena, WhatItKeepsStaysWhereItIs) {
  TextArena arena;
  std::vector<std::string> originals;
  std::vector<std::string_view> kept;
  std::vector<const char*> places;
  for (std::size_t i = 0; i < 3000; ++i) {
    originals.push_back(std::to_string(i) + std::string(i % 61, 'x'));
    kept.push_back(arena.keep(originals.back()));
    places.push_back(kept.back().data());
  }
  EXPECT_THAT(kept, ElementsAreArray(originals));
  for (std::size_t i = 0; i < kept.size(); ++i) EXPECT_EQ(kept[i].data(), places[i]);
}

TEST(TextArena, TakesTextsOfAnyLength) {
  TextArena arena;
  const std::string_view first = arena.keep("first");
  for (const std::size_t length : {16383UL, 16384UL, 16385UL, 1000000UL}) {
    const std::string text(length, 'l');
    EXPECT_EQ(arena.keep(text), text) << length;
  }
  EXPECT_EQ(first, "first");
  EXPECT_EQ(arena.keep("last"), "last");
}

TEST(TextArena, EmptyTextTakesNothing) {
  TextArena arena;
  EXPECT_TRUE(arena.keep("").empty());
  const std::string_view kept = arena.keep("a");
  EXPECT_TRUE(arena.keep({}).empty());
  EXPECT_EQ(arena.keep("b").data(), kept.data() + 1) << "side by side";
}

}  // namespace
