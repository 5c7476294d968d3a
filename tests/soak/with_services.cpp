// Runs a program on a machine on which all services answer, behind an HTTP proxy of this process.
//
//   with_services PROGRAM ARGUMENT...
//
// The port of the proxy is the last argument of the program. Exits as the program does.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <list>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "cloud.h"
#include "loopback.h"
#include "service.h"
#include "support/loopback_server.h"
#include "support/responses.h"
#include "support/services.h"
#include "support/test_authority.h"

namespace {

namespace Http = CloudStorage::Http;
using Behaviour::Cloud;
using Behaviour::Service;
using Behaviour::Subject;
using Connection = TestSupport::LoopbackServer::Connection;

const Service* const kServices[] = {&Behaviour::s3(),          &Behaviour::azureBlobs(),
                                    &Behaviour::amazonDrive(), &Behaviour::googleDrive(),
                                    &Behaviour::oneDrive(),    &Behaviour::dropbox()};

// The names for which the services' certificate holds.
constexpr char kNames[] =
    "DNS:store.example.test,DNS:vemloacct.blob.core.windows.net,DNS:*.example.test,"
    "DNS:*.amazonaws.com,DNS:*.us-east-1.amazonaws.com,DNS:*.amazon.com,DNS:*.amazonclouddrive.com,"
    "DNS:*.googleapis.com,DNS:*.google.com,DNS:graph.microsoft.com,"
    "DNS:login.microsoftonline.com,DNS:*.dropboxapi.com,DNS:*.dropbox.com";

/// All services, each with an account of its own.
class Services {
 public:
  Services() {
    for (const Service* service : kServices) clouds_.emplace_back(*service).addFolders(3);
  }

  Http::Response send(const Http::Request& request) {
    if (request.uri.path() == "/user/profile") {
      return TestSupport::response(200, R"({"name":"A","email":"a@example.test"})");
    }
    auto cloud = clouds_.begin();
    for (const Service* service : kServices) {
      if (isForTokens(*service, request.uri)) {
        Http::Request tokenRequest = request;
        tokenRequest.uri = *Http::URI::parse(Cloud::kTokenEndpoint);
        return cloud->send(tokenRequest);
      }
      if (service->subjectOf(request) != Subject::Unknown) return cloud->send(request);
      ++cloud;
    }
    return TestSupport::response(404);
  }

 private:
  static bool isForTokens(const Service& service, const Http::URI& uri) {
    const TestSupport::Drive* const drives[] = {&TestSupport::kAmazonDrive, &TestSupport::kDropbox,
                                                &TestSupport::kGoogleDrive,
                                                &TestSupport::kOneDrive};
    for (const auto* drive : drives) {
      if (service.facts.name == std::string(drive->name)) {
        return uri.toString() == drive->application.tokenEndpoint;
      }
    }
    return false;
  }

  std::list<Cloud> clouds_;
};

/// Serves requests as they are sent to the services' own hosts.
void serve(Services& services, Connection& connection) {
  while (const auto bytes = connection.readRequest()) {
    const Http::Request request = Behaviour::requestIn(*bytes);
    if (!connection.send(Behaviour::bytesOf(services.send(request)))) return;
  }
}

/// Lets each CONNECT request through to the services.
void tunnel(std::uint16_t port, Connection& connection) {
  if (!connection.readRequest()) return;
  if (connection.send("HTTP/1.1 200 Connected\r\n\r\n")) connection.tunnelTo(port);
}

int run(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t process = 0;
  if (posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
    std::cerr << "cannot run " << words[0] << '\n';
    return EXIT_FAILURE;
  }
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: with_services PROGRAM ARGUMENT...\n";
    return 2;
  }
  const TestSupport::TestAuthority authority;
  ::setenv("SSL_CERT_FILE", authority.certificateFile().c_str(), 1);
  Services services;
  const TestSupport::LoopbackServer server(
      [&](Connection& connection) { serve(services, connection); },
      authority.serverContext(kNames));
  const TestSupport::LoopbackServer proxy(
      [&](Connection& connection) { tunnel(server.port(), connection); });
  std::vector<std::string> words(argv + 1, argv + argc);
  words.push_back(std::to_string(proxy.port()));
  return run(std::move(words));
}
