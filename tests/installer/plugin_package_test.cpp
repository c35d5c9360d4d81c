// Reading manifest.json into a package and finding the package beside or inside the application.
#include <gtest/gtest.h>

#include "installer/plugin_package.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {
namespace fs = std::filesystem;

std::string withHost(const std::string& host) {
  return R"({"id": "a", "name": "A", "version": "1", "host": )" + host + "}";
}

TEST(ReadPluginPackage, ManifestRules) {
  const struct {
    const char* label;
    std::optional<std::string> manifest;  // nothing: no manifest.json at all
    std::optional<std::string> fields;    // id|name|version|minHost; nothing: no package
  } cases[] = {
      {"all fields", R"({"version": "2.0", "name": "V", "id": "x", "n": 1})", "x|V|2.0|24.2.0"},
      {"empty name", R"({"id": "a", "name": "", "version": "1"})", "a||1|24.2.0"},
      {"host object", withHost(R"({"app": "PS", "minVersion": "25.1"})"), "a|A|1|25.1"},
      {"first in array", withHost(R"([{"minVersion": "23"}, {"minVersion": "2"}])"), "a|A|1|23"},
      {"first has none", withHost(R"([{"app": "PS"}, {"minVersion": "26"}])"), "a|A|1|24.2.0"},
      {"host a string", withHost(R"("PS")"), "a|A|1|24.2.0"},
      {"minVersion a number", withHost(R"({"minVersion": 25})"), "a|A|1|24.2.0"},
      {"minVersion empty", withHost(R"({"minVersion": ""})"), "a|A|1|"},
      {"empty id", R"({"id": "", "name": "A", "version": "1"})", std::nullopt},
      {"empty version", R"({"id": "a", "name": "A", "version": ""})", std::nullopt},
      {"name missing", R"({"id": "a", "version": "1"})", std::nullopt},
      {"version a number", R"({"id": "a", "name": "A", "version": 1})", std::nullopt},
      {"root an array", R"([{"id": "a", "name": "A", "version": "1"}])", std::nullopt},
      {"leading comment", "// x\n" + withHost("{}"), std::nullopt},
      {"number overflow", withHost("1e999"), std::nullopt},
      {"no manifest", std::nullopt, std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    test::TempDir dir;
    if (c.manifest) test::writeFile(dir / "manifest.json", *c.manifest);
    // The folder comes back as given, not made canonical.
    const fs::path given = dir / "." / "";
    const std::optional<PluginPackage> p = readPluginPackage(given);
    ASSERT_EQ(p.has_value(), c.fields.has_value());
    if (!p) continue;
    EXPECT_EQ(p->id + "|" + p->name + "|" + p->version + "|" + p->minHost, *c.fields);
    EXPECT_EQ(p->dir, given);
  }
}

TEST(FindPluginPackage, FirstReadableCandidateWins) {
  test::TempDir dir;
  const fs::path bundle = dir / "Velko.app", inside = bundle / "Contents" / "Resources" / "Plugin";
  for (const fs::path& folder : {inside, dir / ".Plugin", dir / "Plugin"})
    test::writeFile(folder / "manifest.json", "{\"id\": \"com.velko.x\"");
  EXPECT_FALSE(findPluginPackage(bundle).has_value());
  // Each candidate made readable in turn, the last one first: the earlier one always wins.
  for (const fs::path& folder : {dir / "Plugin", dir / ".Plugin", inside}) {
    SCOPED_TRACE(folder);
    test::writeSamplePlugin(folder, "com.velko.x", "1");
    const std::optional<PluginPackage> p = findPluginPackage(bundle);
    ASSERT_TRUE(p.has_value());
    EXPECT_EQ(p->dir, folder);
  }
}

}  // namespace
}  // namespace velko::installer
