#include <fcntl.h>
#include <openssl/x509.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

#include "bare_s3_client.h"
#include "listing.h"
#include "stopwatch.h"

namespace {

using benchmarks::Microseconds;
using benchmarks::PageServer;
using benchmarks::Route;
using benchmarks::TlsIdentity;

constexpr double kWallLimit = 2;

using Words = std::vector<std::string>;

struct Command {
  std::string description;
  Words words;
  Words environment;
  std::vector<double> wall = {};
  std::vector<double> cpu = {};
};

std::vector<char*> pointersTo(Words& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

Microseconds cpuOfChildren() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

/// Runs a command and returns its standard output. Throws std::runtime_error if it fails.
std::string outputOf(Command& command) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  pid_t child = 0;
  const int error =
      posix_spawn(&child, command.words.front().c_str(), &actions, nullptr,
                  pointersTo(command.words).data(), pointersTo(command.environment).data());
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (error != 0) {
    close(ends[0]);
    throw std::runtime_error("cannot start " + command.words.front());
  }
  std::string output;
  char buffer[4096];
  for (ssize_t size = 0; (size = read(ends[0], buffer, sizeof(buffer))) > 0;) {
    output.append(buffer, static_cast<std::size_t>(size));
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (status != 0) throw std::runtime_error(command.words.front() + " has failed");
  return output;
}

void measure(Command& command) {
  const Microseconds cpu = cpuOfChildren();
  const benchmarks::Stopwatch stopwatch;
  outputOf(command);
  command.wall.push_back(stopwatch.elapsed().wall.count() / 1000);
  command.cpu.push_back((cpuOfChildren() - cpu).count() / 1000);
}

bool printVerdict(const Command& bare, const Command& tool) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < bare.wall.size(); ++i) ratios.push_back(tool.wall[i] / bare.wall[i]);
  const double ratio = benchmarks::median(std::move(ratios));
  const bool isKept = ratio <= kWallLimit;
  std::printf(
      "Wall time of the command in relation to the line above it: %.2f (at most %.2f: %s)\n", ratio,
      kWallLimit, isKept ? "kept" : "NOT KEPT");
  return isKept;
}

bool compare(const std::string& title, Command bare, Command tool, int rounds) {
  if (outputOf(bare) != outputOf(tool)) throw std::runtime_error("the outputs differ");
  for (int round = 0; round < rounds; ++round) {
    measure(round % 2 == 0 ? bare : tool);
    measure(round % 2 == 0 ? tool : bare);
  }
  std::printf("%s, %d rounds; medians of the rounds\n", title.c_str(), rounds);
  std::printf("%-38s %12s %12s\n", "", "CPU ms", "wall ms");
  for (const Command* command : {&bare, &tool}) {
    std::printf("%-38s %12.2f %12.2f\n", command->description.c_str(),
                benchmarks::median(command->cpu), benchmarks::median(command->wall));
  }
  return printVerdict(bare, tool);
}

bool run(const std::string& folder, int rounds) {
  const benchmarks::Listing listing = benchmarks::s3Prefixes({10}, Route::Kind::Plain);
  const TlsIdentity identity(X509_get_default_cert_file());
  const PageServer server(listing.makeSite, identity);
  const std::string port = std::to_string(server.port());
  const Command plainBare{"bare_s3_ls", {folder + "/bare_s3_ls", port}, {}};
  const Command tlsBare{"bare_s3_ls", {folder + "/bare_s3_ls", port, identity.trustedFile()}, {}};
  Command plainTool{"vemlo s3 ls",
                    {folder + "/vemlo", "s3", "ls", benchmarks::kS3Bucket, benchmarks::kS3Folder},
                    {"VEMLO_S3_ACCESS_KEY=" + benchmarks::kS3Account.accessKey,
                     "VEMLO_S3_SECRET_KEY=" + benchmarks::kS3Account.secretKey,
                     "VEMLO_S3_REGION=" + benchmarks::kS3Account.region}};
  Command tlsTool = plainTool;
  plainTool.environment.push_back("VEMLO_S3_ENDPOINT=http://127.0.0.1:" + port);
  tlsTool.environment.push_back("VEMLO_S3_ENDPOINT=https://127.0.0.1:" + port);
  tlsTool.environment.push_back("SSL_CERT_FILE=" + identity.trustedFile());

  const bool isPlainKept =
      compare("10 folders over plain HTTP", plainBare, std::move(plainTool), rounds);
  std::printf("\n");
  const bool isTlsKept = compare("10 folders over TLS, with the system's certificates", tlsBare,
                                 std::move(tlsTool), rounds);
  return isPlainKept && isTlsKept;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Runs `vemlo s3 ls` beside a program that does the same with libcurl alone, both as new "
      "processes. Ends with 1 if the command takes longer than it may.");
  std::string folder = std::filesystem::canonical("/proc/self/exe").parent_path();
  int rounds = 61;
  app.add_option("--programs", folder, "Folder with both programs")->capture_default_str();
  app.add_option("--rounds", rounds, "Rounds")->check(CLI::PositiveNumber)->capture_default_str();
  CLI11_PARSE(app, argc, argv);
  try {
    return run(folder, rounds) ? 0 : 1;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "cold_start: %s\n", exception.what());
    return 2;
  }
}
