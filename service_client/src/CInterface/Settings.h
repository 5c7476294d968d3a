#pragma once

#include <exception>

#include "Config/ProcessSettings.h"

namespace CloudStorage::CInterface {

/// Applies `edit` to the settings of the process. Returns 0. Returns 1 and changes nothing if there
/// is no memory.
template <typename Edit>
int changeSettings(const Edit& edit) noexcept {
  try {
    Config::ProcessSettings::change(edit);
    return 0;
  } catch (const std::exception&) {
    return 1;
  }
}

}  // namespace CloudStorage::CInterface
