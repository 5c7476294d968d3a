#include "Client/RunningCall.h"

#include <algorithm>
#include <string>
#include <thread>
#include <utility>

#include "Client/CallControl.h"
#include "Client/LastFailure.h"
#include "Recording/Recorder.h"

namespace CloudStorage::Client {
namespace {

using Kind = Http::TransportFailure::Kind;
using std::chrono::milliseconds;

thread_local RunningCall* callOfThread = nullptr;

milliseconds timeUntil(CallBudget::TimePoint deadline, CallBudget::TimePoint now) {
  if (deadline == CallBudget::TimePoint::max()) return milliseconds::max();
  return std::max(std::chrono::duration_cast<milliseconds>(deadline - now), milliseconds::zero());
}

Http::TransportFailure cancelled() {
  return {Kind::Cancelled, "CallCancelled", "The host cancelled the call", true};
}

Http::Response failed(Http::TransportFailure reason) {
  Http::Response response;
  response.failure = std::move(reason);
  return response;
}

/// While a callback of the host runs, so that the calls that it makes are not reported.
class Reporting {
 public:
  Reporting() { isRunning = true; }
  ~Reporting() { isRunning = false; }
  Reporting(const Reporting&) = delete;
  Reporting& operator=(const Reporting&) = delete;

  static thread_local bool isRunning;
};
thread_local bool Reporting::isRunning = false;

}  // namespace

RunningCall::RunningCall(CallBudget& budget, const Clock& now, Service service)
    : budget_(budget),
      now_(now),
      service_(service),
      reportedRequests_(budget.usage().requests),
      outer_(callOfThread) {
  callOfThread = this;
}

RunningCall::~RunningCall() { callOfThread = outer_; }

milliseconds RunningCall::timeLeft() {
  const auto now =
      callOfThread == nullptr ? std::chrono::steady_clock::now() : callOfThread->now_();
  return std::min(budgetLeft(), timeUntil(CallControl::ofThread().deadline, now));
}

milliseconds RunningCall::budgetLeft() {
  const RunningCall* call = callOfThread;
  return call == nullptr ? CallBudget::kTime : call->budget_.timeLeft(call->now_());
}

bool RunningCall::takeRequest() {
  return callOfThread == nullptr || callOfThread->budget_.takeRequest();
}

std::optional<Http::TransportFailure> RunningCall::endReason() {
  const auto& event = CallControl::ofThread().cancelEvent;
  if ((callOfThread != nullptr && callOfThread->isCancelled()) || (event && event->isTriggered())) {
    return cancelled();
  }
  if (timeLeft() == milliseconds::zero()) return outOfTime();
  return std::nullopt;
}

Http::TransportFailure RunningCall::outOfTime() {
  const RunningCall* call = callOfThread;
  const auto deadline = CallControl::ofThread().deadline;
  if (call == nullptr || timeUntil(deadline, call->now_()) < call->budget_.timeLeft(call->now_())) {
    return {Kind::DeadlineExceeded, "DeadlineExceeded",
            "The call cannot end by the deadline that the host has set", true};
  }
  return {Kind::Timeout, "CallTimeout",
          "The call has not ended within " + std::to_string(CallBudget::kTime.count()) + " minutes",
          true};
}

bool RunningCall::isCancellable() { return CallControl::ofThread().cancelEvent != nullptr; }

void RunningCall::wait(milliseconds delay) {
  const auto event = CallControl::ofThread().cancelEvent;
  if (event) {
    event->wait(delay);
  } else {
    std::this_thread::sleep_for(delay);
  }
}

void RunningCall::cancelCall() {
  if (callOfThread != nullptr) callOfThread->budget_.cancel();
}

Http::Response RunningCall::send(Http::Transport& transport, Http::Request& request) {
  if (auto reason = endReason()) return failed(*std::move(reason));
  const auto& control = CallControl::ofThread();
  const auto event = control.cancelEvent;  // until the end, also if the host replaces it
  request.interrupt.descriptor = event ? event->descriptor() : -1;
  request.interrupt.deadline = control.deadline;
  // Without the deadline, which the transport reports in another way.
  request.timeLimit = std::min(request.timeLimit, budgetLeft());
  Http::Response response = Recording::send(transport, request);
  if (response.failure) {
    // The host may have reset the event that has ended the transfer.
    const bool isEnded = response.failure->kind == Kind::Cancelled;
    if (isEnded && timeLeft() != milliseconds::zero()) cancelCall();
    if (auto reason = endReason()) response.failure = std::move(reason);
  }
  if (callOfThread != nullptr) {
    auto& usage = callOfThread->budget_.usage();
    ++usage.requests;
    usage.bytes += response.body.size();
  }
  return response;
}

void RunningCall::report(const char* operation, std::size_t entries) {
  RunningCall* call = callOfThread;
  if (call == nullptr) return;
  auto& usage = call->budget_.usage();
  if (usage.requests == call->reportedRequests_) return;  // none was sent since
  call->reportedRequests_ = usage.requests;
  usage.entries += entries;
  const auto callback = CallControl::ofThread().progress;  // which may replace itself
  if (!callback || Reporting::isRunning) return;
  const Reporting reporting;
  const LastFailure::Explanation explanation;
  if (!callback({call->service_, operation, usage})) call->budget_.cancel();
}

}  // namespace CloudStorage::Client
