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

class CliTest : public ::testing::Test {
 protected:
  CliTest() : home_(dir_.path()) { writeSamplePlugin(package(), "com.example.sample", "1.2.0"); }

  // A package folder to hand over with --plugin.
  std::filesystem::path package() const { return dir_ / "pkg"; }
  // The UXP base folder under the temp HOME, where the installer looks by default.
  std::filesystem::path uxpBase() const {
    return dir_ / "Library" / "Application Support" / "Adobe" / "UXP";
  }
  std::filesystem::path registry() const { return uxpBase() / "PluginsInfo" / "v1" / "PS.json"; }
  std::filesystem::path external() const { return uxpBase() / "Plugins" / "External"; }

  // Runs the installer with `args`; the environment is the pinned one plus `env`.
  ProcessResult run(std::vector<std::string> args,
                    const std::map<std::string, std::optional<std::string>>& env = {}) const {
    args.insert(args.begin(), VELKO_INSTALLER_EXE);
    return runProcess(args, env);
  }
  // The same with --plugin pointing at package().
  ProcessResult runWithPackage(std::vector<std::string> args,
                               const std::map<std::string, std::optional<std::string>>& env = {}) const {
    args.insert(args.begin(), {"--plugin", package().string()});
    return run(args, env);
  }

  TempDir dir_;
  IsolatedHome home_;
};

}  // namespace velko::test
