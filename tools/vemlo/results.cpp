#include "results.h"

#include "failure.h"

namespace vemlo {
namespace {

struct Meaning {
  int code;
  const char* words;
};

constexpr Meaning kMeanings[] = {
    {-1, "the arguments are not acceptable"},
    {1, "the request cannot be built or its answer cannot be understood"},
    {2, "the service was not reached, or the connection broke"},
    {3, "the service did not answer in time"},
    {4, "no trusted TLS connection to the service"},
    {5, "the service refused"},
    {6, "the service finds the request invalid"},
    {7, "the service does not offer this"},
    {8, "a precondition does not hold"},
    {9, "conflict with another operation or the present state"},
    {10, "the service sent elsewhere"},
    {11, "not signed in"},
    {12, "unknown access key"},
    {13, "wrong signature; is the secret key right?"},
    {14, "the clock of this machine is wrong"},
    {15, "access denied"},
    {16, "there is a problem with the account"},
    {17, "wrong region"},
    {18, "not found"},
    {19, "no such bucket or container"},
    {20, "the name is taken by another account"},
    {21, "it is yours already"},
    {22, "not a valid name for a bucket or container"},
    {23, "the account has as many buckets as it may have"},
    {24, "the service has no such location"},
    {25, "quota exceeded"},
    {26, "too many requests; try again later"},
    {27, "the service failed; try again later"},
    {259, "temporary failure; try again later"},
};

const char* inWords(int code) {
  for (const Meaning& meaning : kMeanings) {
    if (meaning.code == code) return meaning.words;
  }
  return "the service call failed";
}

}  // namespace

void requireSuccess(int code, const std::string& action) {
  if (code == 0) return;
  throw Failure(code < 0 ? ExitCode::BadUsage : ExitCode::ServiceFailed,
                "cannot " + action + ": " + inWords(code) + " (code " + std::to_string(code) + ")");
}

}  // namespace vemlo
