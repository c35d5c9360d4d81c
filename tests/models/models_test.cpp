// The models layer where the command line and the window do not reach, on a real folder and server.
#include <gtest/gtest.h>

#include "models/free_space.h"
#include "models/model_store.h"
#include "models/package_install.h"
#include "models/sha256.h"
#include "tests/core/vector_files.h"
#include "tests/support/model_server.h"
#include "tests/support/test_support.h"
#include "tests/support/zip_archive.h"
#include "tools/model_tool/ed25519_keys.h"

namespace velko::models {
namespace {

namespace fs = std::filesystem;
using test::HttpMode;
using test::zipFile;
using test::zipLink;
using Env = std::map<std::string, std::optional<std::string>>;
using json = nlohmann::json;

const std::array<unsigned char, 32> kKey = model_tool::publicKeyOf({3}).value();
const json kEntry = {{"id", "depth"},   {"kind", "coreml"}, {"package", "depth.mlmodelc"},
                     {"file", "d.zip"}, {"size", 10},       {"sha256", std::string(64, 'a')}};
const std::string kList =
    json{{"format", 1}, {"issued", "2001-01-01"}, {"models", json::array({kEntry})}}.dump();

// Over the literal wire prefix, not the library's constant, so a changed prefix shows up here.
std::string signatureFor(const std::string& listText,
                         const std::string& prefix = "VELKO-MODELS-V1\n",
                         const model_tool::PrivateSeed& seed = {3}) {
  return model_tool::signHex(seed, prefix + listText);
}

std::vector<ModelEntry> keptEntries(const json& models, const std::string& listUrl) {
  const std::string listText = json{{"format", 1}, {"models", models}}.dump();
  const ListResult result = verifyModelList(listText, signatureFor(listText), kKey, listUrl);
  EXPECT_TRUE(result.ok) << result.error;
  return result.list.models;
}

// A list is accepted, or refused as a whole with one of four messages.
TEST(ModelListTest, WholeListsAcceptedOrRefusedWithTheirMessage) {
  const std::string bad = "Modell-Liste: Signatur ungültig – die Liste wird nicht verwendet.",
                    notJson = "Modell-Liste: kein gültiges JSON.",
                    missing = "Modell-Liste: Feld \"models\" fehlt.",
                    newer = "Die Modell-Liste braucht eine neuere Version von Solstice Velko.";
  const std::string sig = signatureFor(kList);
  // The list, its signature (empty for the correct one), and the error ("" when accepted).
  const std::tuple<std::string, std::string, std::string> cases[] = {
      // The signature comes first, over prefix and exact bytes; only trailing blanks are cut.
      {kList, sig + "  \n\r \r\n\n  ", ""},
      {kList, sig + "\t", bad},
      {kList + "\n", sig, bad},
      {"not json {", sig, bad},
      {kList, signatureFor(kList, "VELKO-MODELS-V1"), bad},
      {kList, signatureFor(kList, "VELKO-MODELS-V1\n", {42}), bad},
      {"not json {", "", notJson},
      {"[]", "", missing},
      {R"({"format":1,"models":{}})", "", missing},
      {R"({"format":2})", "", missing},  // reported before the format
      // `format` converts to int32 cutting fractions towards zero; `issued` is lax.
      {R"({"format":1.5,"issued":7,"later":{},"models":[]})", "", ""},
      {R"({"format":0.99,"models":[]})", "", newer},
      {R"({"format":2,"models":[]})", "", newer},
      {R"({"models":[]})", "", newer},
  };
  for (const auto& [list, givenSignature, error] : cases) {
    const bool whole = error.empty() && list == kList;
    const ListResult r = verifyModelList(
        list, givenSignature.empty() ? signatureFor(list) : givenSignature, kKey, "");
    EXPECT_EQ(std::tuple(r.error, r.ok, r.list.format, r.list.issued, r.list.models.size()),
              std::tuple(error, error.empty(), error.empty() ? 1 : 0, whole ? "2001-01-01" : "",
                         whole ? 1u : 0u))
        << list;
  }
}

TEST(ModelListTest, EachEntryRuleKeepsOrDropsTheEntry) {
  // A patch to the base entry, the kept entry's address ("": dropped), and the list's address.
  const std::string relative = "https://example.test/m/d.zip";
  const struct {
    std::string patch, url, listUrl = "https://example.test/m/models.json";
  } cases[] = {
      {"{}", relative},
      {R"({"kind":"file","package":"depth.bin"})", relative},
      {R"({"kind":"file","package":"depthx.bin"})", ""},
      {R"({"kind":"file","package":"depth..bin"})", ""},
      {R"({"package":"depth.mlpackage"})", ""},
      {R"({"kind":"CoreML"})", ""},
      {R"({"id":"a.b","package":"a.b.mlmodelc"})", relative},
      {R"({"size":0})", ""},
      {R"({"size":1024.0})", ""},
      {R"({"size":18446744073709551615})", relative},
      {R"({"sha256":")" + std::string(63, 'a') + "A\"}", ""},
      {R"({"sha256":")" + std::string(63, 'a') + "\"}", ""},
      {R"({"sha256":")" + std::string(63, 'a') + "g\"}", ""},
      {R"({"file":"https://cdn.example.test/x/d.zip"})", "https://cdn.example.test/x/d.zip"},
      {R"({"file":"http://localhost:9000/a.zip"})", "http://localhost:9000/a.zip"},
      {R"({"file":"http://example.test/a.zip"})", ""},
      {R"({"file":"a.zip?u=https://x"})", ""},
      {R"({"file":"../a.zip"})", ""},  // a relative file stays in the list's folder
      // fields that are never validated
      {R"({"version":3,"title_de":null,"installed_size":"5","nodes":{"a":1},"later":[]})",
       relative},
      // A relative file resolves against the list's folder; with none, it is the bare name.
      {"{}", "https://example.test/a/d.zip", "https://example.test/a/models.json?v=2#x"},
      {"{}", "d.zip", "https://example.test"},
      {"{}", "d.zip", "https://example.test?x=/y"},
      {"{}", "d.zip", ""},
  };
  for (const auto& c : cases) {
    json entry = kEntry;
    entry.merge_patch(json::parse(c.patch));
    // Given twice: the first kept entry wins its id, the second is dropped.
    const std::vector<ModelEntry> kept = keptEntries(json::array({entry, entry}), c.listUrl);
    EXPECT_EQ(kept.size() == 1 ? kept[0].url : "", c.url) << c.patch << " from " << c.listUrl;
  }
}

std::string digestInPieces(Sha256Path path, const std::string& message, size_t piece) {
  Sha256 digest(path);
  for (size_t at = 0; at < message.size(); at += piece)
    digest.update(test::bytesOf(message) + at, std::min(piece, message.size() - at));
  return digest.hex();
}

// Both paths, where the CPU has the hardware one; the pieces put block boundaries everywhere.
TEST(Sha256, KnownAnswersOnBothPathsInAnyPieces) {
  test::ScopedEnv unset({{"VELKO_SHA256_PORTABLE", std::nullopt}});
  for (Sha256Path path : {Sha256Path::Portable, Sha256Path::Automatic}) {
    const bool hardware = path == Sha256Path::Automatic && sha256HardwareAvailable();
    ASSERT_EQ(Sha256(path).usesHardware(), hardware);
    for (const auto& [file, count] :
         {std::pair{"SHA256ShortMsg.rsp", 65u}, {"SHA256LongMsg.rsp", 64u}}) {
      const auto vectors = test::readHashVectors(file);
      EXPECT_EQ(vectors.size(), count) << file;
      for (const auto& v : vectors) {
        for (size_t piece : {v.message.size() + 1, size_t{1}, size_t{55}, size_t{65}})
          EXPECT_EQ(digestInPieces(path, v.message, piece), v.digest) << file << hardware << piece;
      }
    }
  }
  test::ScopedEnv portable({{"VELKO_SHA256_PORTABLE", std::optional<std::string>("1")}});
  EXPECT_FALSE(Sha256().usesHardware());
}

class ModelStoreTest : public ::testing::Test {
 protected:
  fs::path part(const std::string& id) const { return models_ / ".downloads" / (id + ".bin.part"); }
  // A store on the test's folder that trusts the development key; `refresh` loads the served list.
  std::unique_ptr<ModelStore> store(bool refresh = true) {
    auto made = std::make_unique<ModelStore>(
        ModelStore::Options{models_, server_.listUrl(), test::developmentPublicKey(), nullptr, ""});
    EXPECT_EQ(refresh ? made->refreshList({}).error : "", "");
    return made;
  }

  test::TempDir dir_;
  test::IsolatedHome home_{dir_.path()};  // the locator's places lie in the test's folder
  const fs::path models_ = dir_ / "models";
  test::ModelServer server_;
  const std::string bytes_ = std::string(500, 'a') + std::string(500, 'b');  // a shift shows
};

// A resume needs its offset less; an archive without installed_size counts its size twice.
TEST(FreeSpace, ExactNeedPassesAndOneByteLessFails) {
  const std::tuple<bool, uint64_t, uint64_t, uint64_t> needs[] = {
      {false, 0, 400, 600}, {true, 0, 0, 2000}, {true, 5000, 0, 6000}, {true, 5000, 1000, 5000}};
  ModelEntry entry;
  entry.size = 1000;
  for (const auto& [archive, installed, offset, needed] : needs) {
    entry.kind = archive ? ModelKind::CoreML : ModelKind::File;
    entry.installed_size = installed;
    EXPECT_TRUE(enoughSpace(kFreeSpaceMargin + needed, entry, offset)) << needed;
    EXPECT_FALSE(enoughSpace(kFreeSpaceMargin + needed - 1, entry, offset)) << needed;
  }
  entry.size = entry.installed_size = UINT64_MAX;
  EXPECT_FALSE(enoughSpace(UINT64_MAX - 1, entry, 0)) << "the need must not wrap round";
}

TEST(ModelStore, AnEmptyListAddressCountsAsUnset) {
  const test::ScopedEnv empty(Env{{"VELKO_MODEL_LIST_URL", ""}});
  EXPECT_TRUE(ModelStore({}).options().listUrl.ends_with("/models.json"));
}

// What the command line cannot ask: a refresh cancelled in its transfer, and a cache without its
// signature, which is no list.
TEST_F(ModelStoreTest, CancelledRefreshAndUnsignedCacheGiveNoList) {
  server_.publish({test::fileModel("f", "1")}, {"1"});
  store();
  auto cached = store(false);
  EXPECT_EQ(cached->refreshList([] { return true; }).error,
            "Modell-Liste nicht erreichbar (cancelled).");
  fs::remove(models_ / "models.json.sig");
  EXPECT_EQ(cached->loadCachedList().error, "Noch keine Modell-Liste geladen.");
}

// What no command reaches: a fetch without a list, progress that ends at the whole size, and a
// cancel during the checksum of a whole part, which keeps the part.
TEST_F(ModelStoreTest, ProgressEndsWholeAndACancelInTheChecksumKeepsThePart) {
  EXPECT_EQ(store(false)->fetch("m", {}, {}).error, FetchError::NoList);
  server_.publish({test::fileModel("m", bytes_), test::fileModel("n", bytes_)}, {bytes_, bytes_});
  uint64_t lastDone = 0;
  EXPECT_TRUE(store()->fetch("m", [&](auto done, auto) { lastDone = done; }, {}).ok);
  EXPECT_EQ(lastDone, 1000u);
  test::writeFile(part("n"), bytes_);
  EXPECT_EQ(store()->fetch("n", {}, [] { return true; }).error, FetchError::Cancelled);
  EXPECT_EQ(test::readFile(part("n")), bytes_);
}

TEST(UnpackAndInspect, AcceptsOnlyThePackageAndNothingLeavesTheFolder) {
  const std::string package = "m.mlmodelc";
  test::TempDir dir;
  const fs::path root = fs::canonical(dir.path()), outside = root / "outside";
  const fs::path archive = root / "work/m.zip", unpackDir = root / "work/m.unpack";
  fs::create_directories(outside);
  const auto weights = zipFile(package + "/weights.bin", "w");
  // Only links inside pass; nothing beside or for the package, no link or name that leads out.
  const std::pair<std::vector<test::ZipEntry>, bool> cases[] = {
      {{weights, zipLink(package + "/alias.bin", "weights.bin")}, true},
      {{weights, zipLink(package + "/later", "gone")}, true},
      {{weights, zipFile("README.txt", "")}, false},
      {{zipFile("other.mlmodelc/weights.bin", "w")}, false},
      {{zipFile(package, "w")}, false},
      {{zipFile("__MACOSX/real/weights.bin", "w"), zipLink(package, "__MACOSX/real")}, false},
      {{weights, zipLink(package + "/x", "../../x")}, false},
      {{zipLink(package + "/a", "b"), zipLink(package + "/b", "a")}, false},
      {{weights, zipLink(package + "/x", outside.string())}, false},
      {{zipLink(package + "/dir", outside.string()), zipFile(package + "/dir/planted", "p")},
       false},
      {{weights, zipFile(package + "/../../planted", "p")}, false},
      {{weights, zipFile((outside / "planted").string(), "p")}, false},
  };
  for (const auto& [entries, accepted] : cases) {
    test::writeZip(archive, entries);
    test::writeFile(unpackDir / "stale", "");  // an earlier run's leftovers do not count
    EXPECT_EQ(unpackAndInspect(archive, unpackDir, package), accepted) << entries.back().name;
    EXPECT_FALSE(fs::exists(outside / "planted") || fs::exists(root / "work/planted"));
    fs::remove_all(unpackDir);
  }
}

// The slow way by three renames (no atomic exchange): the target ends as the source, or as it was
// when the second rename fails; an `old` a crash left goes, and nothing stays at the source. The
// plain rename and the exchange are proved by ModelCrashConsistency.
TEST(ReplacePath, TheSlowWayEndsAsSourceOrAsItWas) {
  const test::ScopedEnv env(Env{{"VELKO_NO_PATH_EXCHANGE", "1"}});
  for (const bool sourceExists : {true, false}) {
    test::TempDir dir;
    const fs::path source = dir / "m.unpack/m.mlmodelc", target = dir / "m.mlmodelc";
    const fs::path old = dir / "m.mlmodelc.old";
    if (sourceExists) test::writeFile(source / "id", "new");
    test::writeFile(target / "id", "old");
    test::writeFile(old / "id", "stale");
    EXPECT_EQ(replacePath(source, target, old), sourceExists);
    EXPECT_EQ(test::readFile(target / "id"), sourceExists ? "new" : "old");
    EXPECT_FALSE(fs::exists(source) || fs::exists(old / "id"));
  }
}

}  // namespace
}  // namespace velko::models
