#include <cerrno>
#include <new>

#include "Recording/Recorder.h"
#include "libvemlo_service_client.h"

using namespace CloudStorage;

int vemlo_client_start_recording(const char* path) {
  constexpr int kBadArguments = -1;
  if (path == nullptr || *path == '\0') return kBadArguments;
  try {
    return Recording::start(path);
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
}

int vemlo_client_stop_recording(void) { return Recording::stop(); }
