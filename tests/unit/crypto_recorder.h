#pragma once

#include <Poco/Crypto/Cipher.h>

#include <functional>

namespace UnitTests {

/// Tells what the program does with the crypto library's set-up during this object's life. Works in
/// programs linked with the --wrap options for which crypto_recorder.cpp has replacements. One at a
/// time.
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
  /// Called when an initializer object is about to be destroyed.
  std::function<void()> onInitializerDestroyed = [] {};
  /// Makes ciphers in the crypto library's stead; empty: it does so itself.
  std::function<Poco::Crypto::Cipher*()> cipherFactory;
};

}  // namespace UnitTests
