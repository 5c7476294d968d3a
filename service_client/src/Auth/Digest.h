#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace CloudStorage::Auth {

/// SHA-256 (FIPS 180-4): 32 bytes.
std::string sha256(std::string_view data);
/// HMAC (RFC 2104) with SHA-256: 32 bytes.
std::string hmacSha256(std::string_view key, std::string_view data);
/// MD5 (RFC 1321): 16 bytes. For Content-MD5 only.
std::string md5(std::string_view data);

/// Two lower-case hexadecimal digits per byte.
std::string hex(std::string_view bytes);

/// Base64 with the standard alphabet and padding, without line breaks (RFC 4648, section 4).
std::string base64Encode(std::string_view bytes);
/// Base64 with the alphabet for URLs and without padding (RFC 4648, section 5).
std::string base64UrlEncode(std::string_view bytes);
/// Decodes the standard form. Returns nothing if `text` contains white space or other characters,
/// lacks padding, or has unused bits that are set.
std::optional<std::string> base64Decode(std::string_view text);

}  // namespace CloudStorage::Auth
