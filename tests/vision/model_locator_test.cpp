// The model package locator, run as a real process from a copied executable so the application's
// own places can be arranged.
#include "vision/model_locator.h"

#include <gtest/gtest.h>

#include "tests/support/test_support.h"

namespace velko::vision {
namespace {
namespace fs = std::filesystem;

TEST(FindModelPackage, FirstPlaceInOrderWins) {
  // The executable lies in <root>/tool/bin, outside any .app: the resources folder is then
  // tool/bin/Contents/Resources, and the executable's own probe looks in tool/Resources.
  const std::string resources = "tool/bin/Contents/Resources/models/";
  const std::string beside = "tool/Resources/models/";
  const std::string homeStore = "home/Library/Application Support/VELKO/models/";
  const std::string appSupport = "home/Library/Application Support/Solstice Velko/models/";
  using Env = std::map<std::string, std::string>;  // a name left out is unset
  const Env inStore = {{"VELKO_MODEL_STORE", "store"}};
  const struct {
    const char* label;
    std::vector<std::string> setup;  // "x/" a folder, "x" a file, "x -> y" a link to root/y
    Env env;                         // VELKO_MODEL_DIR and VELKO_MODEL_STORE below the root
    std::string name, found;         // found: "<path below the root> <label>", or empty
  } cases[] = {
      {"VELKO_MODEL_DIR before the store",
       {"dir/foo.mlpackage/", "store/foo.mlmodelc/"},
       {{"VELKO_MODEL_DIR", "dir"}, {"VELKO_MODEL_STORE", "store"}},
       "foo",
       "dir/foo.mlpackage VELKO_MODEL_DIR"},
      {"empty variables are passed over: the store under HOME, before the bundle",
       {"foo.mlmodelc/", homeStore + "foo.mlpackage/", resources + "foo.mlmodelc/"},
       {{"VELKO_MODEL_DIR", ""}, {"VELKO_MODEL_STORE", ""}},
       "foo.mlmodelc",
       homeStore + "foo.mlpackage store"},
      {".mlmodelc preferred over .mlpackage in one place",
       {"store/foo.mlpackage/", "store/foo.mlmodelc/"},
       inStore,
       "foo.mlpackage",
       "store/foo.mlmodelc store"},
      {"a file of the name does not count, a link to a folder does",
       {"store/foo.mlmodelc", "store/foo.mlpackage -> elsewhere/", "elsewhere/"},
       inStore,
       "foo",
       "store/foo.mlpackage store"},
      {"a name of nothing but the ending is not cut",
       {"store/.mlmodelc.mlmodelc/"},
       inStore,
       ".mlmodelc",
       "store/.mlmodelc.mlmodelc store"},
      {"restricted to the first two places by 1",
       {resources + "foo.mlmodelc/"},
       {{"VELKO_MODEL_DIR_ONLY", "1"}, {"VELKO_MODEL_STORE", "store"}},
       "foo",
       ""},
      {"11 does not restrict: the resources folder",
       {resources + "foo.mlmodelc/", beside + "foo.mlmodelc/"},
       {{"VELKO_MODEL_DIR_ONLY", "11"}, {"VELKO_MODEL_STORE", "store"}},
       "foo",
       resources + "foo.mlmodelc bundle"},
      {"true does not restrict: beside the executable's folder",
       {beside + "foo.mlpackage/", appSupport + "foo.mlmodelc/"},
       {{"VELKO_MODEL_DIR_ONLY", "true"}, {"VELKO_MODEL_STORE", "store"}},
       "foo",
       beside + "foo.mlpackage bundle"},
      {"application support under HOME, whatever the store",
       {appSupport + "foo.mlmodelc/"},
       inStore,
       "foo",
       appSupport + "foo.mlmodelc application-support"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    test::TempDir dir;
    const fs::path root = fs::canonical(dir.path());
    const fs::path exe = root / "tool" / "bin" / "print_model_package";
    fs::create_directories(exe.parent_path());
    fs::copy_file(VELKO_PRINT_MODEL_PACKAGE, exe);
    for (const std::string& item : c.setup) {
      if (const size_t arrow = item.find(" -> "); arrow != std::string::npos) {
        fs::create_directories((root / item.substr(0, arrow)).parent_path());
        fs::create_directory_symlink(root / item.substr(arrow + 4), root / item.substr(0, arrow));
      } else if (item.ends_with('/')) {
        fs::create_directories(root / item);
      } else {
        test::writeFile(root / item, "");
      }
    }
    std::map<std::string, std::optional<std::string>> env = {{"HOME", (root / "home").string()},
                                                             {"VELKO_MODEL_DIR", std::nullopt},
                                                             {"VELKO_MODEL_DIR_ONLY", std::nullopt},
                                                             {"VELKO_MODEL_STORE", std::nullopt}};
    for (const auto& [name, value] : c.env) {
      env[name] = value.empty() || name == "VELKO_MODEL_DIR_ONLY" ? value : (root / value).string();
    }
    // Run from the root, so a relative folder (an empty variable taken for one) would be seen.
    const test::ProcessResult run = test::runProcess(
        {"/bin/sh", "-c", "cd \"$0\" && exec \"$1\" \"$2\"", root.string(), exe.string(), c.name},
        env);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const size_t space = c.found.rfind(' ');
    const std::string expected = c.found.empty() ? "\n\n"
                                                 : (root / c.found.substr(0, space)).string() +
                                                       "\n" + c.found.substr(space + 1) + "\n";
    EXPECT_EQ(run.out, expected);
  }
}

}  // namespace
}  // namespace velko::vision
