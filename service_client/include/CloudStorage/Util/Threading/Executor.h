#pragma once

#include <functional>

#include "CloudStorage/Export.h"

namespace CloudStorage::Util::Threading {

/// Runs tasks on behalf of an object-store client. Implementations must be safe for concurrent
/// calls.
class CLOUDSTORAGE_API Executor {
 public:
  virtual ~Executor() = default;

  /// Runs `task` or schedules it. Returns false if the task is rejected, in which case it never
  /// runs.
  virtual bool submit(std::function<void()> task) = 0;
};

}  // namespace CloudStorage::Util::Threading
