#include "advice.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "open_library.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using vemlo::Kind;

std::string messageFor(const vemlo::FailureDetails& details, const tool::Caller& caller) {
  return tool::explain("list the folders", vemlo::Failure("", details), caller).what();
}

vemlo::FailureDetails failureOf(vemlo::Service service, Kind kind) {
  vemlo::FailureDetails details;
  details.service = service;
  details.kind = kind;
  details.code = 1;
  return details;
}

std::string driveMessage(Kind kind, const std::string& account = "work") {
  return messageFor(failureOf(vemlo::Service::GoogleDrive, kind),
                    {tool::serviceNamed("google-drive"), account});
}

std::string s3Message(Kind kind, int error = 0, const std::string& account = "") {
  vemlo::FailureDetails details = failureOf(vemlo::Service::S3, kind);
  details.error = error;
  return messageFor(details, {tool::serviceNamed("s3"), account});
}

TEST(Advice, NamesTheAccountToLinkAgain) {
  EXPECT_EQ(driveMessage(Kind::LinkAgain),
            "cannot list the folders: Google Drive no longer accepts the account's tokens; link it "
            "again with `vemlo login google-drive --as work`");
  EXPECT_THAT(driveMessage(Kind::LinkAgain, "google-drive"),
              EndsWith("with `vemlo login google-drive`"));
}

TEST(Advice, TellsARefusedCodeFromRefusedTokens) {
  auto details = failureOf(vemlo::Service::Dropbox, Kind::LinkAgain);
  details.operation = "exchangeAuthorizationCode";
  EXPECT_THAT(messageFor(details, {tool::serviceNamed("dropbox"), "dropbox"}),
              HasSubstr("the code was not accepted; codes are good once"));
}

TEST(Advice, SaysHowLongToWaitIfKnown) {
  auto details = failureOf(vemlo::Service::OneDrive, Kind::Wait);
  const tool::Caller caller{tool::serviceNamed("onedrive"), "work"};
  EXPECT_THAT(messageFor(details, caller), HasSubstr("try again in a few minutes"));
  details.retryAfter = std::chrono::seconds(1);
  EXPECT_THAT(messageFor(details, caller), EndsWith("try again in 1 second"));
  details.retryAfter = std::chrono::seconds(30);
  EXPECT_THAT(messageFor(details, caller), EndsWith("try again in 30 seconds"));
}

TEST(Advice, NamesWhatDeterminesWhereAServiceIs) {
  EXPECT_THAT(driveMessage(Kind::Offline), EndsWith("check the network and the proxy"));
  EXPECT_THAT(s3Message(Kind::Offline), EndsWith("check the network, the proxy and the endpoint"));
  EXPECT_THAT(messageFor(failureOf(vemlo::Service::AzureBlobs, Kind::Offline),
                         {tool::serviceNamed("azure"), ""}),
              EndsWith("check the network, the proxy and the account's name"));
}

TEST(Advice, NamesTheOptionsOfAnAccountThatIsNotLinkedAndTheLoginOfAnother) {
  EXPECT_THAT(s3Message(Kind::WrongKeys), EndsWith("check --access-key and --secret-key-file"));
  EXPECT_THAT(s3Message(Kind::WrongKeys, 0, "work"), EndsWith("`vemlo login s3 --as work`"));
  EXPECT_THAT(s3Message(Kind::WrongRegion), EndsWith("with --signing-region"));
  EXPECT_THAT(s3Message(Kind::WrongRegion, 0, "work"),
              EndsWith("`vemlo login s3 --as work --signing-region ID`"));
}

TEST(Advice, KnowsNumbersThatSayMoreThanTheKind) {
  EXPECT_THAT(s3Message(Kind::WrongKeys, 12), HasSubstr("does not know the access key"));
  EXPECT_THAT(s3Message(Kind::WrongKeys, 13), HasSubstr("the secret key is wrong"));
  EXPECT_THAT(s3Message(Kind::NotFound, 19), HasSubstr("there is no such bucket"));
  EXPECT_THAT(s3Message(Kind::ExistsAlready, 20), HasSubstr("taken by another account"));
  EXPECT_THAT(s3Message(Kind::Quota, 23), HasSubstr("as many buckets as it may have"));
  EXPECT_THAT(s3Message(Kind::WrongRegion, 24), HasSubstr("choose another one with --region"));
}

TEST(Advice, HasASentenceOfItsOwnForEachKind) {
  const std::vector<Kind> kinds{Kind::LinkAgain,   Kind::Wait,           Kind::Offline,
                                Kind::TimedOut,    Kind::NotTrusted,     Kind::Denied,
                                Kind::NotFound,    Kind::ExistsAlready,  Kind::NameNotAllowed,
                                Kind::Quota,       Kind::WrongKeys,      Kind::WrongClock,
                                Kind::WrongRegion, Kind::ServiceTrouble, Kind::NotUnderstood,
                                Kind::Cancelled,   Kind::HostFault};
  std::vector<std::string> messages;
  for (const Kind kind : kinds) {
    EXPECT_THAT(messages, Not(testing::Contains(s3Message(kind)))) << vemlo::nameOf(kind);
    messages.push_back(s3Message(kind));
  }
}

TEST(Advice, TreatsANewKindLikeOneThatIsNotUnderstood) {
  EXPECT_EQ(s3Message(static_cast<Kind>(99)), s3Message(Kind::NotUnderstood));
}

TEST(Advice, EndsWithTheWordsOfTheService) {
  auto details = failureOf(vemlo::Service::S3, Kind::Denied);
  const tool::Caller caller{tool::serviceNamed("s3"), ""};
  details.serviceCode = "AccessDenied";
  EXPECT_THAT(messageFor(details, caller), EndsWith(" (AccessDenied)"));
  details.serviceMessage = "Not for you.";
  EXPECT_THAT(messageFor(details, caller), EndsWith(" (Not for you.)"));
}

TEST(Advice, NamesTheRequestOnlyIfTheLogIsShown) {
  auto details = failureOf(vemlo::Service::S3, Kind::Denied);
  const tool::Caller caller{tool::serviceNamed("s3"), ""};
  details.requestId = "tx-1";
  EXPECT_THAT(messageFor(details, caller), Not(HasSubstr("tx-1")));
  tool::setVerbose(true);
  EXPECT_THAT(messageFor(details, caller), EndsWith(" (request tx-1)"));
  details.serviceCode = "AccessDenied";
  EXPECT_THAT(messageFor(details, caller), EndsWith(" (AccessDenied; request tx-1)"));
  tool::setVerbose(false);
}

TEST(Advice, ExplainsWhatNoRequestHasFailedWith) {
  vemlo::FailureDetails details;
  details.kind = Kind::NotUnderstood;
  details.code = 100;
  const auto failure = tool::explain("find the root folder", vemlo::Failure("no root", details),
                                     {tool::serviceNamed("amazon-drive"), "work"});
  EXPECT_STREQ(failure.what(), "cannot find the root folder: no root");
  EXPECT_EQ(failure.code(), tool::ExitCode::ServiceFailed);
}

}  // namespace
