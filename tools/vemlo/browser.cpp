#include "browser.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>

namespace tool {
namespace {

bool hasDesktop() {
  for (const char* variable : {"DISPLAY", "WAYLAND_DISPLAY"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return true;
  }
  return false;
}

/// Keeps the browser's output apart from the output of this program, and lets the browser run on
/// when this program or its terminal session ends.
void isolateBrowser(posix_spawn_file_actions_t& files, posix_spawnattr_t& attributes) {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&files, stream, "/dev/null", O_RDWR, 0);
  }
  sigset_t ignoredHere;
  sigemptyset(&ignoredHere);
  sigaddset(&ignoredHere, SIGPIPE);
  posix_spawnattr_setsigdefault(&attributes, &ignoredHere);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
}

}  // namespace

void openBrowser(const std::string& url) {
  if (!hasDesktop()) return;
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  isolateBrowser(files, attributes);

  std::string program = "xdg-open";
  std::string address = url;
  const std::array<char*, 3> arguments{program.data(), address.data(), nullptr};
  // Do not wait for it: it may run as long as the browser. A failure needs no message because the
  // address is printed anyway.
  pid_t process = 0;
  posix_spawnp(&process, program.c_str(), &files, &attributes, arguments.data(), environ);

  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
}

}  // namespace tool
