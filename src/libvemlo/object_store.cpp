#include "libvemlo/object_store.h"

#include "libvemlo/log_line.h"

namespace libvemlo {

int resultCodeOf(const CloudStorage::Client::Error& error) {
  return static_cast<int>(error.errorType);
}

int reportFailure(const CloudStorage::Client::Error& error) {
  writeLine([&error] { ErrorLine() << error; });
  return resultCodeOf(error);
}

void logAsError(const char* exceptionText) {
  CloudStorage::Client::Error error;
  error.errorType = CloudStorage::Client::CoreErrors::LocalFailure;
  error.exceptionName = "InternalFailure";
  error.message = exceptionText;
  ErrorLine() << error;
}

}  // namespace libvemlo
