#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace CloudStorage::Recording {

/// The value of a field whose name says that it is secret, as a part of the text that contains it.
struct SecretField {
  std::size_t begin;
  std::size_t size;
  /// Whether the value has no quotes although JSON requires them for a text.
  bool isBareInJson;
};

/// What a text is.
enum class TextKind {
  Form,  ///< parameters joined with `&`, from the first byte on
  Any,   ///< JSON, XML, an address, a message
};

/// The values of secret parameters, JSON members and XML elements in `text`, in order. Also those
/// in texts that quote others, such as an address in an error message in JSON.
std::vector<SecretField> secretFields(std::string_view text, TextKind kind);

/// `text` in which `mask` replaces the secret fields.
std::string maskSecretFields(std::string_view text, TextKind kind, std::string_view mask);

/// Whether the header with this lower-case name has a secret value.
bool isSecretHeader(std::string_view name);

/// The value of an authorization header of either kind without its secrets: the scheme, and what a
/// signature covers. `mask` replaces the rest.
std::string maskAuthorization(std::string_view value, std::string_view mask);

}  // namespace CloudStorage::Recording
