#include "Http/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace CloudStorage::Http {

void occupyStandardDescriptors() {
  int opened = STDIN_FILENO;
  while (opened >= 0 && opened <= STDERR_FILENO) {
    opened = ::open("/dev/null", O_RDWR | O_CLOEXEC);  // the lowest descriptor that is free
  }
  if (opened > STDERR_FILENO) ::close(opened);
}

int moveAboveStandard(int descriptor) {
  if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
  const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  ::close(descriptor);
  return moved;
}

}  // namespace CloudStorage::Http
