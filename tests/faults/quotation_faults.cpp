#include "fault.h"
#include "secrets.h"

// Responses that quote the secrets of their request.
namespace Faults {
namespace {

using Behaviour::Service;

/// The body of a failure with this message.
std::string errorBody(const AttackedRequest& request, const std::string& message) {
  if (!request.request.body.empty() && request.request.body.find("grant_type=") == 0) {
    return R"({"error":"invalid_grant","error_description":")" + message + R"("})";
  }
  const auto denied = request.service.accessDenied();
  std::string body = denied.response.body;
  const auto position = body.find(denied.failure.message);
  return body.replace(position, denied.failure.message.size(), message);
}

std::string asWritten(const std::string& text) { return text; }

std::string inJsonText(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    if (character == '\\') escaped += '\\';
    escaped += character;
  }
  return escaped;
}

/// The secrets of a request, each with the same text before it. `embed` makes it part of a body.
std::string quotation(const AttackedRequest& request, const Writing& writing,
                      const std::string& before, std::string (*embed)(const std::string& text)) {
  std::string text;
  for (const auto& secret : secretsOf(request.request)) {
    text += before + embed(writing.write(secret)) + ' ';
  }
  return text;
}

Attack quoteInMessage(int status, const Writing& writing, const std::string& before) {
  return [=](Connection& connection, const AttackedRequest& request) {
    const auto embed = usesXml(request) ? asWritten : inJsonText;
    return connection.send(
        TestSupport::httpResponse(std::to_string(status) + " Text",
                                  errorBody(request, quotation(request, writing, before, embed)),
                                  contentTypeOf(request.service)));
  };
}

Attack quoteInText(const Writing& writing) {
  return [=](Connection& connection, const AttackedRequest& request) {
    return connection.send(TestSupport::httpResponse(
        "400 Text", "Bad request: " + quotation(request, writing, "", asWritten),
        "Content-Type: text/plain\r\n"));
  };
}

Fault repeatable(Fault fault) {
  fault.invitesRepetition = true;
  return fault;
}

}  // namespace

std::vector<Fault> quotationFaults() {
  constexpr std::size_t kLongestMessage = 1024;
  std::vector<Fault> faults;
  for (const Writing& writing : writings()) {
    const std::string name = writing.name;
    for (const int status : {400, 401, 403, 500}) {
      faults.push_back(repeatable({name + "InMessageOf" + std::to_string(status),
                                   quoteInMessage(status, writing, "It said ")}));
    }
    // Wherever the message is cut, no part of the secret remains.
    for (const std::size_t distance : {0U, 1U, 4U, 7U, 20U}) {
      faults.push_back(repeatable(
          {name + "AtTheEnd" + std::to_string(distance),
           quoteInMessage(403, writing, std::string(kLongestMessage - distance - 1, 'p') + ' ')}));
    }
    faults.push_back(repeatable({name + "InText", quoteInText(writing)}));
  }
  return faults;
}

}  // namespace Faults
