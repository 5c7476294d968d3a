#include "Client/CallControl.h"

namespace CloudStorage::Client {

CallControl& CallControl::ofThread() {
  static thread_local CallControl control;
  return control;
}

}  // namespace CloudStorage::Client
