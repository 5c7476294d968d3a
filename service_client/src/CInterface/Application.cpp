#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Auth/ConsentState.h"
#include "CInterface/Arguments.h"
#include "CInterface/Settings.h"
#include "Client/AccountLookup.h"
#include "CloudStorage/Client/Service.h"
#include "Http/TrustAnchors.h"
#include "libvemlo_service_client.h"

using CloudStorage::CInterface::changeSettings;
using CloudStorage::CInterface::isGivenEmpty;
using CloudStorage::CInterface::textOrEmpty;
using CloudStorage::Client::Service;
using CloudStorage::Config::Application;
using CloudStorage::Config::ProcessSettings;
using CloudStorage::Http::TrustAnchors;

namespace {

constexpr int kBadArguments = -1;
constexpr int kNoMemory = 1;
constexpr std::size_t kSizeOfFirstVersion = offsetof(vemlo_client_application, redirect_uri) +
                                            sizeof(vemlo_client_application::redirect_uri);

bool hasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
  });
}

bool isValid(const vemlo_client_application& application) {
  if (application.size < kSizeOfFirstVersion) return false;
  if (isGivenEmpty(application.client_id) || isGivenEmpty(application.redirect_uri)) return false;
  return !hasControlCharacter(textOrEmpty(application.client_id)) &&
         !hasControlCharacter(textOrEmpty(application.client_secret)) &&
         !hasControlCharacter(textOrEmpty(application.redirect_uri));
}

std::optional<std::string> optionalText(const char* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

}  // namespace

int vemlo_client_set_application(int32_t service, const vemlo_client_application* application) {
  const auto key = static_cast<Service>(service);
  if (!CloudStorage::Client::isDrive(key)) return kBadArguments;
  if (application != nullptr && !isValid(*application)) return kBadArguments;
  return changeSettings([=](ProcessSettings& settings) {
    if (application == nullptr) {
      settings.applications.erase(key);
      return;
    }
    settings.applications[key] =
        Application{optionalText(application->client_id), optionalText(application->client_secret),
                    optionalText(application->redirect_uri)};
  });
}

int vemlo_client_set_state(const char* state) {
  constexpr std::size_t kLongestState = 500;
  const std::string_view text = textOrEmpty(state);
  if (text.size() > kLongestState || hasControlCharacter(text)) return kBadArguments;
  try {
    CloudStorage::Auth::ConsentState::set(std::string(text));
    return 0;
  } catch (const std::exception&) {
    return kNoMemory;
  }
}

void vemlo_client_set_pkce(int enabled) {
  changeSettings([=](ProcessSettings& settings) { settings.pkce = enabled != 0; });
}

int vemlo_client_set_trust(const char* file, const char* folder) {
  return changeSettings([=](ProcessSettings& settings) {
    const TrustAnchors::Sources sources{std::string(textOrEmpty(file)),
                                        std::string(textOrEmpty(folder)), true};
    const bool isNone = sources.file.empty() && sources.directory.empty();
    settings.trustAnchors = isNone ? nullptr : std::make_shared<TrustAnchors>(sources);
  });
}
