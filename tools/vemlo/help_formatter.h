#pragma once

#include <CLI/Formatter.hpp>
#include <cstddef>
#include <string>

namespace tool {

/// Formats help texts for a number of columns.
class HelpFormatter : public CLI::Formatter {
 public:
  explicit HelpFormatter(std::size_t columns);

  std::string make_description(const CLI::App* app) const override;
  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_option(const CLI::Option* option, bool isPositional) const override;
  std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode mode) const override;
  std::string make_subcommand(const CLI::App* command) const override;
  std::string make_footer(const CLI::App* app) const override;

 private:
  std::string entry(const std::string& name, const std::string& description) const;

  std::size_t columns_;
};

}  // namespace tool
