#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Recording/Recorder.h"
#include "libvemlo_service_client.h"
#include "support/fresh_process.h"
#include "support/loopback_server.h"
#include "support/recording.h"
#include "support/scripted_transport.h"

namespace {

using CloudStorage::Http::Method;
using CloudStorage::Http::Response;
using TestSupport::RecordingFile;
using TestSupport::requestTo;
using TestSupport::response;
using TestSupport::ScriptedTransport;
using TestSupport::TemporaryFolder;

/// Sends a request that is recorded if a recording is running.
void exchange(std::string body = "{}", const std::string& url = "https://example.test/a") {
  ScriptedTransport transport;
  transport.enqueue(response(200, std::move(body)));
  CloudStorage::Recording::send(transport, requestTo(Method::Get, url));
}

TEST(Recording, IsForItsOwnerOnly) {
  RecordingFile file;
  ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
  struct stat status {};
  ASSERT_EQ(::stat(file.path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(Recording, WithoutAPathIsRefused) {
  EXPECT_EQ(vemlo_client_start_recording(nullptr), -1);
  EXPECT_EQ(vemlo_client_start_recording(""), -1);
  EXPECT_EQ(vemlo_client_stop_recording(), -1);
}

TEST(Recording, SecondOneAtTheSameTimeIsRefused) {
  RecordingFile file;
  const TemporaryFolder folder;
  ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
  EXPECT_EQ(vemlo_client_start_recording(folder.file("other").c_str()), -1);
  EXPECT_NE(::access(folder.file("other").c_str(), F_OK), 0);
  EXPECT_EQ(vemlo_client_stop_recording(), 0);
  EXPECT_EQ(vemlo_client_start_recording(folder.file("other").c_str()), 0);
  EXPECT_EQ(vemlo_client_stop_recording(), 0);
  EXPECT_EQ(vemlo_client_stop_recording(), -1);
}

TEST(Recording, ExistingFileIsNotTouched) {
  const TemporaryFolder folder;
  const std::string path = folder.file("file");
  const std::string link = folder.file("link");
  ASSERT_EQ(vemlo_client_start_recording(path.c_str()), 0);
  ASSERT_EQ(vemlo_client_stop_recording(), 0);
  EXPECT_EQ(vemlo_client_start_recording(path.c_str()), EEXIST);
  ASSERT_EQ(::symlink(folder.file("target").c_str(), link.c_str()), 0);
  EXPECT_EQ(vemlo_client_start_recording(link.c_str()), EEXIST);
  EXPECT_NE(::access(folder.file("target").c_str(), F_OK), 0);
  EXPECT_EQ(vemlo_client_start_recording(folder.file("none/file").c_str()), ENOENT);
  EXPECT_EQ(vemlo_client_start_recording("/dev/full"), EEXIST);
  EXPECT_EQ(vemlo_client_stop_recording(), -1);
}

TEST(Recording, IsCompleteAfterEachResponse) {
  RecordingFile file;
  ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
  const auto log = file.json().at("log");
  EXPECT_EQ(log.at("version"), "1.2");
  EXPECT_EQ(log.at("creator").at("name"), "libvemlo");
  EXPECT_NE(log.at("creator").at("version"), "");
  EXPECT_EQ(log.at("entries").size(), 0U);
  for (std::size_t count = 1; count <= 3; ++count) {
    exchange();
    EXPECT_EQ(file.entries().size(), count);
  }
}

TEST(Recording, EndsWhenItIsStopped) {
  RecordingFile file;
  exchange();
  ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
  exchange("first");
  ASSERT_EQ(vemlo_client_stop_recording(), 0);
  exchange("second");
  ASSERT_EQ(file.entries().size(), 1U);
  EXPECT_EQ(file.entries()[0].at("response").at("content").at("text"), "first");
}

TEST(Recording, OmitsRequestsThatBeganBeforeOrEndedAfterIt) {
  RecordingFile file;
  ScriptedTransport transport;
  transport.enqueue([&](const auto&) {
    EXPECT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
    return response(200);
  });
  transport.enqueue([&](const auto&) {
    EXPECT_EQ(vemlo_client_stop_recording(), 0);
    return response(200);
  });
  const auto request = requestTo(Method::Get, "https://example.test/");
  EXPECT_EQ(CloudStorage::Recording::send(transport, request).status, 200);
  EXPECT_EQ(CloudStorage::Recording::send(transport, request).status, 200);
  EXPECT_EQ(file.entries().size(), 0U);
}

TEST(Recording, HasTheRequestsOfAllThreads) {
  constexpr int kThreads = 16;
  constexpr int kRequests = 20;
  RecordingFile file;
  ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread] {
      const std::string url = "https://example.test/" + std::to_string(thread) + '/';
      for (int count = 0; count < kRequests; ++count) exchange("{}", url + std::to_string(count));
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(vemlo_client_stop_recording(), 0);
  std::set<std::string> urls;
  for (const auto& entry : file.entries()) urls.insert(entry.at("request").at("url"));
  EXPECT_EQ(file.entries().size(), std::size_t{kThreads * kRequests});
  EXPECT_EQ(urls.size(), std::size_t{kThreads * kRequests});
}

TEST(Recording, MayBeStoppedWhileThreadsSend) {
  const TemporaryFolder folder;
  std::atomic<bool> isOver{false};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      while (!isOver) exchange();
    });
  }
  for (int count = 0; count < 20; ++count) {
    const std::string path = folder.file(std::to_string(count));
    EXPECT_EQ(vemlo_client_start_recording(path.c_str()), 0);
    EXPECT_EQ(vemlo_client_stop_recording(), 0);
    std::ifstream text(path);
    EXPECT_TRUE(nlohmann::json::accept(text)) << path;
  }
  isOver = true;
  for (std::thread& thread : threads) thread.join();
}

TEST(Recording, CanBeReadAfterTheProcessWasKilled) {
  RecordingFile file;
  EXPECT_EXIT(
      {
        vemlo_client_start_recording(file.path().c_str());
        exchange("one");
        exchange("two");
        std::raise(SIGKILL);
      },
      testing::KilledBySignal(SIGKILL), "");
  EXPECT_EQ(file.entries().size(), 2U);
}

TEST(Recording, IsNotContinuedByAForkedProcess) {
  RecordingFile file;
  const TemporaryFolder folder;
  const std::string path = folder.file("of-child");
  ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
  exchange("parent");
  const pid_t child = ::fork();
  if (child == 0) {
    exchange("child");
    const bool hasNone = vemlo_client_stop_recording() == -1;
    const bool hasOwn = vemlo_client_start_recording(path.c_str()) == 0;
    exchange("child");
    ::_exit(hasNone && hasOwn && vemlo_client_stop_recording() == 0 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  exchange("parent");
  EXPECT_EQ(vemlo_client_stop_recording(), 0);
  EXPECT_EQ(file.entries().size(), 2U);
  EXPECT_EQ(file.text().find("child"), std::string::npos);
}

/// As long as it exists, this process cannot make files larger than `size`. That holds for the
/// output of the test, too, if it is a file.
class FileLimit {
 public:
  explicit FileLimit(rlim_t size) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &former_), 0);
    const rlimit limit{size, former_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FileLimit() { ::setrlimit(RLIMIT_FSIZE, &former_); }
  FileLimit(const FileLimit&) = delete;
  FileLimit& operator=(const FileLimit&) = delete;

 private:
  rlimit former_{};
};

TEST(Recording, ThatCannotBeWrittenEndsWithTheEntryBefore) {
  TestSupport::inFreshProcess([] {
    RecordingFile file;
    ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
    exchange("one");
    {
      const FileLimit limit(file.text().size() + 2000);
      exchange(std::string(5000, 'x'));
    }
    exchange("after a gap");
    EXPECT_EQ(file.entries().size(), 1U);
    EXPECT_EQ(vemlo_client_stop_recording(), EFBIG);
    EXPECT_EQ(file.entries().size(), 1U);
    EXPECT_EQ(vemlo_client_stop_recording(), -1);
  });
}

TEST(Recording, ThatCannotBeginLeavesNoFile) {
  TestSupport::inFreshProcess([] {
    const TemporaryFolder folder;
    int error = 0;
    {
      const FileLimit limit(10);
      error = vemlo_client_start_recording(folder.file("a").c_str());
    }
    EXPECT_EQ(error, EFBIG);
    EXPECT_NE(::access(folder.file("a").c_str(), F_OK), 0);
    EXPECT_EQ(vemlo_client_stop_recording(), -1);
  });
}

TEST(Recording, IsNotAStandardStream) {
  TestSupport::inFreshProcess([] {
    RecordingFile file;
    ::close(STDERR_FILENO);
    ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
    EXPECT_EQ(::fcntl(STDERR_FILENO, F_GETFD), -1);
    exchange();
    EXPECT_EQ(file.entries().size(), 1U);
  });
}

TEST(Recording, IsNotInheritedByPrograms) {
  RecordingFile file;
  ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    if (std::filesystem::read_symlink(entry, error) != file.path()) continue;
    const int descriptor = std::stoi(entry.path().filename());
    EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
    return;
  }
  ADD_FAILURE() << "the file is not open";
}

}  // namespace
