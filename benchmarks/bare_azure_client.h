#pragma once

#include <memory>
#include <string>

#include "bare_http.h"

namespace benchmarks {

/// Lists the containers of an account with as little as a program needs: the key is decoded once,
/// each page is parsed in place, error documents are not parsed. The yardstick for the library.
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

  /// Requests the page that starts at `marker` and discards it. Throws std::runtime_error.
  void fetchAndDrop(const std::string& marker);

  /// The names of all pages as the library returns them: `count` strings and the array, each
  /// released with free(). Throws std::runtime_error.
  char** listContainers(int& count);

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace benchmarks
