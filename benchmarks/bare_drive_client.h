#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bare_http.h"
#include "libvemlo.h"

namespace benchmarks {

/// The wire format of a drive's listing.
struct DriveListing {
  /// The request for the page of `token`; an empty one stands for the first page.
  std::function<BareRequest(const std::string& token)> request;
  std::string contentType;
  /// The member of a response that holds the folders, and the members of a folder that are kept, in
  /// the service's order.
  std::string list;
  std::vector<std::pair<std::string, char * directory::*>> kept;
  /// The member of a response that holds the token of the next page.
  std::string token;
  /// The member of a response that is false on the last page, and the member of an entry that is
  /// "folder" for a folder. Empty for services without them.
  std::string hasMore = {};
  std::string tag = {};
  /// The URLs requested before each listing; the responses are discarded.
  std::vector<std::string> before = {};
};

/// Lists the folders of a drive with as little as a program needs: the parser's memory is reused,
/// error responses are not parsed. The yardstick for the library.
class BareDriveClient {
 public:
  BareDriveClient(const Route& route, DriveListing listing);
  ~BareDriveClient();
  BareDriveClient(const BareDriveClient&) = delete;
  BareDriveClient& operator=(const BareDriveClient&) = delete;

  void fetchAndDrop(const std::string& token);

  /// The folders of all pages as the library returns them: the strings of `count` records and the
  /// array, each released with free(). Throws std::runtime_error.
  directory* listFolders(int& count);

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

/// A token as long as those of the services.
const std::string& accessToken();

}  // namespace benchmarks
