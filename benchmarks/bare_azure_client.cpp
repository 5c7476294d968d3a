#include "bare_azure_client.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <array>
#include <ctime>
#include <pugixml.hpp>
#include <stdexcept>
#include <vector>

#include "records.h"

namespace benchmarks {
namespace {

constexpr char kVersion[] = "2021-12-02";
constexpr char kContentType[] = "application/xml";
constexpr std::size_t kDigestSize = 32;

std::string decodeBase64(const std::string& text) {
  std::string bytes(text.size(), '\0');
  const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                   reinterpret_cast<const unsigned char*>(text.data()),
                                   static_cast<int>(text.size()));
  if (size < 0) throw std::runtime_error("the key is no base64");
  const std::size_t padding = text.size() - (text.find_last_not_of('=') + 1);
  bytes.resize(static_cast<std::size_t>(size) - padding);
  return bytes;
}

std::string signature(const std::string& key, const std::string& text) {
  std::array<unsigned char, kDigestSize> digest{};
  HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
       reinterpret_cast<const unsigned char*>(text.data()), text.size(), digest.data(), nullptr);
  std::array<unsigned char, 2 * kDigestSize> encoded{};
  const int size = EVP_EncodeBlock(encoded.data(), digest.data(), static_cast<int>(digest.size()));
  return {encoded.begin(), encoded.begin() + size};
}

// The process's locale is "C".
std::string timestamp() {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S GMT", &utc);
  return text.data();
}

}  // namespace

struct BareAzureClient::Implementation {
  Implementation(const Route& route, const Account& accountAndKey)
      : http(route, false),
        account(accountAndKey.name),
        key(decodeBase64(accountAndKey.key)),
        url("https://" + accountAndKey.name + ".blob.core.windows.net/?comp=list") {}

  /// The request for the page that starts at `marker`, which needs no encoding. Sets the headers.
  BareRequest request(const std::string& marker) {
    const std::string time = timestamp();
    std::string text = std::string("GET\n\n\n\n\n") + kContentType +
                       "\n\n\n\n\n\n\nx-ms-date:" + time + "\nx-ms-version:" + kVersion + "\n/" +
                       account + "/\ncomp:list";
    if (!marker.empty()) text += "\nmarker:" + marker;
    text += "\nmaxresults:100";
    http.setHeaders({"Accept:", "authorization: SharedKey " + account + ':' + signature(key, text),
                     std::string("content-type: ") + kContentType, "x-ms-date: " + time,
                     std::string("x-ms-version: ") + kVersion});
    return {url + (marker.empty() ? "" : "&marker=" + marker) + "&maxresults=100", ""};
  }

  BareHttp http;
  std::string account;
  std::string key;
  std::string url;
};

BareAzureClient::BareAzureClient(const Route& route, const Account& account)
    : implementation_(std::make_unique<Implementation>(route, account)) {}

BareAzureClient::~BareAzureClient() = default;

void BareAzureClient::fetchAndDrop(const std::string& marker) {
  implementation_->http.fetchAndDrop(implementation_->request(marker));
}

char** BareAzureClient::listContainers(int& count) {
  std::vector<char*> names;
  std::string marker;
  do {
    std::string& page = implementation_->http.fetch(implementation_->request(marker));
    pugi::xml_document document;
    if (!document.load_buffer_inplace(page.data(), page.size())) {
      throw std::runtime_error("the page is no XML");
    }
    const pugi::xml_node root = document.child("EnumerationResults");
    for (const auto container : root.child("Containers").children("Container")) {
      names.push_back(copyOf(container.child_value("Name")));
    }
    marker = root.child_value("NextMarker");
  } while (!marker.empty());
  count = static_cast<int>(names.size());
  return arrayOf(names);
}

}  // namespace benchmarks
