// velko-model-tool as the vendor runs it, in child processes, checked by the installer's verifier.
#include <gtest/gtest.h>

#include "models/model_list.h"
#include "models/sha256_file.h"
#include "tests/support/test_support.h"
#include "tools/model_tool/ed25519_keys.h"

namespace velko {
namespace {
namespace fs = std::filesystem;

TEST(ModelToolTest, KeygenEntrySignVerifyRoundTripAndFailures) {
  test::TempDir dir;
  test::IsolatedHome home(dir.path());  // English messages, and no real home folder
  const auto path = [&](const std::string& name) { return (dir / name).string(); };
  const auto tool = [](std::vector<std::string> args) {
    args.insert(args.begin(), VELKO_MODEL_TOOL);
    return test::runProcess(args);
  };
  const std::string publicHex = tool({"keygen", path("vendor.pem")}).out.substr(0, 64);
  EXPECT_EQ(fs::status(path("vendor.pem")).permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
  test::writeFile(dir / "depth-1.2.zip", std::string(70000, 'z'));
  const test::ProcessResult entry =
      tool({"entry", path("depth-1.2.zip"), "--id", "depth", "--kind", "coreml", "--package",
            "depth.mlmodelc", "--version", "1.2", "--title-de", "Tiefe", "--title-en", "Depth",
            "--min-velko", "1.1.0", "--installed-size", "123456"});
  const std::string list = R"({"format":1,"models":[)" + entry.out + R"(,{"id":"broken"}]})";
  test::writeFile(dir / "models.json", list);
  const test::ProcessResult sign = tool({"sign", path("vendor.pem"), path("models.json")});
  EXPECT_NE(sign.out.find("kept 1 of 2 entries"), std::string::npos) << entry.err << sign.err;

  const models::ListResult result = models::verifyModelList(
      list, test::readFile(dir / "models.json.sig").value_or(""),
      model_tool::publicKeyFromHex(publicHex).value(), "https://x.test/m/l.json");
  ASSERT_EQ(result.list.models.size(), 1u) << result.error;
  const models::ModelEntry& e = result.list.models[0];
  EXPECT_EQ(std::tie(e.sha256, e.size, e.installed_size, e.url, e.version, e.title_de, e.title_en,
                     e.min_velko),
            std::make_tuple(models::sha256File(path("depth-1.2.zip"), {}), uint64_t{70000},
                            uint64_t{123456}, "https://x.test/m/depth-1.2.zip", "1.2", "Tiefe",
                            "Depth", "1.1.0"));

  // Failures print nothing on stdout, replace no key and write no signature.
  const std::string key = test::readFile(dir / "vendor.pem").value();
  test::writeFile(dir / "newer.json", R"({"format":2,"models":[]})");
  const std::pair<std::vector<std::string>, std::string> failures[] = {
      {{"keygen", path("vendor.pem")}, path("vendor.pem")},
      {{"sign", path("absent.pem"), path("models.json")}, "No such file or directory"},
      {{"sign", path("models.json"), path("models.json")}, "not an Ed25519 private key"},
      {{"sign", path("vendor.pem"), path("newer.json")}, "requires a newer version"},
      {{"verify", publicHex, path("newer.json")}, path("newer.json.sig")},
      {{"entry", path("models.json"), "--id", "a", "--kind", "file", "--package", "b"},
       "would drop"},
  };
  for (const auto& [args, complaint] : failures) {
    const test::ProcessResult run = tool(args);
    EXPECT_EQ(std::tie(run.exitCode, run.out), std::make_tuple(1, "")) << args[0];
    EXPECT_NE(run.err.find(complaint), std::string::npos) << run.err;
  }
  EXPECT_EQ(test::readFile(dir / "vendor.pem"), key);
  EXPECT_FALSE(fs::exists(dir / "newer.json.sig"));
}

}  // namespace
}  // namespace velko
