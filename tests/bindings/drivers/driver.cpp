// Carries out commands on standard input with the C++ binding, and writes their results to standard
// output. The lines are those that the drivers of all languages have in common.
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <libvemlo.hpp>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "cpp/lines.h"

namespace {

using Session = std::variant<vemlo::Drive, vemlo::S3, vemlo::AzureBlobs>;

constexpr std::array<std::pair<std::string_view, vemlo::Service>, 6> kServices{{
    {"s3", vemlo::Service::S3},
    {"azure", vemlo::Service::AzureBlobs},
    {"amazon-drive", vemlo::Service::AmazonDrive},
    {"google-drive", vemlo::Service::GoogleDrive},
    {"onedrive", vemlo::Service::OneDrive},
    {"dropbox", vemlo::Service::Dropbox},
}};

// A line that is no command.
[[noreturn]] void refuse(std::string_view reason) {
  std::cerr << "driver: " << reason << '\n';
  std::_Exit(2);
}

vemlo::Service serviceCalled(std::string_view word) {
  for (const auto& [name, service] : kServices) {
    if (name == word) return service;
  }
  refuse("no such service");
}

std::string_view wordOf(vemlo::Service service) {
  for (const auto& [name, number] : kServices) {
    if (number == service) return name;
  }
  return "";
}

vemlo::Proxy proxyOf(const std::string& host, const std::string& port) {
  return {host, static_cast<std::uint16_t>(std::stoi(port)), "", ""};
}

void show(const vemlo::Failure& failure) {
  const vemlo::FailureDetails& details = failure.details();
  Line("failed")
      .text(nameOf(details.kind))
      .text(details.service ? wordOf(*details.service) : "")
      .number(details.code)
      .number(details.error)
      .number(details.httpStatus)
      .number(details.retryAfter ? details.retryAfter->count() : -1)
      .text(details.operation)
      .text(details.serviceCode)
      .text(details.serviceMessage)
      .text(details.requestId)
      .write();
}

void show(const vemlo::RenewedTokens& renewed) {
  Line("renewed")
      .text(wordOf(renewed.service))
      .text(renewed.usedRefreshToken)
      .text(renewed.access)
      .text(renewed.refresh)
      .number(renewed.lifetime ? renewed.lifetime->count() : -1)
      .write();
}

// What one command does.
struct Command {
  std::vector<std::string> words;
  // What its call depends on.
  vemlo::Call call;
  // Whether results are counted only.
  bool isQuiet = false;

  const std::string& word(std::size_t index) const {
    if (index >= words.size()) refuse("an argument is missing");
    return words[index];
  }

  int number(std::size_t index) const { return std::atoi(word(index).c_str()); }

  // The command that follows the first `count` words.
  Command rest(std::size_t count) const {
    Command part = *this;
    if (words.size() <= count) refuse("a command is missing");
    part.words.erase(part.words.begin(), part.words.begin() + static_cast<std::ptrdiff_t>(count));
    return part;
  }

  void show(Line line) const {
    if (!isQuiet) line.write();
  }

  void show(std::string_view name, std::string_view id) const {
    show(Line("folder").text(name).text(id));
  }

  std::size_t show(const vemlo::Folders& folders) const {
    for (const auto folder : folders) show(folder.name(), folder.id());
    show(Line("cut").number(folders.isCutShort() ? 1 : 0));
    return folders.size();
  }

  std::size_t show(const vemlo::Names& names) const {
    for (const auto name : names) show(Line("bucket").text(name));
    show(Line("cut").number(names.isCutShort() ? 1 : 0));
    return names.size();
  }
};

// Triggers a cancellation later, unless it is destroyed before.
class Alarm {
 public:
  Alarm(vemlo::Cancellation& cancellation, std::chrono::milliseconds time)
      : thread_([this, &cancellation, time] {
          std::unique_lock<std::mutex> lock(mutex_);
          if (!ended_.wait_for(lock, time, [this] { return hasEnded_; })) cancellation.trigger();
        }) {}
  ~Alarm() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      hasEnded_ = true;
    }
    ended_.notify_one();
    thread_.join();
  }
  Alarm(const Alarm&) = delete;
  Alarm& operator=(const Alarm&) = delete;

 private:
  std::mutex mutex_;
  std::condition_variable ended_;
  bool hasEnded_ = false;
  std::thread thread_;
};

long residentKilobytes() {
  long all = 0;
  long pages = 0;
  std::ifstream("/proc/self/statm") >> all >> pages;
  return pages * (sysconf(_SC_PAGESIZE) / 1024);
}

class Driver {
 public:
  // Carries out a command and returns how many entries its results have. Throws what the binding
  // throws.
  std::size_t run(const Command& command) {
    static const std::map<std::string_view, std::size_t (Driver::*)(const Command&)> kCommands{
        {"library", &Driver::openLibrary},
        {"application", &Driver::keepApplication},
        {"trust", &Driver::keepTrust},
        {"open", &Driver::openSession},
        {"close", &Driver::closeSession},
        {"url", &Driver::showUrl},
        {"logout-url", &Driver::showLogoutUrl},
        {"link", &Driver::link},
        {"tokens", &Driver::setTokens},
        {"root", &Driver::showRoot},
        {"folders", &Driver::showFolders},
        {"list", &Driver::list},
        {"buckets", &Driver::showBuckets},
        {"create", &Driver::create},
        {"create-bucket", &Driver::createBucket},
        {"account", &Driver::showAccount},
        {"encrypt", &Driver::encrypt},
        {"decrypt", &Driver::decrypt},
        {"locations", &Driver::showLocations},
        {"within", &Driver::runWithin},
        {"cancel-after", &Driver::runCancelledAfter},
        {"cancel-at-request", &Driver::runCancelledAtRequest},
        {"threads", &Driver::runOnThreads},
        {"repeat", &Driver::runRepeatedly},
    };
    const auto found = kCommands.find(command.word(0));
    if (found == kCommands.end()) refuse("no such command");
    return (this->*found->second)(command);
  }

 private:
  template <typename Kind>
  Kind& session(const Command& command) {
    const auto found = sessions_.find(command.word(1));
    if (found == sessions_.end()) refuse("no such session");
    Kind* const session = std::get_if<Kind>(&found->second);
    if (session == nullptr) refuse("the session is one of another kind");
    return *session;
  }

  vemlo::Drive& drive(const Command& command) { return session<vemlo::Drive>(command); }

  bool isAzure(const Command& command) const {
    const auto found = sessions_.find(command.word(1));
    return found != sessions_.end() && std::holds_alternative<vemlo::AzureBlobs>(found->second);
  }

  bool isDrive(const Command& command) const {
    const auto found = sessions_.find(command.word(1));
    return found != sessions_.end() && std::holds_alternative<vemlo::Drive>(found->second);
  }

  // The process

  std::size_t openLibrary(const Command& command) {
    settings_.pkce = command.word(1) == "1";
    settings_.wholeS3Listings = command.word(2) == "1";
    settings_.durableDropboxTokens = command.word(3) == "1";
    settings_.tokensRenewed = [](const vemlo::RenewedTokens& renewed) { show(renewed); };
    library_.emplace(settings_);
    return 0;
  }

  std::size_t keepApplication(const Command& command) {
    settings_.applications.push_back(
        {serviceCalled(command.word(1)), command.word(2), command.word(3), command.word(4)});
    return 0;
  }

  std::size_t keepTrust(const Command& command) {
    settings_.trustFile = command.word(1);
    return 0;
  }

  // Sessions

  static Session opened(const Command& command) {
    const vemlo::Service service = serviceCalled(command.word(2));
    const vemlo::Proxy proxy = proxyOf(command.word(3), command.word(4));
    if (service == vemlo::Service::S3) {
      return vemlo::S3({command.word(5), command.word(6), command.word(7), command.word(8)}, proxy);
    }
    if (service == vemlo::Service::AzureBlobs) {
      return vemlo::AzureBlobs({command.word(5), command.word(6), command.word(7)}, proxy);
    }
    return vemlo::Drive(service, proxy);
  }

  std::size_t openSession(const Command& command) {
    sessions_.insert_or_assign(command.word(1), opened(command));
    return 0;
  }

  std::size_t closeSession(const Command& command) {
    sessions_.erase(command.word(1));
    return 0;
  }

  // Drives

  std::size_t showUrl(const Command& command) {
    command.show(Line("url").text(drive(command).authorizeUrl(command.word(2))));
    return 0;
  }

  std::size_t showLogoutUrl(const Command& command) {
    command.show(Line("url").text(drive(command).logoutUrl()));
    return 0;
  }

  std::size_t link(const Command& command) {
    const vemlo::Tokens tokens = drive(command).link(command.word(2), command.call);
    command.show(Line("tokens").text(tokens.access).text(tokens.refresh));
    return 0;
  }

  std::size_t setTokens(const Command& command) {
    drive(command).setTokens({command.word(2), command.word(3)});
    return 0;
  }

  std::size_t showRoot(const Command& command) {
    const vemlo::Folder root = drive(command).root(command.call);
    command.show(root.name, root.id);
    return 0;
  }

  std::size_t showFolders(const Command& command) {
    return command.show(drive(command).folders(command.word(2), command.call));
  }

  // Object stores

  std::size_t list(const Command& command) {
    const std::string& bucket = command.word(2);
    const std::string& prefix = command.word(3);
    if (isAzure(command)) {
      const auto& azure = session<vemlo::AzureBlobs>(command);
      return command.show(azure.folders(bucket, prefix, command.call));
    }
    return command.show(session<vemlo::S3>(command).folders(bucket, prefix, command.call));
  }

  std::size_t showBuckets(const Command& command) {
    if (isAzure(command)) {
      return command.show(session<vemlo::AzureBlobs>(command).containers(command.call));
    }
    return command.show(session<vemlo::S3>(command).buckets(command.call));
  }

  std::size_t createBucket(const Command& command) {
    const std::string& bucket = command.word(2);
    if (isAzure(command)) {
      session<vemlo::AzureBlobs>(command).createContainer(bucket, command.call);
    } else {
      session<vemlo::S3>(command).createBucket(bucket, command.number(3), command.call);
    }
    return 0;
  }

  std::size_t showLocations(const Command& command) {
    static const std::map<std::string_view, vemlo::Flavour> kFlavours{
        {"aws", vemlo::Flavour::Aws},
        {"china", vemlo::Flavour::China},
        {"wasabi", vemlo::Flavour::Wasabi},
        {"custom", vemlo::Flavour::Customized},
    };
    const auto flavour = kFlavours.find(command.word(1));
    if (flavour == kFlavours.end()) refuse("no such flavour");
    for (const vemlo::Location& location : vemlo::locationsOf(flavour->second)) {
      command.show(Line("location").number(location.code).text(location.name));
    }
    return 0;
  }

  // Both

  std::size_t create(const Command& command) {
    const std::string& parent = command.word(2);
    const std::string& name = command.word(3);
    if (isDrive(command)) {
      const vemlo::Folder created = drive(command).createFolder(parent, name, command.call);
      command.show(created.name, created.id);
    } else if (isAzure(command)) {
      session<vemlo::AzureBlobs>(command).createFolder(parent, name, command.call);
    } else {
      session<vemlo::S3>(command).createFolder(parent, name, command.call);
    }
    return 0;
  }

  // Without a session

  std::size_t showAccount(const Command& command) {
    const auto bytes = [](const std::optional<std::uint64_t>& number) {
      return number ? static_cast<std::int64_t>(*number) : -1;
    };
    const vemlo::Account account =
        vemlo::accountOf(serviceCalled(command.word(1)), {command.word(4), command.word(5)},
                         proxyOf(command.word(2), command.word(3)), command.call);
    command.show(Line("account")
                     .text(account.name)
                     .text(account.email)
                     .number(bytes(account.usedSpace))
                     .number(bytes(account.totalSpace)));
    return 0;
  }

  std::size_t encrypt(const Command& command) {
    command.show(Line("text").text(vemlo::encrypt(command.word(1))));
    return 0;
  }

  std::size_t decrypt(const Command& command) {
    command.show(Line("text").text(vemlo::decrypt(command.word(1))));
    return 0;
  }

  // Commands that contain a command

  std::size_t runWithin(const Command& command) {
    Command part = command.rest(2);
    part.call.deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(command.number(1));
    return run(part);
  }

  std::size_t runCancelledAfter(const Command& command) {
    Command part = command.rest(2);
    vemlo::Cancellation cancellation;
    part.call.cancellation = &cancellation;
    const Alarm alarm(cancellation, std::chrono::milliseconds(command.number(1)));
    return run(part);
  }

  std::size_t runCancelledAtRequest(const Command& command) {
    Command part = command.rest(2);
    const auto last = static_cast<std::uint64_t>(command.number(1));
    part.call.progress = [&](const vemlo::Progress& progress) {
      command.show(Line("progress")
                       .number(progress.requests)
                       .number(progress.bytes)
                       .number(progress.entries));
      return progress.requests < last;
    };
    return run(part);
  }

  // Runs a command several times, and returns how often it failed.
  int runTimes(const Command& command, int times, std::atomic<std::size_t>& entries) {
    int failures = 0;
    for (int i = 0; i < times; ++i) {
      try {
        entries += run(command);
      } catch (const vemlo::Failure&) {
        ++failures;
      }
    }
    return failures;
  }

  std::size_t runOnThreads(const Command& command) {
    Command part = command.rest(3);
    part.isQuiet = true;
    const int count = command.number(1);
    const int times = command.number(2);
    std::atomic<int> failures = 0;
    std::atomic<std::size_t> entries = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
      threads.emplace_back([&] { failures += runTimes(part, times, entries); });
    }
    for (std::thread& thread : threads) thread.join();
    Line("succeeded").number(count * times - failures).write();
    Line("entries").number(entries.load()).write();
    Line("failures").number(failures.load()).write();
    return 0;
  }

  std::size_t runRepeatedly(const Command& command) {
    Command part = command.rest(2);
    part.isQuiet = true;
    const int times = command.number(1);
    std::atomic<std::size_t> entries = 0;
    int failures = runTimes(part, times / 10, entries);
    const long before = residentKilobytes();
    failures += runTimes(part, times - times / 10, entries);
    Line("memory").number(before).number(residentKilobytes()).write();
    Line("failures").number(failures).write();
    return 0;
  }

  vemlo::Settings settings_;
  std::optional<vemlo::Library> library_;
  // Destroyed before the library.
  std::map<std::string, Session> sessions_;
};

}  // namespace

int main() {
  Driver driver;
  for (std::string line; std::getline(std::cin, line) && line != "quit";) {
    try {
      driver.run({wordsOf(line), {}, false});
      Line("done").write();
    } catch (const vemlo::Failure& failure) {
      show(failure);
    }
  }
}
