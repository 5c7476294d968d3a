#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "account_file.h"
#include "command_failure.h"
#include "error_checks.h"
#include "fuzz_input.h"

namespace {

using ErrorChecks::require;

/// A folder for the accounts of this process, which is removed with it.
class Folder {
 public:
  Folder() {
    std::string name = std::filesystem::temp_directory_path() / "vemlo-fuzz-XXXXXX";
    require(::mkdtemp(name.data()) != nullptr);
    path_ = name;
    require(::mkdir((path_ / "vemlo").c_str(), S_IRWXU) == 0);
    ::setenv("XDG_CONFIG_HOME", path_.c_str(), 1);
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  void write(std::string_view content) const {
    const auto file = path_ / "vemlo" / "accounts.json";
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    require(::write(descriptor, content.data(), content.size()) ==
            static_cast<ssize_t>(content.size()));
    ::close(descriptor);
  }

 private:
  std::filesystem::path path_;
};

}  // namespace

void checkInput(std::string_view input) {
  static const Folder folder;
  folder.write(input);
  try {
    for (const auto& [name, account] : tool::readAccounts()) {
      std::size_t size = name.size() + account.linked.size();
      for (const auto& [member, value] : account.values) size += member.size() + value.size();
      require(size <= input.size());
    }
  } catch (const tool::CommandFailure& failure) {
    require(failure.code() == tool::ExitCode::LocalFailure);
    require(*failure.what() != '\0');
  }
}
