#pragma once

#include <cstdint>
#include <string>

#include "CloudStorage/Client/WSError.h"
#include "operation_world.h"

// What the tests of the object stores' listings have in common.
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

/// Folder keys that name no folder, and some that do, all judged before the request.
inline constexpr const char* kUnusableFolderKeys[] = {"",   "a",   "/",        "//",    "/a/",
                                                      "/a", "a/b", "\xC3\xA4", "a/b/c", "/a/b/c/"};
inline constexpr const char* kUsableFolderKeys[] = {"a/", "a//", "x/y/",         "a/b/c/",
                                                    " /", "../", "photos/2020/", "\xC3\xA4/"};

}  // namespace UnitTests
