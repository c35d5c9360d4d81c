// The two checks behind every download: the signed model list's rules, and SHA-256 on both paths.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/message_language.h"
#include "models/model_list.h"
#include "models/sha256.h"
#include "tests/core/vector_files.h"
#include "tests/support/test_support.h"
#include "tools/model_tool/ed25519_keys.h"

namespace velko::models {
namespace {

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

// The entries kept from a signed list holding `models`.
std::vector<ModelEntry> keptEntries(const json& models, const std::string& listUrl) {
  const std::string listText = json{{"format", 1}, {"models", models}}.dump();
  const ListResult result = verifyModelList(listText, signatureFor(listText), kKey, listUrl);
  EXPECT_TRUE(result.ok) << result.error;
  return result.list.models;
}

// A list is accepted, or refused as a whole with one of four messages.
TEST(ModelListTest, WholeListsAcceptedOrRefusedWithTheirMessage) {
  core::setMessageLocale(core::MessageLocale::English);
  const std::string bad = "Model list: invalid signature – the list is not used.",
                    notJson = "Model list: not valid JSON.",
                    missing = "Model list: field \"models\" is missing.",
                    newer = "The model list requires a newer version of Solstice Velko.";
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
    const std::vector<ModelEntry> kept = keptEntries(json::array({entry}), c.listUrl);
    EXPECT_EQ(kept.empty() ? "" : kept[0].url, c.url) << c.patch << " from " << c.listUrl;
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

}  // namespace
}  // namespace velko::models
