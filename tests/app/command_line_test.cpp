// Option parsing, row by row.
#include <gtest/gtest.h>

#include <tuple>

#include "app/command_line.h"

namespace velko::app {
namespace {

auto fields(const CommandLine& l) {
  return std::tie(l.lang, l.plugin, l.uxpBaseDir, l.cli, l.model, l.autoAction, l.screenshot,
                  l.modelTestKey, l.shotDelay, l.openModels, l.ignorePhotoshop, l.assumeRunning);
}

// The rows name only the fields that differ from a fresh CommandLine.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
TEST(CommandLine, ReadsOptionsAsTheInstallerDoes) {
  const std::pair<std::vector<std::string>, CommandLine> cases[] = {
      {{}, {}},
      {{"--lang", "--cli", "status"}, {.lang = "--cli"}},  // a value, whatever it looks like
      {{"--cli", "status", "--cli"}, {}},                  // standing last: the empty value
      {{"--plugin", "a", "--plugin", "b"}, {.plugin = "b"}},
      {{"--model-test-key", "--cli", "status"}, {.modelTestKey = "--cli"}},
      {{"status", "-x", "--verbose", "--cli=a", "--cli", "install"}, {.cli = "install"}},
      {{"--CLI", "status", "--Lang", "en"}, {}},
      {{"--ignore-photoshop", "--cli", "install", "--ignore-photoshop"},
       {.cli = "install", .ignorePhotoshop = true}},
      {{"--shot-delay", "1.5s"}, {.shotDelay = 1.5}},
      {{"--shot-delay", "abc"}, {.shotDelay = 0}},
      {{"--shot-delay"}, {.shotDelay = 0}},
      {{"--model", "all", "--cli", "models-fetch"}, {.cli = "models-fetch", .model = "all"}},
      {{"--models", "--auto", "install", "--screenshot", "/x.png", "--assume-running",
        "--uxp-base-dir", "/u"},
       {.uxpBaseDir = "/u",
        .autoAction = "install",
        .screenshot = "/x.png",
        .openModels = true,
        .assumeRunning = true}},
  };
  for (const auto& [args, expected] : cases) {
    EXPECT_EQ(fields(parseCommandLine(args)), fields(expected)) << testing::PrintToString(args);
  }
}

}  // namespace
}  // namespace velko::app
