#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "Auth/ConsentState.h"
#include "CInterface/Settings.h"
#include "CloudStorage/Client/Service.h"
#include "Http/TrustAnchors.h"
#include "libvemlo_service_client.h"

using CloudStorage::CInterface::changeSettings;
using CloudStorage::Client::Service;
using CloudStorage::Config::Application;
using CloudStorage::Config::ProcessSettings;
using CloudStorage::Http::TrustAnchors;

namespace {

constexpr int kBadArguments = -1;
constexpr int kNoMemory = 1;

bool isDrive(std::int32_t service) {
  return service >= VEMLO_CLIENT_AMAZON_DRIVE && service <= VEMLO_CLIENT_DROPBOX;
}

std::string_view textOf(const char* text) { return text == nullptr ? "" : text; }

bool hasControlCharacter(std::string_view text) {
  return std::any_of(text.begin(), text.end(), [](char character) {
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
  });
}

bool isEmpty(const char* text) { return text != nullptr && *text == '\0'; }

bool isValid(const vemlo_client_application& application) {
  if (application.size < sizeof application) return false;
  if (isEmpty(application.client_id) || isEmpty(application.redirect_uri)) return false;
  return !hasControlCharacter(textOf(application.client_id)) &&
         !hasControlCharacter(textOf(application.client_secret)) &&
         !hasControlCharacter(textOf(application.redirect_uri));
}

std::optional<std::string> optionalText(const char* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

}  // namespace

int vemlo_client_set_application(int32_t service, const vemlo_client_application* application) {
  if (!isDrive(service)) return kBadArguments;
  if (application != nullptr && !isValid(*application)) return kBadArguments;
  return changeSettings([=](ProcessSettings& settings) {
    const auto key = static_cast<Service>(service);
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
  const std::string_view text = textOf(state);
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
    const TrustAnchors::Sources sources{std::string(textOf(file)), std::string(textOf(folder)),
                                        true};
    const bool isNone = sources.file.empty() && sources.directory.empty();
    settings.trustAnchors = isNone ? nullptr : std::make_shared<TrustAnchors>(sources);
  });
}
