// Kills `velko-installer --cli models-fetch` with SIGKILL at random moments of a zipped package's
// download, check, unpack, swap and marker: the package path must hold the old or the new package
// whole, and the next fetch must end with the published bytes, the right marker and no leftovers.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <map>
#include <random>

#include "tests/support/kill_campaign.h"
#include "tests/support/model_server.h"
#include "tests/support/zip_archive.h"

namespace velko::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kId = "crash";
using Tree = std::map<std::string, std::string>;  // relative path -> bytes, "/" for a folder

// A package folder of incompressible files, large enough that transfer, checksum and unpack each
// take a share of the run a random kill can hit.
Tree packageTree(unsigned seed) {
  std::mt19937 random(seed);
  Tree tree;
  for (int d = 0; d < 8; ++d) {
    tree["d" + std::to_string(d)] = "/";
    for (int f = 0; f < 40; ++f) {
      std::string bytes(24 * 1024, '\0');
      for (char& c : bytes)
        c = static_cast<char>(random());
      tree["d" + std::to_string(d) + "/f" + std::to_string(f) + ".bin"] = bytes;
    }
  }
  return tree;
}

std::string zipOf(const fs::path& scratch, const Tree& tree) {
  const std::string package = std::string(kId) + ".mlmodelc/";
  // The resource folder of archives made on macOS is tolerated and never reaches the store.
  std::vector<ZipEntry> entries{zipFolder(package), zipFile("__MACOSX/._crash.mlmodelc", "rsrc")};
  for (const auto& [name, bytes] : tree) {
    entries.push_back(bytes == "/" ? zipFolder(package + name + "/")
                                   : zipFile(package + name, bytes));
  }
  writeZip(scratch, entries);
  return *readFile(scratch);
}

// What stands at `folder`, in the form of packageTree; nullopt when nothing does.
std::optional<Tree> treeAt(const fs::path& folder) {
  std::error_code ec;
  if (!fs::exists(folder, ec)) return std::nullopt;
  Tree tree;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string name = fs::relative(entry.path(), folder).string();
    tree[name] = entry.is_directory() ? "/" : readFile(entry.path()).value_or("<unreadable>");
  }
  return tree;
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
  const Tree oldTree = packageTree(1), newTree = packageTree(2);
  const std::string zip = zipOf(dir / "new.zip", newTree);
  const nlohmann::json entry = coremlModel(kId, zip);
  ModelServer server;
  server.publish({entry}, {zip});
  const std::string freshMarker = R"({"sha256":")" + entry["sha256"].get<std::string>() +
                                  R"(","version":")" + entry["version"].get<std::string>() +
                                  R"("})";

  const fs::path templ = dir / "template";
  fs::create_directories(templ);
  std::optional<Tree> before;
  if (replace) {
    for (const auto& [name, bytes] : oldTree) {
      const fs::path path = templ / (std::string(kId) + ".mlmodelc") / name;
      bytes == "/" ? (void)fs::create_directories(path) : writeFile(path, bytes);
    }
    writeFile(templ / ".installed" / (std::string(kId) + ".json"),
              R"({"sha256":"0000","version":"0.9"})");
    before = oldTree;
  }

  const std::vector<std::string> fetch{VELKO_INSTALLER_EXE, "--cli", "models-fetch", "--model",
                                       kId};
  const auto envFor = [&](const fs::path& store) {
    return KillCampaign::Env{{"VELKO_MODEL_STORE", store.string()},
                             {"VELKO_MODEL_LIST_URL", server.listUrl()}};
  };
  KillCampaign campaign;
  const fs::path reference = dir / "reference";
  fs::copy(templ, reference, fs::copy_options::recursive);
  const ProcessResult ref = campaign.timedRun(fetch, envFor(reference));
  ASSERT_EQ(ref.exitCode, 0) << ref.err;

  int killedEarly = 0;
  for (int run = 0; run < VELKO_CRASH_RUNS; ++run) {
    const fs::path store = dir / ("run" + std::to_string(run));
    fs::copy(templ, store, fs::copy_options::recursive);
    // Three runs in four aim past the start-up and the list, at the steps of the download.
    const size_t seen = server.http.requests().size();
    const auto transferring = [&] {
      const std::vector<RecordedRequest> requests = server.http.requests();
      return std::any_of(requests.begin() + static_cast<long>(seen), requests.end(),
                         [](const RecordedRequest& r) { return r.path == "/m/crash.zip"; });
    };
    bool killed = false;
    const long waitMicros = campaign.startAndKill(
        fetch, envFor(store), killed, run % 4 ? std::function<bool()>(transferring) : nullptr);
    SCOPED_TRACE("run " + std::to_string(run) + ", kill after " + std::to_string(waitMicros) +
                 " us");

    const fs::path target = store / (std::string(kId) + ".mlmodelc");
    const std::optional<Tree> installed = treeAt(target);
    ASSERT_TRUE(installed == before || installed == newTree)
        << "the package path holds a mix or a part of a package";
    if (killed) ++killedEarly;

    const ProcessResult again = campaign.timedRun(fetch, envFor(store));
    ASSERT_EQ(again.exitCode, 0) << again.err;
    EXPECT_TRUE(treeAt(target) == newTree);
    EXPECT_EQ(readFile(store / ".installed" / (std::string(kId) + ".json")), freshMarker);
    expectNoLeftovers(store);
    std::error_code ec;
    fs::remove_all(store, ec);
  }
  std::cout << "[ crash    ] " << (replace ? "replace, " : "first install, ") << VELKO_CRASH_RUNS
            << " runs, " << killedEarly << " killed before they ended (last undisturbed fetch "
            << campaign.span() << " us)\n";
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
