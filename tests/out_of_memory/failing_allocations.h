#pragma once

#include <cstddef>
#include <utility>

/// Allocations that fail on demand, in a program that is linked with failing_allocations.cpp.
/// Counts the allocations of the library, of the service-client layer and of what they call: every
/// operator new of the process, malloc() and its relatives in the program's own code, and the
/// memory functions of the crypto and the XML library.
namespace OutOfMemory {

/// Which allocations of a thread fail.
struct Plan {
  /// The first one that fails, counted from 1.
  std::size_t number = 0;
  /// Whether those that follow fail, too.
  bool all = false;
  /// Whether those of the crypto library count.
  bool withCrypto = false;
};

/// The plan comes into effect in Armed.
void setPlan(const Plan& plan);
/// Whether an allocation has failed since the last setPlan().
bool hasFailed();

/// During this object's life, the calling thread's allocations fail as planned.
class Armed {
 public:
  Armed();
  ~Armed();
  Armed(const Armed&) = delete;
  Armed& operator=(const Armed&) = delete;
};

/// During this object's life they do not, as for what stands in for the world outside.
class Exempt {
 public:
  Exempt();
  ~Exempt();
  Exempt(const Exempt&) = delete;
  Exempt& operator=(const Exempt&) = delete;

 private:
  bool before_;
};

template <typename Call>
auto armed(const Call& call) {
  const Armed scope;
  return call();
}

/// The blocks that the calling thread has allocated and not released. Without those of the crypto
/// library, which keeps some for later errors.
std::ptrdiff_t blocksInUse();

}  // namespace OutOfMemory
