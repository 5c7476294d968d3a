#pragma once

#include <cstdint>
#include <optional>

#include "CloudStorage/Client/Service.h"
#include "CloudStorage/Client/WSError.h"

namespace CloudStorage::Client {

/// The last failure of each thread, for hosts that want to know more than a result code.
class LastFailure {
 public:
  struct Record {
    Service service{};
    /// Static.
    const char* operation = "";
    Error error;
    /// Whether it is the failure to renew a token that the service refuses.
    bool explainsRefusal = false;
    /// After how many seconds the service allows another attempt; -1 if it did not say.
    std::int64_t retryAfter = -1;
  };

  /// Keeps a failure that explains refusals while a callback of the host makes other calls.
  class Explanation;

  /// Without memory, the record has no texts.
  static void set(Service service, const char* operation, const Error& error) noexcept;
  /// Makes the failure of another thread, from which this thread suffers, the last one.
  static void set(const Record& record) noexcept;
  /// Null if there is none. Valid until the thread's next set() or reset().
  static const Record* get();
  static void reset();

  /// Whether the last failure is that of renewing a token that the service refuses, so that a
  /// refusal of the service is a consequence of it.
  static bool explainsRefusal();
  /// States that the last failure explains the refusals that follow.
  static void explainRefusal();
  /// States the opposite: another call begins, or the token has been renewed since.
  static void ceaseToExplain();
};

class LastFailure::Explanation {
 public:
  Explanation() {
    if (explainsRefusal()) record_ = *get();
  }
  ~Explanation() {
    if (record_) set(*record_);
  }
  Explanation(const Explanation&) = delete;
  Explanation& operator=(const Explanation&) = delete;

 private:
  std::optional<Record> record_;
};

}  // namespace CloudStorage::Client
