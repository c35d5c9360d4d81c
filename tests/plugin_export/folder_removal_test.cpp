// Deleting plug-in folders so that an interrupted delete leaves a folder the next run recognises.
#include <gtest/gtest.h>
#include <unistd.h>

#include "plugin_export/plugin_folders.h"
#include "plugin_export/plugin_uninstall.h"
#include "tests/plugin_export/uxp_fixture.h"

namespace velko::plugin_export::test {
namespace {

// A delete that stops half-way (here: a folder the process may not empty) keeps the marker in a
// trash folder whose name begins with "<id>_", so the next run's sibling step finishes the job.
TEST_F(UxpTest, InterruptedDeleteKeepsMarkerAndNextRunFinishes) {
  const fs::path version = external / (kId + "_1.0");
  folder(kId + "_1.0", kId);
  writeFile(version / "locked" / "file.txt", "x");
  fs::permissions(tmp.path(), fs::perms::all);
  if (geteuid() == 0) {  // withoutRoot works as nobody, who must own what it deletes
    for (const auto& e : fs::recursive_directory_iterator(external)) {
      ASSERT_EQ(lchown(e.path().c_str(), 65534, 65534), 0);
    }
    ASSERT_EQ(chown(external.c_str(), 65534, 65534), 0);
  }
  fs::permissions(version / "locked", fs::perms::owner_read | fs::perms::owner_exec);

  const std::string outcome = withoutRoot([&] {
    std::vector<std::string> warnings;
    const auto removed = removeSiblingVersionFolders(external, kId, "", warnings);
    return std::to_string(removed.size()) + "|" + (warnings.empty() ? "" : warnings.front());
  });
  EXPECT_EQ(outcome, "0|Could not remove old plugin folder: " + version.string());
  EXPECT_FALSE(fs::exists(version));
  std::vector<fs::path> trash;
  for (const auto& e : fs::directory_iterator(external))
    trash.push_back(e.path());
  ASSERT_EQ(trash.size(), 1u);
  EXPECT_EQ(trash[0].filename().string().rfind(kId + "_1.0.velko-trash-", 0), 0u);
  EXPECT_TRUE(fs::exists(trash[0] / "manifest.json"));
  EXPECT_FALSE(fs::exists(trash[0] / "sub"));

  fs::permissions(trash[0] / "locked", fs::perms::owner_all);
  const UninstallResult again = uninstallFromPhotoshop(kId, options());
  EXPECT_TRUE(again.ok && again.removed) << again.error;
  EXPECT_TRUE(fs::is_empty(external));
}

// A link named like a version folder goes itself; the folder it points to is not ours to empty.
TEST_F(UxpTest, LinkNamedLikeVersionFolderIsRemovedNotFollowed) {
  const fs::path elsewhere = tmp / "elsewhere";
  writeFile(elsewhere / "manifest.json",
            json{{"id", kId}, {"name", ""}, {"version", "9.9"}}.dump());
  writeFile(elsewhere / "keep.txt", "keep");
  fs::create_directories(external);
  fs::create_directory_symlink(elsewhere, external / (kId + "_9.9"));

  const UninstallResult r = uninstallFromPhotoshop(kId, options());
  EXPECT_TRUE(r.ok && r.removed) << r.error;
  EXPECT_FALSE(fs::exists(fs::symlink_status(external / (kId + "_9.9"))));
  EXPECT_EQ(readFile(elsewhere / "keep.txt"), "keep");
  EXPECT_TRUE(fs::exists(elsewhere / "manifest.json"));
}

}  // namespace
}  // namespace velko::plugin_export::test
