// libFuzzer target for the model list check. Every input is signed with the development key
// first, so the fuzzer gets past the signature into the JSON, whole-list and entry rules.
// Input: optional list address, a NUL byte, then the list text; without a NUL byte the whole input
// is the list text and the address is fixed.
#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "fuzz/fuzz_support.h"
#include "models/model_list.h"
#include "tools/model_tool/ed25519_keys.h"

namespace {

using velko::fuzz::require;
using velko::models::ListResult;
using velko::models::ModelEntry;
using velko::models::ModelKind;

struct SigningKey {
  velko::model_tool::PrivateSeed seed{};
  velko::model_tool::PublicKey publicKey{};
};

const SigningKey& developmentKey() {
  static const SigningKey key = [] {
    std::ifstream in(VELKO_DEVELOPMENT_LIST_KEY, std::ios::binary);
    const std::string pem{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const auto loaded = velko::model_tool::seedFromPem(pem);
    if (!loaded.seed) {
      std::fprintf(stderr, "cannot load %s: %s\n", VELKO_DEVELOPMENT_LIST_KEY,
                   loaded.error.c_str());
      std::abort();
    }
    return SigningKey{*loaded.seed, velko::model_tool::publicKeyOf(*loaded.seed).value()};
  }();
  return key;
}

// The documented case in which the check lets the JSON library's type_error through: a list with
// a `models` array whose `format` is a string, null, an array or an object.
bool hasNonNumericFormat(const std::string& listText) {
  const auto root = nlohmann::json::parse(listText, nullptr, /*allow_exceptions=*/false,
                                          /*ignore_comments=*/false);
  if (!root.is_object() || !root.contains("models") || !root["models"].is_array()) return false;
  const auto format = root.find("format");
  return format != root.end() && !format->is_number() && !format->is_boolean();
}

bool startsWith(const std::string& text, const char* prefix) {
  return text.rfind(prefix, 0) == 0;
}

// What a kept entry must never violate, whatever the input: these are the properties the store
// relies on when it builds paths and fetches files.
void checkEntry(const ModelEntry& entry, const std::string& listUrl) {
  for (const std::string* name : {&entry.id, &entry.package}) {
    require(!name->empty() && name->find('/') == std::string::npos &&
                name->find('\\') == std::string::npos && name->front() != '.' &&
                name->find("..") == std::string::npos,
            "id and package are safe names");
  }
  require(entry.kind != ModelKind::CoreML || entry.package == entry.id + ".mlmodelc",
          "coreml package");
  require(entry.kind != ModelKind::File || startsWith(entry.package, (entry.id + ".").c_str()),
          "file package");
  require(entry.size > 0, "size above zero");
  require(entry.sha256.size() == 64 &&
              entry.sha256.find_first_not_of("0123456789abcdef") == std::string::npos,
          "lower-case sha256");
  if (entry.file.find("://") != std::string::npos) {
    require(entry.url == entry.file &&
                (startsWith(entry.url, "https://") || startsWith(entry.url, "http://127.0.0.1") ||
                 startsWith(entry.url, "http://localhost")),
            "absolute address allowed");
  } else {
    require(entry.file.find('/') == std::string::npos && entry.file.find("..") == std::string::npos,
            "relative file stays in the list folder");
    require(entry.url == velko::models::urlDirectory(listUrl) + entry.file, "relative address");
  }
}

void checkResult(const ListResult& result, const std::string& listUrl) {
  if (!result.ok) {
    require(!result.error.empty() && result.list.format == 0 && result.list.models.empty(),
            "refusal is empty and explained");
    return;
  }
  require(result.error.empty() && result.list.format == 1, "accepted list");
  std::set<std::string> ids;
  for (const ModelEntry& entry : result.list.models) {
    require(ids.insert(entry.id).second, "unique ids");
    checkEntry(entry, listUrl);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  std::string listUrl = "https://example.test/m/models.json";
  std::string listText = input;
  if (const size_t nul = input.find('\0'); nul != std::string::npos) {
    listUrl = input.substr(0, nul);
    listText = input.substr(nul + 1);
  }

  const SigningKey& key = developmentKey();
  const std::string signature = velko::model_tool::signModelList(key.seed, listText);
  require(!signature.empty(), "signing works");

  ListResult result;
  try {
    result = velko::models::verifyModelList(listText, signature, key.publicKey, listUrl);
  } catch (const nlohmann::json::type_error&) {
    // The one exception the check lets through by design; in any other case it still ends the run.
    if (!hasNonNumericFormat(listText)) throw;
    return 0;
  }
  // A correctly signed list is never refused for its signature.
  // Messages are German until a locale is set; a correctly signed list never gets the signature
  // one.
  require(result.error.rfind("Modell-Liste: Signatur", 0) != 0, "signature accepted");
  checkResult(result, listUrl);
  return 0;
}
