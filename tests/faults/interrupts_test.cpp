// Calls that a host cancels, or whose deadline passes, in every stage.

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "calls.h"
#include "fault.h"
#include "faulty_server.h"
#include "libvemlo_service_client.h"
#include "loopback.h"
#include "slow_lookup.h"
#include "support/log_capture.h"

namespace Faults {
namespace {

using namespace std::chrono_literals;
using Behaviour::Cloud;
using Behaviour::Service;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

/// A listener whose queue is full, so that connections to it are never established.
class FullListener {
 public:
  FullListener() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* name = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    ::bind(listener_, name, size);
    ::listen(listener_, 0);
    ::getsockname(listener_, name, &size);
    port_ = ntohs(address.sin_port);
    for (int& client : clients_) {
      client = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0);
      static_cast<void>(::connect(client, name, size));
    }
  }
  ~FullListener() {
    for (const int client : clients_) ::close(client);
    ::close(listener_);
  }
  FullListener(const FullListener&) = delete;
  FullListener& operator=(const FullListener&) = delete;

  std::uint16_t port() const { return port_; }

 private:
  int listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
  int clients_[3] = {-1, -1, -1};
  std::uint16_t port_ = 0;
};

/// The stage of a call in which it is ended.
enum class Stage { NameLookup, Connect, TlsHandshake, Response, Headers, Body, Delay };

constexpr Stage kStages[] = {Stage::NameLookup, Stage::Connect, Stage::TlsHandshake,
                             Stage::Response,   Stage::Headers, Stage::Body,
                             Stage::Delay};

const char* nameOf(Stage stage) {
  switch (stage) {
    case Stage::NameLookup:
      return "NameLookup";
    case Stage::Connect:
      return "Connect";
    case Stage::TlsHandshake:
      return "TlsHandshake";
    case Stage::Response:
      return "Response";
    case Stage::Headers:
      return "Headers";
    case Stage::Body:
      return "Body";
    case Stage::Delay:
      return "Delay";
  }
  return "";
}

enum class End { Cancelled, Deadline };

struct Interruption {
  const Service* service;
  Call call;
  Stage stage;
  End end;
};

void PrintTo(const Interruption& each, std::ostream* out) { *out << nameOf(each.stage); }

struct InterruptionName {
  template <typename Info>
  std::string operator()(const Info& instance) const {
    const Interruption& each = instance.param;
    return std::string(each.service->facts.name) + '_' + nameOf(each.call) + '_' +
           nameOf(each.stage) + '_' + (each.end == End::Cancelled ? "Cancelled" : "Deadline");
  }
};

std::vector<Interruption> interruptions() {
  std::vector<Interruption> all;
  for (const Service* service : Behaviour::allServices()) {
    for (const Call call : callsOf(*service)) {
      for (const Stage stage : kStages) {
        // A code is exchanged once.
        if (stage == Stage::Delay && call == kCodeExchange) continue;
        for (const End end : {End::Cancelled, End::Deadline}) {
          all.push_back({service, call, stage, end});
        }
      }
    }
  }
  return all;
}

/// The longest time from the end to the return, by stage, service and call.
class Table {
 public:
  static void add(const Interruption& each, double time) {
    double& longest = times()[{nameOf(each.stage), rowOf(each)}];
    longest = std::max(longest, time);
  }

  static void print() {
    for (const auto& [key, time] : times()) {
      std::printf("%-13s %-26s %6.1f ms\n", key.first.c_str(), key.second.c_str(), time);
    }
  }

 private:
  static std::string rowOf(const Interruption& each) {
    return std::string(each.service->facts.name) + ' ' + nameOf(each.call);
  }
  static std::map<std::pair<std::string, std::string>, double>& times() {
    static std::map<std::pair<std::string, std::string>, double> all;
    return all;
  }
};

/// A way to a server that never gets as far as a request, or to the proper one.
class Route : public Http::Transport {
 public:
  explicit Route(std::uint16_t port) : proper_(port), transport_({}) {}

  Http::Response send(const Http::Request& request) override {
    if (address_.empty()) return proper_.send(request);
    Http::Request rerouted = request;
    rerouted.uri = Http::URI::parse(address_).value();
    return transport_.send(rerouted);
  }

  /// While no call runs.
  void setAddress(std::string address) { address_ = std::move(address); }

 private:
  Behaviour::Detour proper_;
  Http::CurlTransport transport_;
  std::string address_;
};

std::string addressOf(const char* scheme, std::uint16_t port) {
  return std::string(scheme) + "://127.0.0.1:" + std::to_string(port) + "/";
}

Attack silence(const std::string& bytesBefore) {
  return [bytesBefore](Connection& connection, const AttackedRequest& /*request*/) {
    connection.send(bytesBefore);
    connection.waitUntilClosed();
    return false;
  };
}

Attack refusal() {
  return [](Connection& connection, const AttackedRequest& attacked) {
    const bool usesTokens = attacked.service.facts.usesTokens;
    return connection.send(Behaviour::bytesOf(usesTokens ? attacked.service.tokenExpired().response
                                                         : TestSupport::response(503, "")));
  };
}

Attack attackIn(Stage stage) {
  if (stage == Stage::Headers) return silence("HTTP/1.1 200 OK\r\nX-First: one\r\n");
  if (stage == Stage::Body) return silence("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{");
  return stage == Stage::Delay ? refusal() : silence("");
}

class Interrupts : public testing::TestWithParam<Interruption> {
 protected:
  void SetUp() override {
    route = std::make_shared<Route>(server.port());
    CloudStorage::Client::ClientEnvironment environment;
    environment.transport = route;
    handle.reset(service.open(environment));
    ASSERT_EQ(service.authorize(handle.get()), 0);
    cloud.addFolders(2);
    ASSERT_EQ(perform(listing(), service, handle.get()).code, 0);
    if (each.call == kTokenRefresh) cloud.expireToken();
  }

  void TearDown() override {
    vemlo_client_set_cancellation(nullptr);
    vemlo_client_set_deadline(0);
    vemlo_client_cancellation_release(cancellation);
  }

  Call listing() const { return service.facts.usesTokens ? kDriveListing : kStoreListing; }

  /// Makes the next call stay in the stage.
  void block() {
    if (each.stage == Stage::NameLookup) route->setAddress(std::string("http://") + kSlowHost);
    if (each.stage == Stage::Connect) route->setAddress(addressOf("http", full.port()));
    if (each.stage == Stage::TlsHandshake) route->setAddress(addressOf("https", silent.port()));
    // The delay of a refresh is that before the request is sent again.
    const bool isDelayed = each.stage == Stage::Delay && each.call == kTokenRefresh;
    server.attack(fault, isDelayed ? Behaviour::Subject::Page : subjectOf(each.call));
  }

  void unblock() {
    route->setAddress({});
    server.behave();
  }

  /// Returns the time from the end of the call to its return.
  milliseconds interrupt(Effects& effects) {
    constexpr milliseconds kLead{60};  // long enough for the stage to be reached
    block();
    Clock::time_point end = Clock::now() + kLead;
    std::thread trigger;
    if (each.end == End::Cancelled) {
      vemlo_client_set_cancellation(cancellation);
      trigger = std::thread([&] {
        std::this_thread::sleep_until(end);
        end = Clock::now();
        vemlo_client_cancellation_trigger(cancellation);
      });
    } else {
      vemlo_client_set_deadline(vemlo_client_now() + kLead.count());
    }
    effects = perform(each.call, service, handle.get());
    const auto returned = Clock::now();
    if (trigger.joinable()) trigger.join();
    unblock();
    const std::chrono::duration<double, std::milli> time = returned - end;
    Table::add(each, time.count());
    return std::chrono::ceil<milliseconds>(returned - end);
  }

  static void TearDownTestSuite() { Table::print(); }

  const Interruption each = GetParam();
  const Service& service = *each.service;
  const Fault fault{"", attackIn(each.stage)};
  vemlo_client_cancellation* const cancellation = vemlo_client_cancellation_create();
  Cloud cloud{service};
  FaultyServer server{cloud, service};
  FullListener full;
  TestSupport::LoopbackServer silent{[](Connection& connection) { connection.waitUntilClosed(); }};
  std::shared_ptr<Route> route;
  Behaviour::OpenSession handle{nullptr, service.facts.cleanup};
  const TestSupport::LogCapture log;
};

TEST_P(Interrupts, EndTheCallAtOnceAndLeaveTheSessionUsable) {
  constexpr milliseconds kLongest{150};
  const std::size_t before = server.count(subjectOf(each.call));
  Effects effects;
  const milliseconds time = interrupt(effects);

  const int storeCode = each.end == End::Cancelled ? 28 : 29;
  const int code = failureCodeOf(each.call, service);
  EXPECT_EQ(effects.code, code == 0 ? storeCode : code);
  EXPECT_TRUE(effects.isFailure);
  vemlo_client_failure failure{};
  failure.size = sizeof failure;
  EXPECT_EQ(vemlo_client_get_last_failure(&failure), 0);
  EXPECT_EQ(failure.kind,
            each.end == End::Cancelled ? VEMLO_CLIENT_CANCELLED : VEMLO_CLIENT_DEADLINE);
  EXPECT_EQ(failure.error, storeCode);
  EXPECT_LE(server.count(subjectOf(each.call)) - before, 1U) << "it is retried";
  EXPECT_LE(time, kLongest);

  vemlo_client_set_cancellation(nullptr);
  vemlo_client_set_deadline(0);
  const Effects next = perform(listing(), service, handle.get());
  EXPECT_EQ(next.code, 0);
  EXPECT_EQ(next.folders, cloud.folders());
}

INSTANTIATE_TEST_SUITE_P(All, Interrupts, testing::ValuesIn(interruptions()), InterruptionName());

}  // namespace
}  // namespace Faults
