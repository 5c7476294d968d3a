// Lists folders of all services again and again, from many threads, while tokens expire and
// connections end. Fails if a listing does, or if the process grows.

#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iostream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "loopback.h"
#include "process_use.h"
#include "service.h"
#include "soak_server.h"
#include "support/sanitizers.h"

namespace Soak {
namespace {

using Behaviour::Service;

constexpr std::size_t kFolders = 20;

struct Options {
  std::size_t listings = 1'000'000;
  std::size_t threads = 64;
};

std::size_t numberIn(const std::string& text) {
  std::size_t number = 0;
  const char* end = text.data() + text.size();
  if (std::from_chars(text.data(), end, number).ptr != end || number == 0) {
    throw std::invalid_argument("not a number: " + text);
  }
  return number;
}

Options optionsIn(const std::vector<std::string>& words) {
  Options options;
  for (std::size_t i = 0; i + 1 < words.size(); i += 2) {
    if (words[i] == "--listings") {
      options.listings = numberIn(words[i + 1]);
    } else if (words[i] == "--threads") {
      options.threads = numberIn(words[i + 1]);
    } else {
      throw std::invalid_argument("unknown option " + words[i]);
    }
  }
  if (words.size() % 2 != 0) throw std::invalid_argument("an option has no value");
  return options;
}

/// A service with its server, and a session that all threads share.
class Account {
 public:
  explicit Account(const Service& service) : service_(service), server_(service) {}
  ~Account() {
    if (handle_ != nullptr) service_.facts.cleanup(handle_);
  }
  Account(const Account&) = delete;
  Account& operator=(const Account&) = delete;

  void open() {
    CloudStorage::Client::ClientEnvironment environment;
    environment.transport = std::make_shared<Behaviour::Detour>(server_.port());
    environment.now = std::chrono::system_clock::now;
    environment.sleep = [](std::chrono::milliseconds) {};  // retries follow at once
    handle_ = service_.open(environment);
    if (service_.authorize(handle_) != 0) throw std::runtime_error("a session is not authorized");
  }

  bool list() const {
    Behaviour::Outs outs;
    const auto operation = service_.listing();
    const std::size_t expected =
        service_.facts.listsAllPages ? kFolders : kFolders / 2;  // a page has half of them
    return operation.call(handle_, outs) == 0 &&
           static_cast<std::size_t>(outs.folders.count) == expected;
  }

  const Service& service() const { return service_; }
  const Counts& counts() const { return server_.counts(); }

 private:
  const Service& service_;
  SoakServer server_;
  session* handle_ = nullptr;
};

class Soak {
 public:
  explicit Soak(const Options& options) : options_(options) {
    for (const Service* service :
         {&Behaviour::s3(), &Behaviour::azureBlobs(), &Behaviour::amazonDrive(),
          &Behaviour::googleDrive(), &Behaviour::oneDrive(), &Behaviour::dropbox()}) {
      accounts_.emplace_back(*service);  // all servers before the first thread
    }
  }

  bool run() {
    for (Account& account : accounts_) account.open();
    start_ = currentUse();
    printUse("start", start_);
    const auto began = std::chrono::steady_clock::now();
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < options_.threads; ++i) {
      threads.emplace_back([this, i] { listRepeatedly(accounts_[i % accounts_.size()]); });
    }
    for (std::thread& thread : threads) thread.join();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - began;
    const ProcessUse end = currentUse();
    printUse("end", end);
    printCounts(seconds.count());
    return failures_ == 0 && !hasGrown(end) && hasRefreshed();
  }

 private:
  void listRepeatedly(const Account& account) {
    for (;;) {
      const std::size_t number = ++listings_;
      if (number > options_.listings) return;
      if (!account.list()) ++failures_;
      if (number == options_.listings / 10) {
        early_ = currentUse();
        printUse("after 10 %", early_);
      }
    }
  }

  static void printUse(const char* when, const ProcessUse& use) {
    std::printf("%-12s %8zu KiB %5zu descriptors\n", when, use.kibibytes, use.descriptors);
    std::fflush(stdout);
  }

  void printCounts(double seconds) const {
    std::printf("%zu listings, %zu failures, %zu threads, %.0f s\n", options_.listings,
                failures_.load(), options_.threads, seconds);
    for (const Account& account : accounts_) {
      const Counts& counts = account.counts();
      std::printf("%-12s %9zu requests %8zu connections %6zu token requests\n",
                  account.service().facts.name, counts.requests.load(), counts.connections.load(),
                  counts.refreshes.load());
    }
  }

  // At its end the process has neither threads nor calls. Whatever it has in use then beyond what
  // it had after a tenth, it would never release.
  bool hasGrown(const ProcessUse& end) const {
    constexpr std::size_t kToleratedKibibytes = 8192;
    constexpr std::size_t kDescriptorsPerThread = 4;  // a connection, and what libcurl waits with
    const bool hasMemory =
        !TestSupport::kIsSanitized && end.kibibytes > early_.kibibytes + kToleratedKibibytes;
    const bool hasDescriptors =
        end.descriptors > start_.descriptors + kDescriptorsPerThread * options_.threads;
    const bool grew = hasMemory || hasDescriptors;
    if (grew) std::printf("The process has grown.\n");
    return grew;
  }

  // Otherwise the run would not show what it should.
  bool hasRefreshed() const {
    std::size_t refreshes = 0;
    std::size_t connections = 0;
    for (const Account& account : accounts_) {
      refreshes += account.counts().refreshes;
      connections += account.counts().connections;
    }
    return refreshes > accounts_.size() && connections > options_.threads;
  }

  const Options options_;
  std::deque<Account> accounts_;
  std::atomic<std::size_t> listings_{0};
  std::atomic<std::size_t> failures_{0};
  ProcessUse start_;
  ProcessUse early_;
};

}  // namespace
}  // namespace Soak

int main(int argc, char** argv) {
  try {
    Soak::Soak soak(Soak::optionsIn({argv + 1, argv + argc}));
    return soak.run() ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& exception) {
    std::cerr << "soak: " << exception.what() << "\nusage: soak [--listings N] [--threads N]\n";
    return 2;
  }
}
