#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bare_s3_client.h"
#include "libvemlo.h"
#include "page_server.h"
#include "stopwatch.h"

namespace {

using benchmarks::BareS3Client;
using benchmarks::Cost;
using benchmarks::PageServer;

constexpr int kBuckets = 1000;
constexpr double kLimit = 1.3;

const BareS3Client::Account kAccount{"eu-central-1", "AKIDBENCHMARK0000001",
                                     "benchmark/secret/of/forty/characters/000"};

struct Options {
  int rounds = 201;
  int calls = 5;  // short, so that few rounds meet a change of process
  std::string only;
};

std::string bucketName(int number) { return "team-archive-" + std::to_string(100'000 + number); }

std::string bucketPage() {
  std::string page =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<ListAllMyBucketsResult xmlns=\"http://s3.amazonaws.com/doc/2006-03-01/\">"
      "<Owner><ID>1f2e3d4c5b6a</ID><DisplayName>benchmark</DisplayName></Owner><Buckets>";
  for (int i = 0; i < kBuckets; ++i) {
    page += "<Bucket><Name>" + bucketName(i) +
            "</Name><CreationDate>2024-02-29T08:30:15.000Z</CreationDate></Bucket>";
  }
  return page + "</Buckets></ListAllMyBucketsResult>";
}

// Only the ends: a look at every name would be paid for by whoever is measured.
void checkAndFree(char** buckets, int count) {
  const bool complete = count == kBuckets && bucketName(0) == buckets[0] &&
                        bucketName(kBuckets - 1) == buckets[kBuckets - 1];
  free_buckets(buckets, count);
  if (!complete) throw std::runtime_error("the list is not the one that was served");
}

/// One way of listing the buckets, with a server of its own, so that its connections are known.
struct Contender {
  std::string name;
  std::string description;
  std::function<void()> list;
  PageServer& server;
  std::vector<Cost> rounds;  // per call
};

void measureRound(Contender& contender, int calls) {
  const benchmarks::Stopwatch stopwatch;
  for (int i = 0; i < calls; ++i) contender.list();
  contender.rounds.push_back(stopwatch.elapsed() / calls);
}

// Whatever else the machine does meets all contenders alike: they take turns, and each is first in
// as many rounds as the others.
void measure(std::vector<Contender>& contenders, const Options& options) {
  for (Contender& contender : contenders) contender.list();  // connects
  for (std::size_t round = 0; round < static_cast<std::size_t>(options.rounds); ++round) {
    for (std::size_t turn = 0; turn < contenders.size(); ++turn) {
      measureRound(contenders[(round + turn) % contenders.size()], options.calls);
    }
  }
}

double medianOf(const Contender& contender, benchmarks::Microseconds Cost::*figure) {
  std::vector<double> values;
  for (const Cost& round : contender.rounds) values.push_back((round.*figure).count());
  return benchmarks::median(std::move(values));
}

// Of the rounds' own ratios: what slows a round down is in both of its figures.
double cpuRatio(const Contender& contender, const Contender& yardstick) {
  std::vector<double> ratios;
  for (std::size_t round = 0; round < contender.rounds.size(); ++round) {
    ratios.push_back(contender.rounds[round].cpu / yardstick.rounds[round].cpu);
  }
  return benchmarks::median(std::move(ratios));
}

void printTable(const std::vector<Contender>& contenders) {
  std::printf("%-42s %12s %12s %8s %12s\n", "", "CPU us/call", "wall us/call", "calls",
              "connections");
  for (const Contender& contender : contenders) {
    std::printf("%-42s %12.1f %12.1f %8u %12u\n", contender.description.c_str(),
                medianOf(contender, &Cost::cpu), medianOf(contender, &Cost::wall),
                contender.server.requests(), contender.server.connections());
  }
}

/// Whether the library keeps what it promises.
bool judge(const Contender& library, const Contender& yardstick) {
  const double ratio = cpuRatio(library, yardstick);
  const bool cheap = ratio <= kLimit;
  const bool frugal = library.server.connections() == 1;
  std::printf("CPU of s3_list_bucket in relation to the line above it: %.2f (at most %.2f: %s)\n",
              ratio, kLimit, cheap ? "kept" : "NOT KEPT");
  std::printf("One connection for sequential calls: %s\n", frugal ? "kept" : "NOT KEPT");
  return cheap && frugal;
}

void listThroughLibrary(session* handle) {
  char** buckets = nullptr;
  int count = 0;
  if (s3_list_bucket(handle, &buckets, &count) != 0) throw std::runtime_error("the call failed");
  checkAndFree(buckets, count);
}

using SessionHandle = std::unique_ptr<session, decltype(&libvemlo_s3_cleanup)>;

SessionHandle openSession(std::uint16_t port) {
  const std::string endpoint = "http://127.0.0.1:" + std::to_string(port);
  return {libvemlo_s3_init(endpoint.c_str(), kAccount.region.c_str(), kAccount.accessKey.c_str(),
                           kAccount.secretKey.c_str(), nullptr),
          &libvemlo_s3_cleanup};
}

int run(const Options& options) {
  const std::string page = bucketPage();
  std::array<PageServer, 3> servers{PageServer(page), PageServer(page), PageServer(page)};

  libvemlo_global_init();
  const SessionHandle handle = openSession(servers[2].port());
  BareS3Client dropping(servers[0].port(), kAccount);
  BareS3Client listing(servers[1].port(), kAccount);

  std::vector<Contender> contenders = {
      {"drop", "libcurl + signing, page dropped", [&] { dropping.fetchAndDrop(); }, servers[0], {}},
      {"bare",
       "libcurl + signing + pugixml + records",
       [&] {
         int count = 0;
         char** buckets = listing.listBuckets(count);
         checkAndFree(buckets, count);
       },
       servers[1],
       {}},
      {"library", "s3_list_bucket", [&] { listThroughLibrary(handle.get()); }, servers[2], {}},
  };

  std::printf("%d buckets, a page of %zu bytes, %d rounds of %d calls; medians of the rounds\n",
              kBuckets, page.size(), options.rounds, options.calls);
  if (!options.only.empty()) {
    std::vector<Contender> chosen;
    for (Contender& contender : contenders) {
      if (contender.name == options.only) chosen.push_back(contender);
    }
    measure(chosen, options);
    printTable(chosen);
    return 0;
  }
  measure(contenders, options);
  printTable(contenders);
  return judge(contenders[2], contenders[1]) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Lists 1,000 buckets from a page server on this machine: with libcurl alone and through the "
      "library. Ends with 1 if the library costs more than it may.");
  Options options;
  app.add_option("--rounds", options.rounds, "Rounds")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--calls", options.calls, "Calls of each contender in a round")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  app.add_option("--only", options.only, "Run one contender, without a verdict (for profilers)")
      ->check(CLI::IsMember({"drop", "bare", "library"}));
  CLI11_PARSE(app, argc, argv);
  try {
    const int result = run(options);
    libvemlo_global_cleanup();
    return result;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "list_buckets: %s\n", exception.what());
    return 2;
  }
}
