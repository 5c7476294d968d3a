#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "drive.h"
#include "libvemlo/retry_strategies.h"
#include "support/google_drive_fixture.h"
#include "wire.h"

namespace Behaviour {
namespace {

namespace Http = CloudStorage::Http;
namespace Client = CloudStorage::Client::GoogleDrive;
using TestSupport::googleError;
using TestSupport::response;

using Base =
    Drive<Client::GoogleDriveClient, GoogleDriveRetryStrategy, Client::GoogleDriveErrorMarshaller>;

Service::Facts ownFacts() {
  Service::Facts facts;
  facts.attemptsIfUnreachable = 4;
  facts.twin = Service::Twin::SecondFolder;
  return facts;
}

class GoogleDrive : public Base {
 public:
  GoogleDrive() : Base(TestSupport::kGoogleDrive, "parent-1", ownFacts()) {}

  Subject subjectOf(const Http::Request& request) const override {
    if (request.uri.host() != "www.googleapis.com") return Subject::Unknown;
    if (request.uri.path() == "/drive/v3/files/root") return Subject::Root;
    if (request.uri.path() != "/drive/v3/files") return Subject::Unknown;
    if (request.method == Http::Method::Post) {
      return contains(request.body, R"("parents":[")" + parentId() + R"("])") ? Subject::Creation
                                                                              : Subject::Unknown;
    }
    return startsWith(parameterOf(request.uri, "q"), "'" + parentId() + "' in parents and ")
               ? Subject::Page
               : Subject::Unknown;
  }
  std::string tokenIn(const Http::Request& request) const override {
    return parameterOf(request.uri, "pageToken");
  }
  std::string nameIn(const Http::Request& request) const override {
    return memberOf(request, "name");
  }
  Folder folderNamed(const std::string& name, std::size_t number) const override {
    return {"id-" + std::to_string(number), name};
  }

  std::string bodyOf(const Page& page) const override {
    const std::string next = page.next.empty() ? "" : R"("nextPageToken":")" + page.next + R"(",)";
    return "{" + next + R"("files":[)" + joined(page.folders, ",", file) + "]}";
  }
  Http::Response creationResponse(const Folder& folder) const override {
    return response(200, file(folder));
  }
  std::string bodyAbout(Subject /*subject*/) const override { return file({"root", "My Drive"}); }

  Refusal accessDenied() const override {
    return {response(403, googleError(403, "insufficientFilePermissions")),
            {259, "insufficientFilePermissions", "about insufficientFilePermissions", 403, false}};
  }
  Refusal tokenExpired() const override {
    return {response(401, googleError(401, "authError")),
            {259, "authError", "about authError", 401, false}};
  }

 private:
  static std::string file(const Folder& folder) {
    return R"({"id":")" + folder.id + R"(","name":")" + folder.name + R"("})";
  }
};

}  // namespace

const Service& googleDrive() {
  static const GoogleDrive service;
  return service;
}

}  // namespace Behaviour
