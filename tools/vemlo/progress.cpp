#include "progress.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "erasable_line.h"
#include "open_library.h"
#include "terminal.h"

namespace tool {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

namespace {

constexpr milliseconds kDelay{500};
constexpr milliseconds kFrameTime{125};

std::string numberOf(std::uint64_t count, const char* one, const char* several) {
  return std::to_string(count) + " " + (count == 1 ? one : several);
}

/// Draws from a thread of its own, because the library's calls block.
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

  /// What the running call reports.
  void update(const vemlo::Progress& progress) {
    const std::lock_guard lock(mutex_);
    requests_ = progress.requests;
    entries_ = progress.entries;
  }

  void endCall() {
    const std::lock_guard lock(mutex_);
    earlierRequests_ += requests_;
    earlierEntries_ += entries_;
    requests_ = entries_ = 0;
  }

 private:
  std::string frameAfter(Clock::duration elapsed) const {
    constexpr char kShapes[] = {'|', '/', '-', '\\'};
    const auto shape = static_cast<std::size_t>(elapsed / kFrameTime) % sizeof kShapes;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    const std::uint64_t requests = earlierRequests_ + requests_;
    const std::uint64_t entries = earlierEntries_ + entries_;
    std::string frame = kShapes[shape] + (" " + std::to_string(seconds) + " s");
    if (requests > 0) frame += ", " + numberOf(requests, "request", "requests");
    if (entries > 0) frame += ", " + numberOf(entries, "entry", "entries");
    return frame;
  }

  void spin() {
    const Clock::time_point start = Clock::now();
    std::unique_lock lock(mutex_);
    milliseconds pause = kDelay;
    while (!ended_.wait_for(lock, pause, [this] { return isEnded_; })) {
      const std::string frame = frameAfter(Clock::now() - start);
      // The line may have to wait for other output, and the calls must not wait for the line.
      lock.unlock();
      showErasableLine(frame);
      lock.lock();
      pause = kFrameTime;
    }
    showErasableLine("");
  }

  std::mutex mutex_;
  std::condition_variable ended_;
  bool isEnded_ = false;
  std::uint64_t requests_ = 0;
  std::uint64_t entries_ = 0;
  std::uint64_t earlierRequests_ = 0;
  std::uint64_t earlierEntries_ = 0;
  std::thread thread_;  // the last member because it uses the others
};

/// From the first call that it follows to the end of the command.
std::unique_ptr<Spinner> spinner;

}  // namespace

WatchedCall::WatchedCall(vemlo::Call& call, bool isQuiet) {
  if (isQuiet || !canOverwriteLines() || isVerbose()) return;
  if (spinner == nullptr) spinner = std::make_unique<Spinner>();
  call.progress = [](const vemlo::Progress& progress) {
    spinner->update(progress);
    return true;
  };
}

WatchedCall::~WatchedCall() {
  if (spinner != nullptr) spinner->endCall();
}

void endProgress() { spinner.reset(); }

}  // namespace tool
