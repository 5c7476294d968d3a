#include "help_formatter.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "text.h"

namespace tool {
namespace {

/// Longer lines are hard to read.
constexpr std::size_t kMostColumns = 100;
/// With fewer columns, a description does not stand beside its name but below it.
constexpr std::size_t kFewestForTwo = 70;
constexpr std::size_t kNameColumns = 30;
constexpr std::size_t kIndent = 6;

}  // namespace

HelpFormatter::HelpFormatter(std::size_t columns) : columns_(std::min(columns, kMostColumns)) {}

std::string HelpFormatter::make_description(const CLI::App* app) const {
  return wrapped(CLI::Formatter::make_description(app), columns_);
}

std::string HelpFormatter::make_usage(const CLI::App* app, std::string name) const {
  return wrapped(CLI::Formatter::make_usage(app, std::move(name)), columns_);
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
  return entry(make_option_name(option, isPositional) + make_option_opts(option),
               make_option_desc(option));
}

/// The names of the groups are still to be wrapped.
std::string HelpFormatter::make_subcommands(const CLI::App* app, CLI::AppFormatMode mode) const {
  return wrapped(CLI::Formatter::make_subcommands(app, mode), columns_);
}

std::string HelpFormatter::make_subcommand(const CLI::App* command) const {
  return entry(command->get_display_name(true), command->get_description());
}

std::string HelpFormatter::make_footer(const CLI::App* app) const {
  return wrapped(CLI::Formatter::make_footer(app), columns_);
}

std::string HelpFormatter::entry(const std::string& name, const std::string& description) const {
  const bool isBeside = columns_ >= kFewestForTwo;
  const std::size_t indent = isBeside ? kNameColumns : kIndent;
  const std::string head = "  " + name;
  // Two spaces at least separate the name from the description.
  if (isBeside && head.size() + 2 <= indent) {
    return wrapped(head + std::string(indent - head.size(), ' ') + description, columns_) + "\n";
  }
  return wrapped(head + "\n" + std::string(indent, ' ') + description, columns_) + "\n";
}

}  // namespace tool
