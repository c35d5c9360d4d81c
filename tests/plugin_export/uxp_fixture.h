// A UXP base folder in a temp folder with the home pinned beside it, and ways to set it up and
// look at it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "plugin_export/message_language.h"
#include "plugin_export/plugin_install.h"
#include "plugin_export/plugin_uninstall.h"
#include "tests/support/test_support.h"

namespace velko::plugin_export::test {
namespace fs = std::filesystem;
using nlohmann::json;
using velko::test::readFile;
using velko::test::writeFile;

inline const std::string kId = "com.velko.demo";
inline const std::string kPrefix = "$localPlugins/External/";
inline const std::string kNew = kId + "_2.0";

// An entry of `id` as Photoshop or an older installer may have left it.
inline json oldEntry(const std::string& version, const std::string& id = kId) {
  return {{"pluginId", id}, {"path", kPrefix + id + "_" + version}, {"versionString", version}};
}

// PS.json text with `plugins` between unknown top-level keys, which are not in sorted order.
inline std::string registryText(const json& plugins) {
  return R"({"zTop": {"nested": [3, "ü"]}, "plugins": )" + plugins.dump() + R"(, "aTop": "€"})";
}

// Folders below Plugins/External: the name (which may climb out with ".."), the marker's id.
using Folders = std::vector<std::pair<std::string, std::string>>;

class UxpTest : public ::testing::Test {
 protected:
  void SetUp() override { setMessageLanguage("en"); }

  // With a blank minimum host version, which an install must turn into the default one.
  InstallOptions options(bool replace = true) const { return {base.string(), " \t", replace}; }
  fs::path package(const std::string& version) const {
    velko::test::writeSamplePlugin(tmp / "src" / version, kId, version);
    return tmp / "src" / version;
  }
  // A fresh base folder with `folders`, each holding sub/data.bin and, unless its marker id is
  // empty, a plug-in of that id; and, unless `plugins` is null, a PS.json listing them.
  void prepare(const json& plugins, const Folders& folders) const {
    fs::remove_all(base);
    if (!plugins.is_null()) writeFile(registry, registryText(plugins));
    for (const auto& [name, marker] : folders) {
      writeFile(external / name / "sub" / "data.bin", "payload");
      if (!marker.empty()) velko::test::writeSamplePlugin(external / name, marker, "0");
    }
  }
  // Exactly `count` backups beside PS.json and nothing else there: no temporary file is left.
  void expectOnlyRegistryAndBackups(size_t count) const {
    EXPECT_EQ(backups(), count);
    EXPECT_EQ(
        static_cast<size_t>(std::distance(fs::directory_iterator(registry.parent_path()), {})),
        count + fs::exists(registry));
  }
  // No staging or trash folder of this run (named with today's milliseconds) is left.
  void expectNoOwnLeftovers() const {
    static const std::regex ownLeftover(R"(.*\.velko-(staging|trash)-[0-9]{10,})");
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(external, ec))
      EXPECT_FALSE(std::regex_match(e.path().filename().string(), ownLeftover)) << e.path();
  }
  size_t backups() const {
    std::error_code ec;
    return std::count_if(fs::directory_iterator(registry.parent_path(), ec), {}, [](const auto& e) {
      return e.path().filename().string().starts_with("PS.json.bak-velko-");
    });
  }

  velko::test::TempDir tmp;
  velko::test::IsolatedHome home{tmp.path()};
  fs::path base = tmp / "uxp";
  fs::path external = base / "Plugins" / "External";
  fs::path registry = base / "PluginsInfo" / "v1" / "PS.json";
};

}  // namespace velko::plugin_export::test
