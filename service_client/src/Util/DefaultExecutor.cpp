#include "CloudStorage/Util/Threading/DefaultExecutor.h"

namespace CloudStorage::Util::Threading {

bool DefaultExecutor::submit(std::function<void()> task) {
  if (!task) return false;
  task();
  return true;
}

}  // namespace CloudStorage::Util::Threading
