#include "typed_words.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "secrets.h"

namespace tool {
namespace {

bool isOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

bool takesValue(const CLI::Option& option) { return option.get_items_expected_min() > 0; }

const CLI::App* commandNamed(const CLI::App& app, const std::string& name) {
  for (const CLI::App* command : app.get_subcommands({})) {
    if (command->get_name() == name) return command;
  }
  return nullptr;
}

}  // namespace

TypedWords::TypedWords(const CLI::App& app, const std::vector<std::string>& words)
    : command_(&app) {
  if (words.empty()) return;
  std::for_each(words.begin(), words.end() - 1, [this](const std::string& word) { take(word); });
  word_ = words.back();

  const std::size_t equals = word_.find('=');
  const bool hasOption = option_ == nullptr && !hasOnlyPositionals_ && isOption(word_);
  if (!hasOption || equals == std::string::npos || command_ == nullptr) return;
  option_ = find(word_.substr(0, equals));
  if (option_ == nullptr) return;
  kept_ = word_.substr(0, equals + 1);
  word_.erase(0, equals + 1);
}

void TypedWords::take(const std::string& word) {
  if (command_ == nullptr) return;
  if (option_ != nullptr) {
    values_[option_] = word;
    option_ = nullptr;
  } else if (!hasOnlyPositionals_ && word == "--") {
    hasOnlyPositionals_ = true;
  } else if (!hasOnlyPositionals_ && isOption(word)) {
    takeOption(word);
  } else if (!command_->get_subcommands({}).empty()) {
    command_ = commandNamed(*command_, word);
  } else {
    positionals_.push_back(word);
  }
}

void TypedWords::takeOption(const std::string& word) {
  const std::size_t equals = std::min(word.find('='), word.size());
  const CLI::Option* option = find(word.substr(0, equals));
  if (option == nullptr) return;
  values_[option] = equals < word.size() ? word.substr(equals + 1) : "";
  if (equals == word.size() && takesValue(*option)) option_ = option;
}

const CLI::Option* TypedWords::find(const std::string& name) const {
  for (const CLI::App* app = command_; app != nullptr; app = app->get_parent()) {
    if (const CLI::Option* option = app->get_option_no_throw(name)) return option;
  }
  return nullptr;
}

const CLI::Option* TypedWords::argument() const {
  if (option_ != nullptr) return option_;
  if (command_ == nullptr || isOptionName()) return nullptr;
  const auto arguments =
      command_->get_options([](const CLI::Option* option) { return option->get_positional(); });
  return positionals_.size() < arguments.size() ? arguments[positionals_.size()] : nullptr;
}

bool TypedWords::isOptionName() const {
  return option_ == nullptr && !hasOnlyPositionals_ && word_.rfind('-', 0) == 0;
}

std::string TypedWords::valueOf(const std::string& option) const {
  const CLI::Option* known = find(option);
  if (known == nullptr) return {};
  const auto found = values_.find(known);
  if (found != values_.end()) return found->second;
  const std::string variable = known->get_envname();
  return variable.empty() ? "" : environment(variable.c_str());
}

}  // namespace tool
