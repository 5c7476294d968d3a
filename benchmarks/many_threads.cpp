#include <CLI/CLI.hpp>
#include <atomic>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "listing.h"
#include "stopwatch.h"

namespace {

using benchmarks::Listing;
using benchmarks::PageServer;
using benchmarks::Records;
using benchmarks::TlsIdentity;

constexpr double kWallLimit = 1.1;

struct Effort {
  int threads = 16;
  int rounds = 11;
};

/// A way that all threads use at once, with a server of its own.
struct Contender {
  std::string description;
  PageServer server;
  std::vector<std::function<Records()>> lists = {};  // one for each thread
  std::vector<double> wall = {};
  std::vector<double> cpu = {};
  unsigned mostConnections = 0;

  Contender(const std::string& itsDescription, const Listing& listing, const TlsIdentity& identity)
      : description(itsDescription), server(listing.makeSite, identity) {}
};

void runThreads(const Contender& contender, int calls) {
  std::atomic<bool> hasFailed{false};
  std::vector<std::thread> threads;
  for (const auto& list : contender.lists) {
    threads.emplace_back([&list, &hasFailed, calls] {
      try {
        for (int i = 0; i < calls; ++i) list();
      } catch (const std::exception&) {
        hasFailed = true;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  if (hasFailed) throw std::runtime_error("a thread did not get its listing");
}

void measureRound(Contender& contender, int calls) {
  const unsigned before = contender.server.connections();
  const benchmarks::Stopwatch stopwatch;
  runThreads(contender, calls);
  const benchmarks::Cost cost = stopwatch.elapsed();
  contender.wall.push_back(cost.wall.count());
  contender.cpu.push_back(cost.cpu.count());
  contender.mostConnections =
      std::max(contender.mostConnections, contender.server.connections() - before);
}

void printContender(const Contender& contender, int calls) {
  const auto count = static_cast<double>(contender.lists.size()) * calls;
  std::printf("%-38s %12.1f %12.1f %20u\n", contender.description.c_str(),
              benchmarks::median(contender.cpu) / count, benchmarks::median(contender.wall) / count,
              contender.mostConnections);
}

const char* verdict(bool isKept) { return isKept ? "kept" : "NOT KEPT"; }

bool printVerdict(const Contender& bare, const Contender& library, std::size_t threads) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < bare.wall.size(); ++i) {
    ratios.push_back(library.wall[i] / bare.wall[i]);
  }
  const double ratio = benchmarks::median(std::move(ratios));
  const bool isWallKept = ratio <= kWallLimit;
  const bool areConnectionsKept = library.mostConnections <= threads;
  std::printf(
      "Wall time of the library in relation to the line above it: %.2f (at most %.2f: %s)\n", ratio,
      kWallLimit, verdict(isWallKept));
  std::printf("At most one connection for each thread: %s\n", verdict(areConnectionsKept));
  return isWallKept && areConnectionsKept;
}

bool measure(const Listing& listing, int calls, const Effort& effort, const TlsIdentity& identity) {
  const auto threads = static_cast<std::size_t>(effort.threads);
  Contender bare("as many bare handles", listing, identity);
  Contender library("one session of the library", listing, identity);
  for (std::size_t i = 0; i < threads; ++i) {
    bare.lists.push_back(listing.ways[benchmarks::kYardstick].open(
        benchmarks::routeTo(bare.server, listing, identity)));
  }
  const auto shared = listing.ways[benchmarks::kLibrary].open(
      benchmarks::routeTo(library.server, listing, identity));
  library.lists.assign(threads, shared);

  std::printf("%s, %d threads, %d calls each, %d rounds; medians of the rounds\n",
              listing.title.c_str(), effort.threads, calls, effort.rounds);
  runThreads(bare, 1);  // connects
  runThreads(library, 1);
  for (int round = 0; round < effort.rounds; ++round) {
    measureRound(round % 2 == 0 ? bare : library, calls);
    measureRound(round % 2 == 0 ? library : bare, calls);
  }
  std::printf("%-38s %12s %12s %20s\n", "", "CPU us/call", "wall us/call", "new connections");
  printContender(bare, calls);
  printContender(library, calls);
  return printVerdict(bare, library, threads);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Has many threads get listings from a page server on this machine at once: each with a "
      "libcurl handle of its own, and all through one session of the library. Ends with 1 if the "
      "library takes longer than it may.");
  Effort effort;
  app.add_option("--threads", effort.threads, "Threads")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--rounds", effort.rounds, "Rounds")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  CLI11_PARSE(app, argc, argv);
  try {
    const TlsIdentity identity;
    const bool isPlainKept = measure(benchmarks::s3Buckets({1000}, benchmarks::Route::Kind::Plain),
                                     100, effort, identity);
    std::printf("\n");
    const bool isTlsKept = measure(benchmarks::googleDriveFolders({2000}), 50, effort, identity);
    return isPlainKept && isTlsKept ? 0 : 1;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "many_threads: %s\n", exception.what());
    return 2;
  }
}
