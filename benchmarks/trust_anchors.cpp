#include <openssl/ssl.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "Http/TrustAnchors.h"
#include "stopwatch.h"

namespace {

using benchmarks::Cost;
using CloudStorage::Http::TrustAnchors;
using TlsContext = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;

Cost applyToNewContexts(TrustAnchors& anchors, int contexts) {
  Cost total;
  for (int i = 0; i < contexts; ++i) {
    const TlsContext context(SSL_CTX_new(TLS_client_method()), &SSL_CTX_free);
    const benchmarks::Stopwatch stopwatch;
    const auto status = anchors.applyTo(context.get());
    const Cost cost = stopwatch.elapsed();
    if (!status.isSuccess()) throw std::runtime_error(status.toString());
    total = {total.cpu + cost.cpu, total.wall + cost.wall};
  }
  return total / contexts;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Hands the process's trusted certificates to new TLS contexts, one per handle.");
  int contexts = 1000;
  app.add_option("--contexts", contexts, "TLS contexts after the first")
      ->check(CLI::PositiveNumber)
      ->capture_default_str();
  CLI11_PARSE(app, argc, argv);

  try {
    TrustAnchors anchors(TrustAnchors::sourcesFromEnvironment());
    const Cost first = applyToNewContexts(anchors, 1);
    const Cost further = applyToNewContexts(anchors, contexts);
    std::printf("%-42s %12s %12s\n", "trusted certificates for a handle", "CPU us", "wall us");
    std::printf("%-42s %12.1f %12.1f\n", "the process's first, reads them", first.cpu.count(),
                first.wall.count());
    std::printf("%-42s %12.1f %12.1f\n", "each further one, shares them", further.cpu.count(),
                further.wall.count());
    std::printf("read %d time(s) for %d handles\n", anchors.loadCount(), contexts + 1);
    return anchors.loadCount() == 1 ? 0 : 1;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "trust_anchors: %s\n", exception.what());
    return 2;
  }
}
