#include "erasable_line.h"

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace tool {
namespace {

std::mutex mutex;
std::size_t width = 0;

/// Returns the cursor to the start of the line, so that other text, which is longer, overwrites it.
void draw(const std::string& text) { std::fprintf(stderr, "%s\r", text.c_str()); }

void erase() {
  if (width > 0) draw(std::string(width, ' '));
  width = 0;
}

}  // namespace

void showErasableLine(const std::string& line) {
  const std::lock_guard lock(mutex);
  if (line.empty()) return erase();
  std::string padded = line;
  padded.resize(std::max(line.size(), width), ' ');
  width = padded.size();
  draw(padded);
}

ErasedLine::ErasedLine() {
  mutex.lock();
  erase();
}

ErasedLine::~ErasedLine() { mutex.unlock(); }

}  // namespace tool
