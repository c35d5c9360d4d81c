// Option parsing and the choice of language, table by table.
#include <gtest/gtest.h>

#include "app/command_line.h"
#include "app/language.h"

namespace velko::app {
namespace {

struct ParseCase {
  const char* label;
  std::vector<std::string> args;
  std::string cli, lang, plugin, model;
  double shotDelay;
  bool ignorePhotoshop;
};

TEST(CommandLine, ReadsOptionsAsTheInstallerDoes) {
  const ParseCase cases[] = {
      {"nothing", {}, "", "", "", "", 0.7, false},
      {"plain word", {"--cli", "status"}, "status", "", "", "", 0.7, false},
      {"value taken even if it looks like an option",
       {"--lang", "--cli", "status"}, "", "--cli", "", "", 0.7, false},
      {"value option last gets the empty value", {"--cli", "status", "--cli"}, "", "", "", "", 0.7,
       false},
      {"last value wins", {"--plugin", "a", "--plugin", "b"}, "", "", "b", "", 0.7, false},
      {"dead-end option swallows its value",
       {"--model-test-key", "--cli", "status"}, "", "", "", "", 0.7, false},
      {"equals form is unknown", {"--cli=status"}, "", "", "", "", 0.7, false},
      {"positional and unknown arguments dropped",
       {"status", "-x", "--verbose", "--cli", "install"}, "install", "", "", "", 0.7, false},
      {"names are case-sensitive", {"--CLI", "status", "--Lang", "en"}, "", "", "", "", 0.7, false},
      {"flag stays set", {"--ignore-photoshop", "--cli", "install", "--ignore-photoshop"}, "install",
       "", "", "", 0.7, true},
      {"shot delay by atof", {"--shot-delay", "1.5s"}, "", "", "", "", 1.5, false},
      {"shot delay not a number", {"--shot-delay", "abc"}, "", "", "", "", 0.0, false},
      {"shot delay last", {"--shot-delay"}, "", "", "", "", 0.0, false},
      {"negative shot delay kept", {"--shot-delay", "-2"}, "", "", "", "", -2.0, false},
      {"model value", {"--model", "all", "--cli", "models-fetch"}, "models-fetch", "", "", "all",
       0.7, false},
  };
  for (const ParseCase& c : cases) {
    SCOPED_TRACE(c.label);
    const CommandLine line = parseCommandLine(c.args);
    EXPECT_EQ(line.cli, c.cli);
    EXPECT_EQ(line.lang, c.lang);
    EXPECT_EQ(line.plugin, c.plugin);
    EXPECT_EQ(line.model, c.model);
    EXPECT_DOUBLE_EQ(line.shotDelay, c.shotDelay);
    EXPECT_EQ(line.ignorePhotoshop, c.ignorePhotoshop);
  }
}

TEST(CommandLine, WindowOptionsAndFlags) {
  const CommandLine line =
      parseCommandLine({"--models", "--auto", "install", "--screenshot", "/tmp/x.png",
                        "--assume-running", "--uxp-base-dir", "/u"});
  EXPECT_TRUE(line.openModels);
  EXPECT_TRUE(line.assumeRunning);
  EXPECT_FALSE(line.ignorePhotoshop);
  EXPECT_EQ(line.autoAction, "install");
  EXPECT_EQ(line.screenshot, "/tmp/x.png");
  EXPECT_EQ(line.uxpBaseDir, "/u");
}

TEST(Language, SystemLanguageAndOverride) {
  struct Case {
    std::optional<std::string> system;
    std::string option;
    bool english;
  } cases[] = {
      {"de_DE.UTF-8", "", false}, {"de", "", false},        {"de-AT", "", false},
      {"en_US.UTF-8", "", true},  {"fr_FR", "", true},      {std::nullopt, "", true},
      {"C", "", true},            {"DE_de", "", true},      {"de_DE", "en", true},
      {"en_US", "de", false},     {"de_DE", "fr", false},   {"fr_FR", "fr", true},
      {"de_DE", "EN", false},     {"de_DE", "english", false}, {"en", "de-DE", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE((c.system ? *c.system : "<none>") + " / " + c.option);
    EXPECT_EQ(chooseEnglish(c.system, c.option), c.english);
  }
}

}  // namespace
}  // namespace velko::app
