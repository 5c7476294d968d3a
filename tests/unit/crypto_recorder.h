#pragma once

#include <Poco/Crypto/Cipher.h>

#include <functional>

namespace UnitTests {

/// Counts how the program sets up the crypto library during this object's life. Works in programs
/// linked with the --wrap options for which crypto_recorder.cpp has replacements. One at a time.
class CryptoRecorder {
 public:
  CryptoRecorder();
  ~CryptoRecorder();
  CryptoRecorder(const CryptoRecorder&) = delete;
  CryptoRecorder& operator=(const CryptoRecorder&) = delete;

  int globalInitializations = 0;
  int globalReleases = 0;
  int initializersMade = 0;
  int initializersDestroyed = 0;
  /// Called before an initializer object is destroyed.
  std::function<void()> onInitializerDestroyed = [] {};
  /// Constructs the ciphers; if empty, the crypto library does.
  std::function<Poco::Crypto::Cipher*()> cipherFactory;
};

}  // namespace UnitTests
