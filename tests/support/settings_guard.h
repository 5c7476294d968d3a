#pragma once

#include <memory>

#include "Config/ProcessSettings.h"

namespace TestSupport {

/// Restores the settings of the process when it is destroyed.
class SettingsGuard {
 public:
  SettingsGuard() = default;
  ~SettingsGuard() {
    CloudStorage::Config::ProcessSettings::change([this](auto& settings) { settings = *saved_; });
  }
  SettingsGuard(const SettingsGuard&) = delete;
  SettingsGuard& operator=(const SettingsGuard&) = delete;

 private:
  const std::shared_ptr<const CloudStorage::Config::ProcessSettings> saved_ =
      CloudStorage::Config::ProcessSettings::current();
};

}  // namespace TestSupport
