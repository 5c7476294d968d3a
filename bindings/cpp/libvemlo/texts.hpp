#pragma once

#include <libvemlo.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "failure.hpp"

namespace vemlo {
namespace detail {

struct Free {
  void operator()(void* memory) const noexcept { std::free(memory); }
};

/// A text that a C function has handed out.
using OwnedText = std::unique_ptr<char, Free>;

/// An argument for the C interface. Throws Failure if it contains a NUL.
inline std::string argument(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {
    throw Failure("a text contains a NUL, which the C interface would take for its end");
  }
  return std::string(text);
}

inline std::string textOf(const OwnedText& text) { return text == nullptr ? "" : text.get(); }

}  // namespace detail

/// Encrypts a text with the fixed key of the library, so that a configuration file contains no
/// secret in clear text. This hides a secret from a casual reader, not from a person who has this
/// library. The result is base64 text with a line break (CR LF) after every 72 characters, which
/// may be removed.
inline std::string encrypt(std::string_view text) {
  const detail::OwnedText result(encrypt_string(detail::argument(text).c_str()));
  if (result == nullptr) throw Failure("the text cannot be encrypted");
  return result.get();
}

/// Decrypts a text that `encrypt` has encrypted, with or without its line breaks. Throws Failure if
/// it cannot be decrypted, after an ERROR line in the log.
inline std::string decrypt(std::string_view text) {
  const detail::OwnedText result(decrypt_string(detail::argument(text).c_str()));
  if (result == nullptr) throw Failure("the text cannot be decrypted");
  return result.get();
}

}  // namespace vemlo
