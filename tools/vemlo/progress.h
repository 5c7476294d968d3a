#pragma once

#include <libvemlo.hpp>

namespace tool {

/// Lets the display of progress follow a call, which must end before this object.
///
/// The display is one for all calls of a command. Once they take long, it shows on standard error a
/// spinner, the elapsed seconds and how far the calls have come; other output erases it. It shows
/// nothing if standard error is not a terminal that can overwrite a line, or if the log is shown
/// there.
class WatchedCall {
 public:
  /// With `isQuiet`, the display does not follow the call.
  WatchedCall(vemlo::Call& call, bool isQuiet);
  ~WatchedCall();
  WatchedCall(const WatchedCall&) = delete;
  WatchedCall& operator=(const WatchedCall&) = delete;
};

/// Ends and erases the display.
void endProgress();

}  // namespace tool
