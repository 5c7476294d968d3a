#include "Client/LastFailure.h"

#include <chrono>
#include <new>
#include <optional>

#include "Http/RetryAfter.h"

namespace CloudStorage::Client {
namespace {

thread_local std::optional<LastFailure::Record> lastOfThread;

// Allocates no memory.
Error withoutTexts(const Error& error) {
  Error bare;
  bare.errorType = error.errorType;
  bare.httpResponseCode = error.httpResponseCode;
  bare.kind = error.kind;
  return bare;
}

}  // namespace

void LastFailure::set(Service service, const char* operation, const Error& error) noexcept {
  try {
    const auto retryAfter =
        Http::retryAfter(error.responseHeaders, std::chrono::system_clock::now());
    lastOfThread = Record{service, operation, error, false, retryAfter ? retryAfter->count() : -1};
  } catch (const std::bad_alloc&) {
    lastOfThread = Record{service, operation, withoutTexts(error)};
  }
}

void LastFailure::set(const Record& record) noexcept {
  try {
    lastOfThread = record;
  } catch (const std::bad_alloc&) {
    lastOfThread = Record{record.service, record.operation, withoutTexts(record.error),
                          record.explainsRefusal, record.retryAfter};
  }
}

const LastFailure::Record* LastFailure::get() { return lastOfThread ? &*lastOfThread : nullptr; }

void LastFailure::reset() { lastOfThread.reset(); }

bool LastFailure::explainsRefusal() { return lastOfThread && lastOfThread->explainsRefusal; }

void LastFailure::explainRefusal() {
  if (lastOfThread) lastOfThread->explainsRefusal = true;
}

void LastFailure::ceaseToExplain() {
  if (lastOfThread) lastOfThread->explainsRefusal = false;
}

}  // namespace CloudStorage::Client
