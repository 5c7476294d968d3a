#include "CloudStorage/Client/OAuth2Client.h"

#include <chrono>
#include <utility>

#include "Auth/OAuth2TokenEndpoint.h"
#include "Http/CurlTransport.h"

namespace CloudStorage::Client {
namespace {

// Token answers are small and somebody waits for the call behind them, so the limits are tighter
// than those of the operations.
std::shared_ptr<Http::Transport> makeTokenTransport(const Config::ProxySetting& proxy) {
  Http::CurlTransport::Options options;
  options.proxy = proxy;
  options.acceptCompressed = true;
  options.limits.total = std::chrono::seconds(60);
  options.limits.maxBody = std::size_t{1} << 20U;
  return std::make_shared<Http::CurlTransport>(std::move(options));
}

}  // namespace

OAuth2Client::OAuth2Client(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                           ClientEnvironment environment)
    : WSClient(std::move(parts)),
      clientSpec_(std::move(clientSpec)),
      environment_(std::move(environment)) {
  const auto oauth2Credential = std::dynamic_pointer_cast<Auth::OAuth2Credential>(credential());
  if (!oauth2Credential) return;
  // The credential outlives the client if the host's retry strategy holds on to it, so what it gets
  // must not refer back to the client.
  oauth2Credential->setTokenRefresher(std::make_shared<Auth::OAuth2TokenEndpoint>(
      clientSpec_,
      environment_.transport ? environment_.transport : makeTokenTransport(this->parts().proxy)));
}

OAuth2Client::~OAuth2Client() = default;

}  // namespace CloudStorage::Client
