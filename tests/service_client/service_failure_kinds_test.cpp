#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "Util/Time.h"
#include "support/responses.h"

// The kinds of failures that depend on more than a status and a code.
namespace {

using namespace CloudStorage::Client;  // NOLINT: everything under test
using CloudStorage::Http::HeaderValueCollection;
using CloudStorage::Http::Method;
using CloudStorage::Http::Response;
using TestSupport::response;
using Kind = FailureKind;
using Reason = CloudStorage::Http::TransportFailure::Kind;

template <typename Marshaller>
Kind kindOf(const Response& failed, Method method = Method::Get) {
  return Marshaller().marshall(failed, method).kind;
}

Kind kindOfAzure(std::chrono::system_clock::time_point date) {
  return kindOf<AzureSSB::AzureSSBErrorMarshaller>(
      response(403, "",
               {{"x-ms-error-code", "AuthenticationFailed"},
                {"date", CloudStorage::Util::formatHttpDate(date)}}));
}

TEST(KindOfAzureFailure, IsTheClockIfItDiffersByMoreThan15Minutes) {
  const auto now = std::chrono::system_clock::now();
  EXPECT_EQ(kindOfAzure(now - std::chrono::minutes(16)), Kind::WrongClock);
  EXPECT_EQ(kindOfAzure(now + std::chrono::minutes(16)), Kind::WrongClock);
  EXPECT_EQ(kindOfAzure(now - std::chrono::minutes(14)), Kind::WrongKeys);
  EXPECT_EQ(kindOfAzure(now + std::chrono::minutes(14)), Kind::WrongKeys);
}

TEST(KindOfAzureFailure, IsTheKeyIfTheServiceStatesNoUsableDate) {
  for (const HeaderValueCollection& date : {HeaderValueCollection{}, {{"date", "yesterday"}}}) {
    HeaderValueCollection headers = date;
    headers["x-ms-error-code"] = "AuthenticationFailed";
    EXPECT_EQ(kindOf<AzureSSB::AzureSSBErrorMarshaller>(response(403, "", headers)),
              Kind::WrongKeys);
  }
}

TEST(KindOfAzureFailure, DateOfOtherFailuresIsIgnored) {
  EXPECT_EQ(kindOf<AzureSSB::AzureSSBErrorMarshaller>(
                response(403, "",
                         {{"x-ms-error-code", "AuthorizationFailure"},
                          {"date", "Thu, 29 Feb 2024 08:30:15 GMT"}})),
            Kind::Denied);
}

std::string graphError(const std::string& code, const std::string& inner = {}) {
  return R"({"error":{"code":")" + code + R"(","message":"m","innerError":{)" +
         (inner.empty() ? "" : R"("code":")" + inner + '"') + "}}}";
}

TEST(KindOfOneDriveFailure, CreationThatIsInvalidHasABadName) {
  const auto kindOfCreation = [](const std::string& code) {
    return kindOf<OneDrive::OneDriveErrorMarshaller>(response(400, graphError(code)), Method::Post);
  };
  EXPECT_EQ(kindOfCreation("invalidRequest"), Kind::NameNotAllowed);
  EXPECT_EQ(kindOfCreation("BadRequest"), Kind::NameNotAllowed);
  EXPECT_EQ(kindOf<OneDrive::OneDriveErrorMarshaller>(response(400, graphError("invalidRequest"))),
            Kind::NotUnderstood)
      << "a listing has no name";
  EXPECT_EQ(kindOf<OneDrive::OneDriveErrorMarshaller>(response(415, graphError("invalidRequest")),
                                                      Method::Post),
            Kind::NotUnderstood);
}

TEST(KindOfOneDriveFailure, InnerCodeHasPrecedence) {
  for (const char* member : {"innerError", "innererror"}) {
    const std::string body = std::string(R"({"error":{"code":"invalidRequest",")") + member +
                             R"(":{"code":"pathIsTooLong"}}})";
    const Error error =
        OneDrive::OneDriveErrorMarshaller().marshall(response(400, body), Method::Get);
    EXPECT_EQ(error.kind, Kind::NameNotAllowed) << member;
    EXPECT_EQ(error.exceptionName, "invalidRequest");
    EXPECT_EQ(error.errorType, CoreErrors::InvalidRequest);
  }
}

TEST(KindOfOneDriveFailure, UnknownInnerCodeIsIgnored) {
  EXPECT_EQ(kindOf<OneDrive::OneDriveErrorMarshaller>(
                response(409, graphError("nameAlreadyExists", "unheardOf"))),
            Kind::ExistsAlready);
}

TEST(KindOfAmazonDriveFailure, CreationThatIsInvalidHasABadName) {
  const Response invalid = response(400, R"({"code":"","message":"bad"})");
  EXPECT_EQ(kindOf<AmazonDrive::AmazonDriveErrorMarshaller>(invalid, Method::Post),
            Kind::NameNotAllowed);
  EXPECT_EQ(kindOf<AmazonDrive::AmazonDriveErrorMarshaller>(invalid), Kind::NotUnderstood);
}

TEST(KindOfAmazonDriveFailure, ConflictIsThatOfANameWhateverItsCode) {
  EXPECT_EQ(kindOf<AmazonDrive::AmazonDriveErrorMarshaller>(
                response(409, R"({"code":"NAME_ALREADY_EXISTS","message":"m"})"), Method::Post),
            Kind::ExistsAlready);
}

TEST(KindOfGoogleDriveFailure, IsTheReasonAmongTheDetails) {
  const char* const details[] = {
      R"([{"reason":"SERVICE_DISABLED"}])",
      R"([{"links":[]},{"reason":"SERVICE_DISABLED"}])",
  };
  for (const char* list : details) {
    const std::string body =
        std::string(R"({"error":{"code":403,"status":"PERMISSION_DENIED","details":)") + list +
        "}}";
    const Error error =
        GoogleDrive::GoogleDriveErrorMarshaller().marshall(response(403, body), Method::Get);
    EXPECT_EQ(error.kind, Kind::HostFault) << list;
    EXPECT_EQ(error.exceptionName, "PERMISSION_DENIED");
  }
  EXPECT_EQ(kindOf<GoogleDrive::GoogleDriveErrorMarshaller>(
                response(403, R"({"error":{"status":"PERMISSION_DENIED","details":[{}]}})")),
            Kind::Denied);
}

TEST(KindOfDropboxFailure, IsReadFromThePlainTextAboutAnInvalidRequest) {
  const auto kindOfText = [](const char* text) {
    return kindOf<Dropbox::DropboxErrorMarshaller>(
        response(400, text, {{"content-type", "text/plain"}}), Method::Post);
  };
  EXPECT_EQ(kindOfText("Error in call to API function \"files/list_folder\": The given OAuth 2 "
                       "access token is malformed."),
            Kind::LinkAgain);
  EXPECT_EQ(kindOfText("Error in call to API function \"files/list_folder\": Invalid authorization "
                       "value in HTTP header \"Authorization\": \"Bearer\"."),
            Kind::LinkAgain);
  EXPECT_EQ(kindOfText("Error in call to API function \"files/create_folder_v2\": request body: "
                       "path: 'a' did not match pattern '(/(.|[\\r\\n])*)|(ns:[0-9]+(/.*)?)'"),
            Kind::NameNotAllowed);
  EXPECT_EQ(kindOfText("Error in call to API function \"files/create_folder_v2\": request body: "
                       "path: 'The access token is malformed' did not match pattern 'x'"),
            Kind::NameNotAllowed);
  EXPECT_EQ(kindOfText("Error in call to API function \"x\": request body: could not decode"),
            Kind::NotUnderstood);
}

TEST(KindOfDropboxFailure, AllConflictsOfPathsExistAlready) {
  for (const char* code : {"path/conflict", "path/conflict/folder", "path/conflict/file/team"}) {
    EXPECT_EQ(kindOf<Dropbox::DropboxErrorMarshaller>(response(
                  409, std::string(R"({"error_summary":")") + code + R"(/..","error":{}})")),
              Kind::ExistsAlready)
        << code;
  }
}

TEST(KindOfDropboxFailure, MissingScopeIsDeniedThoughItsStatusIs401) {
  EXPECT_EQ(kindOf<Dropbox::DropboxErrorMarshaller>(
                response(401, R"({"error_summary":"missing_scope/.","error":{}})")),
            Kind::Denied);
}

std::vector<std::unique_ptr<WSErrorMarshaller>> allMarshallers() {
  std::vector<std::unique_ptr<WSErrorMarshaller>> all;
  all.push_back(std::make_unique<S3::S3ErrorMarshaller>());
  all.push_back(std::make_unique<AzureSSB::AzureSSBErrorMarshaller>());
  all.push_back(std::make_unique<AmazonDrive::AmazonDriveErrorMarshaller>());
  all.push_back(std::make_unique<GoogleDrive::GoogleDriveErrorMarshaller>());
  all.push_back(std::make_unique<OneDrive::OneDriveErrorMarshaller>());
  all.push_back(std::make_unique<Dropbox::DropboxErrorMarshaller>());
  return all;
}

TEST(KindOfTransportFailure, IsTheSameForAllServices) {
  const struct {
    Reason reason;
    const char* name;
    Kind kind;
  } expectations[] = {
      {Reason::Unreachable, "CURLE_COULDNT_CONNECT", Kind::Offline},
      {Reason::Interrupted, "CURLE_RECV_ERROR", Kind::Offline},
      {Reason::Timeout, "CURLE_OPERATION_TIMEDOUT", Kind::TimedOut},
      {Reason::Untrusted, "CURLE_PEER_FAILED_VERIFICATION", Kind::NotTrusted},
      {Reason::ResponseTooLarge, "ResponseTooLarge", Kind::NotUnderstood},
      {Reason::Refused, "CURLE_OUT_OF_MEMORY", Kind::HostFault},
      {Reason::Refused, "MalformedResponse", Kind::NotUnderstood},
  };
  for (const auto& marshaller : allMarshallers()) {
    for (const auto& [reason, name, kind] : expectations) {
      const Error error =
          marshaller->marshall(TestSupport::failedResponse(reason, name, "m", true), Method::Get);
      EXPECT_EQ(error.kind, kind) << name << ' ' << static_cast<int>(marshaller->service());
    }
  }
}

TEST(RequestId, IsTakenFromTheHeaderThatAServiceSends) {
  for (const char* name : {"x-amz-request-id", "x-ms-request-id", "request-id",
                           "x-dropbox-request-id", "x-amzn-requestid", "x-guploader-uploadid"}) {
    for (const auto& marshaller : allMarshallers()) {
      const Error error = marshaller->marshall(response(500, "", {{name, "id-1"}}), Method::Get);
      EXPECT_EQ(error.requestId, "id-1") << name;
    }
  }
}

TEST(RequestId, IsEmptyIfThereIsNone) {
  for (const auto& marshaller : allMarshallers()) {
    EXPECT_EQ(marshaller->marshall(response(500), Method::Get).requestId, "");
  }
}

}  // namespace
