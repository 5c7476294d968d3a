#include <cstdint>
#include <string>

#include "CInterface/Settings.h"
#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Client/Service.h"
#include "libvemlo_service_client.h"

using CloudStorage::Auth::TokenRefresher;
using CloudStorage::CInterface::changeSettings;
using CloudStorage::Client::Service;
using CloudStorage::Config::ProcessSettings;

void vemlo_client_set_token_callback(vemlo_client_token_callback callback, void* user) {
  changeSettings([=](ProcessSettings& settings) {
    settings.tokenCallback = nullptr;
    if (callback == nullptr) return;
    settings.tokenCallback = [=](Service service, const std::string& usedRefreshToken,
                                 const TokenRefresher::Tokens& renewed) {
      const vemlo_client_tokens tokens{sizeof(tokens),
                                       static_cast<std::int32_t>(service),
                                       usedRefreshToken.c_str(),
                                       renewed.accessToken.c_str(),
                                       renewed.refreshToken.c_str(),
                                       renewed.lifetime};
      callback(&tokens, user);
    };
  });
}

void vemlo_client_set_dropbox_durable_token(int enabled) {
  changeSettings([=](ProcessSettings& settings) { settings.dropboxDurableToken = enabled != 0; });
}
