#pragma once

#include <libvemlo_service_client.h>

#include <string_view>
#include <system_error>

#include "failure.hpp"
#include "texts.hpp"

namespace vemlo {

/// Records every request and response of the process in a new file in the HAR 1.2 format, without
/// secrets, as long as the object exists. At most one object may exist at a time.
class Recording {
 public:
  /// Throws std::system_error if the file cannot be created, for instance because it exists.
  explicit Recording(std::string_view path) {
    require(vemlo_client_start_recording(detail::argument(path).c_str()));
  }
  ~Recording() {
    if (isRunning_) vemlo_client_stop_recording();
  }
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  /// Ends the recording; does nothing if it has ended. Throws std::system_error if something could
  /// not be written. Blocks while a response is being written.
  void stop() {
    if (!isRunning_) return;
    isRunning_ = false;
    require(vemlo_client_stop_recording());
  }

 private:
  static void require(int code) {
    if (code < 0) throw Failure("the file has no name, or another recording is running");
    if (code > 0) throw std::system_error(code, std::generic_category(), "recording");
  }

  bool isRunning_ = true;
};

}  // namespace vemlo
