#include <Poco/Crypto/Cipher.h>
#include <Poco/Crypto/CipherFactory.h>
#include <Poco/Crypto/CipherKey.h>

#include <istream>
#include <new>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>

#include "CloudStorage/Config/ConnectionGenericSetting.h"
#include "libvemlo.h"
#include "libvemlo/exception_barrier.h"
#include "libvemlo/records.h"

using CloudStorage::Config::ConnectionGenericSetting;
using Poco::Crypto::Cipher;

namespace {

// The key is the same for every text and every process: anyone who has the two constants can
// decrypt the texts.
Cipher::Ptr makeCipher() {
  constexpr char kNoSalt[] = "";  // the constant named SALT is the pass phrase
  constexpr int kIterations = 2000;
  const Poco::Crypto::CipherKey key(ConnectionGenericSetting::CIPHER,
                                    ConnectionGenericSetting::SALT, kNoSalt, kIterations, "md5");
  // The class does not check whether the key could be derived.
  if (key.getKey().size() != static_cast<std::size_t>(key.keySize())) throw std::bad_alloc();
  return Poco::Crypto::CipherFactory::defaultFactory().createCipher(key);
}

// Collects the text that a cipher writes. A stream without memory only sets a flag, which the
// cipher does not check: with a string stream the text would be truncated.
class Output : public std::streambuf {
 public:
  const std::string& text() const {
    if (text_.size() != written_) throw std::bad_alloc();
    return text_;
  }

 private:
  int_type overflow(int_type character) override {
    ++written_;  // also if there is no memory
    text_ += traits_type::to_char_type(character);
    return character;
  }

  std::string text_;
  std::size_t written_ = 0;
};

using Transform = void (Cipher::*)(std::istream&, std::ostream&, Cipher::Encoding);

char* transformed(const char* text, Transform transform) {
  std::istringstream source(text);
  Output output;
  std::ostream sink(&output);
  Cipher::Ptr cipher = makeCipher();
  (*cipher.*transform)(source, sink, Cipher::ENC_BASE64);
  return libvemlo::copyOf(output.text());
}

}  // namespace

char* encrypt_string(const char* text) {
  if (text == nullptr) return nullptr;
  return libvemlo::guarded(nullptr, libvemlo::LoggedAs{"Failed to encrypt string. "},
                           [text] { return transformed(text, &Cipher::encrypt); });
}

char* decrypt_string(const char* text) {
  if (text == nullptr) return nullptr;
  return libvemlo::guarded(nullptr, libvemlo::LoggedAs{"Failed to decrypt string. "},
                           [text] { return transformed(text, &Cipher::decrypt); });
}
