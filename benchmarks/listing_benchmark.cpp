#include "listing_benchmark.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include "page_server.h"
#include "peak_memory.h"
#include "stopwatch.h"

namespace benchmarks {
namespace {

constexpr double kLimit = 1.3;
constexpr std::array<const char*, 3> kNames = {"drop", "bare", "library"};
constexpr std::size_t kYardstick = 1;
constexpr std::size_t kLibrary = 2;

struct Options {
  int rounds = 201;
  int calls = 5;  // short, so that few rounds meet a change of process
  std::string only;
};

/// A way at work, with a server of its own, so that its connections are known.
struct Contender {
  const ListingWay& way;
  PageServer server;
  std::function<void()> list;
  long peakKibibytes = 0;
  std::vector<Cost> rounds;  // per call

  Contender(const ListingWay& itsWay, const std::function<std::string()>& makePage)
      : way(itsWay), server(makePage) {}
};

using Contenders = std::vector<std::unique_ptr<Contender>>;

// A process of its own each, since a heap never forgets what it has been used for.
void measureMemory(const ListingBenchmark& benchmark, Contenders& contenders) {
  constexpr int kCalls = 10;
  for (auto& contender : contenders) {
    const PageServer server(benchmark.makePage);
    contender->peakKibibytes = peakAboveIdle([&]() -> std::function<void()> {
      return [list = contender->way.open(server.port())] {
        for (int i = 0; i < kCalls; ++i) list();
      };
    });
  }
}

void measureRound(Contender& contender, int calls) {
  const Stopwatch stopwatch;
  for (int i = 0; i < calls; ++i) contender.list();
  contender.rounds.push_back(stopwatch.elapsed() / calls);
}

// Whatever else the machine does meets all contenders alike: they take turns, and each is first in
// as many rounds as the others.
void measureTime(Contenders& contenders, const Options& options) {
  for (auto& contender : contenders) {
    contender->list = contender->way.open(contender->server.port());
    contender->list();  // connects
  }
  for (std::size_t round = 0; round < static_cast<std::size_t>(options.rounds); ++round) {
    for (std::size_t turn = 0; turn < contenders.size(); ++turn) {
      measureRound(*contenders[(round + turn) % contenders.size()], options.calls);
    }
  }
}

double medianOf(const Contender& contender, Microseconds Cost::*figure) {
  std::vector<double> values;
  for (const Cost& round : contender.rounds) values.push_back((round.*figure).count());
  return median(std::move(values));
}

// Of the rounds' own ratios: what slows a round down is in both of its figures.
double cpuRatio(const Contender& contender, const Contender& yardstick) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < contender.rounds.size(); ++round) {
    ratios.push_back(contender.rounds[round].cpu / yardstick.rounds[round].cpu);
  }
  return median(std::move(ratios));
}

void printTable(const ListingBenchmark& benchmark, const Contenders& contenders,
                const Options& options) {
  std::printf("%s, a page of %zu bytes, %d rounds of %d calls; medians of the rounds\n",
              benchmark.title.c_str(), benchmark.makePage().size(), options.rounds, options.calls);
  std::printf("%-38s %12s %12s %9s %7s %12s\n", "", "CPU us/call", "wall us/call", "peak KiB",
              "calls", "connections");
  for (const auto& contender : contenders) {
    std::printf("%-38s %12.1f %12.1f %9ld %7u %12u\n", contender->way.description.c_str(),
                medianOf(*contender, &Cost::cpu), medianOf(*contender, &Cost::wall),
                contender->peakKibibytes, contender->server.requests(),
                contender->server.connections());
  }
}

/// Whether the library keeps what it promises.
bool judge(const Contender& library, const Contender& yardstick) {
  const double ratio = cpuRatio(library, yardstick);
  const bool cheap = ratio <= kLimit;
  const bool frugal = library.server.connections() == 1;
  std::printf("CPU of %s in relation to the line above it: %.2f (at most %.2f: %s)\n",
              library.way.description.c_str(), ratio, kLimit, cheap ? "kept" : "NOT KEPT");
  std::printf("One connection for sequential calls: %s\n", frugal ? "kept" : "NOT KEPT");
  return cheap && frugal;
}

int run(const ListingBenchmark& benchmark, const Options& options) {
  const bool all = options.only.empty();
  Contenders contenders;
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (!all && options.only != kNames[i]) continue;
    contenders.push_back(std::make_unique<Contender>(benchmark.ways[i], benchmark.makePage));
  }
  // First, as long as this process is as good as new and has one thread only.
  if (all) measureMemory(benchmark, contenders);
  measureTime(contenders, options);
  if (!all) return 0;
  printTable(benchmark, contenders, options);
  return judge(*contenders[kLibrary], *contenders[kYardstick]) ? 0 : 1;
}

}  // namespace

int runListingBenchmark(const ListingBenchmark& benchmark, int argc, char** argv) {
  CLI::App app("Lists " + benchmark.title +
               " from a page server on this machine: with libcurl alone and through the library. "
               "Ends with 1 if the library costs more than it may.");
  Options options;
  app.add_option("--rounds", options.rounds, "Rounds")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--calls", options.calls, "Calls of each contender in a round")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--only", options.only, "Run one contender, without figures (for profilers)")
      ->check(CLI::IsMember(std::vector<std::string>(kNames.begin(), kNames.end())));
  CLI11_PARSE(app, argc, argv);
  try {
    return run(benchmark, options);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s: %s\n", benchmark.program.c_str(), exception.what());
    return 2;
  }
}

}  // namespace benchmarks
