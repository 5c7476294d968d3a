#pragma once

#include <libvemlo.h>

#include <memory>

namespace vemlo::detail {

struct CloseSession {
  // Closes a session of any service, not only of S3.
  void operator()(session* handle) const noexcept { libvemlo_s3_cleanup(handle); }
};

using Session = std::unique_ptr<session, CloseSession>;

}  // namespace vemlo::detail
