#include "progress.h"

#include <libvemlo.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

#include "terminal.h"

namespace tool {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kDelay{500};
constexpr milliseconds kFrameTime{125};

/// Returns the cursor to the start of the line, so that a log line, which is longer than a frame,
/// overwrites the frame.
void draw(const std::string& frame) { std::fprintf(stderr, "%s\r", frame.c_str()); }

std::string frameAfter(Clock::duration elapsed) {
  constexpr char kShapes[] = {'|', '/', '-', '\\'};
  const auto shape = static_cast<std::size_t>(elapsed / kFrameTime) % sizeof kShapes;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
  return kShapes[shape] + (" " + std::to_string(seconds) + " s");
}

/// Shows a spinner during its lifetime, from a separate thread because the library's calls block.
class Spinner {
 public:
  Spinner() : thread_([this] { spin(); }) {}

  ~Spinner() {
    {
      const std::lock_guard lock(mutex_);
      isEnded_ = true;
    }
    ended_.notify_one();
    thread_.join();
  }

  Spinner(const Spinner&) = delete;
  Spinner& operator=(const Spinner&) = delete;

 private:
  void spin() {
    const Clock::time_point start = Clock::now();
    std::string frame;
    std::unique_lock lock(mutex_);
    while (
        !ended_.wait_for(lock, frame.empty() ? kDelay : kFrameTime, [this] { return isEnded_; })) {
      frame = frameAfter(Clock::now() - start);
      draw(frame);
    }
    if (!frame.empty()) draw(std::string(frame.size(), ' '));
  }

  std::mutex mutex_;
  std::condition_variable ended_;
  bool isEnded_ = false;
  std::thread thread_;  // the last member because it uses the others
};

}  // namespace

int withProgress(bool isQuiet, const std::function<int()>& call) {
  if (isQuiet || !canOverwriteLines() || ::verbose != 0) return call();
  const Spinner spinner;
  return call();
}

}  // namespace tool
