#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <string>
#include <vector>

#include "operation_fixture.h"

// What the tests of the object stores have in common.
namespace UnitTests {

inline CloudStorage::Client::Error accessDenied() {
  return {CloudStorage::Client::CoreErrors::AccessDenied,
          "AccessDenied",
          "Access Denied",
          {},
          false,
          403};
}

inline constexpr char kAccessDeniedLine[] =
    "{ Error type: 15, Exception: AccessDenied, Message: Access Denied, HttpResponseCode: 403, "
    "Retryable: 0 }";

inline std::string lineOfErrorType(std::uint32_t type) {
  return "{ Error type: " + std::to_string(type) +
         ", Exception: Name, Message: , HttpResponseCode: -1, Retryable: 1 }";
}

/// `count` names from number `first` on, each with `suffix`. Their order is not alphabetical.
inline std::vector<std::string> numberedNames(int first, int count, const std::string& suffix) {
  std::vector<std::string> names;
  for (int i = first; i < first + count; ++i) names.push_back(std::to_string(i) + suffix);
  return names;
}

/// Texts that are valid or not as names of buckets. The library does not check them.
inline constexpr const char* kBucketNames[] = {"", "UPPER", "a/b", "\xC3\xA4", " ", "$root"};
inline constexpr const char* kPrefixes[] = {"photos", "/", "//a", " a/", "\xC3\xA4/", "a/../b/"};

/// Folder keys that the library refuses, and some that it accepts.
inline constexpr const char* kUnusableFolderKeys[] = {"",   "a",   "/",        "//",    "/a/",
                                                      "/a", "a/b", "\xC3\xA4", "a/b/c", "/a/b/c/"};
inline constexpr const char* kUsableFolderKeys[] = {"a/", "a//", "x/y/",         "a/b/c/",
                                                    " /", "../", "photos/2020/", "\xC3\xA4/"};

/// Of a function that creates a folder: the key is checked before the session and the bucket.
inline void expectKeyCheckFirst(int (*create)(session*, const char*, const char*),
                                const std::string& service) {
  const TestSupport::LogCapture log;
  EXPECT_EQ(create(unreadableSession(), nullptr, nullptr), -1);
  for (const char* key : kUnusableFolderKeys) {
    SCOPED_TRACE(key);
    EXPECT_EQ(create(unreadableSession(), "bucket", key), -1);
    EXPECT_EQ(create(unreadableSession(), nullptr, key), -1);
  }
  EXPECT_THAT(log.records(), testing::IsEmpty());
  expectRefusalOfSessionsOfOthersThan(
      service, [create](session* other) { return create(other, nullptr, "a/"); });
}

}  // namespace UnitTests
