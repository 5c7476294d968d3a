#pragma once

#include <functional>
#include <memory>

namespace CloudStorage::Config {

/// What the host has set for the process. Immutable; a change replaces it as a whole.
struct ProcessSettings {
  /// The settings at this moment. Safe for concurrent calls, as is change().
  static std::shared_ptr<const ProcessSettings> current();

  /// Applies `edit` to a copy of the settings and makes the copy current.
  static void change(const std::function<void(ProcessSettings&)>& edit);
};

}  // namespace CloudStorage::Config
