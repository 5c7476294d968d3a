#include <gtest/gtest.h>

#include <limits>
#include <locale>
#include <memory>
#include <string>

#include "CloudStorage/Client/OneDrive/DriveItem.h"

namespace {

namespace Model = CloudStorage::Client::OneDrive::Model;
using CloudStorage::Util::IsoTime;

constexpr char kNoTimes[] =
    "{ createdDateTime: 1970-01-01T00:00:00.000000Z, "
    "lastModifiedDateTime: 1970-01-01T00:00:00.000000Z }";
constexpr char kNoFile[] =
    "{ mimeType: , hashes: { crc32Hash: , sha1Hash: , quickXorHash:  }, processingMetadata: 0 }";
constexpr char kNowhere[] = "{ driveId: , Id: , path: , name: , shareId:  }";

/// Formats numbers with a dot after every digit, as the locale of a host may do.
class Grouping : public std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\1"; }
};

class HostLocale {
 public:
  HostLocale() : before_(std::locale::global(std::locale(std::locale(), new Grouping))) {}
  ~HostLocale() { std::locale::global(before_); }
  HostLocale(const HostLocale&) = delete;
  HostLocale& operator=(const HostLocale&) = delete;

 private:
  std::locale before_;
};

TEST(OneDriveText, ReferenceOnOneLine) {
  EXPECT_EQ((Model::ItemReference{"9f3c", "9F3C!1", "/drive/root:", "root", "s!1"}.toString()),
            "{ driveId: 9f3c, Id: 9F3C!1, path: /drive/root:, name: root, shareId: s!1 }");
  EXPECT_EQ(Model::ItemReference().toString(), kNowhere);
}

TEST(OneDriveText, FolderOnOneLine) {
  EXPECT_EQ(Model::FolderFacet{12}.toString(), "{ childCount: 12 }");
  EXPECT_EQ(Model::FolderFacet{-1}.toString(), "{ childCount: -1 }");
  EXPECT_EQ(Model::FolderFacet{std::numeric_limits<std::int64_t>::max()}.toString(),
            "{ childCount: 9223372036854775807 }");
}

TEST(OneDriveText, FileOnOneLine) {
  EXPECT_EQ((Model::FileFacet{"text/plain", {"C", "S", "Q"}, true}.toString()),
            "{ mimeType: text/plain, hashes: { crc32Hash: C, sha1Hash: S, quickXorHash: Q }, "
            "processingMetadata: 1 }");
  EXPECT_EQ(Model::FileFacet().toString(), kNoFile);
}

TEST(OneDriveText, TimesHaveSixDigitsOfFraction) {
  const Model::FileSystemInfo info{IsoTime("2015-03-02T10:00:00Z"),
                                   IsoTime("2024-02-28T10:11:12.3456789Z")};
  EXPECT_EQ(info.toString(),
            "{ createdDateTime: 2015-03-02T10:00:00.000000Z, "
            "lastModifiedDateTime: 2024-02-28T10:11:12.345678Z }");
  EXPECT_EQ(Model::FileSystemInfo().toString(), kNoTimes);
}

TEST(OneDriveText, RemoteItemOnOneLine) {
  Model::RemoteItem item;
  EXPECT_EQ(item.toString(), std::string("{ id: , size: 0, parentReference: ") + kNowhere +
                                 ", folder: { childCount: 0 }, file: " + kNoFile +
                                 ", isFolder: 0, fileSystemInfo: " + kNoTimes + " }");
  item.id = "77AA!9";
  item.size = 10;
  item.parentReference.driveId = "77aa";
  item.folder.childCount = 3;
  item.file.mimeType = "image/png";
  item.isFolder = true;
  item.fileSystemInfo.createdDateTime = IsoTime("2020-01-01T00:00:00Z");
  EXPECT_EQ(item.toString(),
            "{ id: 77AA!9, size: 10, parentReference: { driveId: 77aa, Id: , path: , name: , "
            "shareId:  }, folder: { childCount: 3 }, file: { mimeType: image/png, hashes: "
            "{ crc32Hash: , sha1Hash: , quickXorHash:  }, processingMetadata: 0 }, isFolder: 1, "
            "fileSystemInfo: { createdDateTime: 2020-01-01T00:00:00.000000Z, "
            "lastModifiedDateTime: 1970-01-01T00:00:00.000000Z } }");
}

TEST(OneDriveText, BareItemHasAllLabels) {
  const std::string remote = Model::RemoteItem().toString();
  EXPECT_EQ(Model::DriveItem().toString(),
            "{ id: , name: , eTag: , cTag: , createdDateTime: 1970-01-01T00:00:00.000000Z, "
            "lastModifiedDateTime: 1970-01-01T00:00:00.000000Z, size: 0, parentReference: " +
                std::string(kNowhere) + ", folder: { childCount: 0 }, file: " + kNoFile +
                ", deleted: 0, root: 0, isFolder: 0, fileSystemInfo: " + kNoTimes +
                ", remoteItem: " + remote + " }");
}

TEST(OneDriveText, ItemOnOneLine) {
  Model::DriveItem item;
  item.id = "9F3C!101";
  item.name = "root, { x }";
  item.eTag = "aOUY";
  item.cTag = "adDo";
  item.createdDateTime = IsoTime("2015-01-01T00:00:00Z");
  item.lastModifiedDateTime = IsoTime("2024-02-28T10:11:12.34Z");
  item.size = 123456789012;
  const Model::ItemReference parent{"9f3c", "", "", "", ""};
  item.parentReference = std::make_shared<Model::ItemReference>(parent);
  item.folder.childCount = 12;
  const Model::FileFacet file{"text/plain", {}, false};
  item.file = std::make_shared<Model::FileFacet>(file);
  item.deleted = true;
  const Model::FileSystemInfo times{IsoTime(), IsoTime("2016-01-01T00:00:00Z")};
  item.fileSystemInfo = std::make_shared<Model::FileSystemInfo>(times);
  Model::RemoteItem remote;
  remote.id = "77AA!9";
  item.remoteItem = std::make_shared<Model::RemoteItem>(remote);

  const std::string start =
      "{ id: 9F3C!101, name: root, { x }, eTag: aOUY, cTag: adDo, "
      "createdDateTime: 2015-01-01T00:00:00.000000Z, "
      "lastModifiedDateTime: 2024-02-28T10:11:12.340000Z, size: 123456789012, parentReference: " +
      parent.toString() + ", folder: { childCount: 12 }, file: " + file.toString();
  const std::string end =
      ", fileSystemInfo: " + times.toString() + ", remoteItem: " + remote.toString() + " }";
  EXPECT_EQ(item.toString(), start + ", deleted: 1, root: 0, isFolder: 0" + end);
  item.root = true;
  EXPECT_EQ(item.toString(), start + ", deleted: 1, root: 1, isFolder: 0" + end);
  item.deleted = false;
  item.isFolder = true;
  EXPECT_EQ(item.toString(), start + ", deleted: 0, root: 1, isFolder: 1" + end);
}

TEST(OneDriveText, HostsLocaleDoesNotMatter) {
  const HostLocale locale;
  Model::DriveItem item;
  item.size = 123456;
  item.folder.childCount = 789;
  item.createdDateTime = IsoTime("2015-03-02T10:11:12.345Z");
  const std::string text = item.toString();
  EXPECT_NE(text.find(", size: 123456, "), std::string::npos) << text;
  EXPECT_NE(text.find("{ childCount: 789 }"), std::string::npos) << text;
  EXPECT_NE(text.find("createdDateTime: 2015-03-02T10:11:12.345000Z,"), std::string::npos) << text;
}

}  // namespace
