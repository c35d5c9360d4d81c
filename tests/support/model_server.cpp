// Signed test lists on the loopback server, with the key the development build trusts.
#include "tests/support/model_server.h"

#include <cstdlib>

#include "models/sha256.h"
#include "tests/support/test_support.h"
#include "tools/model_tool/ed25519_keys.h"

namespace velko::test {
namespace {

model_tool::PrivateSeed developmentSeed() {
  const auto pem = readFile(VELKO_TEST_DATA "/DEVELOPMENT-ONLY-model-list-key.pem");
  const auto seed = pem ? model_tool::seedFromPem(*pem).seed : std::nullopt;
  if (!seed) std::abort();
  return *seed;
}

nlohmann::json entryFor(const std::string& id, const std::string& bytes, const char* kind,
                        const std::string& package, const std::string& file) {
  return {{"id", id},
          {"version", "1.0"},
          {"title_de", "Titel " + id},
          {"title_en", "Title " + id},
          {"kind", kind},
          {"package", package},
          {"file", file},
          {"size", bytes.size()},
          {"sha256", sha256Hex(bytes)},
          {"license", "MIT"}};
}

}  // namespace

nlohmann::json fileModel(const std::string& id, const std::string& bytes) {
  return entryFor(id, bytes, "file", id + ".bin", id + ".bin");
}

nlohmann::json coremlModel(const std::string& id, const std::string& zipBytes) {
  return entryFor(id, zipBytes, "coreml", id + ".mlmodelc", id + ".zip");
}

std::string sha256Hex(const std::string& bytes) {
  models::Sha256 digest;
  digest.update(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  return digest.hex();
}

std::array<unsigned char, 32> developmentPublicKey() {
  return *model_tool::publicKeyOf(developmentSeed());
}

SignedList signedList(const std::vector<nlohmann::json>& entries) {
  const std::string text =
      nlohmann::json{{"format", 1}, {"issued", "2026-11-22"}, {"models", entries}}.dump();
  return {text, model_tool::signModelList(developmentSeed(), text)};
}

void ModelServer::publish(const std::vector<nlohmann::json>& entries,
                          const std::vector<std::string>& bytes) {
  for (size_t i = 0; i < entries.size() && i < bytes.size(); ++i) {
    http.serve("/m/" + entries[i]["file"].get<std::string>(), bytes[i]);
  }
  SignedList list = signedList(entries);
  http.serve("/m/models.json", std::move(list.text));
  http.serve("/m/models.json.sig", std::move(list.signature));
}

void ModelServer::publishThree() {
  std::vector<nlohmann::json> entries;
  std::vector<std::string> bytes;
  for (const char* id : {"a", "b", "c"}) {
    bytes.push_back(std::string(1000 * (bytes.size() + 1), id[0]));
    entries.push_back(fileModel(id, bytes.back()));
  }
  publish(entries, bytes);
}

}  // namespace velko::test
