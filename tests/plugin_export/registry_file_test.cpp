// PS.json surgery on real files: what is refused, what survives a write, backups and the text form.
#include <gtest/gtest.h>

#include "plugin_export/plugin_install.h"
#include "plugin_export/registry_file.h"
#include "tests/plugin_export/uxp_fixture.h"

namespace velko::plugin_export::test {
namespace {

TEST_F(UxpTest, RegistryOfUnexpectedShapeIsRefusedUntouched) {
  const std::string parse = "PS.json is not valid JSON: ";
  const std::string format = "PS.json does not have the expected format ('plugins' array missing)";
  const std::pair<std::string, std::string> cases[] = {{"", parse},
                                                       {"{\"plugins\": [", parse},
                                                       {"// note\n{\"plugins\": []}", parse},
                                                       {"{}", format},
                                                       {"[]", format},
                                                       {"{\"plugins\": {}}", format},
                                                       {"{\"Plugins\": []}", format}};
  const fs::path source = package("2.0");
  for (const auto& [text, message] : cases) {
    SCOPED_TRACE(text);
    fs::remove_all(base);
    writeFile(registry, text);
    folder(kId + "_1.0", kId);

    const InstallResult r = installIntoPhotoshop(source, options());
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error.substr(0, message.size()), message);
    EXPECT_EQ(message == format, r.error == format);  // else the parser's own text follows
    EXPECT_EQ(readFile(registry), text);
    EXPECT_EQ(backups(), 0u);
    EXPECT_TRUE(fs::exists(external / (kId + "_1.0") / "manifest.json"));
  }
}

TEST_F(UxpTest, EverythingNotOursSurvivesInPlaceAndTextFormIsStable) {
  const json others = {{{"pluginId", "com.zeta"},
                        {"zUnknown", {{"b", 1}, {"a", {true, nullptr}}}},
                        {"name", "Zëta ✓"}},
                       42,
                       "plain text",
                       nullptr,
                       json::array({1, 2}),
                       {{"noId", true}},
                       {{"pluginId", 7}, {"path", kPrefix + kId + "_1.0"}},
                       oldEntry("1.0"),
                       oldEntry("1", kId + "x")};
  const std::string original =
      R"({"zTop": {"nested": [3, "ü"]}, "plugins": )" + others.dump() + R"(, "aTop": "€"})";
  writeFile(registry, original);

  const InstallResult r = installIntoPhotoshop(package("2.0"), options());
  ASSERT_TRUE(r.ok) << r.error;

  const std::string text = readFile(registry).value();
  const json written = json::parse(text);
  const json& after = written.at("plugins");
  ASSERT_EQ(after.size(), others.size());
  json expected = others;
  expected.at(7) = after.at(7);  // our old entry, replaced in its place
  EXPECT_EQ(after, expected);
  EXPECT_EQ(after.at(7).at("versionString"), "2.0");
  EXPECT_EQ(written.at("zTop"), json::parse(original).at("zTop"));
  EXPECT_EQ(written.at("aTop"), "€");
  EXPECT_EQ(written.size(), 3u);

  // Indent 2, sorted keys, UTF-8 bytes as they are, exactly one final line feed.
  EXPECT_EQ(text, written.dump(2) + "\n");
  EXPECT_NE(text.find("\n  \"aTop\": \"€\",\n  \"plugins\": [\n    {\n      \"name\": \"Zëta ✓\""),
            std::string::npos);
  EXPECT_EQ(text.find("\\u"), std::string::npos);
  EXPECT_NE(text.substr(text.size() - 2), "\n\n");

  // One backup, the file as it was; no temporary file left beside them.
  EXPECT_EQ(readFile(r.backupPath), original);
  EXPECT_EQ(fs::path(r.backupPath).parent_path(), registry.parent_path());
  EXPECT_EQ(std::distance(fs::directory_iterator(registry.parent_path()), fs::directory_iterator()),
            2);
}

TEST_F(UxpTest, ReadOnlyFolderKeepsPreviousRegistry) {
  writeRegistry({oldEntry("1.0")});
  const std::string before = readFile(registry).value();
  fs::permissions(tmp.path(), fs::perms::all);  // let an unprivileged child reach the file
  fs::permissions(registry.parent_path(), fs::perms::owner_read | fs::perms::owner_exec |
                                              fs::perms::others_read | fs::perms::others_exec);

  const std::string message =
      withoutRoot([&] { return writeFileAtomic(registry, "{}\n").value_or("written"); });
  const std::string expected = "Could not create temp file: " + registry.string() + ".tmp-velko-";
  EXPECT_EQ(message.substr(0, expected.size()), expected);
  EXPECT_EQ(readFile(registry), before);
}

}  // namespace
}  // namespace velko::plugin_export::test
