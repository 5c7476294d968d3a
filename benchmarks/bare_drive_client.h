#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bare_http.h"
#include "libvemlo.h"

namespace benchmarks {

/// What the listing of a drive looks like on the wire.
struct DriveListing {
  /// The request for the page that `token` names; without one for the first.
  std::function<BareRequest(const std::string& token)> request;
  std::string contentType;
  /// The member of an answer that holds the folders, and of each folder the members that are kept,
  /// in the order in which the service has them.
  std::string list;
  std::vector<std::pair<std::string, char * directory::*>> kept;
  /// The member of an answer that holds the token of the next page.
  std::string token;
  /// The member of an answer that is false if no page follows, and the member of an entry that is
  /// "folder" if it is one. Not all services have them.
  std::string hasMore = {};
  std::string tag = {};
  /// What is asked for before each listing, and of no use to it.
  std::vector<std::string> before = {};
};

/// Lists folders of a drive the way a program would that needs nothing else: a parser whose memory
/// is used again and no error answers. This is what the library's costs are held against.
class BareDriveClient {
 public:
  BareDriveClient(const Route& route, DriveListing listing);
  ~BareDriveClient();
  BareDriveClient(const BareDriveClient&) = delete;
  BareDriveClient& operator=(const BareDriveClient&) = delete;

  void fetchAndDrop(const std::string& token);

  /// The folders of all pages as the library hands them out: the texts of `count` records and the
  /// array are released with free(). Throws std::runtime_error.
  directory* listFolders(int& count);

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

/// As long as the services' are.
const std::string& accessToken();

}  // namespace benchmarks
