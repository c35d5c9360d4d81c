// The UXP base folder's environment rules and the message language selector.
#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

#include "plugin_export/localize.h"
#include "plugin_export/message_language.h"
#include "plugin_export/uxp_locations.h"
#include "tests/support/test_support.h"

namespace velko::plugin_export {
namespace {

TEST(UxpLocations, DefaultBaseDirFollowsEnvironment) {
  const std::string tail = "Library/Application Support/Adobe/UXP";
  struct Case {
    std::optional<std::string> override, home;
    std::string expected;
  };
  const Case cases[] = {
      {"/tmp/velko-uxp", "/h", "/tmp/velko-uxp"},
      {"/tmp/velko-uxp/", "/h", "/tmp/velko-uxp/"},  // kept exactly as it stands
      {"relative/uxp", std::nullopt, "relative/uxp"},
      {"", "/h", "/h/" + tail},
      {std::nullopt, "/h/", "/h/" + tail},
      {std::nullopt, "", "/" + tail},
      {std::nullopt, std::nullopt, "/" + tail},
  };
  for (const Case& c : cases) {
    velko::test::ScopedEnv env({{"VELKO_UXP_BASE_DIR", c.override}, {"HOME", c.home}});
    EXPECT_EQ(defaultUxpBaseDir().string(), c.expected)
        << c.override.value_or("<unset>") << " " << c.home.value_or("<unset>");
  }
}

// The threadsafe style runs the statement in a freshly started copy of this binary, where no
// test has set the language yet.
TEST(MessageLanguage, GermanBeforeAnythingIsSet) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(L("a", "b") == "a" ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

TEST(MessageLanguage, PrefixEnChoosesEnglishAnythingElseGerman) {
  const std::pair<std::string, bool> cases[] = {{"en", true},  {"en-GB", true}, {"english", true},
                                                {"EN", false}, {"e", false},    {"", false},
                                                {"de", false}, {"fr", false},   {" en", false}};
  for (const auto& [language, english] : cases) {
    setMessageLanguage(language);
    EXPECT_EQ(L("deutsch", "english"), english ? "english" : "deutsch") << language;
  }
  setMessageLanguage("en");
  EXPECT_EQ(L("deutsch", ""), "");  // an empty text is not replaced by the other one
  setMessageLanguage("de");
  EXPECT_EQ(L("", "english"), "");
}

}  // namespace
}  // namespace velko::plugin_export
