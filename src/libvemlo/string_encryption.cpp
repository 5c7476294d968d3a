#include <Poco/Crypto/Cipher.h>
#include <Poco/Crypto/CipherFactory.h>
#include <Poco/Crypto/CipherKey.h>
#include <Poco/Exception.h>
#include <glog/logging.h>

#include "CloudStorage/Config/ConnectionGenericSetting.h"
#include "libvemlo.h"
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
  return Poco::Crypto::CipherFactory::defaultFactory().createCipher(key);
}

}  // namespace

char* encrypt_string(const char* text) {
  if (text == nullptr) return nullptr;
  try {
    return libvemlo::copyOf(makeCipher()->encryptString(text, Cipher::ENC_BASE64));
  } catch (const Poco::Exception& exception) {
    SYSLOG(ERROR) << "Failed to encrypt string. " << exception.displayText();
    return nullptr;
  }
}

char* decrypt_string(const char* text) {
  if (text == nullptr) return nullptr;
  try {
    return libvemlo::copyOf(makeCipher()->decryptString(text, Cipher::ENC_BASE64));
  } catch (const Poco::Exception& exception) {
    SYSLOG(ERROR) << "Failed to decrypt string. " << exception.displayText();
    return nullptr;
  }
}
