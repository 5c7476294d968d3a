#include <string>

#include "authorization_response.h"
#include "error_checks.h"
#include "failure.h"
#include "fuzz_input.h"

void checkInput(std::string_view input) {
  using ErrorChecks::require;
  try {
    const std::string code = vemlo::authorizationCode(input);
    require(!code.empty());
    require(code.find('\0') == std::string::npos);
    require(code.size() <= input.size());
  } catch (const vemlo::Failure& failure) {
    require(*failure.what() != '\0');
  }
}
