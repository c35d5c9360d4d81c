// The order in which the locale variables name the user's language.
#include <gtest/gtest.h>

#include "platform/platform.h"
#include "tests/support/test_support.h"

namespace velko::platform {
namespace {

TEST(PreferredLanguage, FirstNonEmptyVariableInOrderWins) {
  using Value = std::optional<std::string>;
  const struct {
    const char* label;
    Value language, lcAll, lcMessages, lang;
    Value expected;
  } cases[] = {
      {"nothing set", {}, {}, {}, {}, {}},
      {"all empty", "", "", "", "", {}},
      {"LANG alone", {}, {}, {}, "de_DE.UTF-8", "de_DE.UTF-8"},
      {"LC_MESSAGES over LANG", {}, {}, "en_GB.UTF-8", "de_DE.UTF-8", "en_GB.UTF-8"},
      {"LC_ALL over LC_MESSAGES", {}, "fr_FR", "en_GB.UTF-8", "de_DE.UTF-8", "fr_FR"},
      {"LANGUAGE over all", "de", "fr_FR", "en_GB.UTF-8", "en_US", "de"},
      {"first of the LANGUAGE list", "en_US:de:fr", {}, {}, "de_DE", "en_US"},
      {"empty LANGUAGE skipped", "", "fr_FR", {}, "de_DE", "fr_FR"},
      {"empty LC_ALL skipped", {}, "", "en_GB", "de_DE", "en_GB"},
      {"empty LC_MESSAGES skipped", {}, {}, "", "de_DE", "de_DE"},
      {"LANGUAGE list with empty head", ":de", {}, {}, "en_US", "en_US"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    test::ScopedEnv env({{"LANGUAGE", c.language},
                         {"LC_ALL", c.lcAll},
                         {"LC_MESSAGES", c.lcMessages},
                         {"LANG", c.lang}});
    EXPECT_EQ(preferredLanguage(), c.expected);
  }
}

}  // namespace
}  // namespace velko::platform
