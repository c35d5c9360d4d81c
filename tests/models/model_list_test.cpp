// The model list check on lists signed with a fixed test key, whole lists and entry by entry.
#include "models/model_list.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "core/message_language.h"
#include "core/public_key.h"
#include "tests/support/test_support.h"
#include "tools/model_tool/ed25519_keys.h"

namespace velko::models {
namespace {

using json = nlohmann::json;

const std::array<unsigned char, 32> kKey = model_tool::publicKeyOf({3}).value();

// Over the literal wire prefix, not the library's constant, so a changed prefix shows up here.
std::string signatureFor(const std::string& listText,
                         const std::string& prefix = "VELKO-MODELS-V1\n",
                         const model_tool::PrivateSeed& seed = {3}) {
  return model_tool::signHex(seed, prefix + listText);
}

json baseEntry() {
  return {{"id", "depth"},   {"kind", "coreml"}, {"package", "depth.mlmodelc"},
          {"file", "d.zip"}, {"size", 10},       {"sha256", std::string(64, 'a')}};
}
const std::string kList =
    json{{"format", 1}, {"issued", "2001-01-01"}, {"models", json::array({baseEntry()})}}.dump();

// The entries kept from a signed list holding `models`.
std::vector<ModelEntry> keptEntries(const json& models,
                                    const std::string& listUrl = "https://example.test/m/m.json") {
  const std::string listText = json{{"format", 1}, {"models", models}}.dump();
  const ListResult result = verifyModelList(listText, signatureFor(listText), kKey, listUrl);
  EXPECT_TRUE(result.ok) << result.error;
  return result.list.models;
}

// A list is accepted, or refused as a whole with one of four messages in the current language.
TEST(ModelListTest, WholeListsAcceptedOrRefusedWithTheirMessage) {
  using Message = std::pair<const char*, const char*>;  // German, English
  const Message ok{"", ""};
  const Message bad{"Modell-Liste: Signatur ungültig – die Liste wird nicht verwendet.",
                    "Model list: invalid signature – the list is not used."};
  const Message notJson{"Modell-Liste: kein gültiges JSON.", "Model list: not valid JSON."};
  const Message missing{"Modell-Liste: Feld \"models\" fehlt.",
                        "Model list: field \"models\" is missing."};
  const Message newer{"Die Modell-Liste braucht eine neuere Version von Solstice Velko.",
                      "The model list requires a newer version of Solstice Velko."};
  const std::string sig = signatureFor(kList);
  // The list, its signature (empty for the correct one), and the outcome.
  const std::tuple<std::string, std::string, Message> cases[] = {
      // The signature comes first and covers the prefix and the exact bytes; only trailing
      // blanks and line ends are cut from its text.
      {kList, sig + "  \n\r \r\n\n  ", ok},
      {kList, sig + "\t", bad},
      {kList, " " + sig, bad},
      {kList + "\n", sig, bad},
      {"not json {", sig, bad},
      {kList, signatureFor(kList, ""), bad},
      {kList, signatureFor(kList, "VELKO-MODELS-V1"), bad},
      {kList, signatureFor(kList, "VELKO-MODELS-V1\n", {42}), bad},
      {"not json {", "", notJson},
      {"// comment\n" + kList, "", notJson},
      {"99995555555555595E555555555555555554", "", notJson},  // overflows a double
      {"[]", "", missing},
      {R"({"format":1})", "", missing},
      {R"({"format":1,"models":{}})", "", missing},
      {R"({"format":2})", "", missing},  // reported before the format
      // `format` converts to int32 cutting fractions towards zero; `issued` is lax.
      {R"({"format":1.5,"issued":7,"later":{},"models":[]})", "", ok},
      {R"({"format":0.99,"models":[]})", "", newer},
      {R"({"format":2,"models":[]})", "", newer},
      {R"({"models":[]})", "", newer},
  };
  for (const auto& [list, givenSignature, message] : cases) {
    const bool accepted = *message.first == '\0', wholeList = accepted && list == kList;
    for (const bool english : {false, true}) {
      core::setMessageLocale(english ? core::MessageLocale::English : core::MessageLocale::German);
      const std::string signature = givenSignature.empty() ? signatureFor(list) : givenSignature;
      const ListResult result = verifyModelList(list, signature, kKey, "");
      EXPECT_EQ(result.ok, accepted) << list << "\n" << signature;
      EXPECT_EQ(result.error, english ? message.second : message.first) << list;
      EXPECT_EQ(result.list.format, accepted ? 1 : 0);
      EXPECT_EQ(result.list.issued, wholeList ? "2001-01-01" : "");
      EXPECT_EQ(result.list.models.size(), wholeList ? 1u : 0u);
    }
  }
  core::setMessageLocale(core::MessageLocale::German);
}

TEST(ModelListTest, NonNumericFormatRaisesTheJsonTypeErrorUncaught) {
  for (const char* format : {R"("1")", "null", "[1]", "{}"}) {
    const std::string list = std::string(R"({"format":)") + format + R"(,"models":[]})";
    EXPECT_THROW(verifyModelList(list, signatureFor(list), kKey, ""), json::type_error) << format;
  }
}

TEST(ModelListTest, EachEntryRuleKeepsOrDropsTheEntry) {
  // A patch merged into the base entry (null removes a key), and the kept entry's address or
  // nothing when the entry is dropped.
  const std::string relative = "https://example.test/m/d.zip";
  const std::pair<std::string, std::string> cases[] = {
      {"{}", relative},
      {R"({"kind":"file","package":"depth.bin"})", relative},
      {R"({"kind":"file","package":"depthx.bin"})", ""},
      {R"({"kind":"file","package":"depth..bin"})", ""},
      {R"({"package":"depth.mlpackage"})", ""},
      {R"({"kind":"CoreML"})", ""},
      {R"({"id":null,"package":".mlmodelc"})", ""},
      {R"({"id":"a/b","package":"a/b.mlmodelc"})", ""},
      {R"({"id":"a\\b","package":"a\\b.mlmodelc"})", ""},
      {R"({"id":".depth","package":".depth.mlmodelc"})", ""},
      {R"({"id":"a..b","package":"a..b.mlmodelc"})", ""},
      {R"({"id":"a.b","package":"a.b.mlmodelc"})", relative},
      {R"({"file":""})", ""},
      {R"({"size":0})", ""},
      {R"({"size":1024.0})", ""},
      {R"({"size":18446744073709551615})", relative},
      {R"({"sha256":")" + std::string(63, 'a') + "A\"}", ""},
      {R"({"sha256":")" + std::string(63, 'a') + "\"}", ""},
      {R"({"sha256":")" + std::string(63, 'a') + "g\"}", ""},
      {R"({"file":"https://cdn.example.test/x/d.zip"})", "https://cdn.example.test/x/d.zip"},
      {R"({"file":"http://127.0.0.1:9000/a.zip"})", "http://127.0.0.1:9000/a.zip"},
      {R"({"file":"http://localhost:9000/a.zip"})", "http://localhost:9000/a.zip"},
      {R"({"file":"http://example.test/a.zip"})", ""},
      {R"({"file":"a.zip?u=https://x"})", ""},
      {R"({"file":"../a.zip"})", ""},  // a relative file stays in the list's folder
      {R"({"file":".a.zip"})", ""},
      // fields that are never validated
      {R"({"version":3,"title_de":null,"installed_size":"5","nodes":{"a":1},"later":[]})",
       relative},
  };
  for (const auto& [patch, url] : cases) {
    json entry = baseEntry();
    entry.merge_patch(json::parse(patch));
    const std::vector<ModelEntry> kept = keptEntries(json::array({entry}));
    EXPECT_EQ(kept.size(), url.empty() ? 0u : 1u) << patch;
    EXPECT_EQ(kept.empty() ? "" : kept[0].url, url) << patch;
  }
}

// The first kept entry wins an id; a dropped one claims nothing, and ids differ by case.
TEST(ModelListTest, DuplicateIdsAndOrder) {
  json later = baseEntry(), broken = baseEntry(), otherCase = baseEntry();
  later["size"] = 99;
  broken["sha256"] = "bad";
  otherCase.merge_patch({{"id", "Depth"}, {"package", "Depth.mlmodelc"}});
  const auto kept = keptEntries({1, broken, later, nullptr, baseEntry(), "x", otherCase});
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].size, 99u);
  EXPECT_EQ(kept[1].id, "Depth");
}

// A relative file resolves against the list's folder; with none, the address is the bare name.
TEST(ModelListTest, UrlDirectoryAndRelativeFiles) {
  const std::pair<std::string, std::string> cases[] = {
      {"https://example.test/a/models.json?v=2#x", "https://example.test/a/"},
      {"https://example.test/", "https://example.test/"},
      {"https://example.test", ""},
      {"https://example.test?x=/y", ""},
      {"https://example.test/m/x.json#frag/ment", "https://example.test/m/"},
      {"", ""},
  };
  for (const auto& [url, directory] : cases) {
    EXPECT_EQ(urlDirectory(url), directory) << url;
    const auto kept = keptEntries(json::array({baseEntry()}), url);
    EXPECT_EQ(kept.size() == 1 ? kept[0].url : "?", directory + "d.zip") << url;
  }
}

// A development build must trust exactly the key whose private half lies in tests/data.
TEST(ModelListTest, KeyInForceIsTheDevelopmentKey) {
  const auto pem = velko::test::readFile(VELKO_TEST_DATA "/DEVELOPMENT-ONLY-model-list-key.pem");
  ASSERT_TRUE(pem);
  const auto seed = model_tool::seedFromPem(*pem).seed;
  ASSERT_TRUE(seed);
  const std::string signature = model_tool::signModelList(*seed, kList);
  const bool trusted = verifyModelList(kList, signature, core::tokenPublicKey(), "").ok;
  EXPECT_EQ(trusted, VELKO_LIST_KEY_IS_DEVELOPMENT_KEY);
}

}  // namespace
}  // namespace velko::models
