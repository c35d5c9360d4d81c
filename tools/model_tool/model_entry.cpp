// Builds one models.json entry from a download file, and tries it on the installer's own list
// rules.
#include "tools/model_tool/model_entry.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <system_error>

#include "models/model_list.h"
#include "models/sha256_file.h"
#include "tools/model_tool/ed25519_keys.h"

namespace velko::model_tool {
namespace {

using ordered_json = nlohmann::ordered_json;

void putIfSet(ordered_json& entry, const char* key, const std::string& value) {
  if (!value.empty()) entry[key] = value;
}

// Whether verifyModelList keeps `entry`: a one-entry list signed with a throw-away key runs
// through the installer's real rules, so the tool never carries a second copy of them.
std::string installerVerdict(const ordered_json& entry) {
  const SeedResult throwAway = generateSeed();
  if (!throwAway.seed) return "cannot test the entry: " + throwAway.error;
  const std::optional<PublicKey> publicKey = publicKeyOf(*throwAway.seed);
  ordered_json list = {{"format", 1}, {"models", ordered_json::array({entry})}};
  const std::string listText = list.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
  const std::string signature = signModelList(*throwAway.seed, listText);
  if (!publicKey || signature.empty()) return "cannot test the entry: signing failed";
  const models::ListResult result = models::verifyModelList(listText, signature, *publicKey,
                                                            "https://example.invalid/models.json");
  if (!result.ok) return result.error;
  if (result.list.models.size() != 1) {
    return "the installer would drop this entry (check id, kind, package, file address)";
  }
  return std::string();
}

}  // namespace

EntryResult buildEntry(const std::string& path, const EntryOptions& options) {
  EntryResult result;
  std::error_code ec;
  const uint64_t size = std::filesystem::file_size(path, ec);
  if (ec) {
    result.error = path + ": " + ec.message();
    return result;
  }
  if (size == 0) {
    result.error = path + ": the file is empty";
    return result;
  }
  const std::string digest = models::sha256File(path, nullptr);
  if (digest.empty()) {
    result.error = path + ": cannot read the file";
    return result;
  }

  ordered_json entry;
  entry["id"] = options.id;
  putIfSet(entry, "version", options.version);
  putIfSet(entry, "title_de", options.title_de);
  putIfSet(entry, "title_en", options.title_en);
  entry["kind"] = options.kind;
  entry["package"] = options.package;
  entry["file"] =
      options.file.empty() ? std::filesystem::path(path).filename().string() : options.file;
  entry["size"] = size;
  entry["sha256"] = digest;
  if (options.installed_size) entry["installed_size"] = *options.installed_size;
  putIfSet(entry, "license", options.license);
  putIfSet(entry, "license_url", options.license_url);
  putIfSet(entry, "source", options.source);
  putIfSet(entry, "min_velko", options.min_velko);

  result.error = installerVerdict(entry);
  if (!result.error.empty()) return result;
  result.ok = true;
  // Non-UTF-8 bytes in an option are replaced rather than thrown on.
  result.json = entry.dump(2, ' ', false, ordered_json::error_handler_t::replace);
  return result;
}

}  // namespace velko::model_tool
