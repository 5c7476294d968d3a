#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "listing.h"
#include "memory_use.h"
#include "stopwatch.h"

namespace {

using benchmarks::Cost;
using benchmarks::Listing;
using benchmarks::ListingSize;
using benchmarks::ListingWay;
using benchmarks::Microseconds;
using benchmarks::PageServer;
using benchmarks::Records;
using benchmarks::TlsIdentity;

constexpr double kCpuLimit = 1.3;
constexpr long kPeakLimitKibibytes = 20L * 1024;
constexpr std::array<const char*, 3> kWayNames = {"drop", "bare", "library"};

/// Rounds are short, so that few of them are interrupted by other processes.
struct Effort {
  int rounds;
  int calls;
};

struct Choice {
  std::function<Listing()> make;
  Effort effort;
};

const std::map<std::string, Choice> kChoices = {
    {"s3-buckets",
     {[] { return benchmarks::s3Buckets({1000}, benchmarks::Route::Kind::Plain); }, {201, 5}}},
    {"s3-prefixes",
     {[] { return benchmarks::s3Prefixes({1000}, benchmarks::Route::Kind::Plain); }, {201, 5}}},
    {"azure-containers", {[] { return benchmarks::azureContainers({20'000}); }, {51, 1}}},
    {"google-drive", {[] { return benchmarks::googleDriveFolders({50'000}); }, {51, 1}}},
    {"one-drive", {[] { return benchmarks::oneDriveFolders({50'000}); }, {51, 1}}},
    {"dropbox", {[] { return benchmarks::dropboxFolders({50'000}); }, {51, 1}}},
    {"amazon-drive", {[] { return benchmarks::amazonDriveFolders({50'000}); }, {51, 1}}},
};

struct Options {
  std::string listing;
  int rounds = 0;
  int calls = 0;
  std::string only;
};

/// A way that is measured, with a server of its own, which counts its connections.
struct Contender {
  const ListingWay& way;
  PageServer server;
  std::function<Records()> list;
  long peakKibibytes = 0;
  std::vector<Cost> rounds;  // per call

  Contender(const ListingWay& itsWay, const Listing& listing, const TlsIdentity& identity)
      : way(itsWay), server(listing.makeSite, identity) {}
};

using Contenders = std::vector<std::unique_ptr<Contender>>;

void measureRound(Contender& contender, int calls) {
  const benchmarks::Stopwatch stopwatch;
  for (int i = 0; i < calls; ++i) contender.list();
  contender.rounds.push_back(stopwatch.elapsed() / calls);
}

// The contenders take turns, and each is first in equally many rounds, so that other load on the
// machine affects all of them alike.
void measureTime(const Listing& listing, const TlsIdentity& identity, Contenders& contenders,
                 const Effort& effort) {
  for (auto& contender : contenders) {
    contender->list =
        contender->way.open(benchmarks::routeTo(contender->server, listing, identity));
    contender->list();  // connects
  }
  for (std::size_t round = 0; round < static_cast<std::size_t>(effort.rounds); ++round) {
    for (std::size_t turn = 0; turn < contenders.size(); ++turn) {
      measureRound(*contenders[(round + turn) % contenders.size()], effort.calls);
    }
  }
}

double medianOf(const Contender& contender, Microseconds Cost::*figure) {
  std::vector<double> values;
  for (const Cost& round : contender.rounds) values.push_back((round.*figure).count());
  return benchmarks::median(std::move(values));
}

// The median of the rounds' ratios: what slows down a round affects both of its figures.
double cpuRatio(const Contender& contender, const Contender& yardstick) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < contender.rounds.size(); ++round) {
    ratios.push_back(contender.rounds[round].cpu / yardstick.rounds[round].cpu);
  }
  return benchmarks::median(std::move(ratios));
}

void printTable(const Listing& listing, const Contenders& contenders, const Effort& effort) {
  const PageServer& server = contenders[benchmarks::kLibrary]->server;
  const double entries = static_cast<double>(listing.entries) * (1 + effort.rounds * effort.calls);
  std::printf("%s, %.0f bytes received for each, %d rounds of %d calls; medians of the rounds\n",
              listing.title.c_str(), static_cast<double>(server.bytesSent()) / entries,
              effort.rounds, effort.calls);
  std::printf("%-38s %12s %12s %9s %9s %12s\n", "", "CPU us/call", "wall us/call", "peak KiB",
              "requests", "connections");
  for (const auto& contender : contenders) {
    std::printf("%-38s %12.1f %12.1f %9ld %9u %12u\n", contender->way.description.c_str(),
                medianOf(*contender, &Cost::cpu), medianOf(*contender, &Cost::wall),
                contender->peakKibibytes, contender->server.requests(),
                contender->server.connections());
  }
}

const char* verdict(bool isKept) { return isKept ? "kept" : "NOT KEPT"; }

/// Prints and returns whether the library is within the limits.
bool printVerdict(const Listing& listing, const Contender& library, const Contender& yardstick) {
  const double ratio = cpuRatio(library, yardstick);
  const bool isCpuKept = ratio <= kCpuLimit;
  const bool isPeakKept = library.peakKibibytes <= kPeakLimitKibibytes;
  const bool areConnectionsKept = library.server.connections() == listing.hosts;
  std::printf("CPU of %s in relation to the line above it: %.2f (at most %.2f: %s)\n",
              library.way.description.c_str(), ratio, kCpuLimit, verdict(isCpuKept));
  std::printf("Memory above an idle process: %.1f MiB (at most %ld: %s)\n",
              static_cast<double>(library.peakKibibytes) / 1024, kPeakLimitKibibytes / 1024,
              verdict(isPeakKept));
  std::printf("One connection for sequential calls to a host, of which there are %u: %s\n",
              listing.hosts, verdict(areConnectionsKept));
  return isCpuKept && isPeakKept && areConnectionsKept;
}

int run(const Options& options) {
  const Choice& choice = kChoices.at(options.listing);
  const Effort effort{options.rounds > 0 ? options.rounds : choice.effort.rounds,
                      options.calls > 0 ? options.calls : choice.effort.calls};
  const Listing listing = choice.make();
  const TlsIdentity identity;
  const bool all = options.only.empty();
  Contenders contenders;
  for (std::size_t i = 0; i < kWayNames.size(); ++i) {
    if (!all && options.only != kWayNames[i]) continue;
    contenders.push_back(std::make_unique<Contender>(listing.ways[i], listing, identity));
  }
  // First, because this forks: the process must have one thread and a small heap.
  for (std::size_t i = 0; all && i < contenders.size(); ++i) {
    contenders[i]->peakKibibytes =
        benchmarks::measureMemory(listing, contenders[i]->way, identity).peakKibibytes;
  }
  measureTime(listing, identity, contenders, effort);
  if (!all) return 0;
  printTable(listing, contenders, effort);
  const Contender& library = *contenders[benchmarks::kLibrary];
  return printVerdict(listing, library, *contenders[benchmarks::kYardstick]) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Gets a listing from a page server on this machine: with libcurl alone and through the "
      "library. Ends with 1 if the library costs more than it may.");
  std::set<std::string> names;
  for (const auto& [name, choice] : kChoices) names.insert(name);
  Options options;
  app.add_option("LISTING", options.listing, "What to list")
      ->required()
      ->check(CLI::IsMember(names));
  app.add_option("--rounds", options.rounds, "Rounds; as many as the listing needs if not given")
      ->check(CLI::PositiveNumber);
  app.add_option("--calls", options.calls, "Calls of each way in a round; likewise")
      ->check(CLI::PositiveNumber);
  app.add_option("--only", options.only, "Go one way only, without figures (for profilers)")
      ->check(CLI::IsMember(std::vector<std::string>(kWayNames.begin(), kWayNames.end())));
  CLI11_PARSE(app, argc, argv);
  try {
    return run(options);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "listings: %s\n", exception.what());
    return 2;
  }
}
