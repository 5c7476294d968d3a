#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace benchmarks {

/// One way of getting a listing.
struct ListingWay {
  std::string description;
  /// Prepares to ask the server on `port` of 127.0.0.1, without a connection yet. What is returned
  /// gets the listing and releases it, and throws if it is not the one that was served.
  std::function<std::function<void()>(std::uint16_t port)> open;
};

struct ListingBenchmark {
  std::string program;
  std::string title;
  std::function<std::string()> makePage;
  /// Page dropped, yardstick, library.
  std::array<ListingWay, 3> ways;
};

/// Measures the ways in turns, each with a page server of its own, and judges the library by the
/// yardstick. Returns what main() has to: 0 if the limits are kept, 1 if not, 2 after an error.
int runListingBenchmark(const ListingBenchmark& benchmark, int argc, char** argv);

}  // namespace benchmarks
