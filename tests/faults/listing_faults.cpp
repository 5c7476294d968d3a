#include "compression.h"
#include "fault.h"

namespace Faults {
namespace {

using Behaviour::Folder;
using Behaviour::Page;
using Behaviour::Service;

/// Responds with a page that `make` returns for the service.
template <typename Make>
Attack respondWithPage(Make make) {
  return [make](Connection& connection, const AttackedRequest& request) {
    return connection.send(TestSupport::httpResponse("200 OK", make(request)));
  };
}

Folder folderOf(const Service& service, const std::string& name) {
  return service.folderNamed(name, 1);
}

/// A page with one folder. Its name is a part of the body as it stands.
Attack respondWithName(const std::string& inJson, const std::string& inXml) {
  return respondWithPage([=](const AttackedRequest& request) {
    const auto& service = request.service;
    const std::string& name = usesXml(request) ? inXml : inJson;
    return service.bodyOf({{folderOf(service, name), folderOf(service, "other")}, ""});
  });
}

/// The body of a page up to its folders, a folder, and the rest.
struct PageParts {
  std::string before;
  std::string folder;
  std::string after;
};

PageParts partsOf(const Service& service) {
  const std::string one = service.bodyOf({{folderOf(service, "f")}, ""});
  const std::string none = service.bodyOf({});
  PageParts parts;
  std::size_t common = 0;
  while (one[common] == none[common]) ++common;
  if (one[common - 1] == '<') --common;  // of the tags that follow
  const std::size_t length = one.size() - none.size();
  parts.before = one.substr(0, common);
  parts.folder = one.substr(common, length);
  parts.after = one.substr(common + length);
  if (service.facts.usesTokens) parts.folder += ',';
  return parts;
}

std::string pageOf(const PageParts& parts, const std::string& unit, std::size_t times,
                   const std::string& last) {
  return parts.before + repeated(unit, times) + last + parts.after;
}

/// More folders than any service was asked for.
std::string tooManyFolders(const AttackedRequest& request) {
  const PageParts parts = partsOf(request.service);
  const std::string last = usesXml(request) ? "" : parts.folder.substr(0, parts.folder.size() - 1);
  return pageOf(parts, parts.folder, 120'000, last);
}

/// As many entries as fit into a response, without what they should contain.
std::string emptyEntries(const AttackedRequest& request) {
  const std::string name = request.service.facts.name;
  const std::string tag = name == "S3" ? "<CommonPrefixes/>" : "<BlobPrefix/>";
  const bool isXml = usesXml(request);
  return pageOf(partsOf(request.service), isXml ? tag : "{},", isXml ? 1'900'000 : 11'000'000,
                isXml ? "" : "{}");
}

bool respondWithGzippedEntries(Connection& connection, const AttackedRequest& request) {
  const PageParts parts = partsOf(request.service);
  const std::string body = gzip(parts.before, repeated("{},", 11'000), 1'000, "{}" + parts.after);
  return connection.send(TestSupport::httpResponse("200 OK", body, "Content-Encoding: gzip\r\n"));
}

/// Entries that lack what a host addresses them by, beside a good one.
std::string entriesWithoutIdentity(const AttackedRequest& request) {
  const std::string name = request.service.facts.name;
  const PageParts parts = partsOf(request.service);
  if (name == "S3") return pageOf(parts, "<CommonPrefixes/>", 3, parts.folder);
  if (name == "AzureBlobs") return pageOf(parts, "<BlobPrefix/>", 3, parts.folder);
  return pageOf(parts, R"({"name":"n",".tag":"folder"},null,7,"text",[],{},)", 3,
                parts.folder.substr(0, parts.folder.size() - 1));
}

/// Two lists where there should be one.
std::string twoLists(const AttackedRequest& request) {
  const std::string name = request.service.facts.name;
  const PageParts parts = partsOf(request.service);
  if (name == "S3") return pageOf(parts, parts.folder, 2, "");
  if (name == "AzureBlobs") return pageOf(parts, parts.folder + "</Blobs><Blobs>", 1, parts.folder);
  const std::string folder = parts.folder.substr(0, parts.folder.size() - 1);
  const std::string listName =
      parts.before.substr(parts.before.rfind('"', parts.before.size() - 4));
  return pageOf(parts, folder + "]," + listName, 1, folder);
}

/// From the second page on, the page follows that was just requested.
Fault repeatedContinuation() {
  Fault fault("RepeatedContinuation", respondWithPage([](const AttackedRequest& request) {
                const auto& service = request.service;
                return service.bodyOf({{folderOf(service, "f")}, "page-2"});
              }));
  fault.isOfLaterPages = true;
  return fault;
}

/// Other members of an entry, with values that no client can represent.
Attack respondWithOddMembers() {
  const std::string json =
      R"(n","size":123456789012345678901234567890,"childCount":1e999,"createdDate":"99999-99-99",)"
      R"("createdDateTime":"+99999999999-13-45T99:99:99.9999999999999999999Z",)"
      R"("client_modified":"-1","server_modified":{"a":[]},"contentProperties":[1],"x":")";
  const std::string s3 =
      "n/</Prefix></CommonPrefixes><Contents><Key>k</Key><Size>-99999999999999999999999</Size>"
      "<LastModified>99999-99-99T99:99:99Z</LastModified></Contents><CommonPrefixes><Prefix>m";
  const std::string azure =
      "n/</Name></BlobPrefix><Blob><Name>b</Name><Properties><Last-Modified>Foo, 99 Bar 99999"
      "</Last-Modified><Content-Length>1e99</Content-Length></Properties></Blob><BlobPrefix><Name>"
      "m";
  return respondWithPage([=](const AttackedRequest& request) {
    const auto& service = request.service;
    const bool isS3 = std::string(service.facts.name) == "S3";
    return service.bodyOf({{folderOf(service, usesXml(request) ? (isS3 ? s3 : azure) : json)}, ""});
  });
}

Fault hungry(Fault fault) {
  // What a parser of a body of 32 MiB needs. It is released afterwards.
  fault.maxGrowthMebibytes = 400;
  return fault;
}

}  // namespace

std::vector<Fault> listingFaults() {
  std::vector<Fault> faults = {
      repeatedContinuation(),
      {"TooManyFolders", respondWithPage(tooManyFolders)},
      hungry({"EmptyEntries", respondWithPage(emptyEntries)}),
      hungry(Fault("GzippedEmptyEntries", respondWithGzippedEntries).onlyFor(kDriveListing)),
      Fault("EntriesWithoutIdentity", respondWithPage(entriesWithoutIdentity))
          .survivedBy(kListings),
      Fault("TwoLists", respondWithPage(twoLists)).survivedBy(kListings),
      Fault("OddMembers", respondWithOddMembers()).survivedBy(kListings),
      Fault("LoneSurrogate", respondWithName("a\\ud800b", "a&#xD800;b")).survivedBy(kListings),
      Fault("ZeroInName", respondWithName("a\\u0000b", "a&#0;b")).survivedBy(kListings),
      Fault("ControlInName", respondWithName("a\\u0007b", "a&#7;b")).survivedBy(kListings),
      Fault("LongName", respondWithName(std::string(1U << 20U, 'n'), std::string(1U << 20U, 'n')))
          .survivedBy(kListings),
      {"BrokenEscape", respondWithName("a\\u12xyb", "a</b")},
  };
  for (Fault& fault : faults) fault.calls &= kListings;
  return faults;
}

}  // namespace Faults
