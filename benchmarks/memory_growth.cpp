#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <exception>
#include <functional>

#include "memory_use.h"

namespace {

using benchmarks::Listing;
using benchmarks::ListingSize;
using benchmarks::MemoryUse;

// The part of additionally received bytes by which the peak may grow, for a listing of many pages.
// A single page is in memory as a whole.
constexpr double kLimitForPages = 0.1;
// The part by which the held memory may differ, for example for the buffer of a longer page.
constexpr double kLimitForHeld = 0.05;

struct Subject {
  std::function<Listing(const ListingSize&)> make;
  ListingSize size;
  int padding;
  bool isPaged;
};

const Subject kSubjects[] = {
    {[](const ListingSize& size) {
       return benchmarks::s3Prefixes(size, benchmarks::Route::Kind::Plain);
     },
     {500},
     1000,
     false},
    {benchmarks::azureContainers, {20'000}, 1000, true},
    {benchmarks::googleDriveFolders, {50'000}, 400, true},
    {benchmarks::dropboxFolders, {50'000}, 400, true},
};

MemoryUse measure(const Subject& subject, const ListingSize& size,
                  const benchmarks::TlsIdentity& identity) {
  const Listing listing = subject.make(size);
  const MemoryUse use =
      benchmarks::measureMemory(listing, listing.ways[benchmarks::kLibrary], identity);
  std::printf("%-40s %14ld %10ld %10ld\n", listing.title.c_str(), use.receivedKibibytes,
              use.heldKibibytes, use.peakKibibytes);
  return use;
}

const char* verdict(bool isKept) { return isKept ? "kept" : "NOT KEPT"; }

double ratio(long value, long base) {
  return static_cast<double>(value) / static_cast<double>(base);
}

bool printVerdict(const Subject& subject, const MemoryUse& usual, const MemoryUse& longer,
                  const MemoryUse& more) {
  const double held = ratio(longer.heldKibibytes, usual.heldKibibytes);
  const double doubled = ratio(more.heldKibibytes, usual.heldKibibytes);
  const bool isHeldKept = std::abs(held - 1) <= kLimitForHeld && std::abs(doubled - 2) <= 0.1;
  std::printf(
      "Held grows with the entries (%.2f times for twice as many), not with what is "
      "received (%.2f times): %s\n",
      doubled, held, verdict(isHeldKept));
  if (!subject.isPaged) return isHeldKept;
  const double peak = ratio(longer.peakKibibytes - usual.peakKibibytes,
                            longer.receivedKibibytes - usual.receivedKibibytes);
  const bool isPeakKept = peak <= kLimitForPages;
  std::printf("Of what is received in addition, the peak grows by: %.2f (at most %.2f: %s)\n", peak,
              kLimitForPages, verdict(isPeakKept));
  return isHeldKept && isPeakKept;
}

bool run() {
  const benchmarks::TlsIdentity identity;
  bool isKept = true;
  for (const Subject& subject : kSubjects) {
    std::printf("%-40s %14s %10s %10s\n", "KiB", "received", "held", "peak");
    const MemoryUse usual = measure(subject, subject.size, identity);
    const MemoryUse longer = measure(subject, {subject.size.entries, subject.padding}, identity);
    const MemoryUse more = measure(subject, {2 * subject.size.entries}, identity);
    isKept = printVerdict(subject, usual, longer, more) && isKept;
    std::printf("\n");
  }
  return isKept;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "Gets listings through the library: one, the same with more bytes around each entry, and one "
      "of twice as many entries. Prints what is held in memory afterwards, and at the peak. Ends "
      "with 1 if it is more than it may be.");
  CLI11_PARSE(app, argc, argv);
  try {
    return run() ? 0 : 1;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "memory_growth: %s\n", exception.what());
    return 2;
  }
}
