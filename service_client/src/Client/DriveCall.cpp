#include "Client/DriveCall.h"

#include "Http/CurlTransport.h"

namespace CloudStorage::Client {
namespace {

// Listings shrink to a fraction, and nothing in them is signed.
ClientEnvironment withCompression(ClientEnvironment environment, const ClientParts& parts) {
  if (environment.transport) return environment;
  Http::CurlTransport::Options options;
  options.proxy = parts.proxy;
  options.acceptCompressed = true;
  environment.transport = std::make_shared<Http::CurlTransport>(std::move(options));
  return environment;
}

}  // namespace

DriveCall::DriveCall(const ClientParts& parts, ClientEnvironment environment)
    : credential_(std::dynamic_pointer_cast<Auth::OAuth2Credential>(parts.credential)),
      call_(parts, withCompression(std::move(environment), parts)) {}

}  // namespace CloudStorage::Client
