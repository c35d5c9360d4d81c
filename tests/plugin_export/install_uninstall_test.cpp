// What a killed install or uninstall leaves on a real UXP folder tree, and how the next run
// finishes the job: the steps that only a broken copy or a refused delete can reach.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <optional>

#include "plugin_export/folder_copy.h"
#include "plugin_export/install_core.h"
#include "plugin_export/message_language.h"
#include "plugin_export/plugin_folders.h"
#include "plugin_export/plugin_install.h"
#include "plugin_export/plugin_uninstall.h"
#include "tests/support/test_support.h"

namespace velko::plugin_export {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::readFile;
using test::writeFile;

const std::string kId = "com.velko.demo";

class UxpTest : public ::testing::Test {
 protected:
  void SetUp() override { setMessageLanguage("en"); }
  InstallOptions options() const { return {base.string()}; }

  test::TempDir tmp;
  test::IsolatedHome home{tmp.path()};
  fs::path base = tmp / "uxp";
  fs::path external = base / "Plugins" / "External";
  fs::path registry = base / "PluginsInfo" / "v1" / "PS.json";
};

// The target appears with the marker already in it, so the next install replaces the half-copied
// folder instead of refusing it as foreign. Copying never rewrites that marker (a kill in the
// middle would leave an unmarked folder); links are copied as what they point to, a linked folder
// as an empty one.
TEST_F(UxpTest, InterruptedCopyLeavesMarkedFolderThatNextRunCompletes) {
  const fs::path source = tmp / "src", target = external / (kId + "_2.0");
  test::writeSamplePlugin(source, kId, "2.0");
  writeFile(tmp / "outside" / "secret.txt", "outside");
  fs::create_directory_symlink(tmp / "outside", source / "dirlink");
  fs::create_symlink(tmp / "outside" / "secret.txt", source / "filelink");
  const auto broken = [](const fs::path&) { return std::optional<std::string>("copy broke"); };
  EXPECT_EQ(installCore({kId, "n", "2.0"}, source / "manifest.json", broken, options()).error,
            "copy broke");
  EXPECT_EQ(readFile(target / "manifest.json"), readFile(source / "manifest.json"));

  const std::string marker = readFile(source / "manifest.json").value() + " ";
  writeFile(target / "manifest.json", marker);
  EXPECT_EQ(copyPluginFiles(source, target), std::nullopt);
  EXPECT_EQ(readFile(target / "manifest.json"), marker);
  EXPECT_EQ(readFile(target / "filelink"), "outside");
  EXPECT_FALSE(fs::is_symlink(target / "filelink"));
  EXPECT_TRUE(fs::is_empty(target / "dirlink"));

  // A minimum host version that is not blank is written as given.
  const InstallResult again = installIntoPhotoshop(source, {base.string(), " 25.0 "});
  EXPECT_TRUE(again.ok && again.replacedExisting) << again.error;
  EXPECT_EQ(json::parse(readFile(registry).value())["plugins"][0]["hostMinVersion"], " 25.0 ");
}

// A delete that stops half-way (here: at a folder the process may not empty) keeps the marker in a
// trash folder whose name begins with "<id>_", so the next run's sibling step finishes the job.
// That run removes a link named like a version folder, never the folder it points to.
TEST_F(UxpTest, InterruptedDeleteKeepsMarkerAndNextRunFinishes) {
  const fs::path version = external / (kId + "_1.0");
  test::writeSamplePlugin(version, kId, "0");
  writeFile(version / "sub" / "data.bin", "payload");
  writeFile(version / "locked" / "file.txt", "x");
  fs::permissions(version / "locked", fs::perms::owner_read | fs::perms::owner_exec);
  const std::vector<std::string> failed = {"Could not remove old plugin folder: " +
                                           version.string()};
  const auto removeSiblings = [&] {
    std::vector<std::string> warnings;
    return removeSiblingVersionFolders(external, kId, "", warnings).empty() && warnings == failed;
  };
  if (geteuid() != 0) {
    EXPECT_TRUE(removeSiblings());
  } else {  // permissions stop everyone but root: delete as nobody, who owns the folders
    fs::permissions(tmp.path(), fs::perms::all);
    for (const auto& e : fs::recursive_directory_iterator(base))
      ASSERT_EQ(lchown(e.path().c_str(), 65534, 65534), 0);
    const pid_t pid = fork();
    if (pid == 0) _exit(setgid(65534) == 0 && setuid(65534) == 0 && removeSiblings() ? 0 : 1);
    int status = -1;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_FALSE(fs::exists(version));
  ASSERT_EQ(std::distance(fs::directory_iterator(external), {}), 1);
  const fs::path trash = fs::directory_iterator(external)->path();
  EXPECT_TRUE(trash.filename().string().starts_with(kId + "_1.0.velko-trash-"));
  EXPECT_TRUE(fs::exists(trash / "manifest.json"));
  EXPECT_FALSE(fs::exists(trash / "sub"));

  fs::permissions(trash / "locked", fs::perms::owner_all);
  writeFile(tmp / "elsewhere" / "manifest.json",
            json{{"id", kId}, {"name", "n"}, {"version", "9.9"}}.dump());
  fs::create_directory_symlink(tmp / "elsewhere", external / (kId + "_9.9"));
  const UninstallResult again = uninstallFromPhotoshop(kId, options());
  EXPECT_TRUE(again.ok && again.removed) << again.error;
  EXPECT_TRUE(fs::is_empty(external));
  EXPECT_TRUE(fs::exists(tmp / "elsewhere" / "manifest.json"));
}

}  // namespace
}  // namespace velko::plugin_export
