// The store's construction and its read-only questions about one model, answered from the disk
// and the list at the moment of the call.
#include "models/model_store.h"

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <system_error>

#include "core/outside_json.h"
#include "core/public_key.h"
#include "core/safe_name.h"
#include "core/user_model_directory.h"
#include "models/model_files.h"
#include "models/store_layout.h"
#include "vision/model_locator.h"

namespace velko::models {

namespace fs = std::filesystem;

namespace {

bool endsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() &&
         text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

ModelStore::ModelStore(Options options) : options_(std::move(options)) {
  if (options_.modelDir.empty()) options_.modelDir = core::userModelDirectory();
  if (options_.listUrl.empty()) {
    const char* fromEnvironment = std::getenv("VELKO_MODEL_LIST_URL");
    options_.listUrl =
        fromEnvironment != nullptr && *fromEnvironment != '\0'
            ? std::string(fromEnvironment)
            : std::string(VELKO_MODEL_SERVER) + "/wp-content/uploads/VELKO/models/models.json";
  }
  if (!options_.publicKey) options_.publicKey = core::tokenPublicKey();
  if (!options_.transport) options_.transport = makeHttpTransport();
  if (options_.appVersion.empty()) options_.appVersion = "1.0.0";
}

std::optional<ModelEntry> ModelStore::entryFor(const std::string& id) const {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!cached_) return std::nullopt;
  for (const ModelEntry& entry : cached_->models) {
    if (entry.id == id) return entry;
  }
  return std::nullopt;
}

std::string ModelStore::packageNameFor(const std::string& id) const {
  const std::optional<ModelEntry> entry = entryFor(id);
  return entry ? entry->package : id + ".mlmodelc";
}

std::optional<fs::path> ModelStore::packagePathFor(const std::string& id) const {
  // The id may come from a command line, so it passes the gate before it names anything; the
  // package of a listed entry passed it when the list was verified, and passes it again here.
  if (!core::SafeName::from(id)) return std::nullopt;
  const std::optional<core::SafeName> package = core::SafeName::from(packageNameFor(id));
  if (!package) return std::nullopt;
  return fs::path(options_.modelDir) / package->text();
}

ModelState ModelStore::state(const std::string& id) const {
  const std::optional<fs::path> target = packagePathFor(id);
  if (!target) return ModelState::Absent;
  std::error_code ec;
  fs::path found;
  if (endsWith(target->filename().string(), ".mlmodelc")) {
    // A compiled model may also lie outside the store, in the places the locator knows.
    found = fs::is_directory(*target, ec)
                ? *target
                : fs::path(vision::findModelPackage(id + ".mlpackage").path);
  } else if (fs::is_regular_file(*target, ec)) {
    found = *target;
  }
  if (found.empty()) return ModelState::Absent;
  return fs::equivalent(found, *target, ec) ? ModelState::InStore : ModelState::Elsewhere;
}

unsigned long long ModelStore::installedBytes(const std::string& id) const {
  const std::optional<fs::path> target = packagePathFor(id);
  if (!target) return 0;
  std::error_code ec;
  const fs::file_status status = fs::status(*target, ec);
  if (!fs::exists(status)) return 0;
  if (fs::is_regular_file(status)) {
    const uintmax_t size = fs::file_size(*target, ec);
    return ec ? 0 : size;
  }
  unsigned long long total = 0;
  fs::recursive_directory_iterator it(*target, fs::directory_options::skip_permission_denied, ec);
  for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
    std::error_code entryError;
    if (!it->is_regular_file(entryError)) continue;
    const uintmax_t size = it->file_size(entryError);
    if (!entryError) total += size;
  }
  return total;
}

bool ModelStore::updateAvailable(const std::string& id) const {
  const std::optional<ModelEntry> entry = entryFor(id);
  const std::optional<core::SafeName> name = core::SafeName::from(id);
  if (!entry || !name || state(id) != ModelState::InStore) return false;
  std::string text;
  // No marker, no offer: a package put there by hand is never replaced behind the user's back.
  if (!readFile(installedMarker(options_.modelDir, *name), text)) return false;
  const core::ParsedJson marker = core::parseOutsideJson(text);
  if (!marker.value) return false;
  try {
    return marker.value->value("sha256", std::string()) != entry->sha256;
  } catch (const nlohmann::json::exception&) {
    return false;
  }
}

unsigned long long ModelStore::partialBytes(const std::string& id) const {
  const std::optional<ModelEntry> entry = entryFor(id);
  if (!entry) return 0;
  const fs::path part = partPathFor(options_.modelDir, entry->file);
  std::error_code ec;
  if (!fs::is_regular_file(part, ec)) return 0;
  const uintmax_t size = fs::file_size(part, ec);
  return ec ? 0 : size;
}

}  // namespace velko::models
