// A UXP base folder in a temp folder with the home pinned beside it, and ways to set it up and
// look at it.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "plugin_export/install_types.h"
#include "plugin_export/message_language.h"
#include "tests/support/test_support.h"

namespace velko::plugin_export::test {
namespace fs = std::filesystem;
using nlohmann::json;
using velko::test::readFile;
using velko::test::writeFile;

inline const std::string kId = "com.velko.demo";
inline const std::string kPrefix = "$localPlugins/External/";

// An entry of `id` as Photoshop or an older installer may have left it.
inline json oldEntry(const std::string& version, const std::string& id = kId) {
  return {{"pluginId", id}, {"path", kPrefix + id + "_" + version}, {"versionString", version}};
}

// Runs `body` where folder permissions apply: in a child that gave up root, or right here.
// Returns what `body` returned.
inline std::string withoutRoot(const std::function<std::string()>& body) {
  if (geteuid() != 0) return body();
  int fds[2];
  if (pipe(fds) != 0) return "pipe failed";
  const pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    if (setgid(65534) != 0 || setuid(65534) != 0) _exit(2);
    const std::string out = body();
    _exit(write(fds[1], out.data(), out.size()) == static_cast<ssize_t>(out.size()) ? 0 : 3);
  }
  close(fds[1]);
  std::string out;
  char buffer[4096];
  for (ssize_t n; (n = read(fds[0], buffer, sizeof buffer)) > 0;)
    out.append(buffer, n);
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? out : "child failed";
}

class UxpTest : public ::testing::Test {
 protected:
  void SetUp() override { setMessageLanguage("en"); }

  InstallOptions options(bool replace = true) const {
    return InstallOptions{base.string(), "24.2.0", replace};
  }
  fs::path package(const std::string& version) const {
    velko::test::writeSamplePlugin(tmp / "src" / version, kId, version);
    return tmp / "src" / version;
  }
  // A folder below Plugins/External (the name may climb out with ".."), with a manifest of
  // `markerId`, or with none when `markerId` is empty.
  void folder(const std::string& name, const std::string& markerId) const {
    writeFile(external / name / "sub" / "data.bin", "payload");
    if (markerId.empty()) return;
    writeFile(external / name / "manifest.json",
              json{{"id", markerId}, {"name", "n"}, {"version", "0"}}.dump());
  }
  void writeRegistry(const json& plugins) const {
    writeFile(registry, json{{"plugins", plugins}, {"photoshopKey", 7}}.dump());
  }
  json plugins() const { return json::parse(readFile(registry).value()).at("plugins"); }
  size_t backups() const {
    size_t count = 0;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(registry.parent_path(), ec)) {
      count += e.path().filename().string().rfind("PS.json.bak-velko-", 0) == 0;
    }
    return count;
  }
  // The folders directly below Plugins/External or the base folder without kId's marker: none of
  // them may ever be deleted.
  std::vector<fs::path> unmarkedFolders() const {
    std::vector<fs::path> found;
    for (const fs::path& parent : {external, base}) {
      std::error_code ec;
      for (const auto& e : fs::directory_iterator(parent, ec)) {
        const auto manifest = readFile(e.path() / "manifest.json");
        if (e.is_directory() && manifest.value_or("").find('"' + kId + '"') == std::string::npos) {
          found.push_back(e.path());
        }
      }
    }
    return found;
  }
  static void expectAllExist(const std::vector<fs::path>& folders) {
    for (const auto& f : folders)
      EXPECT_TRUE(fs::is_directory(f)) << "deleted: " << f;
  }

  velko::test::TempDir tmp;
  velko::test::IsolatedHome home{tmp.path()};
  fs::path base = tmp / "uxp";
  fs::path external = base / "Plugins" / "External";
  fs::path registry = base / "PluginsInfo" / "v1" / "PS.json";
};

}  // namespace velko::plugin_export::test
