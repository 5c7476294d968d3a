#include "progress.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

#include "open_library.h"
#include "terminal.h"

namespace tool {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

namespace {

constexpr milliseconds kDelay{500};
constexpr milliseconds kFrameTime{125};

/// Returns the cursor to the start of the line, so that a log line, which is longer than a frame,
/// overwrites the frame.
void draw(const std::string& frame) { std::fprintf(stderr, "%s\r", frame.c_str()); }

std::string numberOf(std::uint64_t count, const char* one, const char* several) {
  return std::to_string(count) + " " + (count == 1 ? one : several);
}

}  // namespace

/// Draws from a thread of its own, because the library's calls block.
class ProgressDisplay::Spinner {
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

  void update(const vemlo::Progress& progress) {
    const std::lock_guard lock(mutex_);
    requests_ = progress.requests;
    entries_ = progress.entries;
  }

 private:
  std::string frameAfter(Clock::duration elapsed) const {
    constexpr char kShapes[] = {'|', '/', '-', '\\'};
    const auto shape = static_cast<std::size_t>(elapsed / kFrameTime) % sizeof kShapes;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    std::string frame = kShapes[shape] + (" " + std::to_string(seconds) + " s");
    if (requests_ > 0) frame += ", " + numberOf(requests_, "request", "requests");
    if (entries_ > 0) frame += ", " + numberOf(entries_, "entry", "entries");
    return frame;
  }

  void spin() {
    const Clock::time_point start = Clock::now();
    std::size_t width = 0;
    std::unique_lock lock(mutex_);
    while (!ended_.wait_for(lock, width == 0 ? kDelay : kFrameTime, [this] { return isEnded_; })) {
      std::string frame = frameAfter(Clock::now() - start);
      frame.resize(std::max(frame.size(), width), ' ');
      width = frame.size();
      setColumnsToErase(width);
      draw(frame);
    }
    if (width > 0) draw(std::string(width, ' '));
    setColumnsToErase(0);
  }

  std::mutex mutex_;
  std::condition_variable ended_;
  bool isEnded_ = false;
  std::uint64_t requests_ = 0;
  std::uint64_t entries_ = 0;
  std::thread thread_;  // the last member because it uses the others
};

ProgressDisplay::ProgressDisplay(bool isQuiet)
    : spinner_(isQuiet || !canOverwriteLines() || isVerbose() ? nullptr
                                                              : std::make_unique<Spinner>()) {}

ProgressDisplay::~ProgressDisplay() = default;

void ProgressDisplay::watch(vemlo::Call& call) {
  if (spinner_ == nullptr) return;
  call.progress = [this](const vemlo::Progress& progress) {
    spinner_->update(progress);
    return true;
  };
}

}  // namespace tool
