#include "CloudStorage/Client/Dropbox/DropboxErrorMarshaller.h"

#include "Client/ErrorMarshalling.h"
#include "Util/Json.h"

namespace CloudStorage::Client::Dropbox {
namespace {

/// Codes are paths into nested unions that may grow further segments.
constexpr ErrorRow kRows[] = {
    {401, "missing_scope", CoreErrors::AccessDenied, Resend::Never},
    {401, "route_access_denied", CoreErrors::AccessDenied, Resend::Never},
    {401, "user_suspended", CoreErrors::AccountProblem, Resend::Never},
    {403, "invalid_account_type", CoreErrors::AccountProblem, Resend::Never},
    {409, "path/not_found", CoreErrors::NotFound, Resend::Never},
    {409, "path/malformed_path", CoreErrors::InvalidRequest, Resend::Never},
    {409, "path/no_write_permission", CoreErrors::AccessDenied, Resend::Never},
    {409, "path/insufficient_space", CoreErrors::QuotaExceeded, Resend::Never},
    {422, "no_permission", CoreErrors::AccessDenied, Resend::Never},
};

/// How much of a body that is no JSON is worth showing.
constexpr std::size_t kPlainTextLimit = 256;

/// "path/conflict/folder/..." is "path/conflict/folder": the number of dots is random.
std::string codeOf(std::string_view summary) {
  return std::string(summary.substr(0, summary.find_last_not_of("/.") + 1));
}

/// A sentence that says what is wrong with a request; no page and no JSON of another form.
std::string plainTextOf(std::string_view body) {
  std::string text = Util::oneLine(Util::skipByteOrderMark(body), kPlainTextLimit);
  if (text.find_first_of("<{[") == 0) text.clear();
  return text;
}

ServiceMessage readMessage(const Http::Response& response) {
  const auto texts = Util::Json::texts(response.body, {"error_summary", "user_message/text"});
  const std::string& summary = texts[0];
  const std::string& userMessage = texts[1];
  ServiceMessage said{codeOf(summary), userMessage.empty() ? summary : userMessage};
  if (!said.code.empty() || !said.message.empty()) return said;

  said.message = plainTextOf(response.body);
  if (response.status == 400 && !said.message.empty()) said.code = "bad_input";
  return said;
}

}  // namespace

Error DropboxErrorMarshaller::marshall(const Http::Response& response, Http::Method method) const {
  if (response.failure) return transportError(*response.failure);
  return answerError(response, method, readMessage(response), kRows);
}

}  // namespace CloudStorage::Client::Dropbox
