// velko-model-tool as the vendor runs it, in child processes, checked by the installer's verifier.
#include <gtest/gtest.h>

#include "models/model_list.h"
#include "models/sha256_file.h"
#include "tests/support/test_support.h"
#include "tools/model_tool/ed25519_keys.h"

namespace velko {
namespace {

test::ProcessResult tool(std::vector<std::string> args) {
  args.insert(args.begin(), VELKO_MODEL_TOOL);
  return test::runProcess(args);
}

TEST(ModelToolTest, KeygenEntrySignVerifyRoundTripAndFailures) {
  test::TempDir dir;
  test::IsolatedHome home(dir.path());  // English messages, and no real home folder
  const auto path = [&](const std::string& name) { return (dir / name).string(); };
  // Creates a key pair; returns the public key hex, all that the tool prints.
  const auto keygen = [&](const std::string& name) {
    const test::ProcessResult run = tool({"keygen", path(name)});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out.size(), 65u) << run.out;
    return run.out.substr(0, 64);
  };
  const std::string publicHex = keygen("vendor.pem");
  EXPECT_EQ(std::filesystem::status(path("vendor.pem")).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  const std::string otherHex = keygen("other.pem");
  EXPECT_NE(otherHex, publicHex);

  std::string bytes(70000, '\0');
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<char>(i * 31 % 251);
  test::writeFile(dir / "depth-1.2.zip", bytes);
  const test::ProcessResult entry =
      tool({"entry", path("depth-1.2.zip"), "--id", "depth", "--kind", "coreml", "--package",
            "depth.mlmodelc", "--version", "1.2", "--title-de", "Tiefe", "--title-en", "Depth",
            "--min-velko", "1.1.0", "--installed-size", "123456"});
  ASSERT_EQ(entry.exitCode, 0) << entry.err;
  const std::string list = R"({"format":1,"models":[)" + entry.out + R"(,{"id":"broken"}]})";
  test::writeFile(dir / "models.json", list);
  const test::ProcessResult sign = tool({"sign", path("vendor.pem"), path("models.json")});
  ASSERT_EQ(sign.exitCode, 0) << sign.err;
  EXPECT_NE(sign.out.find("kept 1 of 2 entries"), std::string::npos) << sign.out;
  const std::string signature = test::readFile(dir / "models.json.sig").value();

  const models::ListResult result =
      models::verifyModelList(list, signature, model_tool::publicKeyFromHex(publicHex).value(),
                              "https://example.test/m/models.json");
  ASSERT_TRUE(result.ok) << result.error;
  ASSERT_EQ(result.list.models.size(), 1u);
  const models::ModelEntry& e = result.list.models[0];
  EXPECT_EQ(e.sha256, models::sha256File(path("depth-1.2.zip"), {}));
  EXPECT_EQ(
      std::tie(e.size, e.installed_size, e.url, e.version, e.title_de, e.title_en, e.min_velko),
      std::make_tuple(uint64_t{70000}, uint64_t{123456}, "https://example.test/m/depth-1.2.zip",
                      "1.2", "Tiefe", "Depth", "1.1.0"));

  // Failures print nothing on stdout, replace no key and write no signature.
  const std::string key = test::readFile(dir / "vendor.pem").value();
  test::writeFile(dir / "newer.json", R"({"format":2,"models":[]})");
  const std::pair<std::vector<std::string>, std::string> failures[] = {
      {{"keygen", path("vendor.pem")}, path("vendor.pem")},
      {{"sign", path("absent.pem"), path("models.json")}, "No such file or directory"},
      {{"sign", path("models.json"), path("models.json")}, "not an Ed25519 private key"},
      {{"sign", path("vendor.pem"), path("newer.json")}, "requires a newer version"},
      {{"verify", publicHex, path("newer.json")}, path("newer.json.sig")},
      {{"entry", path("depth-1.2.zip"), "--id", "a", "--kind", "file", "--package", "b.bin"},
       "would drop"},
  };
  for (const auto& [args, stderrPart] : failures) {
    const test::ProcessResult run = tool(args);
    EXPECT_EQ(run.exitCode, 1) << args[0] << " " << args[1] << "\n" << run.err;
    EXPECT_NE(run.err.find(stderrPart), std::string::npos) << run.err;
    EXPECT_TRUE(run.out.empty()) << run.out;
  }
  EXPECT_EQ(test::readFile(dir / "vendor.pem"), key);
  EXPECT_FALSE(std::filesystem::exists(dir / "newer.json.sig"));
}

}  // namespace
}  // namespace velko
