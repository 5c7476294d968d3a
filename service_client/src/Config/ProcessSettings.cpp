#include "Config/ProcessSettings.h"

#include <mutex>
#include <utility>

namespace CloudStorage::Config {
namespace {

struct Current {
  std::mutex mutex;
  std::shared_ptr<const ProcessSettings> settings = std::make_shared<const ProcessSettings>();
};

// Never destroyed, because threads may still make calls while the process ends.
Current& instance() {
  static auto& current = *new Current;
  return current;
}

}  // namespace

std::shared_ptr<const ProcessSettings> ProcessSettings::current() {
  const std::lock_guard<std::mutex> lock(instance().mutex);
  return instance().settings;
}

void ProcessSettings::change(const std::function<void(ProcessSettings&)>& edit) {
  const std::lock_guard<std::mutex> lock(instance().mutex);
  auto changed = std::make_shared<ProcessSettings>(*instance().settings);
  edit(*changed);
  instance().settings = std::move(changed);
}

}  // namespace CloudStorage::Config
