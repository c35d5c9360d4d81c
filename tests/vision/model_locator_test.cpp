// The model package locator, run as a real process from a copied executable so the application's
// own places can be arranged.
#include "vision/model_locator.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/test_support.h"

namespace velko::vision {
namespace {
namespace fs = std::filesystem;

TEST(FindModelPackage, FirstPlaceInOrderWins) {
  // The executable lies in <root>/tool/bin, outside any .app: the resources folder is then
  // tool/bin/Contents/Resources, and the executable's own probe looks in tool/Resources.
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
  // VELKO_MODEL_DIR_ONLY ("": unset), the name asked for, and the place found as "<path below the
  // root> <source>". VELKO_MODEL_DIR and _STORE name dir and store, or are empty in the row
  // "empty".
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"", "a", "dir/a.mlpackage VELKO_MODEL_DIR"},
      {"", "b.mlpackage", "store/b.mlmodelc store"},  // .mlmodelc first in one place
      {"", "c", "store/c.mlpackage store"},           // a file does not count, a link does
      {"", ".mlmodelc", "store/.mlmodelc.mlmodelc store"},
      {"", "d", res + "d.mlmodelc bundle"},
      {"", "f", support + "f.mlmodelc application-support"},
      // Only "1" restricts the search to the first two places.
      {"1", "a", "dir/a.mlpackage VELKO_MODEL_DIR"},
      {"1", "b", "store/b.mlmodelc store"},
      {"1", "d", ""},
      {"11", "d", res + "d.mlmodelc bundle"},
      {"true", "e", beside + "e.mlpackage bundle"},
      // Empty variables are passed over, not taken for the working folder: the store under HOME.
      {"empty", "g.mlmodelc", home + "g.mlpackage store"},
  };
  for (const auto& [only, name, found] : rows) {
    const std::string dirVar = only == "empty" ? "" : (root / "dir").string(),
                      storeVar = only == "empty" ? "" : (root / "store").string();
    using Value = std::optional<std::string>;
    const test::ProcessResult run = test::runProcess(
        {"/bin/sh", "-c", "cd \"$0\" && exec \"$1\" \"$2\"", root.string(), exe.string(), name},
        {{"HOME", (root / "home").string()},
         {"VELKO_MODEL_DIR", dirVar},
         {"VELKO_MODEL_STORE", storeVar},
         {"VELKO_MODEL_DIR_ONLY", only.empty() || only == "empty" ? Value() : Value(only)}});
    const size_t space = found.rfind(' ');
    EXPECT_EQ(run.out, found.empty() ? "\n\n"
                                     : (root / found.substr(0, space)).string() + "\n" +
                                           found.substr(space + 1) + "\n")
        << only << " " << name;
  }
}

}  // namespace
}  // namespace velko::vision
