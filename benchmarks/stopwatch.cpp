#include "stopwatch.h"

#include <algorithm>
#include <cstddef>
#include <ctime>

namespace benchmarks {
namespace {

Microseconds read(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

Cost Stopwatch::now() { return {read(CLOCK_PROCESS_CPUTIME_ID), read(CLOCK_MONOTONIC)}; }

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  if (values.size() % 2 != 0) return *middle;
  return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

}  // namespace benchmarks
