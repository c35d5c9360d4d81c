// Verification of the signed model list: signature first, then the whole-list rules, then one
// decision per entry that keeps or silently drops it.
#include "models/model_list.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "core/message_language.h"
#include "core/outside_json.h"
#include "core/safe_name.h"
#include "core/signature.h"

namespace velko::models {
namespace {

using json = nlohmann::json;

ListResult fail(std::string_view german, std::string_view english) {
  ListResult result;
  result.error = core::localizedMessage(german, english);
  return result;
}

// Lax reads: an absent key or a value of another type reads as empty / 0, so a list written for a
// later version degrades entry by entry instead of failing as a whole.
std::string str(const json& entry, const char* key) {
  const auto it = entry.find(key);
  return it != entry.end() && it->is_string() ? it->get<std::string>() : std::string();
}

// Only numbers written without sign, fraction or exponent count; "1024.0", "-1" and "1024" read 0.
uint64_t num(const json& entry, const char* key) {
  const auto it = entry.find(key);
  return it != entry.end() && it->is_number_unsigned() ? it->get<uint64_t>() : 0;
}

std::vector<std::string> strings(const json& entry, const char* key) {
  std::vector<std::string> out;
  const auto it = entry.find(key);
  if (it == entry.end() || !it->is_array()) return out;
  for (const json& element : *it) {
    if (element.is_string()) out.push_back(element.get<std::string>());
  }
  return out;
}

bool isSafeName(const std::string& name) {
  return core::SafeName::from(name).has_value();
}

bool isLowerHexDigest(const std::string& text) {
  if (text.size() != 64) return false;
  for (const char c : text) {
    if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'))) return false;
  }
  return true;
}

bool startsWith(const std::string& text, std::string_view prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

// Plain HTTP is allowed only towards the local machine, for development. These are prefix tests
// on the text, without parsing host or port.
bool isAllowedAbsoluteUrl(const std::string& url) {
  return startsWith(url, "https://") || startsWith(url, "http://127.0.0.1") ||
         startsWith(url, "http://localhost");
}

bool hasId(const std::vector<ModelEntry>& kept, const std::string& id) {
  for (const ModelEntry& entry : kept) {
    if (entry.id == id) return true;
  }
  return false;
}

// The entry that `element` describes, or nothing when one of the rules drops it.
std::optional<ModelEntry> readEntry(const json& element, const std::string& listDirectory,
                                    const std::vector<ModelEntry>& kept) {
  if (!element.is_object()) return std::nullopt;

  ModelEntry entry;
  entry.id = str(element, "id");
  entry.version = str(element, "version");
  entry.title_de = str(element, "title_de");
  entry.title_en = str(element, "title_en");
  const std::string kind = str(element, "kind");
  entry.package = str(element, "package");
  entry.file = str(element, "file");
  entry.size = num(element, "size");
  entry.sha256 = str(element, "sha256");
  entry.installed_size = num(element, "installed_size");
  entry.license = str(element, "license");
  entry.license_url = str(element, "license_url");
  entry.source = str(element, "source");
  entry.min_velko = str(element, "min_velko");
  entry.nodes = strings(element, "nodes");

  if (kind == "coreml") {
    entry.kind = ModelKind::CoreML;
    if (entry.package != entry.id + ".mlmodelc") return std::nullopt;
  } else if (kind == "file") {
    entry.kind = ModelKind::File;
    if (!startsWith(entry.package, entry.id + ".")) return std::nullopt;
  } else {
    return std::nullopt;
  }
  if (!isSafeName(entry.id) || !isSafeName(entry.package)) return std::nullopt;
  if (entry.file.empty() || entry.size == 0) return std::nullopt;
  if (!isLowerHexDigest(entry.sha256)) return std::nullopt;
  // The first occurrence in the document wins.
  if (hasId(kept, entry.id)) return std::nullopt;

  if (entry.file.find("://") != std::string::npos) {
    if (!isAllowedAbsoluteUrl(entry.file)) return std::nullopt;
    entry.url = entry.file;
  } else {
    // A relative name may neither climb out of the list's directory nor into a subfolder.
    if (!isSafeName(entry.file)) return std::nullopt;
    entry.url = listDirectory + entry.file;
  }
  return entry;
}

}  // namespace

ListResult verifyModelList(const std::string& listText, const std::string& signatureText,
                           const std::array<unsigned char, 32>& publicKey,
                           const std::string& listUrl) {
  // Editors and upload forms add line ends to a .sig file; nothing else is forgiven.
  std::string signature = signatureText;
  while (!signature.empty() &&
         (signature.back() == ' ' || signature.back() == '\n' || signature.back() == '\r')) {
    signature.pop_back();
  }

  // Nothing of the list is read before this check, so a damaged list and a wrong key look alike.
  std::string message;
  message.reserve(kSignedListPrefix.size() + listText.size());
  message.append(kSignedListPrefix);
  message.append(listText);
  if (!core::verifyEd25519Signature(message, signature, publicKey)) {
    return fail("Modell-Liste: Signatur ungültig – die Liste wird nicht verwendet.",
                "Model list: invalid signature – the list is not used.");
  }

  core::ParsedJson parsed = core::parseOutsideJson(listText);
  if (!parsed.value)
    return fail("Modell-Liste: kein gültiges JSON.", "Model list: not valid JSON.");
  const json root = std::move(*parsed.value);

  const auto models = root.is_object() ? root.find("models") : root.end();
  if (models == root.end() || !models->is_array()) {
    return fail("Modell-Liste: Feld \"models\" fehlt.", "Model list: field \"models\" is missing.");
  }

  // A non-numeric `format` throws here on purpose: only the key holder can sign such a list.
  if (root.value("format", int32_t{0}) != 1) {
    return fail("Die Modell-Liste braucht eine neuere Version von Solstice Velko.",
                "The model list requires a newer version of Solstice Velko.");
  }

  ListResult result;
  result.list.format = 1;
  result.list.issued = str(root, "issued");
  const std::string listDirectory = urlDirectory(listUrl);
  for (const json& element : *models) {
    if (auto entry = readEntry(element, listDirectory, result.list.models)) {
      result.list.models.push_back(std::move(*entry));
    }
  }
  result.ok = true;
  return result;
}

std::string urlDirectory(const std::string& url) {
  const std::string address = url.substr(0, url.find_first_of("?#"));
  if (address.empty()) return std::string();
  const size_t lastSlash = address.rfind('/');
  if (lastSlash == std::string::npos) return std::string();
  // In "https://host" the last slash belongs to the scheme: the address has no path.
  const size_t scheme = address.find("://");
  if (scheme != std::string::npos && lastSlash < scheme + 3) return std::string();
  return address.substr(0, lastSlash + 1);
}

}  // namespace velko::models
