#include "result_codes.h"

#include <algorithm>
#include <iterator>

#include "command_failure.h"

namespace tool {
namespace {

struct Meaning {
  int code;
  const char* text;
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
    {15, "access denied; check the keys and what they permit"},
    {16, "there is a problem with the account"},
    {17, "wrong region; give the right one with --signing-region"},
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

constexpr const char* kExchangeFailed =
    "the code was not accepted, the service was not reached, or it gave no lasting access; codes "
    "are good once and for some minutes";

/// The result codes of the drives are less specific; the log has the details.
constexpr Meaning kDriveMeanings[] = {
    {-1, "the arguments are not acceptable"},
    {1, "the service call failed, as logged"},
    {100, "the account has no root folder"},
    {337, kExchangeFailed},
    {340, kExchangeFailed},
    {343, kExchangeFailed},
};

template <std::size_t Count>
void require(int code, const std::string& action, const Meaning (&meanings)[Count],
             const std::string& advice) {
  if (code == 0) return;
  const auto* const meaning = std::find_if(std::begin(meanings), std::end(meanings),
                                           [code](const Meaning& m) { return m.code == code; });
  const std::string text =
      meaning == std::end(meanings) ? "the service call failed" : meaning->text;
  throw CommandFailure(code < 0 ? ExitCode::BadUsage : ExitCode::ServiceFailed,
                       "cannot " + action + ": " + text + " (code " + std::to_string(code) + ")" +
                           (advice.empty() ? "" : "; " + advice));
}

}  // namespace

void requireSuccess(int code, const std::string& action) { require(code, action, kMeanings, ""); }

void requireDriveSuccess(int code, const std::string& action, const std::string& advice) {
  require(code, action, kDriveMeanings, advice);
}

}  // namespace tool
