#include "Recording/HarFile.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

#include "Http/StandardDescriptors.h"
#include "Util/Json.h"

namespace CloudStorage::Recording {
namespace {

constexpr std::string_view kUserAgent = VEMLO_USER_AGENT;
constexpr std::string_view kEnd = "\n]}}\n";

// The file up to the list of entries.
std::string beginning() {
  const auto slash = kUserAgent.find('/');
  Util::Json::ObjectWriter creator;
  creator.add("name", kUserAgent.substr(0, slash)).add("version", kUserAgent.substr(slash + 1));
  return R"({"log":{"version":"1.2","creator":)" + creator.text() + R"(,"entries":[)";
}

/// A write beyond the limit for files (RLIMIT_FSIZE) sends a signal that would end the process.
class FileSizeSignalBlocked {
 public:
  FileSizeSignalBlocked() {
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGXFSZ) == 1;
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signals_, &former_);
  }
  ~FileSizeSignalBlocked() {
    const timespec noTime{};
    if (!wasPending_) sigtimedwait(&signals_, nullptr, &noTime);
    pthread_sigmask(SIG_SETMASK, &former_, nullptr);
  }
  FileSizeSignalBlocked(const FileSizeSignalBlocked&) = delete;
  FileSizeSignalBlocked& operator=(const FileSizeSignalBlocked&) = delete;

 private:
  bool wasPending_ = false;
  sigset_t signals_{};
  sigset_t former_{};
};

}  // namespace

HarFile::~HarFile() { close(); }

int HarFile::create(const char* path) {
  constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
  const int opened = ::open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kOwnerOnly);
  if (opened < 0) return errno;
  descriptor_ = Http::moveAboveStandard(opened);
  int error = descriptor_ < 0 ? errno : 0;
  const std::string text = beginning();
  if (error == 0) error = writeAt(0, std::string(text).append(kEnd));
  if (error != 0) ::unlink(path);
  end_ = static_cast<off_t>(text.size());
  return error;
}

int HarFile::append(std::string entry) {
  entry.insert(0, hasEntry_ ? ",\n" : "\n");
  const auto size = static_cast<off_t>(entry.size());
  const int error = writeAt(end_, entry.append(kEnd));
  if (error == 0) {
    end_ += size;
    hasEntry_ = true;
  } else if (writeAt(end_, kEnd) == 0) {
    // What remains beyond the end has no meaning, but must not be there.
    static_cast<void>(::ftruncate(descriptor_, end_ + static_cast<off_t>(kEnd.size())) == 0);
  }
  return error;
}

int HarFile::close() {
  const int descriptor = std::exchange(descriptor_, -1);
  return descriptor >= 0 && ::close(descriptor) != 0 && errno != EINTR ? errno : 0;
}

int HarFile::writeAt(off_t position, std::string_view bytes) const {
  const FileSizeSignalBlocked signal;
  while (!bytes.empty()) {
    const ssize_t written = ::pwrite(descriptor_, bytes.data(), bytes.size(), position);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return written < 0 ? errno : EIO;
    position += written;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

}  // namespace CloudStorage::Recording
