#pragma once

#include <CLI/App.hpp>
#include <map>
#include <string>
#include <vector>

namespace tool {

/// A command line whose last word is still being typed.
class TypedWords {
 public:
  /// @param words  what follows the program's name; the last one, which may be empty, is being
  /// typed.
  TypedWords(const CLI::App& app, const std::vector<std::string>& words);

  /// The innermost command so far; null if one is named that does not exist.
  const CLI::App* command() const { return command_; }
  /// The option or the positional argument whose value is being typed; null if there is none.
  const CLI::Option* argument() const;
  /// Whether the name of an option is being typed.
  bool isOptionName() const;
  /// What is typed of the value or the name.
  const std::string& word() const { return word_; }
  /// What stands before it in the same word, such as "--flavour=".
  const std::string& kept() const { return kept_; }

  /// The value of an option of the command, as typed or from the environment; empty if it has none.
  std::string valueOf(const std::string& option) const;
  /// Whether the option is among the complete words.
  bool isGiven(const CLI::Option* option) const { return values_.count(option) > 0; }
  const std::vector<std::string>& positionals() const { return positionals_; }

 private:
  void take(const std::string& word);
  void takeOption(const std::string& word);
  const CLI::Option* find(const std::string& name) const;

  const CLI::App* command_;
  /// The option that the next word is a value of.
  const CLI::Option* option_ = nullptr;
  bool hasOnlyPositionals_ = false;
  std::map<const CLI::Option*, std::string> values_;
  std::vector<std::string> positionals_;
  std::string kept_;
  std::string word_;
};

}  // namespace tool
