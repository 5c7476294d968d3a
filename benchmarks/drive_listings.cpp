#include <array>
#include <memory>

#include "bare_drive_client.h"
#include "listing.h"
#include "paging.h"

namespace benchmarks {
namespace {

/// The library's functions for a drive.
struct Functions {
  std::string nameOfList;
  int (*list)(session* handle, const directory* parent, directory** folders, int* count);
  session* (*open)(const proxy_setting* proxy);
  int (*setToken)(session* handle, const char* accessToken);
  void (*close)(session* handle);
};

std::string unchanged(const std::string& token) { return token; }

std::string closeObject(const std::string& /*next*/) { return "}"; }

/// A drive in the formats of its service, and the library's functions for it.
struct Drive {
  std::string title;
  DriveListing wire;
  Paging paging;
  /// The service's form of a reference to the next page, which contains the token.
  std::string (*referenceTo)(const std::string& token) = unchanged;
  /// The members of a folder, and the text before and after the folders of a page. `next` is the
  /// reference to the next page.
  std::string (*folder)(int number) = nullptr;
  std::string (*startOfPage)(const std::string& next) = nullptr;
  std::string (*endOfPage)(const std::string& next) = closeObject;
  /// The start of requests for anything else, and the response to them.
  std::string otherRequest;
  std::string otherResponse;

  std::string parent;
  Functions functions;
};

const decltype(DriveListing::kept) kIdAndName = {{"id", &directory::id},
                                                 {"name", &directory::name}};

/// Sets an access token without a refresh token.
template <int (*Set)(session*, const char*, const char*)>
int setAccessToken(session* handle, const char* token) {
  return Set(handle, token, "");
}

// 10 to 26 characters; a third of the names have some that are not ASCII.
std::string folderName(int number) {
  static const std::array<std::string, 6> kinds = {
      "Photos ",          "Urlaub in Österreich ", "Invoices and receipts ",
      "Project archive ", "Документы по проекту ", "Scans "};
  return kinds[static_cast<std::size_t>(number) % kinds.size()] + std::to_string(10'000 + number);
}

// Pseudo-random letters and digits.
std::string folderId(int number, std::size_t length) {
  constexpr std::string_view kCharacters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  std::string id = std::to_string(100'000 + number);
  auto state = static_cast<std::uint32_t>(number);
  while (id.size() < length) {
    state = state * 1'664'525U + 1'013'904'223U;
    id += kCharacters[(state >> 16U) % kCharacters.size()];
  }
  return id;
}

std::string member(const std::string& name, const std::string& text) {
  return text.empty() ? text : '"' + name + "\":\"" + text + "\",";
}

Site makeSite(const Drive& drive, const ListingSize& size) {
  const std::string padding =
      member("note", std::string(static_cast<std::size_t>(size.padding), '-'));
  const auto others = static_cast<std::size_t>(drive.paging.pages());
  Site site{"application/json; charset=utf-8",
            {},
            [request = drive.otherRequest, others](std::string_view received) {
              const bool isOther =
                  !request.empty() && received.substr(0, request.size()) == request;
              return isOther ? others : requestedPage(received);
            }};
  for (int page = 0; page < drive.paging.pages(); ++page) {
    const std::string next = drive.referenceTo(drive.paging.token(page + 1));
    std::string text = drive.startOfPage(next);
    for (int i = drive.paging.firstOf(page); i < drive.paging.endOf(page); ++i) {
      text += '{' + padding + drive.folder(i) + "},";
    }
    text.back() = ']';
    site.pages.push_back(text + drive.endOfPage(next));
  }
  site.pages.push_back(drive.otherResponse);
  return site;
}

ListingWay pagesDropped(const Drive& drive) {
  return {"libcurl, pages dropped", [drive](const Route& route) {
            const auto client = std::make_shared<BareDriveClient>(route, drive.wire);
            return [drive, client] {
              for (int page = 0; page < drive.paging.pages(); ++page) {
                client->fetchAndDrop(drive.referenceTo(drive.paging.token(page)));
              }
              return Records();
            };
          }};
}

ListingWay yardstick(const Drive& drive, const Expected& expected) {
  return {"libcurl + simdjson + records", [drive, expected](const Route& route) {
            const auto client = std::make_shared<BareDriveClient>(route, drive.wire);
            return [client, expected] {
              int count = 0;
              directory* folders = client->listFolders(count);
              return checked(folders, count, expected);
            };
          }};
}

ListingWay throughLibrary(const Drive& drive, const Expected& expected) {
  const auto list = [drive, expected](session* handle) {
    std::string id = drive.parent;
    const directory parent{nullptr, id.data()};
    directory* folders = nullptr;
    int count = 0;
    drive.functions.list(handle, &parent, &folders, &count);
    return checked(folders, count, expected);
  };
  const auto open = [drive](const Route& /*route*/, const proxy_setting* proxy) {
    session* handle = drive.functions.open(proxy);
    drive.functions.setToken(handle, accessToken().c_str());
    return handle;
  };
  return libraryWay(drive.functions.nameOfList, open, drive.functions.close, list);
}

Listing listingOf(const Drive& drive, const ListingSize& size) {
  const Expected expected{size.entries, folderName};
  return {std::to_string(size.entries) + " folders of " + drive.title,
          size.entries,
          Route::Kind::TlsThroughProxy,
          [drive, size] { return makeSite(drive, size); },
          {pagesDropped(drive), yardstick(drive, expected), throughLibrary(drive, expected)}};
}

constexpr char kGoogleParent[] = "0AFvRootId9PVAbcdefghijklmnopqrst";

BareRequest googleRequest(const std::string& token) {
  return {"https://www.googleapis.com/drive/v3/files?orderBy=folder%2Cname&pageSize=500" +
              (token.empty() ? token : "&pageToken=" + token) + "&q=%27" + kGoogleParent +
              "%27%20in%20parents%20and%20trashed%20%3D%20false%20and%20mimeType%20%3D%20%27"
              "application%2Fvnd.google-apps.folder%27&fields=nextPageToken%2Cfiles%28id%2Cname%29"
              "&supportsAllDrives=true&includeItemsFromAllDrives=true&prettyPrint=false",
          ""};
}

std::string googleFolder(int number) {
  return R"("id":"1)" + folderId(number, 32) + R"(","name":")" + folderName(number) + '"';
}

constexpr char kOneDriveParent[] = "01VEMLOPARENTAAAAAAAAAAAAAAAAAAAAA";

std::string childrenOfOneDrive(const std::string& parameters) {
  return std::string("https://graph.microsoft.com/v1.0/me/drive/items/") + kOneDriveParent +
         "/children?%24top=500&%24filter=folder%20ne%20null" + parameters +
         "&%24select=id%2Cname%2Croot%2Cfolder%2CremoteItem";
}

std::string nextLink(const std::string& token) {
  return token.empty() ? token : childrenOfOneDrive("&%24skiptoken=" + token);
}

BareRequest oneDriveRequest(const std::string& token) {
  return {token.empty() ? childrenOfOneDrive("") : token, ""};
}

std::string oneDriveFolder(int number) {
  return R"("@odata.etag":"\"{5E2A7B90-11C4-4D1F-9A57-0123456789AB},1\"","id":"01)" +
         folderId(number, 32) + R"(","name":")" + folderName(number) +
         R"(","folder":{"childCount":)" + std::to_string(number % 20) + '}';
}

constexpr char kDropboxFiles[] = "https://api.dropboxapi.com/2/files/";

BareRequest dropboxRequest(const std::string& token) {
  if (!token.empty()) {
    return {std::string(kDropboxFiles) + "list_folder/continue", R"({"cursor":")" + token + "\"}"};
  }
  return {std::string(kDropboxFiles) + "list_folder",
          R"({"path":"/team archive","recursive":false,"include_media_info":false,)"
          R"("include_deleted":false,"include_has_explicit_shared_members":false})"};
}

std::string dropboxFolder(int number) {
  const std::string name = folderName(number);
  return R"(".tag":"folder","name":")" + name + R"(","id":"id:)" + folderId(number, 22) +
         R"(","path_lower":"/team archive/)" + name + R"(","path_display":"/Team archive/)" + name +
         '"';
}

std::string endOfDropboxPage(const std::string& next) {
  const bool isLast = next.empty();
  return R"(,"cursor":")" + (isLast ? "AAH-last" : next) +
         (isLast ? R"(","has_more":false})" : R"(","has_more":true})");
}

constexpr char kAmazonParent[] = "VemloParentNode0000000";

BareRequest amazonRequest(const std::string& token) {
  return {std::string("https://cdws.us-east-1.amazonaws.com/drive/v1/nodes?filters=kind%3AFOLDER"
                      "%20AND%20status%3AAVAILABLE%20AND%20parents%3A%22") +
              kAmazonParent + "%22&sort=%5Bkind%2Cname%5D&limit=100" +
              (token.empty() ? token : "&startToken=" + token),
          ""};
}

std::string amazonFolder(int number) {
  return R"("eTagResponse":")" + folderId(number, 10) + R"(","id":")" + folderId(number, 22) +
         R"(","name":")" + folderName(number) +
         R"(","kind":"FOLDER","version":3,"labels":[],"createdDate":"2015-03-02T10:00:00.000Z",)"
         R"("modifiedDate":"2015-03-02T10:00:00.000Z","createdBy":"ClientId","isShared":false,)"
         R"("parents":[")" +
         kAmazonParent + R"("],"status":"AVAILABLE","restricted":false)";
}

}  // namespace

Listing googleDriveFolders(const ListingSize& size) {
  Drive drive;
  drive.title = "Google Drive";
  drive.paging = {size.entries, 500};
  drive.wire = {googleRequest, "application/json", "files", kIdAndName, "nextPageToken"};
  drive.folder = googleFolder;
  drive.startOfPage = [](const std::string& next) {
    return '{' + member("nextPageToken", next) + "\"files\":[";
  };
  drive.parent = kGoogleParent;
  drive.functions = {"google_drive_list_directory", google_drive_list_directory,
                     libvemlo_google_drive_init, setAccessToken<google_drive_set_token>,
                     libvemlo_google_drive_cleanup};
  return listingOf(drive, size);
}

Listing oneDriveFolders(const ListingSize& size) {
  Drive drive;
  drive.title = "OneDrive";
  drive.paging = {size.entries, 500};
  drive.wire = {oneDriveRequest, "application/json", "value", kIdAndName, "@odata.nextLink"};
  drive.wire.before = {"https://graph.microsoft.com/v1.0/me/drive"};
  drive.referenceTo = nextLink;
  drive.folder = oneDriveFolder;
  drive.startOfPage = [](const std::string& next) {
    return R"({"@odata.context":"https://graph.microsoft.com/v1.0/$metadata#users('me')/drive",)" +
           member("@odata.nextLink", next) + "\"value\":[";
  };
  drive.otherRequest = "GET /v1.0/me/drive HTTP";
  drive.otherResponse =
      R"({"id":"b!Vm9sYXRpbGVEcml2ZUlkRm9y","driveType":"business","name":"OneDrive"})";
  drive.parent = kOneDriveParent;
  drive.functions = {"one_drive_list_directory", one_drive_list_directory, libvemlo_one_drive_init,
                     setAccessToken<one_drive_set_token>, libvemlo_one_drive_cleanup};
  return listingOf(drive, size);
}

Listing dropboxFolders(const ListingSize& size) {
  Drive drive;
  drive.title = "Dropbox";
  drive.paging = {size.entries, 2000};
  drive.wire = {dropboxRequest,
                "application/json",
                "entries",
                {{"name", &directory::name}, {"path_display", &directory::id}},
                "cursor"};
  drive.wire.hasMore = "has_more";
  drive.wire.tag = ".tag";
  drive.folder = dropboxFolder;
  drive.startOfPage = [](const std::string& /*next*/) { return std::string(R"({"entries":[)"); };
  drive.endOfPage = endOfDropboxPage;
  drive.parent = "/team archive";
  drive.functions = {"dropbox_list_directory", dropbox_list_directory, libvemlo_dropbox_init,
                     dropbox_set_token, libvemlo_dropbox_cleanup};
  return listingOf(drive, size);
}

Listing amazonDriveFolders(const ListingSize& size) {
  Drive drive;
  drive.title = "Amazon Drive";
  drive.paging = {size.entries, 100};
  drive.wire = {amazonRequest, "application/x-www-form-urlencoded", "data", kIdAndName,
                "nextToken"};
  drive.folder = amazonFolder;
  drive.startOfPage = [](const std::string& next) {
    return R"({"count":50000,)" + member("nextToken", next) + "\"data\":[";
  };
  // The library requests the endpoint of the account once in a session.
  drive.otherRequest = "GET /drive/v1/account/endpoint ";
  drive.otherResponse =
      R"({"contentUrl":"https://content-na.drive.amazonaws.com/cdproxy/","customerExists":true,)"
      R"("metadataUrl":"https://cdws.us-east-1.amazonaws.com/drive/v1/"})";
  drive.parent = kAmazonParent;
  drive.functions = {"amazon_drive_list_directory", amazon_drive_list_directory,
                     libvemlo_amazon_drive_init, setAccessToken<amazon_drive_set_token>,
                     libvemlo_amazon_drive_cleanup};
  Listing listing = listingOf(drive, size);
  listing.hosts = 2;  // one for the account's endpoint, one for its metadata
  return listing;
}

}  // namespace benchmarks
