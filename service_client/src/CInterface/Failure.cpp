#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Client/LastFailure.h"
#include "libvemlo_service_client.h"

using CloudStorage::Client::LastFailure;

namespace {

constexpr std::size_t kSizeOfFirstVersion =
    offsetof(vemlo_client_failure, request_id) + sizeof(vemlo_client_failure::request_id);

/// In the order of the numbers.
constexpr std::array<const char*, VEMLO_CLIENT_HOST_FAULT + 1> kKindNames = {
    "no failure",     "link again", "wait",        "offline",        "timed out",
    "not trusted",    "denied",     "not found",   "exists already", "name not allowed",
    "quota",          "wrong keys", "wrong clock", "wrong region",   "service trouble",
    "not understood", "cancelled",  "deadline",    "host fault",
};

vemlo_client_failure noFailure() {
  vemlo_client_failure failure{};
  failure.retry_after = -1;
  failure.operation = "";
  failure.code = "";
  failure.message = "";
  failure.request_id = "";
  return failure;
}

// The texts are those of `record`.
vemlo_client_failure failureOf(const LastFailure::Record& record) {
  vemlo_client_failure failure = noFailure();
  failure.kind = static_cast<std::int32_t>(record.error.kind);
  failure.service = static_cast<std::int32_t>(record.service);
  failure.error = static_cast<std::int32_t>(record.error.errorType);
  failure.http_status = record.error.httpResponseCode;
  failure.retry_after = record.retryAfter;
  failure.operation = record.operation;
  failure.code = record.error.exceptionName.c_str();
  failure.message = record.error.message.c_str();
  failure.request_id = record.error.requestId.c_str();
  return failure;
}

}  // namespace

int vemlo_client_get_last_failure(vemlo_client_failure* failure) {
  if (failure == nullptr || failure->size < kSizeOfFirstVersion) return -1;
  const LastFailure::Record* const record = LastFailure::get();
  vemlo_client_failure last = record == nullptr ? noFailure() : failureOf(*record);
  last.size = failure->size;
  std::memcpy(failure, &last, std::min(last.size, sizeof(last)));
  return 0;
}

void vemlo_client_reset_last_failure() { LastFailure::reset(); }

const char* vemlo_client_kind_name(std::int32_t kind) {
  const auto index = static_cast<std::size_t>(static_cast<std::uint32_t>(kind));
  return index < kKindNames.size() ? kKindNames.at(index) : "unknown";
}
