#include "Client/LastFailure.h"

#include <new>
#include <optional>

namespace CloudStorage::Client {
namespace {

thread_local std::optional<LastFailure::Record> lastOfThread;

}  // namespace

void LastFailure::set(Service service, const char* operation, const Error& error) noexcept {
  try {
    lastOfThread = Record{service, operation, error};
  } catch (const std::bad_alloc&) {
    lastOfThread = Record{service, operation, {}};
    lastOfThread->error.errorType = error.errorType;
    lastOfThread->error.httpResponseCode = error.httpResponseCode;
    lastOfThread->error.kind = error.kind;
  }
}

const LastFailure::Record* LastFailure::get() { return lastOfThread ? &*lastOfThread : nullptr; }

void LastFailure::reset() { lastOfThread.reset(); }

}  // namespace CloudStorage::Client
