#include <string>

#include "authorization_response.h"
#include "command_failure.h"
#include "error_checks.h"
#include "fuzz_input.h"

void checkInput(std::string_view input) {
  using ErrorChecks::require;
  try {
    const std::string code = tool::authorizationCode(input);
    require(!code.empty());
    require(code.find('\0') == std::string::npos);
    require(code.size() <= input.size());
  } catch (const tool::CommandFailure& failure) {
    require(*failure.what() != '\0');
  }
}
