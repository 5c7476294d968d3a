#include <CLI/CLI.hpp>
#include <cstdio>
#include <utility>
#include <vector>

#include "libvemlo.h"
#include "stopwatch.h"

namespace {

using benchmarks::Cost;

void openAndClose() {
  libvemlo_s3_cleanup(libvemlo_s3_init("https://127.0.0.1", "eu-central-1", "AKIDBENCHMARK0000001",
                                       "benchmark/secret/of/forty/characters/000", nullptr));
}

Cost measure(int sessions) {
  const benchmarks::Stopwatch stopwatch;
  for (int i = 0; i < sessions; ++i) openAndClose();
  return stopwatch.elapsed() / sessions;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Opens and closes S3 sessions for an https endpoint. No connection is made and no trusted "
      "certificate read.");
  int rounds = 41;
  int sessions = 100;
  app.add_option("--rounds", rounds, "Rounds")->check(CLI::PositiveNumber)->capture_default_str();
  app.add_option("--sessions", sessions, "Sessions in a round")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  CLI11_PARSE(app, argc, argv);

  libvemlo_global_init();
  const Cost first = measure(1);
  std::vector<double> cpu;
  std::vector<double> wall;
  for (int round = 0; round < rounds; ++round) {
    const Cost cost = measure(sessions);
    cpu.push_back(cost.cpu.count());
    wall.push_back(cost.wall.count());
  }
  libvemlo_global_cleanup();

  std::printf("%-42s %12s %12s\n", "opening and closing a session", "CPU us", "wall us");
  std::printf("%-42s %12.1f %12.1f\n", "the process's first, log set-up included",
              first.cpu.count(), first.wall.count());
  std::printf("%-42s %12.1f %12.1f\n", "each further one, median of the rounds",
              benchmarks::median(std::move(cpu)), benchmarks::median(std::move(wall)));
  return 0;
}
