#include "Recording/Recorder.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "CloudStorage/Util/Threading/CancellationDeferred.h"
#include "Recording/ExchangeRedactor.h"
#include "Recording/HarEntry.h"
#include "Recording/HarFile.h"

namespace CloudStorage::Recording {
namespace {

using Util::Threading::CancellationDeferred;

class Recorder {
 public:
  int start(const char* path) { return file_.create(path); }

  int stop() {
    const std::lock_guard<std::mutex> lock(mutex_);
    isStopped_ = true;
    const int closed = file_.close();
    return error_ != 0 ? error_ : closed;
  }

  /// A process that was forked has a copy of the recorder, but not a file of its own.
  bool belongsToThisProcess() const { return process_ == ::getpid(); }

  void add(const Exchange& exchange, const Http::Transport& transport) {
    const CancellationDeferred cancellation;  // must not end the thread in the midst of an entry
    try {
      std::vector<std::string> known = knownSecrets();
      for (std::string& secret : transport.secrets()) known.push_back(std::move(secret));
      const ExchangeRedactor redactor(exchange.request, exchange.response, std::move(known));
      std::string entry = harEntry(exchange, redactor);
      append(std::move(entry), redactor.lastingSecrets());
    } catch (...) {  // the call itself must not fail
      fail(ENOMEM);
    }
  }

 private:
  /// Tokens end, so the oldest are the least likely to be seen again.
  static constexpr std::size_t kMostSecrets = 128;

  std::vector<std::string> knownSecrets() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return secrets_;
  }

  void append(std::string entry, const std::vector<std::string>& secrets) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const std::string& secret : secrets) {
      if (std::find(secrets_.begin(), secrets_.end(), secret) != secrets_.end()) continue;
      if (secrets_.size() == kMostSecrets) secrets_.erase(secrets_.begin());
      secrets_.push_back(secret);
    }
    // A recording with gaps would mislead.
    if (!isStopped_ && error_ == 0) error_ = file_.append(std::move(entry));
  }

  void fail(int error) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (error_ == 0) error_ = error;
  }

  const pid_t process_ = ::getpid();
  std::mutex mutex_;
  HarFile file_;
  std::vector<std::string> secrets_;
  bool isStopped_ = false;
  /// Of the first failure.
  int error_ = 0;
};

struct Process {
  std::mutex mutex;
  std::shared_ptr<Recorder> recorder;
  std::atomic<bool> isRecording{false};

  std::shared_ptr<Recorder> current() {
    const std::lock_guard<std::mutex> lock(mutex);
    return recorder != nullptr && recorder->belongsToThisProcess() ? recorder : nullptr;
  }
};

// Never destroyed, because threads may still make calls while the process ends.
Process& process() {
  static auto& process = *new Process;
  return process;
}

}  // namespace

int start(const char* path) {
  const CancellationDeferred cancellation;
  const std::lock_guard<std::mutex> lock(process().mutex);
  if (process().recorder != nullptr && process().recorder->belongsToThisProcess()) return -1;
  auto recorder = std::make_shared<Recorder>();
  const int error = recorder->start(path);
  if (error != 0) return error;
  process().recorder = std::move(recorder);
  process().isRecording = true;
  return 0;
}

int stop() {
  const CancellationDeferred cancellation;
  std::shared_ptr<Recorder> recorder;
  {
    const std::lock_guard<std::mutex> lock(process().mutex);
    recorder = std::exchange(process().recorder, nullptr);
    process().isRecording = false;
  }
  return recorder != nullptr && recorder->belongsToThisProcess() ? recorder->stop() : -1;
}

Http::Response send(Http::Transport& transport, const Http::Request& request) {
  if (!process().isRecording.load(std::memory_order_relaxed)) return transport.send(request);
  const auto recorder = process().current();
  if (recorder == nullptr) return transport.send(request);

  using Clock = std::chrono::steady_clock;
  const auto begin = std::chrono::system_clock::now();
  const auto start = Clock::now();
  Http::Response response = transport.send(request);
  const auto duration = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
  recorder->add({request, response, begin, duration}, transport);
  return response;
}

}  // namespace CloudStorage::Recording
