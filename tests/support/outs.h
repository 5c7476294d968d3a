#pragma once

#include <cstdlib>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "libvemlo.h"

// Out-parameters of the exported functions. Each holds a value that no function writes until one
// does, and then releases what it was given.
namespace TestSupport {

/// The content of a record of a folder. A null id counts as empty.
struct Folder {
  std::string id;
  std::string name;

  bool operator==(const Folder& other) const { return id == other.id && name == other.name; }
};

inline void PrintTo(const Folder& folder, std::ostream* out) {
  *out << '"' << folder.name << "\" (" << folder.id << ')';
}

inline Folder contentOf(const directory& record) {
  return {record.id == nullptr ? "" : record.id, record.name};
}

/// Of a function that returns a single folder.
struct FolderOut {
  directory* record = untouched();

  FolderOut() = default;
  FolderOut(const FolderOut&) = delete;
  FolderOut& operator=(const FolderOut&) = delete;
  ~FolderOut() { reset(); }

  void reset() {
    if (!isUntouched()) free_directory(record);
    forget();
  }
  /// After the test has released the record.
  void forget() { record = untouched(); }

  bool isUntouched() const { return record == untouched(); }
  bool isCleared() const { return record == nullptr; }
  Folder folder() const { return contentOf(*record); }

 private:
  static directory* untouched() {
    static directory value{};
    return &value;
  }
};

/// Of a listing: of folders if `Item` is `directory`, of buckets if it is `char*`.
template <typename Item>
struct ListOut {
  Item* list = untouched();
  int count = kUntouchedCount;

  ListOut() = default;
  ListOut(const ListOut&) = delete;
  ListOut& operator=(const ListOut&) = delete;
  ~ListOut() { reset(); }

  void reset() {
    if (list != untouched()) release();
    forget();
  }
  /// After the test has released the list.
  void forget() {
    list = untouched();
    count = kUntouchedCount;
  }

  bool isUntouched() const { return list == untouched() && count == kUntouchedCount; }
  bool isCleared() const { return list == nullptr && count == 0; }
  /// Whether both the list and the count have been written.
  bool isWritten() const { return list != untouched() && count != kUntouchedCount; }

  std::vector<std::string> names() const {
    if constexpr (std::is_same_v<Item, directory>) {
      std::vector<std::string> names;
      for (int i = 0; i < count; ++i) names.emplace_back(list[i].name);
      return names;
    } else {
      return {list, list + count};
    }
  }
  std::vector<Folder> folders() const {
    std::vector<Folder> folders;
    for (int i = 0; i < count; ++i) folders.push_back(contentOf(list[i]));
    return folders;
  }

 private:
  static constexpr int kUntouchedCount = 4711;

  static Item* untouched() {
    static Item value{};
    return &value;
  }

  void release() {
    if (count == 0) return std::free(list);  // the library's function ignores an empty list
    if constexpr (std::is_same_v<Item, directory>) {
      free_diretories(list, count);
    } else {
      free_buckets(list, count);
    }
  }
};

using FolderListOut = ListOut<directory>;
using BucketListOut = ListOut<char*>;

/// Of a function that returns a text.
struct TextOut {
  char* text = untouched();

  TextOut() = default;
  TextOut(const TextOut&) = delete;
  TextOut& operator=(const TextOut&) = delete;
  ~TextOut() { reset(); }

  void reset() {
    if (!isUntouched()) std::free(text);
    text = untouched();
  }

  bool isUntouched() const { return text == untouched(); }

 private:
  static char* untouched() {
    static char value[] = "untouched";
    return value;
  }
};

}  // namespace TestSupport
