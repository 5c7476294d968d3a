#include "terminal.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "erasable_line.h"

namespace tool {
namespace {

std::string_view environment(const char* variable) {
  const char* value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

/// The settings of standard input while what is typed is shown.
termios shownInput{};
volatile std::sig_atomic_t isInputHidden = 0;

void writeToTerminal(std::string_view text) {
  // What cannot be erased stays.
  [[maybe_unused]] const ssize_t size = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

bool canOverwriteLines() {
  const std::string_view type = environment("TERM");
  return isatty(STDERR_FILENO) != 0 && !type.empty() && type != "dumb";
}

std::size_t columns() {
  constexpr std::size_t kUsual = 80;
  const std::string_view given = environment("COLUMNS");
  std::size_t number = 0;
  std::from_chars(given.data(), given.data() + given.size(), number);
  if (number > 0) return number;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return kUsual;
}

bool showsUtf8() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) return false;
  const bool isUtf8 = std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
  freelocale(locale);
  return isUtf8;
}

void restoreTerminal() {
  if (isInputHidden != 0) tcsetattr(STDIN_FILENO, TCSANOW, &shownInput);
  constexpr std::string_view kSpaces = "                                ";
  std::size_t columns = columnsToErase();
  if (columns == 0) return;
  writeToTerminal("\r");
  while (columns > 0) {
    const std::size_t part = std::min(columns, kSpaces.size());
    writeToTerminal(kSpaces.substr(0, part));
    columns -= part;
  }
  writeToTerminal("\r");
}

HiddenInput::HiddenInput(const std::string& prompt) {
  tcgetattr(STDIN_FILENO, &shownInput);
  isInputHidden = 1;
  termios hidden = shownInput;
  hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  // What was typed before is discarded: it was shown, so it was not meant to be the secret.
  tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
  std::fputs(prompt.c_str(), stderr);
}

HiddenInput::~HiddenInput() {
  tcsetattr(STDIN_FILENO, TCSANOW, &shownInput);
  isInputHidden = 0;
  // The line break that the user has typed is not shown.
  std::fputs("\n", stderr);
}

bool showsColours() { return canOverwriteLines() && environment("NO_COLOR").empty(); }

}  // namespace tool
