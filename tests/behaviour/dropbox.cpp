#include "drive.h"
#include "support/dropbox_fixture.h"
#include "wire.h"

namespace Behaviour {
namespace {

namespace Http = CloudStorage::Http;
namespace Client = CloudStorage::Client::Dropbox;
using TestSupport::dropboxError;
using TestSupport::response;

using Base = Drive<Client::DropboxClient, DropboxRetryStrategy, Client::DropboxErrorMarshaller>;

constexpr char kParent[] = "/parent";

class Dropbox : public Base {
 public:
  Dropbox() : Base(TestSupport::kDropbox, kParent) {}

  Subject subjectOf(const Http::Request& request) const override {
    const std::string address = request.uri.toString();
    const std::string path = memberOf(request, "path");
    if (address == "https://api.dropboxapi.com/2/files/list_folder/continue") return Subject::Page;
    if (address == "https://api.dropboxapi.com/2/files/list_folder") {
      return path == kParent ? Subject::Page : Subject::Unknown;
    }
    if (address != "https://api.dropboxapi.com/2/files/create_folder_v2") return Subject::Unknown;
    return startsWith(path, folderPath("")) ? Subject::Creation : Subject::Unknown;
  }
  std::string tokenIn(const Http::Request& request) const override {
    return memberOf(request, "cursor");
  }
  std::string nameIn(const Http::Request& request) const override {
    return memberOf(request, "path").substr(folderPath("").size());
  }
  Folder folderNamed(const std::string& name, std::size_t /*number*/) const override {
    return {folderPath(name), name};
  }

  std::string bodyOf(const Page& page) const override {
    const std::string next = page.next.empty() ? R"("at the end","has_more":false)"
                                               : '"' + page.next + R"(","has_more":true)";
    return R"({"cursor":)" + next + R"(,"entries":[)" + joined(page.folders, ",", entry) + "]}";
  }
  Http::Response creationResponse(const Folder& folder) const override {
    return response(200, R"({"metadata":)" + entry(folder) + "}");
  }
  std::string bodyAbout(Subject /*subject*/) const override { return {}; }

  Refusal accessDenied() const override { return refusal(409, 15, "path/no_write_permission"); }
  Refusal tokenExpired() const override { return refusal(401, 11, "expired_access_token"); }
  Refusal nameTaken() const override { return refusal(409, 9, "path/conflict/folder"); }

 private:
  static Refusal refusal(int status, int type, const std::string& code) {
    return {response(status, dropboxError(code)), {type, code, code + "/...", status, false}};
  }
  static std::string folderPath(const std::string& name) { return kParent + ('/' + name); }
  static std::string entry(const Folder& folder) {
    return R"({".tag":"folder","name":")" + folder.name + R"(","id":"id:)" + folder.name +
           R"(","path_lower":")" + folder.id + R"(","path_display":")" + folder.id + R"("})";
  }
};

}  // namespace

const Service& dropbox() {
  static const Dropbox service;
  return service;
}

}  // namespace Behaviour
