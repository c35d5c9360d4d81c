// Kills `velko-installer --cli models-fetch` with SIGKILL at random moments of a zipped package's
// download, check, unpack, swap and marker: the package path must hold the old or the new package
// whole, and the next fetch must end with the published bytes, the right marker and no leftovers.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/support/kill_campaign.h"
#include "tests/support/model_server.h"
#include "tests/support/test_support.h"
#include "tests/support/zip_archive.h"

namespace velko::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kId = "crash";
constexpr const char* kPackage = "crash.mlmodelc";  // where the store holds the package
constexpr const char* kMarker = ".installed/crash.json";

std::string zipOf(const fs::path& scratch, const Tree& tree) {
  const std::string package = std::string(kPackage) + "/";
  // The resource folder of archives made on macOS is tolerated and never reaches the store.
  std::vector<ZipEntry> entries{zipFolder(package), zipFile("__MACOSX/._crash.mlmodelc", "rsrc")};
  for (const auto& [name, bytes] : tree) {
    entries.push_back(bytes == "/" ? zipFolder(package + name + "/")
                                   : zipFile(package + name, bytes));
  }
  writeZip(scratch, entries);
  return *readFile(scratch);
}

// No `.tmp` file anywhere below `store`, no "__MACOSX", and only lock files in `.downloads`.
void expectNoLeftovers(const fs::path& store) {
  EXPECT_FALSE(fs::exists(store / "__MACOSX"));
  for (const auto& entry : fs::recursive_directory_iterator(store)) {
    EXPECT_NE(entry.path().extension(), ".tmp") << entry.path();
  }
  for (const auto& entry : fs::directory_iterator(store / ".downloads")) {
    EXPECT_EQ(entry.path().extension(), ".lock") << entry.path();
  }
}

// Each run starts from an empty store (a first install) or from the older build of the package
// with its marker (a replace).
void runCampaign(bool replace) {
  if (!VELKO_LIST_KEY_IS_DEVELOPMENT_KEY) {
    GTEST_SKIP() << "the executable trusts another key than the development key";
  }
  TempDir dir;
  IsolatedHome home(dir.path());
  // A package folder of incompressible files, large enough that transfer, checksum and unpack each
  // take a share of the run a random kill can hit.
  const Tree newTree = randomTree(8, 40, 24 * 1024, 2);
  const std::optional<Tree> before =
      replace ? std::optional(randomTree(8, 40, 24 * 1024, 1)) : std::nullopt;
  const std::string zip = zipOf(dir / "new.zip", newTree);
  const nlohmann::json entry = coremlModel(kId, zip);
  ModelServer server;
  server.publish({entry}, {zip});
  const std::string freshMarker =
      nlohmann::json{{"sha256", entry["sha256"]}, {"version", entry["version"]}}.dump();

  CampaignSetup setup{.templ = dir / "template", .runs = VELKO_CRASH_RUNS};
  fs::create_directories(setup.templ);
  if (before) writeTree(setup.templ / kPackage, *before);
  if (before) writeFile(setup.templ / kMarker, R"({"sha256":"0000","version":"0.9"})");
  setup.command = [&](const fs::path& store) {
    return CampaignCommand{
        {VELKO_INSTALLER_EXE, "--cli", "models-fetch", "--model", kId},
        {{"VELKO_MODEL_STORE", store.string()}, {"VELKO_MODEL_LIST_URL", server.listUrl()}}};
  };
  // Three runs in four aim past the start-up and the list, at the steps of the download.
  setup.ready = [&](int run) -> std::function<bool()> {
    if (run % 4 == 0) return nullptr;
    const size_t seen = server.http.requests().size();
    return [&server, seen] {
      const std::vector<RecordedRequest> requests = server.http.requests();
      return std::any_of(requests.begin() + static_cast<long>(seen), requests.end(),
                         [](const RecordedRequest& r) { return r.path == "/m/crash.zip"; });
    };
  };
  setup.afterKill = [&](const fs::path& store) {
    const std::optional<Tree> installed = treeAt(store / kPackage);
    ASSERT_TRUE(installed == before || installed == newTree)
        << "the package path holds a mix or a part of a package";
  };
  setup.atEnd = [&](const fs::path& store) {
    EXPECT_TRUE(treeAt(store / kPackage) == newTree);
    EXPECT_EQ(readFile(store / kMarker), freshMarker);
    expectNoLeftovers(store);
  };
  runKillCampaign(setup);
}

// A first install is a plain rename onto a free name: a kill leaves nothing or the whole package.
TEST(ModelCrashConsistency, KilledFirstInstallLeavesNothingOrTheWholePackage) {
  runCampaign(false);
}

TEST(ModelCrashConsistency, KilledReplaceLeavesTheOldOrTheNewPackage) {
  runCampaign(true);
}

}  // namespace
}  // namespace velko::test
