#include "session_guard.h"

#include <glog/logging.h>

#include "terminal.h"

namespace tool {
namespace {

/// The first session of a process sets up the log, in colour even if it is written to a file. So a
/// session is opened for that alone, before any that may log something.
void setUpPlainLog() {
  libvemlo_s3_cleanup(libvemlo_s3_init("", "", "", "", nullptr));
  FLAGS_colorlogtostderr = false;
}

}  // namespace

Library::Library() {
  libvemlo_global_init();
  if (!showsColours()) setUpPlainLog();
}

Library::~Library() { libvemlo_global_cleanup(); }

}  // namespace tool
