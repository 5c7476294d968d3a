#include "libvemlo/object_store.h"

#include <glog/logging.h>

namespace libvemlo {

int resultCodeOf(const CloudStorage::Client::Error& error) {
  return static_cast<int>(error.errorType);
}

int reportFailure(const CloudStorage::Client::Error& error) {
  SYSLOG(ERROR) << error;
  return resultCodeOf(error);
}

}  // namespace libvemlo
