// Unpacking model archives made by the test, and swapping packages into place on a real disk.
#include "models/package_install.h"

#include <gtest/gtest.h>

#include <set>

#include "tests/support/test_support.h"
#include "tests/support/zip_archive.h"

namespace velko::models {
namespace {
namespace fs = std::filesystem;
using test::zipFile;
using test::zipFolder;
using test::zipLink;

// Everything below `root` except what lies inside `skip`, as paths relative to `root`; links are
// listed, not followed.
std::set<std::string> listing(const fs::path& root, const fs::path& skip) {
  std::set<std::string> names;
  for (auto it = fs::recursive_directory_iterator(root); it != fs::recursive_directory_iterator();
       ++it) {
    if (it->path() == skip) it.disable_recursion_pending();
    names.insert(it->path().lexically_relative(root).string());
  }
  return names;
}

TEST(UnpackAndInspect, AcceptsOnlyThePackageAndNothingLeavesTheFolder) {
  const std::string package = "m.mlmodelc";
  test::TempDir dir;
  const fs::path root = fs::canonical(dir.path());
  const fs::path archive = root / "work" / "m.zip", unpackDir = root / "work" / "m.unpack";
  const fs::path outside = root / "outside";
  test::writeFile(outside / "keep", "keep");
  const std::set<std::string> untouched = {"outside", "outside/keep", "work", "work/m.zip",
                                           "work/m.unpack"};
  const auto weights = zipFile(package + "/weights.bin", "w");

  const struct {
    const char* label;
    std::vector<test::ZipEntry> entries;  // empty: the archive is no zip at all
    bool accepted;
  } cases[] = {
      {"package with __MACOSX beside it",
       {zipFolder(package + "/"), weights, zipFile("__MACOSX/._m.mlmodelc", "rsrc")},
       true},
      {"relative link between two files inside",
       {weights, zipLink(package + "/alias.bin", "weights.bin")},
       true},
      {"link dangling inside the package", {weights, zipLink(package + "/later", "gone")}, true},
      {"second top-level entry", {weights, zipFile("README.txt", "")}, false},
      {"folder of another name", {zipFile("other.mlmodelc/weights.bin", "w")}, false},
      {"package is a file", {zipFile(package, "w")}, false},
      {"package is a link to a folder inside",
       {zipFile("__MACOSX/real/weights.bin", "w"), zipLink(package, "__MACOSX/real")},
       false},
      {"link up and out", {weights, zipLink(package + "/x", "../../x")}, false},
      {"links in a loop", {zipLink(package + "/a", "b"), zipLink(package + "/b", "a")}, false},
      {"link to an absolute path outside",
       {weights, zipLink(package + "/x", outside.string())},
       false},
      {"writing through a link to outside",
       {zipLink(package + "/dir", outside.string()), zipFile(package + "/dir/planted", "p")},
       false},
      {"entry named with ..", {weights, zipFile(package + "/../../planted", "p")}, false},
      {"entry with an absolute name",
       {weights, zipFile((outside / "planted").string(), "p")},
       false},
      {"not a zip at all", {}, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    if (c.entries.empty()) {
      test::writeFile(archive, "PK\x03\x04 but nothing after");
    } else {
      test::writeZip(archive, c.entries);
    }
    // Leftovers of an earlier run must not count against the package.
    test::writeFile(unpackDir / "stale", "");
    EXPECT_EQ(unpackAndInspect(archive, unpackDir, package), c.accepted);
    EXPECT_EQ(listing(root, unpackDir), untouched);
    fs::remove_all(unpackDir);
  }
}

// Archives written by Info-ZIP's zip (the fuzzer's seeds), not by the library that reads them:
// one deflated with a "__MACOSX" folder, one with a link stored as a link.
TEST(UnpackAndInspect, RestoresArchivesOfAnotherWriter) {
  test::TempDir dir;
  const fs::path samples = VELKO_ZIP_SAMPLES, unpackDir = dir / "m.unpack";
  const fs::path package = unpackDir / "m.mlmodelc";
  ASSERT_TRUE(unpackAndInspect(samples / "ok.zip", unpackDir, "m.mlmodelc"));
  EXPECT_EQ(test::readFile(package / "weights.bin"), std::string(300, 'w'));
  EXPECT_EQ(test::readFile(unpackDir / "__MACOSX" / "._m.mlmodelc"), "r");

  ASSERT_TRUE(unpackAndInspect(samples / "link.zip", unpackDir, "m.mlmodelc"));
  EXPECT_FALSE(fs::exists(unpackDir / "__MACOSX")) << "the earlier unpacking is cleared first";
  ASSERT_TRUE(fs::is_symlink(package / "alias.bin"));
  EXPECT_EQ(fs::read_symlink(package / "alias.bin"), "weights.bin");
  EXPECT_EQ(test::readFile(package / "alias.bin"), "w");

  EXPECT_FALSE(unpackAndInspect(samples / "out.zip", unpackDir, "m.mlmodelc"));
  EXPECT_FALSE(unpackAndInspect(samples / "extra.zip", unpackDir, "m.mlmodelc"));
}

TEST(ReplacePath, TargetEndsAsSourceOrStaysAsItWas) {
  using Env = std::optional<std::string>;
  const struct {
    const char* label;
    bool targetExists, sourceExists;
    Env noExchange;  // VELKO_NO_PATH_EXCHANGE
    bool ok;
    const char* targetHolds;
    bool staleOldStays;  // only the slow way clears what an earlier crash left as `old`
  } cases[] = {
      {"first install by plain rename", false, true, {}, true, "new", true},
      {"replace by exchange", true, true, {}, true, "new", true},
      {"replace the slow way", true, true, "1", true, "new", false},
      {"slow way with the second rename failing", true, false, "1", false, "old", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    test::TempDir dir;
    const fs::path source = dir / "m.unpack" / "m.mlmodelc", target = dir / "m.mlmodelc";
    const fs::path old = dir / "m.mlmodelc.old";
    if (c.sourceExists) test::writeFile(source / "id", "new");
    if (c.targetExists) test::writeFile(target / "id", "old");
    test::writeFile(old / "id", "stale");
    test::ScopedEnv env({{"VELKO_NO_PATH_EXCHANGE", c.noExchange}});

    EXPECT_EQ(replacePath(source, target, old), c.ok);
    EXPECT_EQ(test::readFile(target / "id"), c.targetHolds);
    EXPECT_FALSE(fs::exists(source)) << "nothing of either package stays at the source";
    EXPECT_EQ(fs::exists(old / "id"), c.staleOldStays);
  }
}

}  // namespace
}  // namespace velko::models
