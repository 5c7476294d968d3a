#include "Client/RunningCall.h"

namespace CloudStorage::Client {
namespace {

thread_local RunningCall* callOfThread = nullptr;

}  // namespace

RunningCall::RunningCall(CallBudget& budget, const Clock& now)
    : budget_(budget), now_(now), outer_(callOfThread) {
  callOfThread = this;
}

RunningCall::~RunningCall() { callOfThread = outer_; }

std::chrono::milliseconds RunningCall::timeLeft() {
  const RunningCall* call = callOfThread;
  return call == nullptr ? CallBudget::kTime : call->budget_.timeLeft(call->now_());
}

bool RunningCall::takeRequest() {
  return callOfThread == nullptr || callOfThread->budget_.takeRequest();
}

}  // namespace CloudStorage::Client
