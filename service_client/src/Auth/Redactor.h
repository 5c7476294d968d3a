#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace CloudStorage::Auth {

/// Redacts secrets in texts of a service, which may quote the request.
class Redactor {
 public:
  /// An empty secret is ignored.
  explicit Redactor(const std::vector<std::string>& secrets);

  /// `text` as one line (see Util::oneLine()) in which asterisks replace every secret, whether it
  /// is unchanged, percent-encoded, escaped as in JSON, HTML or XML, one of these within another,
  /// or part of a text in Base64. Truncated to Util::kLineLimit bytes after that. The part of a
  /// secret that the end of a long text has cut off is replaced, too. If that takes too long,
  /// because a hostile text resembles the secrets all along, the result is the asterisks alone.
  std::string line(std::string_view text) const;

  /// `text`, of any length and with any bytes, in which `mask` replaces what line() replaces;
  /// `mask` alone if that takes too long.
  std::string text(std::string_view text, std::string_view mask) const;

 private:
  void add(std::string word);
  void addBase64(std::string_view secret);
  /// The length of the secret at the beginning of `text`; 0 if there is none. Adds the number of
  /// compared bytes to `work`.
  std::size_t matchAt(std::string_view text, bool mayBeEncoded, bool mayBeCutOff,
                      std::size_t& work) const;

  /// The secrets, and their forms in Base64.
  std::vector<std::string> words_;
  /// The bytes with which a word, in any of its spellings, can begin.
  std::array<bool, 256> isFirst_{};
};

}  // namespace CloudStorage::Auth
