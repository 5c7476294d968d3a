#include "Auth/Digest.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <stdexcept>

namespace CloudStorage::Auth {
namespace {

unsigned char* bytesOf(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

const unsigned char* bytesOf(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

std::string digest(const EVP_MD* algorithm, std::string_view data) {
  std::string result(EVP_MAX_MD_SIZE, '\0');
  unsigned int size = 0;
  if (EVP_Digest(data.data(), data.size(), bytesOf(result), &size, algorithm, nullptr) != 1) {
    throw std::runtime_error("the crypto library cannot compute a digest");
  }
  result.resize(size);
  return result;
}

}  // namespace

std::string sha256(std::string_view data) { return digest(EVP_sha256(), data); }

std::string md5(std::string_view data) { return digest(EVP_md5(), data); }

std::string hmacSha256(std::string_view key, std::string_view data) {
  std::string result(EVP_MAX_MD_SIZE, '\0');
  unsigned int size = 0;
  if (HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), bytesOf(data), data.size(),
           bytesOf(result), &size) == nullptr) {
    throw std::runtime_error("the crypto library cannot compute an HMAC");
  }
  result.resize(size);
  return result;
}

std::string hex(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
  return text;
}

std::string base64Encode(std::string_view bytes) {
  std::string text(4 * ((bytes.size() + 2) / 3) + 1, '\0');  // the encoder adds a NUL
  const int size = EVP_EncodeBlock(bytesOf(text), bytesOf(bytes), static_cast<int>(bytes.size()));
  text.resize(static_cast<std::size_t>(size));
  return text;
}

std::string base64UrlEncode(std::string_view bytes) {
  std::string text = base64Encode(bytes);
  text.erase(std::min(text.find('='), text.size()));
  std::replace(text.begin(), text.end(), '+', '-');
  std::replace(text.begin(), text.end(), '/', '_');
  return text;
}

std::optional<std::string> base64Decode(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  if (text.empty()) return std::string();
  std::string bytes(text.size() / 4 * 3, '\0');
  const int size = EVP_DecodeBlock(bytesOf(bytes), bytesOf(text), static_cast<int>(text.size()));
  if (size < 0) return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && text[text.size() - 1 - padding] == '=') ++padding;
  bytes.resize(static_cast<std::size_t>(size) - padding);
  // The decoder ignores white space and unused bits that are set. Encoding the result again reveals
  // any difference.
  if (base64Encode(bytes) != text) return std::nullopt;
  return bytes;
}

}  // namespace CloudStorage::Auth
