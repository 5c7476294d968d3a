#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <ctime>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "listing.h"
#include "stopwatch.h"

namespace {

using benchmarks::Listing;
using benchmarks::Microseconds;
using benchmarks::PageServer;
using benchmarks::TlsIdentity;

/// A program that lists with the binding of one language.
struct Language {
  std::string name;
  std::vector<std::string> command;
  /// The most CPU time in relation to the program in C.
  double limit;
};

struct Effort {
  int entries;
  int rounds;
  int calls;
};

constexpr std::array<Effort, 2> kEfforts{{{1000, 61, 20}, {50'000, 21, 1}}};

std::vector<char*> pointersTo(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// A running program. It reads how often it is to list, and writes the size of what it has found.
class Program {
 public:
  Program(std::vector<std::string> command, std::vector<std::string> environment) {
    int toProgram[2];
    int fromProgram[2];
    if (pipe2(toProgram, O_CLOEXEC) != 0 || pipe2(fromProgram, O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toProgram[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fromProgram[1], STDOUT_FILENO);
    const int error = posix_spawn(&process_, command.front().c_str(), &actions, nullptr,
                                  pointersTo(command).data(), pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    close(toProgram[0]);
    close(fromProgram[1]);
    input_.reset(fdopen(toProgram[1], "w"));
    output_.reset(fdopen(fromProgram[0], "r"));
    if (error != 0 || clock_getcpuclockid(process_, &clock_) != 0) {
      throw std::runtime_error("cannot start " + command.front());
    }
  }
  ~Program() {
    input_.reset();  // which ends it
    waitpid(process_, nullptr, 0);
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// The CPU time of its whole process that a listing takes.
  Microseconds list(int calls) {
    const Microseconds before = cpuTime();
    long long size = 0;
    std::fprintf(input_.get(), "%d\n", calls);
    std::fflush(input_.get());
    if (std::fscanf(output_.get(), "%lld", &size) != 1) throw std::runtime_error("no listing");
    sizeOfListing_ = size / calls;
    return (cpuTime() - before) / calls;
  }

  long long sizeOfListing() const { return sizeOfListing_; }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  Microseconds cpuTime() const {
    timespec time{};
    clock_gettime(clock_, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
  }

  pid_t process_ = 0;
  clockid_t clock_ = 0;
  std::unique_ptr<std::FILE, Close> input_;
  std::unique_ptr<std::FILE, Close> output_;
  long long sizeOfListing_ = 0;
};

struct Contender {
  const Language& language;
  PageServer server;
  std::unique_ptr<Program> program;
  std::vector<double> rounds;

  Contender(const Language& its, const Listing& listing, const TlsIdentity& identity)
      : language(its), server(listing.makeSite, identity) {}
};

using Contenders = std::vector<std::unique_ptr<Contender>>;

void start(Contender& contender, const std::vector<std::string>& environment, long long& size) {
  std::vector<std::string> command = contender.language.command;
  command.push_back(std::to_string(contender.server.port()));
  contender.program = std::make_unique<Program>(command, environment);
  contender.program->list(3);  // connects
  // Python counts characters, the others bytes.
  if (size == 0) size = contender.program->sizeOfListing();
  const long long found = contender.program->sizeOfListing();
  if (found == 0 || found > size) throw std::runtime_error("a listing is incomplete");
}

double ratio(const Contender& contender, const Contender& yardstick) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < contender.rounds.size(); ++i) {
    ratios.push_back(contender.rounds[i] / yardstick.rounds[i]);
  }
  return benchmarks::median(std::move(ratios));
}

bool print(const Contenders& contenders) {
  bool areKept = true;
  std::printf("%-38s %12s %9s %9s\n", "", "CPU us/call", "ratio", "at most");
  for (const auto& contender : contenders) {
    const double found = ratio(*contender, *contenders.front());
    const bool isKept = found <= contender->language.limit;
    areKept = areKept && isKept;
    std::printf("%-38s %12.1f %9.2f %9.2f%s\n", contender->language.name.c_str(),
                benchmarks::median(contender->rounds), found, contender->language.limit,
                isKept ? "" : "  NOT KEPT");
  }
  return areKept;
}

bool measure(const std::vector<Language>& languages, const Effort& effort,
             const TlsIdentity& identity, std::vector<std::string> environment) {
  const Listing listing = benchmarks::googleDriveFolders({effort.entries});
  environment.push_back("SSL_CERT_FILE=" + identity.trustedFile());
  Contenders contenders;
  for (const Language& language : languages) {
    contenders.push_back(std::make_unique<Contender>(language, listing, identity));
  }
  long long size = 0;
  for (auto& contender : contenders) start(*contender, environment, size);
  // The programs take turns, and each is first in equally many rounds.
  for (std::size_t round = 0; round < static_cast<std::size_t>(effort.rounds); ++round) {
    for (std::size_t turn = 0; turn < contenders.size(); ++turn) {
      Contender& contender = *contenders[(round + turn) % contenders.size()];
      contender.rounds.push_back(contender.program->list(effort.calls).count());
    }
  }
  std::printf("%s, %d rounds of %d calls; medians of the rounds\n", listing.title.c_str(),
              effort.rounds, effort.calls);
  return print(contenders);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Gets a listing from a page server on this machine in each language for which there is a "
      "binding, and reads the name and the id of each folder. Ends with 1 if a binding costs more "
      "than it may.");
  std::string folder = std::filesystem::canonical("/proc/self/exe").parent_path();
  std::string source;
  std::string library;
  app.add_option("--programs", folder, "Folder with the programs")->capture_default_str();
  app.add_option("--source", source, "Folder with the project")->required();
  app.add_option("--library", library, "The library, for Python")->required();
  CLI11_PARSE(app, argc, argv);
  const std::vector<Language> languages{
      {"C", {folder + "/list_c"}, 1},
      {"C++", {folder + "/list_cpp"}, 1.05},
      {"Go", {folder + "/list_go"}, 1.3},
      {"Python", {"/usr/bin/python3", source + "/benchmarks/bindings/list.py"}, 3},
  };
  const std::vector<std::string> environment{"LIBVEMLO=" + library, "PYTHONDONTWRITEBYTECODE=1",
                                             "PYTHONPATH=" + source + "/bindings/python"};
  try {
    const TlsIdentity identity;
    bool areKept = true;
    for (const Effort& effort : kEfforts) {
      areKept = measure(languages, effort, identity, environment) && areKept;
      std::printf("\n");
    }
    return areKept ? 0 : 1;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "binding_overhead: %s\n", exception.what());
    return 2;
  }
}
