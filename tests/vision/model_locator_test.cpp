// The model package locator, run as a real process from a copied executable so the application's
// own places can be arranged.
#include "vision/model_locator.h"

#include <gtest/gtest.h>

#include "core/user_model_directory.h"
#include "tests/support/test_support.h"

namespace velko::vision {
namespace {
namespace fs = std::filesystem;
using Env = std::optional<std::string>;

TEST(FindModelPackage, FirstPlaceInOrderWins) {
  // The executable lies in <root>/tool/bin, outside any .app: the resources folder is then
  // tool/bin/Contents/Resources, and the executable's own probe looks in tool/Resources.
  const std::string resources = "tool/bin/Contents/Resources/models/";
  const std::string beside = "tool/Resources/models/";
  const std::string store = "store/";
  const std::string homeStore = "home/Library/Application Support/VELKO/models/";
  const std::string appSupport = "home/Library/Application Support/Solstice Velko/models/";
  const struct {
    const char* label;
    std::vector<std::string> folders;  // created below the root
    Env modelDir, only, modelStore;    // relative to the root where they name a folder
    std::string name;
    std::string path;  // relative to the root; empty for no hit
    std::string source;
  } cases[] = {
      {"VELKO_MODEL_DIR before the store",
       {"dir/foo.mlpackage", store + "foo.mlmodelc"},
       "dir",
       {},
       "store",
       "foo",
       "dir/foo.mlpackage",
       "VELKO_MODEL_DIR"},
      {"empty VELKO_MODEL_DIR is passed over",
       {"foo.mlmodelc", store + "foo.mlmodelc"},
       "",
       {},
       "store",
       "foo",
       store + "foo.mlmodelc",
       "store"},
      {"store under HOME by default, before the bundle",
       {homeStore + "foo.mlpackage", resources + "foo.mlmodelc"},
       {},
       {},
       {},
       "foo.mlmodelc",
       homeStore + "foo.mlpackage",
       "store"},
      {".mlmodelc preferred over .mlpackage in one place",
       {store + "foo.mlpackage", store + "foo.mlmodelc"},
       {},
       {},
       "store",
       "foo.mlpackage",
       store + "foo.mlmodelc",
       "store"},
      {"restricted to the first two places by 1",
       {resources + "foo.mlmodelc"},
       {},
       "1",
       "store",
       "foo",
       "",
       ""},
      {"11 does not restrict",
       {resources + "foo.mlmodelc"},
       {},
       "11",
       "store",
       "foo",
       resources + "foo.mlmodelc",
       "bundle"},
      {"true does not restrict",
       {beside + "foo.mlpackage"},
       {},
       "true",
       "store",
       "foo",
       beside + "foo.mlpackage",
       "bundle"},
      {"application support under HOME, whatever the store",
       {appSupport + "foo.mlmodelc"},
       {},
       {},
       "store",
       "foo",
       appSupport + "foo.mlmodelc",
       "application-support"},
      {"a file of the name does not count",
       {store + "bar.mlpackage"},
       {},
       {},
       "store",
       "bar",
       store + "bar.mlpackage",
       "store"},
      {"a name of nothing but the ending is not cut",
       {store + ".mlmodelc.mlmodelc"},
       {},
       {},
       "store",
       ".mlmodelc",
       store + ".mlmodelc.mlmodelc",
       "store"},
      {"nowhere", {"dir/bar.mlmodelc"}, "dir", {}, "store", "foo", "", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    test::TempDir dir;
    const fs::path root = fs::canonical(dir.path());
    const fs::path exe = root / "tool" / "bin" / "print_model_package";
    fs::create_directories(exe.parent_path());
    fs::copy_file(VELKO_PRINT_MODEL_PACKAGE, exe);
    for (const std::string& folder : c.folders)
      fs::create_directories(root / folder);
    // A plain file of the preferred name must be passed over.
    test::writeFile(root / store / "bar.mlmodelc", "");
    const auto rooted = [&](const Env& value) -> Env {
      return value && !value->empty() ? (root / *value).string() : value;
    };
    // Run from the root, so a relative folder (an empty variable taken for one) would be seen.
    const test::ProcessResult run = test::runProcess(
        {"/bin/sh", "-c", "cd \"$0\" && exec \"$1\" \"$2\"", root.string(), exe.string(), c.name},
        {{"HOME", (root / "home").string()},
         {"VELKO_MODEL_DIR", rooted(c.modelDir)},
         {"VELKO_MODEL_DIR_ONLY", c.only},
         {"VELKO_MODEL_STORE", rooted(c.modelStore)}});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string path = c.path.empty() ? "" : (root / c.path).string();
    EXPECT_EQ(run.out, path + "\n" + c.source + "\n");
  }
}

TEST(FindModelPackage, LinkToAFolderCountsUnderItsOwnName) {
  test::TempDir dir;
  test::ScopedEnv env({{"HOME", dir.path().string()},
                       {"VELKO_MODEL_DIR", (dir / "dir").string()},
                       {"VELKO_MODEL_STORE", {}}});
  fs::create_directories(dir / "elsewhere" / "real");
  fs::create_directories(dir / "dir");
  fs::create_symlink(dir / "elsewhere" / "real", dir / "dir" / "foo.mlmodelc");
  fs::create_symlink(dir / "nothing", dir / "dir" / "bar.mlmodelc");
  const ModelSearchResult found = findModelPackage("foo");
  EXPECT_EQ(found.path, (dir / "dir" / "foo.mlmodelc").string());
  EXPECT_EQ(found.source, "VELKO_MODEL_DIR");
  EXPECT_EQ(findModelPackage("bar").path, "") << "a dangling link is no folder";
}

TEST(UserModelDirectory, StoreVariableThenHomeThenNothing) {
  const struct {
    Env store, home;
    std::string expected;
  } cases[] = {
      {"/s", "/h", "/s"},
      {"", "/h", "/h/Library/Application Support/VELKO/models"},
      {{}, "/h/", "/h//Library/Application Support/VELKO/models"},
      {"", "", ""},
      {{}, {}, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    test::ScopedEnv env({{"VELKO_MODEL_STORE", c.store}, {"HOME", c.home}});
    EXPECT_EQ(core::userModelDirectory(), c.expected);
  }
}

}  // namespace
}  // namespace velko::vision
