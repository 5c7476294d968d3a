#pragma once

#include "CloudStorage/Util/Threading/Executor.h"

namespace CloudStorage::Util::Threading {

/// Runs each task at once in the calling thread: every operation of the clients is synchronous,
/// and a library loaded into somebody else's process does well to start no thread there.
class CLOUDSTORAGE_API DefaultExecutor : public Executor {
 public:
  bool submit(std::function<void()> task) override;
};

}  // namespace CloudStorage::Util::Threading
