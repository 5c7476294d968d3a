#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CloudStorage/Client/Dropbox/Model.h"

namespace {

using CloudStorage::Client::Dropbox::Model::EntryList;
using CloudStorage::Client::Dropbox::Model::FileMetadata;
using CloudStorage::Client::Dropbox::Model::Metadata;
using CloudStorage::Util::IsoTime;

Metadata entryOf(std::string_view tag, std::string_view name, std::string_view path,
                 std::string_view pathLower) {
  Metadata entry;
  entry.tag = tag;
  entry.name = name;
  entry.path = path;
  entry.pathLower = pathLower;
  return entry;
}

void expectSame(const Metadata& actual, const Metadata& expected) {
  EXPECT_EQ(actual.tag, expected.tag);
  EXPECT_EQ(actual.name, expected.name);
  EXPECT_EQ(actual.id, expected.id);
  EXPECT_EQ(actual.path, expected.path);
  EXPECT_EQ(actual.pathLower, expected.pathLower);
  ASSERT_EQ(actual.file.has_value(), expected.file.has_value());
  if (!expected.file) return;
  EXPECT_EQ(actual.file->clientModified.text(), expected.file->clientModified.text());
  EXPECT_EQ(actual.file->serverModified.text(), expected.file->serverModified.text());
  EXPECT_EQ(actual.file->size, expected.file->size);
  EXPECT_EQ(actual.file->rev, expected.file->rev);
}

void expectKeeps(const std::vector<Metadata>& entries) {
  const EntryList list(entries.begin(), entries.end());
  EXPECT_EQ(list.size(), entries.size());
  std::size_t next = 0;
  for (const Metadata& entry : list) expectSame(entry, entries.at(next++));
  EXPECT_EQ(next, entries.size());
}

TEST(DropboxEntryList, AppendsCopiesOfAnotherList) {
  EntryList folder;
  std::vector<std::string> names;
  for (int page = 0; page < 3; ++page) {
    EntryList entries;
    for (int i = 0; i < 2000; ++i) {
      names.push_back(std::to_string(page) + "/" + std::to_string(i));
      entries.push_back(entryOf("folder", names.back(), "/" + names.back(), "/x"));
    }
    folder.append(entries);
    folder.append(EntryList());
  }
  EXPECT_EQ(folder.size(), names.size());
  std::size_t next = 0;
  for (const Metadata& entry : folder) EXPECT_EQ(entry.name, names.at(next++));
  EXPECT_EQ(next, names.size());
}

TEST(DropboxEntryList, BeginsEmpty) {
  const EntryList list;
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.size(), 0U);
  EXPECT_FALSE(list.begin() != list.end());
}

TEST(DropboxEntryList, KeepsWhatEntriesSay) {
  Metadata folder = entryOf("folder", "A", "/X/A", "/x/a");
  folder.id = "id:1";
  Metadata file = entryOf("file", "b", "/x/b", "/x/b");
  file.id = "id:2";
  file.file =
      FileMetadata{IsoTime("2020-06-01T12:00:00Z"), IsoTime("2021-06-01T12:00:00Z"), 4096, "5e0f"};
  expectKeeps({folder, file, entryOf("deleted", "old", "/X/Old", "/x/old"), folder, Metadata()});
}

TEST(DropboxEntryList, NothingIsTakenForGranted) {
  Metadata folderWithFacts = entryOf("folder", "a", "/a", "/a");
  folderWithFacts.file.emplace();
  expectKeeps({entryOf("Folder", "a", "/a", "/a"), entryOf("folders", "a", "/a", "/a"),
               entryOf("", "a", "/a", "/a"), entryOf("file", "a", "/a", "/a"),
               entryOf("folder", "other", "/x/a", "/x/a"), entryOf("folder", "/a", "a", "a"),
               entryOf("folder", "a", "", ""), entryOf("folder", "", "/a", ""),
               entryOf("folder", "a", "/a", ""), entryOf("folder", "a", "", "/a"),
               entryOf("folder", "/a", "/a", "/A"), folderWithFacts});
}

TEST(DropboxEntryList, KeepsSizesAsTheyAre) {
  constexpr std::int64_t kSizes[] = {0,
                                     127,
                                     128,
                                     5368709120,
                                     -1,
                                     std::numeric_limits<std::int64_t>::max(),
                                     std::numeric_limits<std::int64_t>::min()};
  std::vector<Metadata> entries;
  for (const std::int64_t size : kSizes) {
    entries.push_back(entryOf("file", "a", "/a", "/a"));
    entries.back().file.emplace().size = size;
  }
  expectKeeps(entries);
}

TEST(DropboxEntryList, TakesTextsOfAnyLength) {
  std::vector<std::string> texts;
  for (const std::size_t length :
       {0UL, 1UL, 127UL, 128UL, 129UL, 16383UL, 16384UL, 16385UL, 70000UL, 1048577UL, 3000000UL}) {
    texts.emplace_back(length, static_cast<char>('a' + texts.size()));
  }
  std::vector<Metadata> entries;
  for (const std::string& text : texts) {
    entries.push_back(entryOf(text, "n", text, "other"));
    entries.back().id = text;
    entries.push_back(entryOf("folder", text, "/", text));
    entries.push_back(entryOf("file", "n", "/n", "/n"));
    entries.back().file = FileMetadata{IsoTime(text), IsoTime("s"), 1, text};
  }
  expectKeeps(entries);
}

TEST(DropboxEntryList, KeepsTheOrderOfVeryMany) {
  constexpr int kCount = 100000;  // several of the largest blocks
  EntryList list;
  for (int i = 0; i < kCount; ++i) {
    const std::string name = "folder with a longer name " + std::to_string(i);
    EXPECT_EQ(list.size(), static_cast<std::size_t>(i));
    list.push_back(entryOf("folder", name, "/A/" + name, "/a/" + name));
  }
  int next = 0;
  for (const Metadata& entry : list) {
    const std::string name = "folder with a longer name " + std::to_string(next++);
    ASSERT_EQ(entry.name, name);
    ASSERT_EQ(entry.path, "/A/" + name);
    ASSERT_EQ(entry.pathLower, "/a/" + name);
  }
  EXPECT_EQ(next, kCount);
}

TEST(DropboxEntryList, TextsStayWhereTheyAre) {
  EntryList list;
  list.push_back(entryOf("folder", "first", "/first", "/first"));
  const std::string_view first = (*list.begin()).path;
  for (int i = 0; i < 10000; ++i) list.push_back(entryOf("folder", "more", "/more", "/more"));
  const EntryList moved = std::move(list);
  EXPECT_EQ((*moved.begin()).path.data(), first.data());
  EXPECT_EQ(moved.size(), 10001U);
  EXPECT_TRUE(list.empty());  // NOLINT(bugprone-use-after-move): a fresh list, as after a reset
}

}  // namespace
