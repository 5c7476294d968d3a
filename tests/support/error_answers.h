#pragma once

#include <ostream>
#include <string>
#include <utility>

#include "CloudStorage/Client/CoreErrors.h"
#include "CloudStorage/Http/Transport.h"

/// What the tests of the error marshallers are made of.
namespace ErrorAnswers {

/// One line of a service's table as a test states it.
struct Expectation {
  int status;
  std::string code;
  CloudStorage::Client::CoreErrors type;
  bool retryable;
};

inline std::ostream& operator<<(std::ostream& out, const Expectation& row) {
  return out << row.status << ' ' << row.code;
}

/// Names a parameterised test after its row, so that a failure says which row is wrong.
inline std::string nameOf(const Expectation& row) {
  std::string name = std::to_string(row.status);
  if (!row.code.empty()) name += "_";
  for (const char character : row.code) name += character == '/' ? '_' : character;
  return name;
}

inline CloudStorage::Http::Response answer(int status, std::string body = {},
                                           CloudStorage::Http::HeaderValueCollection headers = {}) {
  CloudStorage::Http::Response response;
  response.status = status;
  response.body = std::move(body);
  response.headers = std::move(headers);
  return response;
}

inline CloudStorage::Http::Response noAnswer(CloudStorage::Http::TransportFailure::Kind kind,
                                             bool requestMayHaveRun = true) {
  CloudStorage::Http::Response response;
  response.failure = CloudStorage::Http::TransportFailure{
      kind, "CURLE_SOME_FAILURE", "what the transport\nsaid", requestMayHaveRun};
  return response;
}

}  // namespace ErrorAnswers
