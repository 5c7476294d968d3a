#pragma once

#include "CloudStorage/Util/Threading/Executor.h"

namespace CloudStorage::Util::Threading {

/// Runs each task immediately in the calling thread. All operations of the clients are synchronous,
/// and a library should not start threads in its host's process.
class CLOUDSTORAGE_API DefaultExecutor : public Executor {
 public:
  bool submit(std::function<void()> task) override;
};

}  // namespace CloudStorage::Util::Threading
