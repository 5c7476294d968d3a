#include "crypto_recorder.h"

// The linker redirects the program's calls of five functions of the crypto library's C++ interface
// to __wrap_<name>, and __real_<name> to the functions. The mangled names stand for:
//   Poco::Crypto::initializeCrypto(), Poco::Crypto::uninitializeCrypto(),
//   Poco::Crypto::OpenSSLInitializer::OpenSSLInitializer(), and its destructor,
//   Poco::Crypto::CipherFactory::createCipher(const CipherKey&).
// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming)

namespace {

UnitTests::CryptoRecorder* active = nullptr;

}  // namespace

extern "C" {
void __real__ZN4Poco6Crypto16initializeCryptoEv();
void __real__ZN4Poco6Crypto18uninitializeCryptoEv();
void __real__ZN4Poco6Crypto18OpenSSLInitializerC1Ev(void* self);
void __real__ZN4Poco6Crypto18OpenSSLInitializerD1Ev(void* self);
Poco::Crypto::Cipher* __real__ZN4Poco6Crypto13CipherFactory12createCipherERKNS0_9CipherKeyE(
    void* self, const void* key);
void __wrap__ZN4Poco6Crypto16initializeCryptoEv();
void __wrap__ZN4Poco6Crypto18uninitializeCryptoEv();
void __wrap__ZN4Poco6Crypto18OpenSSLInitializerC1Ev(void* self);
void __wrap__ZN4Poco6Crypto18OpenSSLInitializerD1Ev(void* self);
Poco::Crypto::Cipher* __wrap__ZN4Poco6Crypto13CipherFactory12createCipherERKNS0_9CipherKeyE(
    void* self, const void* key);

void __wrap__ZN4Poco6Crypto16initializeCryptoEv() {
  if (active != nullptr) ++active->globalInitializations;
  __real__ZN4Poco6Crypto16initializeCryptoEv();
}

void __wrap__ZN4Poco6Crypto18uninitializeCryptoEv() {
  if (active != nullptr) ++active->globalReleases;
  __real__ZN4Poco6Crypto18uninitializeCryptoEv();
}

void __wrap__ZN4Poco6Crypto18OpenSSLInitializerC1Ev(void* self) {
  if (active != nullptr) ++active->initializersMade;
  __real__ZN4Poco6Crypto18OpenSSLInitializerC1Ev(self);
}

void __wrap__ZN4Poco6Crypto18OpenSSLInitializerD1Ev(void* self) {
  if (active != nullptr) {
    ++active->initializersDestroyed;
    active->onInitializerDestroyed();
  }
  __real__ZN4Poco6Crypto18OpenSSLInitializerD1Ev(self);
}

Poco::Crypto::Cipher* __wrap__ZN4Poco6Crypto13CipherFactory12createCipherERKNS0_9CipherKeyE(
    void* self, const void* key) {
  if (active != nullptr && active->cipherFactory) return active->cipherFactory();
  return __real__ZN4Poco6Crypto13CipherFactory12createCipherERKNS0_9CipherKeyE(self, key);
}
}

// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

namespace UnitTests {

CryptoRecorder::CryptoRecorder() { active = this; }
CryptoRecorder::~CryptoRecorder() { active = nullptr; }

}  // namespace UnitTests
