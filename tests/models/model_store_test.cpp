// The model store on a real model folder and a loopback server: queries, list cache, the
// resumable download with every way a server can misbehave, the install step and removal.
#include "models/model_store.h"

#include <gtest/gtest.h>

#include <set>

#include "core/message_language.h"
#include "models/file_lock.h"
#include "models/format_bytes.h"
#include "models/free_space.h"
#include "tests/support/model_server.h"
#include "tests/support/test_support.h"
#include "tests/support/zip_archive.h"

namespace velko::models {
namespace {

namespace fs = std::filesystem;
using test::HttpMode;
using test::HttpRoute;
using json = nlohmann::json;

// 1000 bytes that differ at every position mod 251, so a shifted or joined file shows.
std::string modelBytes(char salt = 0) {
  std::string bytes(1000, '\0');
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<char>(i % 251 + salt);
  return bytes;
}

using Env = std::map<std::string, std::optional<std::string>>;

ModelStore::Options optionsFor(const fs::path& modelDir, const std::string& listUrl = "",
                               bool developmentKey = false, const std::string& appVersion = "") {
  ModelStore::Options options;
  options.modelDir = modelDir.string();
  options.listUrl = listUrl;
  if (developmentKey) options.publicKey = test::developmentPublicKey();
  options.appVersion = appVersion;
  return options;
}

std::string zipOf(const std::vector<test::ZipEntry>& entries, const fs::path& scratch) {
  test::writeZip(scratch, entries);
  return *test::readFile(scratch);
}

class ModelStoreTest : public ::testing::Test {
 protected:
  ModelStoreTest()
      : env_({{"HOME", (dir_ / "home").string()},
              {"VELKO_MODEL_STORE", std::nullopt},
              {"VELKO_MODEL_DIR", std::nullopt},
              {"VELKO_MODEL_LIST_URL", std::nullopt}}) {
    core::setMessageLocale(core::MessageLocale::English);
  }
  ~ModelStoreTest() override { core::setMessageLocale(core::MessageLocale::German); }

  fs::path modelDir() const { return dir_ / "models"; }
  fs::path part(const std::string& id) const {
    return modelDir() / ".downloads" / (id + ".bin.part");
  }

  // A store on the test's folder and server that has loaded the served list.
  std::unique_ptr<ModelStore> freshStore(const std::string& appVersion = "") {
    auto store =
        std::make_unique<ModelStore>(optionsFor(modelDir(), server_.listUrl(), true, appVersion));
    const ListResult listed = store->refreshList({});
    EXPECT_TRUE(listed.ok) << listed.error;
    return store;
  }

  // The Range headers of the requests for `file`, in order ("" for a request without one).
  std::vector<std::string> rangesFor(const std::string& file) const {
    std::vector<std::string> ranges;
    for (const test::RecordedRequest& r : server_.http.requests()) {
      if (r.path == "/m/" + file) ranges.push_back(r.range);
    }
    return ranges;
  }

  test::TempDir dir_;
  test::ScopedEnv env_;
  test::ModelServer server_;
};

TEST(FormatBytes, DecimalUnitsAndTheCallersSeparator) {
  const struct {
    unsigned long long bytes;
    const char* english;
    const char* german;
  } rows[] = {
      {0, "0.0 KB", "0,0 KB"},
      {1500, "1.5 KB", "1,5 KB"},
      {12000, "12 KB", "12 KB"},
      {999999, "1000 KB", "1000 KB"},
      {1000000, "1.0 MB", "1,0 MB"},
      {9999999, "10.0 MB", "10,0 MB"},
      {250000000, "250 MB", "250 MB"},
      {999999999, "1000 MB", "1000 MB"},
      {1000000000, "1.0 GB", "1,0 GB"},
      {12400000000ULL, "12 GB", "12 GB"},
      {1000000000000000ULL, "1000000 GB", "1000000 GB"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.bytes);
    EXPECT_EQ(formatBytes(row.bytes, true), row.english);
    EXPECT_EQ(formatBytes(row.bytes, false), row.german);
  }
}

TEST(FreeSpace, ExactBoundaryPassesAndOneByteLessFails) {
  ModelEntry file;
  file.kind = ModelKind::File;
  file.size = 1000;
  ModelEntry coreml = file;
  coreml.kind = ModelKind::CoreML;
  ModelEntry unpacksLarger = coreml;
  unpacksLarger.installed_size = 5000;
  const struct {
    const char* label;
    const ModelEntry& entry;
    uint64_t offset;
    uint64_t needed;
  } rows[] = {
      {"file, fresh", file, 0, kFreeSpaceMargin + 1000},
      {"file, resumed at 400", file, 400, kFreeSpaceMargin + 600},
      {"coreml without installed_size counts the size twice", coreml, 0, kFreeSpaceMargin + 2000},
      {"coreml, larger unpacked", unpacksLarger, 0, kFreeSpaceMargin + 6000},
      {"coreml, resumed", unpacksLarger, 1000, kFreeSpaceMargin + 5000},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.label);
    EXPECT_TRUE(enoughSpace(row.needed, row.entry, row.offset));
    EXPECT_FALSE(enoughSpace(row.needed - 1, row.entry, row.offset));
  }
  ModelEntry absurd = coreml;
  absurd.size = absurd.installed_size = UINT64_MAX;
  EXPECT_FALSE(enoughSpace(UINT64_MAX - 1, absurd, 0)) << "the need must not wrap round";
}

TEST_F(ModelStoreTest, QueriesAnswerFromDiskAndList) {
  const std::string bytes = modelBytes();
  server_.publish({test::fileModel("f", bytes), test::coremlModel("c", "zip")}, {bytes, "zip"});
  const fs::path outside = dir_ / "outside";
  fs::create_directories(outside / "c.mlpackage");

  // Before any list: the fallback name, and a folder of that name counts.
  ModelStore unlisted(optionsFor(modelDir()));
  EXPECT_EQ(unlisted.packageNameFor("x"), "x.mlmodelc");
  test::writeFile(modelDir() / "x.mlmodelc" / "a", "12345");
  test::writeFile(modelDir() / "x.mlmodelc" / "sub" / "b", "678");
  EXPECT_EQ(unlisted.state("x"), ModelState::InStore);
  EXPECT_EQ(unlisted.installedBytes("x"), 8u);
  EXPECT_FALSE(unlisted.hasList());
  EXPECT_EQ(unlisted.list().format, 0);

  auto store = freshStore();
  EXPECT_EQ(store->state("f"), ModelState::Absent);
  EXPECT_EQ(store->state("c"), ModelState::Absent);
  {
    // The locator finds a copy outside, which the store neither counts nor offers to update.
    test::ScopedEnv located(Env{{"VELKO_MODEL_DIR", outside.string()}});
    EXPECT_EQ(store->state("c"), ModelState::Elsewhere);
    EXPECT_EQ(store->installedBytes("c"), 0u);
    EXPECT_FALSE(store->updateAvailable("c"));
    // A file of the package's name is no compiled model; the locator still decides.
    test::writeFile(modelDir() / "c.mlmodelc", "not a folder");
    EXPECT_EQ(store->state("c"), ModelState::Elsewhere);
  }

  // partialBytes: a 0-byte part reads as nothing; an unlisted id has no known part.
  test::writeFile(part("f"), "");
  EXPECT_EQ(store->partialBytes("f"), 0u);
  test::writeFile(part("f"), "12345");
  EXPECT_EQ(store->partialBytes("f"), 5u);
  EXPECT_EQ(store->partialBytes("x"), 0u);

  test::writeFile(modelDir() / "f.bin", bytes);
  EXPECT_EQ(store->state("f"), ModelState::InStore);
  EXPECT_EQ(store->installedBytes("f"), 1000u);
  const fs::path marker = modelDir() / ".installed" / "f.json";
  const struct {
    const char* label;
    std::optional<std::string> marker;  // nothing: no marker file
    bool update;
  } markers[] = {
      {"no marker", std::nullopt, false},
      {"same checksum", R"({"sha256":")" + test::sha256Hex(bytes) + R"(","version":"0.1"})", false},
      {"other checksum", R"({"sha256":")" + std::string(64, 'a') + R"(","version":"1.0"})", true},
      {"object without the key", R"({"version":"1.0"})", true},
      {"not JSON", "{", false},
      {"JSON that is no object", "[1]", false},
  };
  for (const auto& row : markers) {
    SCOPED_TRACE(row.label);
    fs::remove(marker);
    if (row.marker) test::writeFile(marker, *row.marker);
    EXPECT_EQ(store->updateAvailable("f"), row.update);
  }
}

TEST_F(ModelStoreTest, ListFromEnvironmentUnlessOptionsNameOne) {
  test::ScopedEnv env(Env{{"VELKO_MODEL_LIST_URL", "http://127.0.0.1:9/env.json"}});
  EXPECT_EQ(ModelStore(ModelStore::Options{}).options().listUrl, "http://127.0.0.1:9/env.json");
  EXPECT_EQ(ModelStore(optionsFor("", "http://o/l.json")).options().listUrl, "http://o/l.json");
  test::ScopedEnv empty(Env{{"VELKO_MODEL_LIST_URL", ""}});
  const ModelStore::Options filled = ModelStore(ModelStore::Options{}).options();
  EXPECT_EQ(filled.listUrl.substr(filled.listUrl.find("/wp-content")),
            "/wp-content/uploads/VELKO/models/models.json");
  EXPECT_EQ(filled.modelDir,
            (dir_ / "home").string() + "/Library/Application Support/VELKO/models");
  EXPECT_EQ(filled.appVersion, "1.0.0");
  EXPECT_TRUE(filled.transport && filled.publicKey);
}

TEST_F(ModelStoreTest, BadServerAnswersLeaveAGoodCache) {
  const std::string bytes = modelBytes();
  server_.publish({test::fileModel("f", bytes)}, {bytes});
  freshStore();
  const std::string listText = *test::readFile(modelDir() / "models.json");
  const std::string sigText = *test::readFile(modelDir() / "models.json.sig");
  EXPECT_EQ(sigText.back(), '\n') << "the signature is kept byte for byte";

  ModelStore store(optionsFor(modelDir(), server_.listUrl(), true));
  ASSERT_TRUE(store.loadCachedList().ok);
  const struct {
    const char* label;
    std::function<void()> breakServer;
    std::string error;
  } rows[] = {
      {"list missing",
       [&] {
         server_.http.route("/m/models.json", {HttpMode::Status, "gone", 0, 404});
       },
       "Model list not reachable (HTTP 404)."},
      {"signature missing",
       [&] {
         server_.http.serve("/m/models.json", listText);
         server_.http.route("/m/models.json.sig", {HttpMode::Status, "", 0, 404});
       },
       "Model list not reachable (HTTP 404)."},
      {"signature does not match",
       [&] {
         std::string other = sigText;
         other[0] = other[0] == '0' ? '1' : '0';
         server_.http.serve("/m/models.json.sig", other);
       },
       "Model list: invalid signature – the list is not used."},
      {"list over 4 MiB", [&] { server_.http.serve("/m/models.json", std::string(4194305, ' ')); },
       "Model list not reachable ()."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.label);
    row.breakServer();
    EXPECT_EQ(store.refreshList({}).error, row.error);
    EXPECT_TRUE(store.hasList());
    EXPECT_EQ(store.list().models.size(), 1u);
    EXPECT_EQ(test::readFile(modelDir() / "models.json"), listText);
    EXPECT_EQ(test::readFile(modelDir() / "models.json.sig"), sigText);
  }
  EXPECT_EQ(store.refreshList([] { return true; }).error, "Model list not reachable (cancelled).");
  // A list 404 ends the refresh before the signature is asked for.
  server_.http.route("/m/models.json", {HttpMode::Status, "", 0, 404});
  const size_t before = server_.http.requests().size();
  store.refreshList({});
  ASSERT_EQ(server_.http.requests().size(), before + 1);
  EXPECT_EQ(server_.http.requests().back().path, "/m/models.json");

  fs::remove(modelDir() / "models.json.sig");
  EXPECT_EQ(store.loadCachedList().error, "No model list loaded yet.");
}

// One row per way the transfer can go; the model is a File entry of 1000 bytes.
TEST_F(ModelStoreTest, TransferOutcomesKeepWhatCanBeContinuedAndDropWhatIsWrong) {
  const std::string bytes = modelBytes();
  const std::string wrong = modelBytes(1);
  const struct {
    const char* label;
    size_t partBefore;  // bytes of the right content already in .part
    HttpRoute route;
    FetchError error;
    std::vector<std::string> ranges;  // the Range headers the server saw
    std::optional<size_t> partAfter;  // nothing: the .part file is gone
    bool resumed;
    std::optional<uint64_t> received;  // nothing: depends on how the server's bytes are chunked
  } rows[] = {
      {"fresh download", 0, {HttpMode::Serve, bytes}, FetchError::None, {""}, {}, false, 1000},
      {"resumed with a Range request",
       100,
       {HttpMode::Serve, bytes},
       FetchError::None,
       {"bytes=100-"},
       {},
       true,
       900},
      {"server ignores the range: from 0 again",
       100,
       {HttpMode::IgnoreRange, bytes},
       FetchError::None,
       {"bytes=100-"},
       {},
       false,
       1000},
      {"416 twice: one more transfer from 0, then the size test",
       100,
       {HttpMode::NotSatisfiable, bytes},
       FetchError::SizeMismatch,
       {"bytes=100-", ""},
       {},
       false,
       0},
      {"connection cut: bytes kept",
       0,
       {HttpMode::CloseAfter, bytes, 400},
       FetchError::Network,
       {""},
       400,
       false,
       400},
      {"complete 200 of fewer bytes: interrupted, kept",
       0,
       {HttpMode::Serve, bytes.substr(0, 700)},
       FetchError::Network,
       {""},
       700,
       false,
       700},
      {"too many bytes on a resume",
       100,
       {HttpMode::Oversend, bytes, 10},
       FetchError::SizeMismatch,
       {"bytes=100-"},
       {},
       true,
       {}},
      {"wrong content",
       0,
       {HttpMode::Serve, wrong},
       FetchError::ChecksumMismatch,
       {""},
       {},
       false,
       1000},
      {"HTTP 500 on a resume leaves the part as it was",
       100,
       {HttpMode::Status, "oops", 0, 500},
       FetchError::HttpStatus,
       {"bytes=100-"},
       100,
       false,
       0},
      {"complete part: no request at all",
       1000,
       {HttpMode::Serve, bytes},
       FetchError::None,
       {},
       {},
       false,
       0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.label);
    const std::string id = "m" + std::to_string(&row - rows);
    server_.publish({test::fileModel(id, bytes)}, {bytes});
    server_.http.route("/m/" + id + ".bin", row.route);
    if (row.partBefore != 0) test::writeFile(part(id), bytes.substr(0, row.partBefore));
    auto store = freshStore();
    std::vector<std::pair<unsigned long long, unsigned long long>> progress;
    const FetchResult r = store->fetch(
        id, [&](unsigned long long d, unsigned long long t) { progress.emplace_back(d, t); }, {});
    EXPECT_EQ(r.error, row.error) << r.message;
    EXPECT_EQ(r.ok, row.error == FetchError::None);
    EXPECT_EQ(rangesFor(id + ".bin"), row.ranges);
    EXPECT_EQ(r.resumed, row.resumed);
    if (row.received) {
      EXPECT_EQ(r.bytesReceived, *row.received);
    }
    if (row.partAfter) {
      EXPECT_EQ(test::readFile(part(id)), bytes.substr(0, *row.partAfter));
    } else {
      EXPECT_FALSE(fs::exists(part(id)));
    }
    if (r.ok) {
      EXPECT_EQ(test::readFile(modelDir() / (id + ".bin")), bytes);
      EXPECT_EQ(progress.back(), std::make_pair(1000ULL, 1000ULL));
      EXPECT_EQ(test::readFile(modelDir() / ".installed" / (id + ".json")),
                R"({"sha256":")" + test::sha256Hex(bytes) + R"(","version":"1.0"})");
      EXPECT_FALSE(store->updateAvailable(id));
    }
  }
}

TEST_F(ModelStoreTest, CutDownloadResumesWhereItStopped) {
  const std::string bytes = modelBytes();
  server_.publish({test::fileModel("m", bytes)}, {bytes});
  server_.http.route("/m/m.bin", {HttpMode::CloseAfter, bytes, 400});
  auto store = freshStore();
  EXPECT_EQ(store->fetch("m", {}, {}).message, "Download interrupted – \"Download\" resumes it.");
  server_.http.serve("/m/m.bin", bytes);
  const FetchResult r = store->fetch("m", {}, {});
  EXPECT_TRUE(r.ok) << r.message;
  EXPECT_TRUE(r.resumed);
  EXPECT_EQ(rangesFor("m.bin"), (std::vector<std::string>{"", "bytes=400-"}));
  EXPECT_EQ(test::readFile(modelDir() / "m.bin"), bytes);
}

TEST_F(ModelStoreTest, CoreMLArchiveInstallsAndReplacesTheInstalledPackage) {
  const auto archive = [&](const std::string& weights) {
    return zipOf({test::zipFile("c.mlmodelc/weights.bin", weights),
                  test::zipFile("__MACOSX/._c.mlmodelc", "rsrc")},
                 dir_ / ("zip-" + weights));
  };
  const std::string v1 = archive("one"), v2 = archive("two");
  server_.publish({test::coremlModel("c", v1)}, {v1});
  auto store = freshStore();
  ASSERT_TRUE(store->fetch("c", {}, {}).ok);
  EXPECT_EQ(test::readFile(modelDir() / "c.mlmodelc" / "weights.bin"), "one");

  server_.publish({test::coremlModel("c", v2)}, {v2});
  ASSERT_TRUE(store->refreshList({}).ok);
  EXPECT_TRUE(store->updateAvailable("c"));
  const FetchResult r = store->fetch("c", {}, {});
  ASSERT_TRUE(r.ok) << r.message;
  EXPECT_EQ(test::readFile(modelDir() / "c.mlmodelc" / "weights.bin"), "two");
  EXPECT_FALSE(store->updateAvailable("c"));
  // Nothing of the old package, the archive or "__MACOSX" is left: only the lock file.
  std::set<std::string> left;
  for (const auto& e : fs::directory_iterator(modelDir() / ".downloads")) {
    left.insert(e.path().filename().string());
  }
  EXPECT_EQ(left, std::set<std::string>{"c.lock"});
  EXPECT_FALSE(fs::exists(modelDir() / "__MACOSX"));

  // An archive that is no zip passes its checksum and is still refused; the old package stays.
  server_.publish({test::coremlModel("c", "no zip")}, {"no zip"});
  ASSERT_TRUE(store->refreshList({}).ok);
  const FetchResult refused = store->fetch("c", {}, {});
  EXPECT_EQ(refused.error, FetchError::UnpackFailed);
  EXPECT_EQ(refused.message, "The model package could not be unpacked.");
  EXPECT_EQ(test::readFile(modelDir() / "c.mlmodelc" / "weights.bin"), "two");
  EXPECT_FALSE(fs::exists(modelDir() / ".downloads" / "c.zip.part"));
}

TEST_F(ModelStoreTest, RefusalsBeforeAnyTransfer) {
  const std::string bytes = modelBytes();
  json tooNew = test::fileModel("new", bytes);
  tooNew["min_velko"] = "2.1";
  json huge = test::fileModel("huge", bytes);
  huge["size"] = 1000000000000000ULL;
  huge["title_en"] = "";
  server_.publish({tooNew, huge}, {bytes, bytes});

  ModelStore noList(optionsFor(modelDir(), server_.listUrl()));
  EXPECT_EQ(noList.fetch("new", {}, {}).error, FetchError::NoList);
  auto store = freshStore();
  EXPECT_EQ(store->fetch("nope", {}, {}).error, FetchError::UnknownModel);
  EXPECT_EQ(store->fetch("new", {}, {}).error, FetchError::AppTooOld);
  EXPECT_TRUE(freshStore("2.1")->fetch("new", {}, {}).ok) << "min_velko equal to the app passes";
  // The free-space refusal comes before a single byte is asked for.
  const FetchResult space = store->fetch("huge", {}, {});
  EXPECT_EQ(space.error, FetchError::IoError);
  EXPECT_EQ(space.message, "Not enough free disk space for Titel huge (1000000 GB).");
  EXPECT_TRUE(rangesFor("huge.bin").empty());
  EXPECT_EQ(rangesFor("new.bin").size(), 1u);
}

TEST_F(ModelStoreTest, RemovalDeletesPackageMarkerAndPartOnly) {
  const std::string bytes = modelBytes();
  server_.publish({test::fileModel("f", bytes), test::fileModel("g", bytes)}, {bytes, bytes});
  auto store = freshStore();
  std::string error;

  // No .downloads folder yet: no download can run, and no lock file is made.
  test::writeFile(modelDir() / "f.bin", bytes);
  EXPECT_TRUE(store->remove("f", error)) << error;
  EXPECT_FALSE(fs::exists(modelDir() / ".downloads"));

  ASSERT_TRUE(store->fetch("f", {}, {}).ok);
  test::writeFile(part("f"), "123");
  test::writeFile(part("g"), "456");
  {
    const FileLock downloading(modelDir() / ".downloads" / "f.lock");
    ASSERT_TRUE(downloading.held());
    EXPECT_FALSE(store->remove("f", error));
    EXPECT_EQ(error, "This model is being downloaded right now.");
    EXPECT_TRUE(fs::exists(modelDir() / "f.bin") && fs::exists(part("f")));
    EXPECT_EQ(store->fetch("f", {}, {}).error, FetchError::Busy);
  }
  EXPECT_TRUE(store->remove("f", error));
  EXPECT_FALSE(fs::exists(modelDir() / "f.bin"));
  EXPECT_FALSE(fs::exists(part("f")));
  EXPECT_FALSE(fs::exists(modelDir() / ".installed" / "f.json"));
  EXPECT_TRUE(fs::exists(part("g"))) << "another model's download stays";

  // A model with only a partial download: the part goes, and the answer is still "not there".
  EXPECT_FALSE(store->remove("g", error));
  EXPECT_EQ(error, "This model is not in the model folder.");
  EXPECT_FALSE(fs::exists(part("g")));

  // An unlisted id reaches a compiled model by its fallback name, never a copy elsewhere.
  test::writeFile(modelDir() / "x.mlmodelc" / "w", "w");
  test::writeFile(modelDir() / ".installed" / "x.json", "{}");
  EXPECT_TRUE(store->remove("x", error));
  EXPECT_FALSE(fs::exists(modelDir() / "x.mlmodelc"));
  EXPECT_FALSE(fs::exists(modelDir() / ".installed" / "x.json"));
  test::writeFile(dir_ / "outside" / "y.mlmodelc" / "w", "w");
  test::ScopedEnv located(Env{{"VELKO_MODEL_DIR", (dir_ / "outside").string()}});
  ASSERT_EQ(store->state("y"), ModelState::Elsewhere);
  EXPECT_FALSE(store->remove("y", error));
  EXPECT_EQ(error, "This model is not in the model folder.");
  EXPECT_TRUE(fs::exists(dir_ / "outside" / "y.mlmodelc" / "w"));
}

}  // namespace
}  // namespace velko::models
