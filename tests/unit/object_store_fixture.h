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

}  // namespace UnitTests
