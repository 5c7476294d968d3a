#include "typed_words.h"

#include <gmock/gmock.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using tool::TypedWords;

class TypedWordsTest : public testing::Test {
 protected:
  TypedWordsTest() {
    app_.add_flag("-v,--verbose", "");
    list_->add_option("LOCATION", text_, "");
    list_->add_option("--id", text_, "")->envname("TYPED_WORDS_ID");
    list_->add_flag("--json", "");
  }

  /// The name of the argument whose value is being typed; empty if there is none.
  std::string argument(const std::vector<std::string>& words) const {
    const CLI::Option* found = TypedWords(app_, words).argument();
    return found == nullptr ? "" : found->get_name();
  }

  CLI::App app_{"", "app"};
  CLI::App* group_ = app_.add_subcommand("group", "");
  CLI::App* list_ = group_->add_subcommand("ls", "");
  std::string text_;
};

TEST_F(TypedWordsTest, EndInTheInnermostCommandThatIsComplete) {
  EXPECT_EQ(TypedWords(app_, {}).command(), &app_);
  EXPECT_EQ(TypedWords(app_, {"group"}).command(), &app_);
  EXPECT_EQ(TypedWords(app_, {"group", ""}).command(), group_);
  EXPECT_EQ(TypedWords(app_, {"-v", "group", "--verbose", "ls", "x"}).command(), list_);
  EXPECT_EQ(TypedWords(app_, {"nothing", "ls", ""}).command(), nullptr);
  EXPECT_EQ(TypedWords(app_, {"nothing", "--json", "-"}).command(), nullptr);
}

TEST_F(TypedWordsTest, AreValuesOfTheArgumentBeforeThem) {
  EXPECT_EQ(argument({"group", "ls", ""}), "LOCATION");
  EXPECT_EQ(argument({"group", "ls", "x", ""}), "");
  EXPECT_EQ(argument({"group", "ls", "--id", ""}), "--id");
  EXPECT_EQ(argument({"group", "ls", "--id", "-x"}), "--id");
  EXPECT_EQ(argument({"group", "ls", "--id", "x", ""}), "LOCATION");
  EXPECT_EQ(argument({"group", "ls", "--json", "-v", ""}), "LOCATION");
  EXPECT_EQ(argument({"group", "ls", "--unknown", ""}), "LOCATION");
  EXPECT_EQ(argument({"group", "ls", "--", "--id"}), "LOCATION");
  EXPECT_EQ(argument({"group", "ls", "-"}), "");
  EXPECT_EQ(argument({"group", ""}), "");
}

TEST_F(TypedWordsTest, MayBeAnOptionWithItsValue) {
  const TypedWords typed(app_, {"group", "ls", "--id=a=b"});
  ASSERT_NE(typed.argument(), nullptr);
  EXPECT_EQ(typed.argument()->get_name(), "--id");
  EXPECT_EQ(typed.kept(), "--id=");
  EXPECT_EQ(typed.word(), "a=b");
  EXPECT_FALSE(typed.isOptionName());
  EXPECT_TRUE(TypedWords(app_, {"group", "ls", "--unknown=x"}).isOptionName());
}

TEST_F(TypedWordsTest, KnowWhatIsGiven) {
  const TypedWords typed(app_, {"group", "ls", "--id", "1", "-v", "x", "--", "--json", ""});
  EXPECT_TRUE(typed.isGiven(app_.get_option("--verbose")));
  EXPECT_TRUE(typed.isGiven(list_->get_option("--id")));
  EXPECT_FALSE(typed.isGiven(list_->get_option("--json")));
  EXPECT_THAT(typed.positionals(), ElementsAre("x", "--json"));
}

TEST_F(TypedWordsTest, PrecedeTheEnvironment) {
  setenv("TYPED_WORDS_ID", "of the environment", 1);
  EXPECT_EQ(TypedWords(app_, {"group", "ls", ""}).valueOf("--id"), "of the environment");
  EXPECT_EQ(TypedWords(app_, {"group", "ls", "--id=typed", ""}).valueOf("--id"), "typed");
  unsetenv("TYPED_WORDS_ID");
  EXPECT_EQ(TypedWords(app_, {"group", "ls", ""}).valueOf("--id"), "");
  EXPECT_EQ(TypedWords(app_, {"group", "ls", ""}).valueOf("--unknown"), "");
}

}  // namespace
