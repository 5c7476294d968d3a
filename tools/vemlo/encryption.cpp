#include "encryption.h"

#include <algorithm>
#include <libvemlo.hpp>

#include "advice.h"
#include "command_failure.h"
#include "services.h"

namespace tool {

std::string encrypted(const std::string& text) {
  std::string line = vemlo::encrypt(text);
  line.erase(std::remove_if(line.begin(), line.end(),
                            [](char letter) { return letter == '\r' || letter == '\n'; }),
             line.end());
  return line;
}

std::string decrypted(const Account& account, const std::string& member, const std::string& name) {
  try {
    return vemlo::decrypt(account.values.at(member));
  } catch (const vemlo::Failure&) {
    throw CommandFailure(ExitCode::LocalFailure,
                         "what is stored for the account '" + name +
                             "' is damaged; link it again with `" +
                             loginCommand({serviceNamed(account.service), name}) + "`");
  }
}

}  // namespace tool
