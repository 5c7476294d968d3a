#include <array>
#include <memory>

#include "bare_drive_client.h"
#include "listing.h"
#include "paging.h"

namespace benchmarks {
namespace {

/// A drive as its service and the library know it.
struct Drive {
  std::string title;
  DriveListing wire;
  Paging paging;
  /// What the service calls the next page, by the token that stands in it.
  std::string (*spell)(const std::string& token);
  /// A folder as the service has it, and what surrounds the folders of a page.
  std::string (*folder)(int number);
  std::string (*beginningOfPage)(const std::string& nextToken);
  std::string (*endOfPage)(const std::string& nextToken);
  /// How requests for something else begin, and the answer to them.
  std::string otherRequest;
  std::string otherAnswer;

  std::string parent;
  std::string function;
  session* (*open)(const proxy_setting* proxy);
  void (*setToken)(session* handle, const char* accessToken);
  int (*list)(session* handle, const directory* parent, directory** folders, int* count);
  void (*close)(session* handle);
};

// 10 to 26 characters, in a third of the names some that are not ASCII.
std::string folderName(int number) {
  static const std::array<std::string, 6> kinds = {
      "Photos ",          "Urlaub in Österreich ", "Invoices and receipts ",
      "Project archive ", "Документы по проекту ", "Scans "};
  return kinds[static_cast<std::size_t>(number) % kinds.size()] + std::to_string(10'000 + number);
}

// Letters and digits, as good as random.
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

std::string asItIs(const std::string& token) { return token; }

std::string member(const std::string& name, const std::string& text) {
  return text.empty() ? text : '"' + name + "\":\"" + text + "\",";
}

Site makeSite(const Drive& drive, const ListingSize& size) {
  const std::string ballast =
      member("note", std::string(static_cast<std::size_t>(size.ballast), '-'));
  const auto others = static_cast<std::size_t>(drive.paging.pages());
  Site site{"application/json; charset=utf-8",
            {},
            [request = drive.otherRequest, others](std::string_view received) {
              const bool isOther =
                  !request.empty() && received.substr(0, request.size()) == request;
              return isOther ? others : pageAskedFor(received);
            }};
  for (int page = 0; page < drive.paging.pages(); ++page) {
    const std::string next = drive.spell(drive.paging.token(page + 1));
    std::string text = drive.beginningOfPage(next);
    for (int i = drive.paging.firstOf(page); i < drive.paging.endOf(page); ++i) {
      text += '{' + ballast + drive.folder(i) + "},";
    }
    text.back() = ']';
    site.pages.push_back(text + drive.endOfPage(next));
  }
  site.pages.push_back(drive.otherAnswer);
  return site;
}

ListingWay pagesDropped(const Drive& drive) {
  return {"libcurl, pages dropped", [drive](const Route& route) {
            const auto client = std::make_shared<BareDriveClient>(route, drive.wire);
            return [drive, client] {
              for (int page = 0; page < drive.paging.pages(); ++page) {
                client->fetchAndDrop(drive.spell(drive.paging.token(page)));
              }
              return Records();
            };
          }};
}

ListingWay yardstick(const Drive& drive, const Served& served) {
  return {"libcurl + simdjson + records", [drive, served](const Route& route) {
            const auto client = std::make_shared<BareDriveClient>(route, drive.wire);
            return [client, served] {
              int count = 0;
              directory* folders = client->listFolders(count);
              return own(folders, count, served);
            };
          }};
}

ListingWay throughLibrary(const Drive& drive, const Served& served) {
  const auto list = [drive, served](session* handle) {
    std::string id = drive.parent;
    const directory parent{nullptr, id.data()};
    directory* folders = nullptr;
    int count = 0;
    drive.list(handle, &parent, &folders, &count);
    return own(folders, count, served);
  };
  const auto open = [drive](const Route& /*route*/, const proxy_setting* proxy) {
    session* handle = drive.open(proxy);
    drive.setToken(handle, accessToken().c_str());
    return handle;
  };
  return libraryWay(drive.function, open, drive.close, list);
}

Listing listingOf(const Drive& drive, const ListingSize& size) {
  const Served served{size.entries, folderName};
  return {std::to_string(size.entries) + " folders of " + drive.title,
          size.entries,
          Route::Kind::TlsThroughProxy,
          [drive, size] { return makeSite(drive, size); },
          {pagesDropped(drive), yardstick(drive, served), throughLibrary(drive, served)}};
}

constexpr char kGoogleParent[] = "0AFvRootId9PVAbcdefghijklmnopqrst";

BareRequest googleRequest(const std::string& token) {
  return {"https://www.googleapis.com/drive/v3/files?orderBy=folder%2Cname&pageSize=500" +
              (token.empty() ? token : "&pageToken=" + token) + "&q=%27" + kGoogleParent +
              "%27%20in%20parents%20and%20trashed%20%3D%20false%20and%20mimeType%20%3D%20%27"
              "application%2Fvnd.google-apps.folder%27&fields=nextPageToken%2Cfiles%28id%2Cname%29"
              "&supportsAllDrives=true&includeItemsFromAllDrives=true",
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

std::string endOfDropboxPage(const std::string& nextToken) {
  const bool isLast = nextToken.empty();
  return R"(,"cursor":")" + (isLast ? "AAH-last" : nextToken) +
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
  drive.wire = {googleRequest,
                "application/json",
                "files",
                {{"id", &directory::id}, {"name", &directory::name}},
                "nextPageToken"};
  drive.spell = asItIs;
  drive.folder = googleFolder;
  drive.beginningOfPage = [](const std::string& nextToken) {
    return '{' + member("nextPageToken", nextToken) + "\"files\":[";
  };
  drive.endOfPage = [](const std::string& /*nextToken*/) { return std::string("}"); };
  drive.parent = kGoogleParent;
  drive.function = "google_drive_list_directory";
  drive.open = libvemlo_google_drive_init;
  drive.setToken = [](session* handle, const char* token) {
    google_drive_set_token(handle, token, "");
  };
  drive.list = google_drive_list_directory;
  drive.close = libvemlo_google_drive_cleanup;
  return listingOf(drive, size);
}

Listing oneDriveFolders(const ListingSize& size) {
  Drive drive;
  drive.title = "OneDrive";
  drive.paging = {size.entries, 500};
  drive.wire = {oneDriveRequest,
                "application/json",
                "value",
                {{"id", &directory::id}, {"name", &directory::name}},
                "@odata.nextLink"};
  drive.wire.before = {"https://graph.microsoft.com/v1.0/me/drive"};
  drive.spell = nextLink;
  drive.folder = oneDriveFolder;
  drive.beginningOfPage = [](const std::string& nextToken) {
    return R"({"@odata.context":"https://graph.microsoft.com/v1.0/$metadata#users('me')/drive",)" +
           member("@odata.nextLink", nextToken) + "\"value\":[";
  };
  drive.endOfPage = [](const std::string& /*nextToken*/) { return std::string("}"); };
  drive.otherRequest = "GET /v1.0/me/drive HTTP";
  drive.otherAnswer =
      R"({"id":"b!Vm9sYXRpbGVEcml2ZUlkRm9y","driveType":"business","name":"OneDrive"})";
  drive.parent = kOneDriveParent;
  drive.function = "one_drive_list_directory";
  drive.open = libvemlo_one_drive_init;
  drive.setToken = [](session* handle, const char* token) {
    one_drive_set_token(handle, token, "");
  };
  drive.list = one_drive_list_directory;
  drive.close = libvemlo_one_drive_cleanup;
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
  drive.spell = asItIs;
  drive.folder = dropboxFolder;
  drive.beginningOfPage = [](const std::string& /*nextToken*/) {
    return std::string(R"({"entries":[)");
  };
  drive.endOfPage = endOfDropboxPage;
  drive.parent = "/team archive";
  drive.function = "dropbox_list_directory";
  drive.open = libvemlo_dropbox_init;
  drive.setToken = [](session* handle, const char* token) { dropbox_set_token(handle, token); };
  drive.list = dropbox_list_directory;
  drive.close = libvemlo_dropbox_cleanup;
  return listingOf(drive, size);
}

Listing amazonDriveFolders(const ListingSize& size) {
  Drive drive;
  drive.title = "Amazon Drive";
  drive.paging = {size.entries, 100};
  drive.wire = {amazonRequest,
                "application/x-www-form-urlencoded",
                "data",
                {{"id", &directory::id}, {"name", &directory::name}},
                "nextToken"};
  drive.spell = asItIs;
  drive.folder = amazonFolder;
  drive.beginningOfPage = [](const std::string& nextToken) {
    return R"({"count":50000,)" + member("nextToken", nextToken) + "\"data\":[";
  };
  drive.endOfPage = [](const std::string& /*nextToken*/) { return std::string("}"); };
  // The library asks once a session where the account is.
  drive.otherRequest = "GET /drive/v1/account/endpoint ";
  drive.otherAnswer =
      R"({"contentUrl":"https://content-na.drive.amazonaws.com/cdproxy/","customerExists":true,)"
      R"("metadataUrl":"https://cdws.us-east-1.amazonaws.com/drive/v1/"})";
  drive.parent = kAmazonParent;
  drive.function = "amazon_drive_list_directory";
  drive.open = libvemlo_amazon_drive_init;
  drive.setToken = [](session* handle, const char* token) {
    amazon_drive_set_token(handle, token, "");
  };
  drive.list = amazon_drive_list_directory;
  drive.close = libvemlo_amazon_drive_cleanup;
  Listing listing = listingOf(drive, size);
  listing.hosts = 2;  // where the account is, and the account
  return listing;
}

}  // namespace benchmarks
