#include <gmock/gmock.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "free_recorder.h"
#include "libvemlo.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using UnitTests::FreeRecorder;

char** makeBuckets(int count) {
  auto** buckets = static_cast<char**>(std::calloc(static_cast<std::size_t>(count), sizeof(char*)));
  for (int i = 0; i < count; ++i) buckets[i] = strdup("bucket");
  return buckets;
}

directory* makeDirectories(int count) {
  auto* entries =
      static_cast<directory*>(std::calloc(static_cast<std::size_t>(count), sizeof(directory)));
  for (int i = 0; i < count; ++i) entries[i] = {strdup("name"), strdup("id")};
  return entries;
}

TEST(Records, HaveTheDocumentedLayout) {
  static_assert(std::is_same_v<decltype(directory::name), char*>);
  static_assert(std::is_same_v<decltype(directory::id), char*>);
  static_assert(offsetof(directory, name) < offsetof(directory, id));
  static_assert(sizeof(directory) == 2 * sizeof(char*));

  static_assert(std::is_same_v<decltype(proxy_setting::host), const char*>);
  static_assert(std::is_same_v<decltype(proxy_setting::port), std::uint16_t>);
  static_assert(std::is_same_v<decltype(proxy_setting::username), const char*>);
  static_assert(std::is_same_v<decltype(proxy_setting::password), const char*>);
  static_assert(offsetof(proxy_setting, host) < offsetof(proxy_setting, port));
  static_assert(offsetof(proxy_setting, port) < offsetof(proxy_setting, username));
  static_assert(offsetof(proxy_setting, username) < offsetof(proxy_setting, password));

  using Mapping = location_contraint_name_mapping;
  static_assert(std::is_same_v<decltype(Mapping::location_contraint), std::int32_t>);
  static_assert(std::is_same_v<decltype(Mapping::name), const char*>);
  static_assert(offsetof(Mapping, location_contraint) < offsetof(Mapping, name));

  static_assert(std::is_same_v<decltype(verbose), int>);
}

TEST(FreeBuckets, FreesTheStringsInOrderAndThenTheArray) {
  char** buckets = makeBuckets(3);
  const void* first = buckets[0];
  const void* second = buckets[1];
  const void* third = buckets[2];
  const void* array = buckets;

  const FreeRecorder recorder;
  free_buckets(buckets, 3);
  EXPECT_THAT(recorder.freed(), ElementsAre(first, second, third, array));
}

TEST(FreeBuckets, DoesNothingWithANullArray) {
  const FreeRecorder recorder;
  free_buckets(nullptr, 3);
  free_buckets(nullptr, 0);
  free_buckets(nullptr, -1);
  EXPECT_THAT(recorder.freed(), IsEmpty());
}

TEST(FreeBuckets, DoesNothingWithACountOfZeroOrLess) {
  char** buckets = makeBuckets(1);
  {
    const FreeRecorder recorder;
    free_buckets(buckets, 0);
    free_buckets(buckets, -1);
    free_buckets(buckets, INT32_MIN);
    EXPECT_THAT(recorder.freed(), IsEmpty());
  }
  EXPECT_STREQ(buckets[0], "bucket");
  free_buckets(buckets, 1);
}

TEST(FreeBuckets, LeavesTheStringsBeyondTheCount) {
  char** buckets = makeBuckets(2);
  const void* first = buckets[0];
  char* second = buckets[1];
  const void* array = buckets;
  {
    const FreeRecorder recorder;
    free_buckets(buckets, 1);
    EXPECT_THAT(recorder.freed(), ElementsAre(first, array));
  }
  EXPECT_STREQ(second, "bucket");
  std::free(second);
}

TEST(FreeDirectory, FreesNameThenIdThenTheRecord) {
  directory* entry = makeDirectories(1);
  const void* name = entry->name;
  const void* id = entry->id;
  const void* record = entry;

  const FreeRecorder recorder;
  free_directory(entry);
  EXPECT_THAT(recorder.freed(), ElementsAre(name, id, record));
}

TEST(FreeDirectory, DoesNothingWithANullRecord) {
  const FreeRecorder recorder;
  free_directory(nullptr);
  EXPECT_THAT(recorder.freed(), IsEmpty());
}

TEST(FreeDirectory, FreesARecordWithoutAName) {
  directory* entry = makeDirectories(1);
  std::free(entry->name);
  entry->name = nullptr;
  const void* id = entry->id;
  const void* record = entry;

  const FreeRecorder recorder;
  free_directory(entry);
  EXPECT_THAT(recorder.freed(), ElementsAre(id, record));
}

TEST(FreeDirectory, FreesARecordWithoutAnId) {
  directory* entry = makeDirectories(1);
  std::free(entry->id);
  entry->id = nullptr;
  const void* name = entry->name;
  const void* record = entry;

  const FreeRecorder recorder;
  free_directory(entry);
  EXPECT_THAT(recorder.freed(), ElementsAre(name, record));
}

TEST(FreeDirectory, FreesARecordWithNeither) {
  auto* entry = static_cast<directory*>(std::calloc(1, sizeof(directory)));
  const void* record = entry;

  const FreeRecorder recorder;
  free_directory(entry);
  EXPECT_THAT(recorder.freed(), ElementsAre(record));
}

TEST(FreeDiretories, FreesEachRecordsNameAndIdAndThenTheArray) {
  directory* entries = makeDirectories(2);
  const directory first = entries[0];
  const directory second = entries[1];
  const void* array = entries;

  const FreeRecorder recorder;
  free_diretories(entries, 2);
  EXPECT_THAT(recorder.freed(), ElementsAre(first.name, first.id, second.name, second.id, array));
}

TEST(FreeDiretories, FreesRecordsWithoutNamesOrIds) {
  directory* entries = makeDirectories(2);
  std::free(entries[0].id);
  entries[0].id = nullptr;
  std::free(entries[1].name);
  entries[1].name = nullptr;
  const void* name = entries[0].name;
  const void* id = entries[1].id;
  const void* array = entries;

  const FreeRecorder recorder;
  free_diretories(entries, 2);
  EXPECT_THAT(recorder.freed(), ElementsAre(name, id, array));
}

TEST(FreeDiretories, DoesNothingWithANullArray) {
  const FreeRecorder recorder;
  free_diretories(nullptr, 3);
  free_diretories(nullptr, 0);
  free_diretories(nullptr, -1);
  EXPECT_THAT(recorder.freed(), IsEmpty());
}

TEST(FreeDiretories, DoesNothingWithACountOfZeroOrLess) {
  directory* entries = makeDirectories(1);
  {
    const FreeRecorder recorder;
    free_diretories(entries, 0);
    free_diretories(entries, -1);
    free_diretories(entries, INT32_MIN);
    EXPECT_THAT(recorder.freed(), IsEmpty());
  }
  EXPECT_STREQ(entries[0].name, "name");
  EXPECT_STREQ(entries[0].id, "id");
  free_diretories(entries, 1);
}

TEST(FreeDiretories, WithASmallerCountFreesThoseStringsAndTheWholeArray) {
  directory* entries = makeDirectories(2);
  const directory first = entries[0];
  const directory second = entries[1];
  const void* array = entries;
  {
    const FreeRecorder recorder;
    free_diretories(entries, 1);
    EXPECT_THAT(recorder.freed(), ElementsAre(first.name, first.id, array));
  }
  EXPECT_STREQ(second.name, "name");
  EXPECT_STREQ(second.id, "id");
  std::free(second.name);
  std::free(second.id);
}

}  // namespace
