// The model package locator, run from a copied executable so the application's places can be laid.
#include "vision/model_locator.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/test_support.h"

namespace velko::vision {
namespace {
namespace fs = std::filesystem;

TEST(FindModelPackage, FirstPlaceInOrderWins) {
  // Outside any .app, resources are bin/Contents/Resources, and the executable's probe Resources.
  const std::string res = "tool/bin/Contents/Resources/models/", beside = "tool/Resources/models/",
                    home = "home/Library/Application Support/VELKO/models/",
                    support = "home/Library/Application Support/Solstice Velko/models/";
  test::TempDir dir;
  const fs::path root = fs::canonical(dir.path()), exe = root / "tool/bin/print_model_package";
  fs::create_directories(exe.parent_path());
  fs::copy_file(VELKO_PRINT_MODEL_PACKAGE, exe);
  // One world for every row: "x/" a folder, "x" a file, "x -> y" a link to the folder y.
  std::istringstream world(
      "dir/a.mlpackage/;store/a.mlmodelc/;store/b.mlpackage/;store/b.mlmodelc/;"
      "store/c.mlmodelc;elsewhere/;store/c.mlpackage -> elsewhere;"
      "store/.mlmodelc.mlmodelc/;g.mlmodelc/;" +
      res + "d.mlmodelc/;" + beside + "d.mlmodelc/;" + beside + "e.mlpackage/;" + support +
      "e.mlmodelc/;" + support + "f.mlmodelc/;" + home + "g.mlpackage/;" + res + "g.mlmodelc/");
  for (std::string item; std::getline(world, item, ';');) {
    const size_t arrow = item.find(" -> ");
    fs::create_directories((root / item.substr(0, arrow)).parent_path());
    if (arrow != std::string::npos) {
      fs::create_directory_symlink(root / item.substr(arrow + 4), root / item.substr(0, arrow));
    } else if (!item.ends_with('/')) {
      test::writeFile(root / item, "");
    }
  }
  // VELKO_MODEL_DIR_ONLY ("": unset; "empty": DIR and STORE empty, else dir and store), the name.
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"", "a", "dir/a.mlpackage VELKO_MODEL_DIR"},
      {"", "b.mlpackage", "store/b.mlmodelc store"},  // .mlmodelc first in one place
      {"", "c", "store/c.mlpackage store"},           // a file does not count, a link does
      {"", ".mlmodelc", "store/.mlmodelc.mlmodelc store"},
      {"", "d", res + "d.mlmodelc bundle"},
      {"", "f", support + "f.mlmodelc application-support"},
      // Only "1" restricts the search to the first two places.
      {"1", "b", "store/b.mlmodelc store"},
      {"1", "d", " "},
      {"11", "d", res + "d.mlmodelc bundle"},
      {"true", "e", beside + "e.mlpackage bundle"},
      // Empty variables are passed over, not taken for the working folder: the store under HOME.
      {"empty", "g.mlmodelc", home + "g.mlpackage store"},
  };
  for (const auto& [only, name, found] : rows) {
    const bool empty = only == "empty";
    // Run from the root, so a relative folder (an empty variable taken for one) would be seen.
    const test::ProcessResult run = test::runProcess(
        {"/bin/sh", "-c", "cd \"$0\" && exec \"$1\" \"$2\"", root.string(), exe.string(), name},
        {{"HOME", (root / "home").string()},
         {"VELKO_MODEL_DIR", empty ? "" : (root / "dir").string()},
         {"VELKO_MODEL_STORE", empty ? "" : (root / "store").string()},
         {"VELKO_MODEL_DIR_ONLY", only.empty() || empty ? std::nullopt : std::optional(only)}});
    EXPECT_EQ(run.out, found + "\n") << only << " " << name;
  }
}

}  // namespace
}  // namespace velko::vision
