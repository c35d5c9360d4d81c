// A temp home for running the real velko-installer as a child process and reading its answers.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace velko::test {
namespace fs = std::filesystem;

using Env = std::map<std::string, std::optional<std::string>>;
inline const Env kGerman = {{"LANG", "de_DE.UTF-8"}};
// `--cli status` for the sample package on a machine without Photoshop or the plug-in.
inline const std::string kStatus =
    "plugin: Sample Plugin 1.2.0 (com.example.sample)\ninstalled: none\nphotoshop-running: no\n";

class CliTest : public ::testing::Test {
 protected:
  CliTest() : home_(dir_.path()) { writeSamplePlugin(package(), "com.example.sample", "1.2.0"); }

  fs::path package() const { return dir_ / "pkg"; }
  // PS.json below the temp HOME, where the installer looks by default.
  fs::path registry() const {
    return dir_ / "Library/Application Support/Adobe/UXP/PluginsInfo/v1/PS.json";
  }

  // Runs the installer with `args`; the environment is the pinned one plus `env`.
  ProcessResult run(std::vector<std::string> args, const Env& env = {}) const {
    args.insert(args.begin(), VELKO_INSTALLER_EXE);
    return runProcess(args, env);
  }
  ProcessResult runWithPackage(std::vector<std::string> args, const Env& env = {}) const {
    args.insert(args.begin(), {"--plugin", package().string()});
    return run(args, env);
  }

  TempDir dir_;
  IsolatedHome home_;
};

}  // namespace velko::test
