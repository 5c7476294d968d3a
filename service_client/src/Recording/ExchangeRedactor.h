#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Auth/Redactor.h"
#include "CloudStorage/Http/Transport.h"
#include "Recording/SecretFields.h"

namespace CloudStorage::Recording {

/// What takes the place of a secret and of an e-mail address.
struct Masks {
  std::string_view secret;
  std::string_view emailAddress;
};
inline constexpr Masks kMasks{"[redacted]", "[e-mail]"};
inline constexpr Masks kMasksInUrl{"%5Bredacted%5D", "%5Be-mail%5D"};

/// Redacts a request and its response: what names itself secret, and wherever it appears what the
/// request itself or earlier ones contained as a secret.
class ExchangeRedactor {
 public:
  /// `known` are the secrets of earlier requests.
  ExchangeRedactor(const Http::Request& request, const Http::Response& response,
                   std::vector<std::string> known);

  std::string text(std::string_view text, TextKind kind = TextKind::Any,
                   const Masks& masks = kMasks) const;
  std::string headerValue(std::string_view name, std::string_view value) const;

  /// The secrets of this exchange that others may contain, too, such as tokens.
  const std::vector<std::string>& lastingSecrets() const { return lasting_; }

 private:
  std::vector<std::string> lasting_;
  Auth::Redactor redactor_;
};

/// Whether the content type in `headers` is that of a form.
TextKind kindOf(const Http::HeaderValueCollection& headers);

}  // namespace CloudStorage::Recording
