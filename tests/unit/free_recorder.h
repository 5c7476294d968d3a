#pragma once

#include <vector>

namespace UnitTests {

/// Records, in order, the blocks that the calling thread passes to free() during this object's
/// life. They are still released. Works in programs linked with --wrap=free and
/// free_recorder.cpp, for code that is part of the program itself. One at a time per thread.
class FreeRecorder {
 public:
  FreeRecorder();
  ~FreeRecorder();
  FreeRecorder(const FreeRecorder&) = delete;
  FreeRecorder& operator=(const FreeRecorder&) = delete;

  const std::vector<const void*>& freed() const { return freed_; }

  /// For the replacement of free().
  void note(const void* block) { freed_.push_back(block); }

 private:
  std::vector<const void*> freed_;
};

}  // namespace UnitTests
