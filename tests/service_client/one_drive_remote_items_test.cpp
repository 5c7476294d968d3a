#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "CloudStorage/Client/OneDrive/RemoteItems.h"

namespace {

using CloudStorage::Client::OneDrive::RemoteItems;

std::string found(const RemoteItems& items, const std::string& id) {
  const auto location = items.find(id);
  return location ? location->driveId.value() + ' ' + location->itemId : "nothing";
}

TEST(RemoteItems, AreFoundByTheirIdInTheUsersDrive) {
  RemoteItems items;
  items.remember("own 1", "drive 1", "item 1");
  items.remember("own 2", "drive 1", "own 2");
  items.remember("own 3", "drive 2", "own 3");
  EXPECT_EQ(found(items, "own 1"), "drive 1 item 1");
  EXPECT_EQ(found(items, "own 2"), "drive 1 own 2");
  EXPECT_EQ(found(items, "own 3"), "drive 2 own 3");
  EXPECT_EQ(found(items, "own"), "nothing");
  EXPECT_TRUE(items.find("own 1")->driveId.isPresent());
}

TEST(RemoteItems, LastLocationCounts) {
  RemoteItems items;
  items.remember("own", "drive 1", "item 1");
  items.remember("own", "drive 2", "item 2");
  EXPECT_EQ(found(items, "own"), "drive 2 item 2");
}

TEST(RemoteItems, IdsThatCannotBeAddressedAreNotRemembered) {
  RemoteItems items;
  const std::string tooLong(257, 'x');
  for (const std::string& bad : {std::string(), std::string("."), std::string(".."), tooLong}) {
    items.remember(bad, "drive", "item");
    items.remember("own", bad, "item");
    items.remember("own", "drive", bad);
    EXPECT_EQ(found(items, bad), "nothing");
    EXPECT_EQ(found(items, "own"), "nothing");
  }
  const std::string longest(256, 'x');
  items.remember(longest, longest, longest);
  EXPECT_EQ(found(items, longest), longest + ' ' + longest);
}

void rememberMany(RemoteItems& items, std::size_t first, std::size_t count) {
  for (std::size_t number = first; number < first + count; ++number) {
    const std::string id = "item " + std::to_string(number);
    items.remember(id, "drive", id);
  }
}

std::size_t knownOf(const RemoteItems& items, std::size_t count) {
  std::size_t known = 0;
  for (std::size_t number = 0; number < count; ++number) {
    if (items.find("item " + std::to_string(number))) ++known;
  }
  return known;
}

TEST(RemoteItems, NumberIsBounded) {
  RemoteItems items;
  constexpr std::size_t kMany = 5 * RemoteItems::kCapacity;
  rememberMany(items, 0, kMany);
  EXPECT_LE(knownOf(items, kMany), 2 * RemoteItems::kCapacity);
  EXPECT_EQ(found(items, "item 0"), "nothing");
}

TEST(RemoteItems, LastOnesAreKept) {
  RemoteItems items;
  rememberMany(items, 0, 5 * RemoteItems::kCapacity);
  rememberMany(items, 0, RemoteItems::kCapacity);
  EXPECT_EQ(knownOf(items, RemoteItems::kCapacity), RemoteItems::kCapacity);
}

TEST(RemoteItems, FoundItemCountsAsRememberedAnew) {
  RemoteItems items;
  items.remember("used", "drive", "item");
  for (std::size_t round = 0; round < 6; ++round) {
    rememberMany(items, round * RemoteItems::kCapacity, RemoteItems::kCapacity);
    EXPECT_EQ(found(items, "used"), "drive item") << round;
  }
}

}  // namespace
