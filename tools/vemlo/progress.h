#pragma once

#include <libvemlo.hpp>
#include <memory>

namespace tool {

/// While a call takes long, shows on standard error a spinner, the elapsed seconds and how far the
/// call has come; it is erased with the object. Shows nothing if `isQuiet` is set, if standard
/// error is not a terminal that can overwrite a line, or if the log is shown there.
class ProgressDisplay {
 public:
  explicit ProgressDisplay(bool isQuiet);
  ~ProgressDisplay();
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

  /// Lets the display follow the call, which must end before the display.
  void watch(vemlo::Call& call);

 private:
  class Spinner;
  std::unique_ptr<Spinner> spinner_;
};

}  // namespace tool
