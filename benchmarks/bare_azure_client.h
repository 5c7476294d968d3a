#pragma once

#include <memory>
#include <string>

#include "bare_http.h"

namespace benchmarks {

/// Lists the containers of an account the way a program would that needs nothing else: the key
/// decoded once, and each page parsed where it was received. No error document. This is what the
/// library's costs are held against.
class BareAzureClient {
 public:
  struct Account {
    std::string name;
    std::string key;  // base64
  };

  BareAzureClient(const Route& route, const Account& account);
  ~BareAzureClient();
  BareAzureClient(const BareAzureClient&) = delete;
  BareAzureClient& operator=(const BareAzureClient&) = delete;

  /// Drops the page that begins at `marker`. Throws std::runtime_error.
  void fetchAndDrop(const std::string& marker);

  /// The names of all pages as the library hands them out: `count` strings and the array are
  /// released with free(). Throws std::runtime_error.
  char** listContainers(int& count);

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace benchmarks
