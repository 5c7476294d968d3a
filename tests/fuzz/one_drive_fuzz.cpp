#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Client/OneDrive/OneDriveAnswers.h"
#include "error_checks.h"

namespace {

namespace OneDrive = CloudStorage::Client::OneDrive;
using CloudStorage::Client::Error;
using CloudStorage::Http::Response;
using ErrorChecks::require;

template <typename Result>
using Parser = std::optional<Error> (*)(Response&, Result&);

// False if the response is refused; the error must have a message.
template <typename Result>
bool parse(std::string_view body, Parser<Result> parser, Result& result) {
  Response response;
  response.status = 200;
  response.body = body;
  const auto error = parser(response, result);
  if (!error) return true;
  require(error->errorType == CloudStorage::Client::CoreErrors::LocalFailure);
  require(error->exceptionName == "MalformedResponse");
  ErrorChecks::checkLine(error->message);
  return false;
}

// Texts become C strings and must lie within the storage of the result: toString() reads all.
void checkItem(const OneDrive::Model::DriveItem& item) {
  require(item.toString().find('\0') == std::string::npos);
}

std::size_t countOf(std::string_view body, Parser<OneDrive::Model::ListChildrenResult> parser) {
  OneDrive::Model::ListChildrenResult page;
  if (!parse(body, parser, page)) return 0;
  for (const auto& item : page.items) checkItem(item);
  require(page.nextToken.find('\0') == std::string::npos);
  return page.items.size();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view body(reinterpret_cast<const char*>(data), size);
  OneDrive::Model::DriveItem item;
  if (parse(body, OneDrive::parseItem, item)) {
    require(!item.id.empty());
    checkItem(item);
  }
  OneDrive::Model::DriveMetadata drive;
  if (parse(body, OneDrive::parseDrive, drive)) {
    require(drive.driveType.find('\0') == std::string::npos);
  }
  const std::size_t folders = countOf(body, OneDrive::parseFolders);
  const std::size_t both = countOf(body, OneDrive::parseFoldersAndRemoteItems);
  require(folders <= both && both <= countOf(body, OneDrive::parseChildren));
  return 0;
}
