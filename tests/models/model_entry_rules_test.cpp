// The per-entry decisions of the model list check: which rows are kept, which are dropped, and
// what a kept row carries.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

#include "models/model_list.h"
#include "tests/models/list_signing.h"

namespace velko::models {
namespace {

using json = nlohmann::json;
using test::verifySigned;

const std::string kDigest = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";
const std::string kListUrl = "https://example.test/m/models.json";

json baseEntry() {
  return {{"id", "depth"},   {"kind", "coreml"}, {"package", "depth.mlmodelc"},
          {"file", "d.zip"}, {"size", 10},       {"sha256", kDigest}};
}

std::string listOf(const json& models) {
  return json{{"format", 1}, {"models", models}}.dump();
}

// The kept entries of a list holding `models`, checked with a correct signature.
std::vector<ModelEntry> keptEntries(const json& models, const std::string& listUrl = kListUrl) {
  const ListResult result = verifySigned(listOf(models), listUrl);
  EXPECT_TRUE(result.ok) << result.error;
  return result.list.models;
}

TEST(ModelEntryRulesTest, EachRuleKeepsOrDropsTheEntry) {
  struct Case {
    std::string patch;  // merged into the base entry; a null value removes the key
    std::string url;    // the kept entry's address, or empty when the entry is dropped
  };
  const std::string relative = "https://example.test/m/d.zip";
  const std::vector<Case> cases = {
      {"{}", relative},
      // kind and package
      {R"({"kind":"file","package":"depth.bin"})", relative},
      {R"({"id":"lut","kind":"file","package":"lut.bin"})", relative},
      {R"({"id":"lut","kind":"file","package":"lut.cube.gz"})", relative},
      {R"({"id":"lut","kind":"file","package":"lutx.bin"})", ""},
      {R"({"id":"lut","kind":"file","package":"lut"})", ""},
      {R"({"id":"lut","kind":"file","package":"lut..bin"})", ""},
      {R"({"package":"depth.mlpackage"})", ""},
      {R"({"package":"Depth.mlmodelc"})", ""},
      {R"({"kind":"CoreML"})", ""},
      {R"({"kind":"zip"})", ""},
      {R"({"kind":1})", ""},
      // safe names for id
      {R"({"id":null,"package":".mlmodelc"})", ""},
      {R"({"id":"a/b","package":"a/b.mlmodelc"})", ""},
      {R"({"id":"a\\b","package":"a\\b.mlmodelc"})", ""},
      {R"({"id":".depth","package":".depth.mlmodelc"})", ""},
      {R"({"id":"a..b","package":"a..b.mlmodelc"})", ""},
      {R"({"id":"a.b","package":"a.b.mlmodelc"})", relative},
      // file and size
      {R"({"file":""})", ""},
      {R"({"file":7})", ""},
      {R"({"size":0})", ""},
      {R"({"size":1024.0})", ""},
      {R"({"size":"1024"})", ""},
      {R"({"size":-1})", ""},
      {R"({"size":1e3})", ""},
      {R"({"size":18446744073709551615})", relative},
      // checksum
      {R"({"sha256":"0123456789ABCDEF0123456789abcdef0123456789abcdef0123456789abcdef"})", ""},
      {R"({"sha256":"0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcde"})", ""},
      {R"({"sha256":"0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef0"})", ""},
      {R"({"sha256":"g123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef"})", ""},
      // absolute addresses
      {R"({"file":"https://cdn.example.test/x/d.zip"})", "https://cdn.example.test/x/d.zip"},
      {R"({"file":"http://127.0.0.1:9000/a.zip"})", "http://127.0.0.1:9000/a.zip"},
      {R"({"file":"http://localhost.example.test/a.zip"})", "http://localhost.example.test/a.zip"},
      {R"({"file":"http://example.test/a.zip"})", ""},
      {R"({"file":"HTTPS://example.test/a.zip"})", ""},
      {R"({"file":"ftp://example.test/a.zip"})", ""},
      {R"({"file":"a.zip?u=https://x"})", ""},
      // relative addresses stay in the list's directory
      {R"({"file":"https:/example.test/a.zip"})", ""},
      {R"({"file":"sub/a.zip"})", ""},
      {R"({"file":"../a.zip"})", ""},
      {R"({"file":".a.zip"})", ""},
      {R"({"file":"a..zip"})", ""},
      {R"({"file":"a\\b.zip"})", ""},
      // fields that are never validated
      {R"({"min_velko":"99.0","version":3,"title_de":null,"license":[]})", relative},
      {R"({"installed_size":"5","nodes":{"a":1},"later":{"x":[1]}})", relative},
  };
  for (const Case& c : cases) {
    json entry = baseEntry();
    entry.merge_patch(json::parse(c.patch));
    const std::vector<ModelEntry> kept = keptEntries(json::array({entry}));
    if (c.url.empty()) {
      EXPECT_TRUE(kept.empty()) << "kept: " << c.patch;
      continue;
    }
    EXPECT_EQ(kept.size(), 1u) << "dropped: " << c.patch;
    if (kept.size() != 1) continue;
    EXPECT_EQ(kept[0].url, c.url) << c.patch;
    EXPECT_EQ(kept[0].file, entry["file"].get<std::string>()) << c.patch;
  }
}

TEST(ModelEntryRulesTest, KeptEntryCarriesEveryField) {
  json entry = baseEntry();
  entry.merge_patch(json::parse(R"({
    "id": "lut", "kind": "file", "package": "lut.cube", "version": "2.1",
    "title_de": "Farbtabelle", "title_en": "Colour table", "file": "lut-2.1.cube",
    "size": 4294967296, "installed_size": 5000000000, "license": "CC-BY-4.0",
    "license_url": "https://example.test/license", "source": "https://example.test/src",
    "min_velko": "1.4.0", "nodes": ["a", 1, "b", null]})"));
  const std::vector<ModelEntry> kept = keptEntries(json::array({entry}));
  ASSERT_EQ(kept.size(), 1u);
  const ModelEntry& e = kept[0];
  EXPECT_EQ(e.id, "lut");
  EXPECT_EQ(e.version, "2.1");
  EXPECT_EQ(e.title_de, "Farbtabelle");
  EXPECT_EQ(e.title_en, "Colour table");
  EXPECT_EQ(e.kind, ModelKind::File);
  EXPECT_EQ(e.package, "lut.cube");
  EXPECT_EQ(e.file, "lut-2.1.cube");
  EXPECT_EQ(e.url, "https://example.test/m/lut-2.1.cube");
  EXPECT_EQ(e.size, 4294967296u);
  EXPECT_EQ(e.sha256, kDigest);
  EXPECT_EQ(e.installed_size, 5000000000u);
  EXPECT_EQ(e.license, "CC-BY-4.0");
  EXPECT_EQ(e.license_url, "https://example.test/license");
  EXPECT_EQ(e.source, "https://example.test/src");
  EXPECT_EQ(e.min_velko, "1.4.0");
  EXPECT_EQ(e.nodes, (std::vector<std::string>{"a", "b"}));
}

TEST(ModelEntryRulesTest, LaxFieldsReadAsEmptyOrZero) {
  json entry = baseEntry();
  entry.merge_patch(json::parse(R"({"version":1,"title_de":true,"title_en":["x"],
    "license":{"n":"x"},"license_url":1.5,"source":null,"min_velko":2,"nodes":"a",
    "installed_size":-5})"));
  const std::vector<ModelEntry> kept = keptEntries(json::array({entry}));
  ASSERT_EQ(kept.size(), 1u);
  const ModelEntry& e = kept[0];
  EXPECT_EQ(e.kind, ModelKind::CoreML);
  for (const std::string* text : {&e.version, &e.title_de, &e.title_en, &e.license, &e.license_url,
                                  &e.source, &e.min_velko}) {
    EXPECT_TRUE(text->empty()) << *text;
  }
  EXPECT_TRUE(e.nodes.empty());
  EXPECT_EQ(e.installed_size, 0u);
}

TEST(ModelEntryRulesTest, NonObjectElementsAreSkippedAndOrderIsKept) {
  json second = baseEntry();
  second["id"] = "second";
  second["package"] = "second.mlmodelc";
  const std::vector<ModelEntry> kept =
      keptEntries(json::array({1, "depth", nullptr, baseEntry(), json::array(), true, second}));
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[0].id, "depth");
  EXPECT_EQ(kept[1].id, "second");
}

TEST(ModelEntryRulesTest, FirstKeptEntryWinsADuplicateId) {
  json first = baseEntry();
  json later = baseEntry();
  later["size"] = 99;
  json broken = baseEntry();
  broken["sha256"] = "bad";
  json otherCase = baseEntry();
  otherCase["id"] = "Depth";
  otherCase["package"] = "Depth.mlmodelc";

  std::vector<ModelEntry> kept = keptEntries(json::array({first, later}));
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].size, 10u);

  // A dropped entry does not claim its id.
  kept = keptEntries(json::array({broken, later, first}));
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_EQ(kept[0].size, 99u);

  kept = keptEntries(json::array({first, otherCase, later}));
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_EQ(kept[1].id, "Depth");
}

TEST(ModelEntryRulesTest, RelativeFilesResolveAgainstTheListDirectory) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"https://example.test/m/models.json", "https://example.test/m/d.zip"},
      {"https://example.test/m/models.json?v=3#top", "https://example.test/m/d.zip"},
      // No directory: the address is the bare name and the download fails later.
      {"https://example.test", "d.zip"},
      {"", "d.zip"},
  };
  for (const auto& [listUrl, url] : cases) {
    const std::vector<ModelEntry> kept = keptEntries(json::array({baseEntry()}), listUrl);
    ASSERT_EQ(kept.size(), 1u) << listUrl;
    EXPECT_EQ(kept[0].url, url) << listUrl;
  }
}

}  // namespace
}  // namespace velko::models
