#include "erasable_line.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>

namespace tool {
namespace {

std::mutex mutex;
/// Of the line that is shown.
std::atomic<std::size_t> width{0};
static_assert(std::atomic<std::size_t>::is_always_lock_free, "signal handlers use it");

/// Returns the cursor to the start of the line, so that other text, which is longer, overwrites it.
void draw(const std::string& text) { std::fprintf(stderr, "%s\r", text.c_str()); }

void erase() {
  if (width > 0) draw(std::string(width, ' '));
  width = 0;
}

}  // namespace

std::size_t columnsToErase() { return width; }

void showErasableLine(const std::string& line) {
  const std::lock_guard lock(mutex);
  if (line.empty()) return erase();
  std::string padded = line;
  padded.resize(std::max(line.size(), width.load()), ' ');
  width = padded.size();
  draw(padded);
}

ErasedLine::ErasedLine() {
  mutex.lock();
  erase();
}

ErasedLine::~ErasedLine() { mutex.unlock(); }

}  // namespace tool
