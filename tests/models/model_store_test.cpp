// The model store on a real model folder and a loopback server: queries, list cache, the
// resumable download against every fault the server can show, the install step and removal.
#include "models/model_store.h"

#include <gtest/gtest.h>

#include "core/message_language.h"
#include "models/format_bytes.h"
#include "models/free_space.h"
#include "tests/support/model_server.h"
#include "tests/support/test_support.h"
#include "tests/support/zip_archive.h"

namespace velko::models {
namespace {

namespace fs = std::filesystem;
using test::HttpMode;
using Env = std::map<std::string, std::optional<std::string>>;

// 1000 bytes that differ at every position mod 251, so a shifted or joined file shows.
std::string modelBytes(char salt = 0) {
  std::string bytes(1000, '\0');
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<char>(i % 251 + salt);
  return bytes;
}

class ModelStoreTest : public ::testing::Test {
 protected:
  ModelStoreTest()
      : env_(Env{{"HOME", (dir_ / "home").string()},
                 {"VELKO_MODEL_STORE", std::nullopt},
                 {"VELKO_MODEL_DIR", (dir_ / "outside").string()},
                 {"VELKO_MODEL_LIST_URL", std::nullopt}}) {
    core::setMessageLocale(core::MessageLocale::English);
  }
  ~ModelStoreTest() override { core::setMessageLocale(core::MessageLocale::German); }

  fs::path modelDir() const { return dir_ / "models"; }
  fs::path part(const std::string& id) const {
    return modelDir() / ".downloads" / (id + ".bin.part");
  }

  // A store on the test's folder that trusts the development key; `refresh` loads the served list.
  std::unique_ptr<ModelStore> store(bool refresh = true) {
    ModelStore::Options options;
    options.modelDir = modelDir().string();
    options.listUrl = server_.listUrl();
    options.publicKey = test::developmentPublicKey();
    auto made = std::make_unique<ModelStore>(options);
    if (refresh) {
      EXPECT_EQ(made->refreshList({}).error, "");
    }
    return made;
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
      {0, "0.0 KB", "0,0 KB"},          {1500, "1.5 KB", "1,5 KB"},
      {12000, "12 KB", "12 KB"},        {999999, "1000 KB", "1000 KB"},
      {1000000, "1.0 MB", "1,0 MB"},    {250000000, "250 MB", "250 MB"},
      {1000000000, "1.0 GB", "1,0 GB"}, {12400000000ULL, "12 GB", "12 GB"},
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
    const ModelEntry& entry;
    uint64_t offset;
    uint64_t needed;
  } rows[] = {
      {file, 0, 1000},          {file, 400, 600},  // a resume needs its offset less
      {coreml, 0, 2000},                           // no installed_size: the size counts twice
      {unpacksLarger, 0, 6000}, {unpacksLarger, 1000, 5000},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.needed);
    EXPECT_TRUE(enoughSpace(kFreeSpaceMargin + row.needed, row.entry, row.offset));
    EXPECT_FALSE(enoughSpace(kFreeSpaceMargin + row.needed - 1, row.entry, row.offset));
  }
  coreml.size = coreml.installed_size = UINT64_MAX;
  EXPECT_FALSE(enoughSpace(UINT64_MAX - 1, coreml, 0)) << "the need must not wrap round";
}

TEST_F(ModelStoreTest, QueriesAnswerFromDiskAndList) {
  const std::string bytes = modelBytes();
  server_.publish({test::fileModel("f", bytes), test::coremlModel("c", "zip")}, {bytes, "zip"});

  // Before any list: the fallback name, and a folder of that name counts, file sizes summed.
  auto unlisted = store(false);
  test::writeFile(modelDir() / "x.mlmodelc" / "a", "12345");
  test::writeFile(modelDir() / "x.mlmodelc" / "sub" / "b", "678");
  EXPECT_EQ(unlisted->packageNameFor("x"), "x.mlmodelc");
  EXPECT_EQ(unlisted->state("x"), ModelState::InStore);
  EXPECT_EQ(unlisted->installedBytes("x"), 8u);
  EXPECT_EQ(unlisted->list().format, 0);

  auto listed = store();
  EXPECT_EQ(listed->state("c"), ModelState::Absent);
  // A copy the locator finds outside is neither counted nor offered an update, and a file of the
  // package's name in the store is no compiled model.
  fs::create_directories(dir_ / "outside" / "c.mlpackage");
  test::writeFile(modelDir() / "c.mlmodelc", "not a folder");
  EXPECT_EQ(listed->state("c"), ModelState::Elsewhere);
  EXPECT_FALSE(listed->updateAvailable("c"));

  test::writeFile(part("f"), "");
  EXPECT_EQ(listed->partialBytes("f"), 0u);
  test::writeFile(part("f"), "12345");
  EXPECT_EQ(listed->partialBytes("f"), 5u);
  EXPECT_EQ(listed->partialBytes("x"), 0u) << "an unlisted id has no known part";
  test::writeFile(modelDir() / "f.bin", bytes);

  const fs::path marker = modelDir() / ".installed" / "f.json";
  const struct {
    std::optional<std::string> marker;  // nothing: no marker file
    bool update;
  } markers[] = {
      {std::nullopt, false},
      {R"({"sha256":")" + test::sha256Hex(bytes) + R"(","version":"0.1"})", false},
      {R"({"sha256":")" + std::string(64, 'a') + R"(","version":"1.0"})", true},
      {R"({"version":"1.0"})", true},
      {"{", false},
      {"[1]", false},
  };
  for (const auto& row : markers) {
    SCOPED_TRACE(row.marker.value_or("no marker"));
    fs::remove(marker);
    if (row.marker) test::writeFile(marker, *row.marker);
    EXPECT_EQ(listed->updateAvailable("f"), row.update);
  }

  // An empty VELKO_MODEL_LIST_URL counts as unset (the command-line tests set it).
  test::ScopedEnv empty(Env{{"VELKO_MODEL_LIST_URL", ""}});
  const std::string builtIn = ModelStore(ModelStore::Options{}).options().listUrl;
  EXPECT_EQ(builtIn.substr(builtIn.find("/wp-")), "/wp-content/uploads/VELKO/models/models.json");
}

TEST_F(ModelStoreTest, BadServerAnswersLeaveAGoodCache) {
  server_.publish({test::fileModel("f", "1")}, {"1"});
  store();
  const std::string listText = *test::readFile(modelDir() / "models.json");
  std::string sigText = *test::readFile(modelDir() / "models.json.sig");
  EXPECT_EQ(sigText.back(), '\n') << "the signature is kept byte for byte";

  auto cached = store(false);
  ASSERT_TRUE(cached->loadCachedList().ok);
  sigText[0] = sigText[0] == '0' ? '1' : '0';
  const test::HttpRoute notFound{HttpMode::Status, "", 0, 404}, badSig{HttpMode::Serve, sigText},
      largest{HttpMode::Serve, std::string(4194304, ' ')},
      tooLarge{HttpMode::Serve, std::string(4194305, ' ')};
  const struct {
    const char* path;
    test::HttpRoute route;
    std::string error;
  } rows[] = {
      {"/m/models.json.sig", notFound, "Model list not reachable (HTTP 404)."},
      {"/m/models.json.sig", badSig, "Model list: invalid signature – the list is not used."},
      // 4 MiB exactly still arrives whole, and only its signature refuses it.
      {"/m/models.json", largest, "Model list: invalid signature – the list is not used."},
      {"/m/models.json", tooLarge, "Model list not reachable ()."},
      {"/m/models.json", notFound, "Model list not reachable (HTTP 404)."},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.error);
    server_.http.route(row.path, row.route);
    EXPECT_EQ(cached->refreshList({}).error, row.error);
    EXPECT_EQ(cached->list().models.size(), 1u);
    EXPECT_EQ(test::readFile(modelDir() / "models.json"), listText);
  }
  EXPECT_EQ(server_.http.requests().back().path, "/m/models.json") << "no .sig after a list 404";
  EXPECT_EQ(cached->refreshList([] { return true; }).error,
            "Model list not reachable (cancelled).");
  fs::remove(modelDir() / "models.json.sig");
  EXPECT_EQ(cached->loadCachedList().error, "No model list loaded yet.");
}

// One row per way a transfer can go; the model is a File entry of 1000 bytes.
TEST_F(ModelStoreTest, TransferKeepsWhatCanBeContinuedAndDropsWhatIsWrong) {
  using E = FetchError;
  const std::string bytes = modelBytes(), r100 = "bytes=100-";
  const test::HttpRoute serve{HttpMode::Serve, bytes}, ignored{HttpMode::IgnoreRange, bytes},
      refused{HttpMode::NotSatisfiable, bytes}, cut{HttpMode::CloseAfter, bytes, 400},
      short200{HttpMode::Serve, bytes.substr(0, 700)}, oversent{HttpMode::Oversend, bytes, 10},
      wrong{HttpMode::Serve, modelBytes(1)}, e500{HttpMode::Status, "", 0, 500};
  const struct {
    const char* label;
    size_t partBefore;  // bytes of the right content already in .part
    test::HttpRoute route;
    FetchError error;
    std::vector<std::string> ranges;  // the Range headers the server saw
    std::optional<size_t> partAfter;  // nothing: the .part file is gone
    bool resumed;
    std::optional<uint64_t> received;  // nothing: depends on how the bytes were chunked
  } rows[] = {
      {"fresh", 0, serve, E::None, {""}, {}, false, 1000},
      {"resumed with a Range request", 100, serve, E::None, {r100}, {}, true, 900},
      {"range ignored: from 0 again", 100, ignored, E::None, {r100}, {}, false, 1000},
      {"416 twice: from 0, then size", 100, refused, E::SizeMismatch, {r100, ""}, {}, false, 0},
      {"connection cut: bytes kept", 0, cut, E::Network, {""}, 400, false, 400},
      {"short 200: interrupted, kept", 0, short200, E::Network, {""}, 700, false, 700},
      {"too many bytes", 100, oversent, E::SizeMismatch, {r100}, {}, true, {}},
      {"wrong checksum", 0, wrong, E::ChecksumMismatch, {""}, {}, false, 1000},
      {"HTTP 500 leaves the part as it was", 100, e500, E::HttpStatus, {r100}, 100, false, 0},
      {"complete part: no request", 1000, serve, E::None, {}, {}, false, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.label);
    const std::string id = "m" + std::to_string(&row - rows);
    server_.publish({test::fileModel(id, bytes)}, {bytes});
    server_.http.route("/m/" + id + ".bin", row.route);
    if (row.partBefore != 0) test::writeFile(part(id), bytes.substr(0, row.partBefore));
    auto s = store();
    std::pair<unsigned long long, unsigned long long> lastProgress;
    const FetchResult r = s->fetch(id,
                                   [&](unsigned long long d, unsigned long long t) {
                                     lastProgress = {d, t};
                                   },
                                   {});
    EXPECT_EQ(r.error, row.error) << r.message;
    EXPECT_EQ(rangesFor(id + ".bin"), row.ranges);
    EXPECT_EQ(r.resumed, row.resumed);
    if (row.received) {
      EXPECT_EQ(r.bytesReceived, *row.received);
    }
    EXPECT_EQ(test::readFile(part(id)),
              row.partAfter ? std::optional(bytes.substr(0, *row.partAfter)) : std::nullopt);
    if (!r.ok) continue;
    EXPECT_EQ(test::readFile(modelDir() / (id + ".bin")), bytes);
    EXPECT_EQ(lastProgress, std::make_pair(1000ULL, 1000ULL));
    EXPECT_EQ(test::readFile(modelDir() / ".installed" / (id + ".json")),
              R"({"sha256":")" + test::sha256Hex(bytes) + R"(","version":"1.0"})");
  }
}

// A cancel after the last byte, during the checksum, keeps the complete file, and the next run
// goes straight to the checksum.
TEST_F(ModelStoreTest, CancelKeepsTheDownloadForTheNextRun) {
  const std::string bytes = modelBytes();
  server_.publish({test::fileModel("m", bytes)}, {bytes});
  EXPECT_EQ(store(false)->fetch("m", {}, {}).message,
            "No model list – please connect to the internet.");
  test::writeFile(part("m"), bytes);
  auto s = store();
  EXPECT_EQ(s->fetch("m", {}, [] { return true; }).message, "Cancelled.");
  EXPECT_EQ(test::readFile(part("m")), bytes);
  const FetchResult r = s->fetch("m", {}, {});
  EXPECT_TRUE(r.ok) << r.message;
  EXPECT_EQ(r.bytesReceived, 0u);
  EXPECT_TRUE(rangesFor("m.bin").empty());
}

TEST_F(ModelStoreTest, RemovalDeletesPackageMarkerAndPartOnly) {
  const std::string bytes = modelBytes();
  server_.publish({test::fileModel("f", bytes), test::fileModel("g", bytes)}, {bytes, bytes});
  auto s = store();
  std::string error;
  // No .downloads folder yet: no download can run, and no lock file is made.
  test::writeFile(modelDir() / "f.bin", bytes);
  EXPECT_TRUE(s->remove("f", error)) << error;
  EXPECT_FALSE(fs::exists(modelDir() / ".downloads"));

  ASSERT_TRUE(s->fetch("f", {}, {}).ok);
  test::writeFile(part("f"), "123");
  test::writeFile(part("g"), "456");
  EXPECT_TRUE(s->remove("f", error));
  for (const fs::path& gone : {modelDir() / "f.bin", part("f"), modelDir() / ".installed/f.json"}) {
    EXPECT_FALSE(fs::exists(gone)) << gone;
  }
  // Only a partial download: it goes, and the answer is still "not there".
  EXPECT_FALSE(s->remove("g", error));
  EXPECT_EQ(error, "This model is not in the model folder.");
  EXPECT_FALSE(fs::exists(part("g")));

  // An unlisted id never reaches a copy the locator finds elsewhere.
  test::writeFile(dir_ / "outside" / "y.mlmodelc" / "w", "w");
  EXPECT_FALSE(s->remove("y", error));
  EXPECT_TRUE(fs::exists(dir_ / "outside" / "y.mlmodelc" / "w"));
}

}  // namespace
}  // namespace velko::models
