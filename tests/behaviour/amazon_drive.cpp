#include "drive.h"
#include "support/amazon_drive_fixture.h"
#include "wire.h"

namespace Behaviour {
namespace {

namespace Http = CloudStorage::Http;
namespace Client = CloudStorage::Client::AmazonDrive;
using TestSupport::response;

using Base =
    Drive<Client::AmazonDriveClient, AmazonDriveRetryStrategy, Client::AmazonDriveErrorMarshaller>;

Service::Facts ownFacts() {
  Service::Facts facts;
  facts.attemptsIfUnreachable = 4;
  return facts;
}

class AmazonDrive : public Base {
 public:
  AmazonDrive() : Base(TestSupport::kAmazonDrive, "parent-1", ownFacts()) {}

  Subject subjectOf(const Http::Request& request) const override {
    const Http::URI& uri = request.uri;
    if (uri.toString() == "https://drive.amazonaws.com/drive/v1/account/endpoint") {
      return Subject::Preparation;
    }
    if (uri.toString() == "https://api.amazon.com/user/profile") return Subject::Profile;
    if (uri.host() != "cdws.us-east-1.amazonaws.com" || uri.path() != "/drive/v1/nodes") {
      return Subject::Unknown;
    }
    if (request.method == Http::Method::Post) {
      return contains(request.body, R"("parents":[")" + parentId() + R"("])") ? Subject::Creation
                                                                              : Subject::Unknown;
    }
    const std::string filters = parameterOf(uri, "filters");
    if (contains(filters, "isRoot:true")) return Subject::Root;
    return contains(filters, R"(parents:")" + parentId() + '"') ? Subject::Page : Subject::Unknown;
  }
  std::string tokenIn(const Http::Request& request) const override {
    return parameterOf(request.uri, "startToken");
  }
  std::string nameIn(const Http::Request& request) const override {
    return memberOf(request, "name");
  }
  Folder folderNamed(const std::string& name, std::size_t number) const override {
    return {"node-" + std::to_string(number), name};
  }

  std::string bodyOf(const Page& page) const override {
    const std::string next = page.next.empty() ? "" : R"("nextToken":")" + page.next + R"(",)";
    return "{" + next + R"("data":[)" + joined(page.folders, ",", node) + "]}";
  }
  Http::Response creationResponse(const Folder& folder) const override {
    return response(201, node(folder));
  }
  std::string bodyAbout(Subject subject) const override {
    if (subject == Subject::Root) return bodyOf({{{"root", ""}}, ""});
    if (subject == Subject::Profile) return R"({"name":"Ann","email":"ann@example.test"})";
    return R"({"contentUrl":"https://content-na.drive.amazonaws.com/cdproxy/","metadataUrl":")" +
           std::string(TestSupport::kMetadataEndpoint) + R"("})";
  }

  Refusal accessDenied() const override { return refusal(403, "ACCESS_DENIED", "Not yours."); }
  Refusal tokenExpired() const override {
    return refusal(401, "TOKEN_EXPIRED", "The token is old.");
  }
  Refusal nameTaken() const override {
    return refusal(409, "NAME_ALREADY_EXISTS", "There is such a node.");
  }

 protected:
  std::optional<std::string> preparationFailureText() const override {
    return "Failed to get Endpoint. error: ";
  }

 private:
  static Refusal refusal(int status, const std::string& code, const std::string& message) {
    return {response(status, R"({"code":")" + code + R"(","message":")" + message + R"("})"),
            {259, code, message, status, false}};
  }
  static std::string node(const Folder& folder) {
    return R"({"id":")" + folder.id + R"(","name":")" + folder.name + R"(","kind":"FOLDER"})";
  }
};

}  // namespace

const Service& amazonDrive() {
  static const AmazonDrive service;
  return service;
}

}  // namespace Behaviour
