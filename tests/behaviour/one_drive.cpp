#include "drive.h"
#include "support/one_drive_fixture.h"
#include "wire.h"

namespace Behaviour {
namespace {

namespace Http = CloudStorage::Http;
namespace Client = CloudStorage::Client::OneDrive;
using TestSupport::graphError;
using TestSupport::response;

using Base = Drive<Client::OneDriveClient, OneDriveRetryStrategy, Client::OneDriveErrorMarshaller>;

constexpr char kDrive[] = "/v1.0/me/drive";
constexpr char kRoot[] = "/v1.0/me/drive/items/root";
constexpr char kChildren[] = "/v1.0/me/drive/items/parent-1/children";

class OneDrive : public Base {
 public:
  OneDrive() : Base(TestSupport::kOneDrive, "parent-1") {}

  Subject subjectOf(const Http::Request& request) const override {
    const std::string& path = request.uri.path();
    if (request.uri.host() != "graph.microsoft.com") return Subject::Unknown;
    if (path == kDrive) return Subject::Preparation;
    if (path == kRoot) return Subject::Root;
    if (path != kChildren) return Subject::Unknown;
    return request.method == Http::Method::Post ? Subject::Creation : Subject::Page;
  }
  std::string tokenIn(const Http::Request& request) const override {
    return parameterOf(request.uri, "$skiptoken");
  }
  std::string nameIn(const Http::Request& request) const override {
    return memberOf(request, "name");
  }
  Folder folderNamed(const std::string& name, std::size_t number) const override {
    return {"item-" + std::to_string(number), name};
  }

  std::string bodyOf(const Page& page) const override {
    const std::string next =
        page.next.empty() ? ""
                          : R"("@odata.nextLink":"https://graph.microsoft.com)" +
                                std::string(kChildren) + "?$skiptoken=" + page.next + R"(",)";
    return "{" + next + R"("value":[)" + joined(page.folders, ",", item) + "]}";
  }
  Http::Response creationResponse(const Folder& folder) const override {
    return response(201, item(folder));
  }
  std::string bodyAbout(Subject subject) const override {
    if (subject == Subject::Root) return item({"root-1", "root"});
    return R"({"id":"drive-1","driveType":"personal"})";
  }

  Refusal accessDenied() const override { return refusal(403, 15, "accessDenied"); }
  Refusal tokenExpired() const override { return refusal(401, 11, "InvalidAuthenticationToken"); }
  Refusal nameTaken() const override { return refusal(409, 9, "nameAlreadyExists"); }

 protected:
  std::optional<std::string> listingPreparationFailureText() const override {
    return "Failed to get Drive Metadata. error: ";
  }

 private:
  static Refusal refusal(int status, int type, const std::string& code) {
    return {response(status, graphError(code)), {type, code, "about " + code, status, false}};
  }
  static std::string item(const Folder& folder) {
    return R"({"id":")" + folder.id + R"(","name":")" + folder.name + R"(","folder":{}})";
  }
};

}  // namespace

const Service& oneDrive() {
  static const OneDrive service;
  return service;
}

}  // namespace Behaviour
