// Deleting a model from the model folder: package, marker and partial download, never while the
// same model is being downloaded, never a copy outside the folder, never a name that leads out.
#include <optional>
#include <system_error>

#include "core/generation.h"
#include "core/message_language.h"
#include "core/safe_name.h"
#include "models/model_store.h"
#include "models/store_layout.h"
#include "platform/platform.h"

namespace velko::models {

namespace fs = std::filesystem;

namespace {

std::string notInFolderMessage() {
  return core::localizedMessage("Dieses Modell liegt nicht im Modell-Ordner.",
                                "This model is not in the model folder.");
}

}  // namespace

bool ModelStore::remove(const std::string& id, std::string& error) {
  const fs::path modelDir = options_.modelDir;
  // An id that could lead out of the model folder names nothing in it: nothing is touched, not
  // even a lock file made.
  const std::optional<core::SafeName> name = core::SafeName::from(id);
  const std::optional<fs::path> target = packagePathFor(id);
  if (!name || !target) {
    error = notInFolderMessage();
    return false;
  }
  std::error_code ec;
  // Only a real .downloads folder can hold a running download's lock. Without one (nothing, a
  // plain file, a link) no download can be running, and no lock file is made through it.
  std::optional<platform::FileLock> lock;
  if (fs::symlink_status(downloadsDir(modelDir), ec).type() == fs::file_type::directory) {
    lock.emplace(lockPathFor(modelDir, *name));
    if (!lock->held()) {
      error = core::localizedMessage("Dieses Modell wird gerade geladen.",
                                     "This model is being downloaded right now.");
      return false;
    }
  }
  if (const std::optional<ModelEntry> entry = entryFor(id)) {
    fs::remove(partPathFor(modelDir, entry->file), ec);
  }
  if (!fs::exists(fs::status(*target, ec))) {
    error = notInFolderMessage();
    return false;
  }
  fs::remove_all(*target, ec);
  if (ec) {
    error = core::localizedMessage("Löschen fehlgeschlagen: ", "Deleting failed: ") + ec.message();
    return false;
  }
  fs::remove(installedMarker(modelDir, *name), ec);
  ++core::gGeneration;
  return true;
}

}  // namespace velko::models
