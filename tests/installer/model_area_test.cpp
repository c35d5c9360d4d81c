// The model area over a real store and loopback server: rows, byte sums and the batch fetch.
#include "installer/model_area.h"

#include <gtest/gtest.h>

#include "core/message_language.h"
#include "tests/support/model_server.h"
#include "tests/support/test_support.h"

namespace velko::installer {
namespace {

namespace fs = std::filesystem;
using Env = std::map<std::string, std::optional<std::string>>;

class ModelAreaTest : public ::testing::Test {
 protected:
  ModelAreaTest()
      : env_(Env{{"HOME", (dir_ / "home").string()},
                 {"VELKO_MODEL_STORE", std::nullopt},
                 {"VELKO_MODEL_DIR", (dir_ / "outside").string()}}) {
    core::setMessageLocale(core::MessageLocale::English);
  }
  ~ModelAreaTest() override { core::setMessageLocale(core::MessageLocale::German); }

  fs::path modelDir() const { return dir_ / "models"; }

  std::unique_ptr<ModelArea> area(bool english = true) {
    models::ModelStore::Options options;
    options.modelDir = modelDir().string();
    options.listUrl = server_.listUrl();
    options.publicKey = test::developmentPublicKey();
    auto made = std::make_unique<ModelArea>(english, options);
    EXPECT_EQ(made->refresh({}), "");
    return made;
  }

  test::TempDir dir_;
  test::ScopedEnv env_;
  test::ModelServer server_;
};

TEST_F(ModelAreaTest, WithoutAListEverythingIsEmpty) {
  models::ModelStore::Options options;
  options.modelDir = modelDir().string();
  ModelArea area(true, options);
  EXPECT_EQ(area.loadCached(), "No model list loaded yet.");
  EXPECT_TRUE(area.rows().empty());
  EXPECT_EQ(area.pendingBytes(), 0u);
  EXPECT_EQ(area.installedBytes(), 0u);
  const BatchResult batch = area.fetchAll({}, {}, [] { return true; });
  EXPECT_EQ(batch.loaded + batch.failed, 0);
  EXPECT_FALSE(batch.cancelled) << "with nothing due, cancel is not even asked";
  EXPECT_EQ(batch.firstError, "");
}

TEST_F(ModelAreaTest, RowsAndWhatIsDue) {
  const std::string bytes(1000, 'x');
  nlohmann::json tooNew = test::fileModel("new", bytes);
  tooNew["min_velko"] = "1.0.1";
  server_.publish({test::fileModel("old", bytes), test::fileModel("miss", bytes), tooNew,
                   test::fileModel("part", bytes), test::coremlModel("bun", bytes)},
                  {bytes, bytes, bytes, bytes, bytes});
  test::writeFile(modelDir() / "old.bin", "12345");
  test::writeFile(modelDir() / ".installed" / "old.json", R"({"sha256":"","version":""})");
  test::writeFile(modelDir() / ".downloads" / "part.bin.part", "12");
  fs::create_directories(dir_ / "outside" / "bun.mlmodelc");

  const struct {
    const char* id;
    const char* title;
    ModelRowState state;
    bool update;
    bool compatible;
  } expected[] = {
      {"old", "Title old", ModelRowState::Installed, true, true},
      {"miss", "Title miss", ModelRowState::Missing, false, true},
      {"new", "Title new", ModelRowState::Missing, false, false},
      {"part", "Title part", ModelRowState::Partial, false, true},
      {"bun", "Title bun", ModelRowState::Bundled, false, true},
  };
  const std::vector<ModelRow> rows = area()->rows();
  ASSERT_EQ(rows.size(), std::size(expected));
  for (size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(expected[i].id);
    EXPECT_EQ(rows[i].id, expected[i].id);
    EXPECT_EQ(rows[i].title, expected[i].title);
    EXPECT_EQ(rows[i].state, expected[i].state);
    EXPECT_EQ(rows[i].updateAvailable, expected[i].update);
    EXPECT_EQ(rows[i].compatible, expected[i].compatible);
    EXPECT_EQ(rows[i].sizeText, "1.0 KB");
    EXPECT_EQ(rows[i].license, "MIT");
  }
  EXPECT_EQ(area(false)->rows()[0].sizeText, "1,0 KB");
  // Due: the update, the missing one and the partial one counted in full; neither the bundled
  // model nor the one this application is too old for.
  EXPECT_EQ(area()->pendingBytes(), 3000u);
  EXPECT_EQ(area()->installedBytes(), 5u);
}

TEST_F(ModelAreaTest, CancelStopsTheBatchWithoutCountingIt) {
  server_.publishThree();
  int starts = 0;
  const auto countStart = [&](int, int, const std::string&) { ++starts; };
  const BatchResult fromStart = area()->fetchAll(countStart, {}, [] { return true; });
  EXPECT_TRUE(fromStart.cancelled);
  EXPECT_EQ(fromStart.loaded + fromStart.failed, 0);
  EXPECT_EQ(starts, 0);

  // A cancel during the second model's transfer: the first stays loaded, the second is neither
  // loaded nor failed, the third is not begun.
  const BatchResult during = area()->fetchAll(countStart, {}, [&] { return starts == 2; });
  EXPECT_TRUE(during.cancelled);
  EXPECT_EQ(during.loaded, 1);
  EXPECT_EQ(during.failed, 0);
  EXPECT_EQ(starts, 2);
  EXPECT_EQ(area()->rows()[0].state, ModelRowState::Installed);
}

}  // namespace
}  // namespace velko::installer
