#pragma once

#include <cstddef>
#include <string_view>

#include "CloudStorage/Http/Headers.h"

namespace CloudStorage::Http {

/// The headers of a response, composed of the lines that libcurl passes: the blocks of interim
/// responses and of a proxy, the block of the final response, and its trailers.
class ResponseHeaders {
 public:
  /// How many headers and trailers, and how many bytes, the lines may have in total.
  struct Limits {
    std::size_t lines = 1000;
    std::size_t bytes = std::size_t{256} << 10U;
  };

  explicit ResponseHeaders(Limits limits) : limits_(limits) {}

  /// Adds a line, including its line break. Returns false if the limits do not permit it.
  bool add(std::string_view line);

  /// Whether the last block has ended.
  bool areComplete() const { return areComplete_; }

  /// The headers of the last block. The value of a repeated one is a list, except for `location`,
  /// of which the last one counts.
  HeaderValueCollection& values() { return values_; }

 private:
  void addHeader(std::string_view line);

  const Limits limits_;
  std::size_t lines_ = 0;
  std::size_t bytes_ = 0;
  bool areComplete_ = false;
  HeaderValueCollection values_;
};

}  // namespace CloudStorage::Http
