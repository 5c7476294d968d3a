#pragma once

#include <chrono>
#include <vector>

namespace benchmarks {

using Microseconds = std::chrono::duration<double, std::micro>;

struct Cost {
  /// CPU time of all threads of this process in user and kernel mode, without child processes.
  Microseconds cpu{};
  Microseconds wall{};

  Cost operator-(const Cost& other) const { return {cpu - other.cpu, wall - other.wall}; }
  Cost operator/(int divisor) const { return {cpu / divisor, wall / divisor}; }
};

/// Measures from its construction on.
class Stopwatch {
 public:
  Stopwatch() : start_(now()) {}
  Cost elapsed() const { return now() - start_; }

 private:
  static Cost now();

  Cost start_;
};

/// The median of `values`, which must not be empty.
double median(std::vector<double> values);

}  // namespace benchmarks
