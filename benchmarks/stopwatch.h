#pragma once

#include <chrono>
#include <vector>

namespace benchmarks {

using Microseconds = std::chrono::duration<double, std::micro>;

struct Cost {
  /// Of all threads of this process, in user and in kernel mode. Child processes do not count.
  Microseconds cpu{};
  Microseconds wall{};

  Cost operator-(const Cost& other) const { return {cpu - other.cpu, wall - other.wall}; }
  Cost operator/(int divisor) const { return {cpu / divisor, wall / divisor}; }
};

/// Runs from its construction on.
class Stopwatch {
 public:
  Stopwatch() : start_(now()) {}
  Cost elapsed() const { return now() - start_; }

 private:
  static Cost now();

  Cost start_;
};

/// The middle of `values`, of which there must be one at least.
double median(std::vector<double> values);

}  // namespace benchmarks
