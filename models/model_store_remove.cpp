// Deleting a model from the model folder: package, marker and partial download, never while the
// same model is being downloaded and never a copy outside the folder.
#include <system_error>

#include "core/generation.h"
#include "core/message_language.h"
#include "models/file_lock.h"
#include "models/model_store.h"
#include "models/store_layout.h"

namespace velko::models {

namespace fs = std::filesystem;

bool ModelStore::remove(const std::string& id, std::string& error) {
  const fs::path modelDir = options_.modelDir;
  const fs::path target = modelDir / packageNameFor(id);
  std::error_code ec;
  // The lock folder is not made here: without it no download can be running.
  const FileLock lock(lockPathFor(modelDir, id));
  if (!lock.held() && fs::exists(downloadsDir(modelDir), ec)) {
    error = core::localizedMessage("Dieses Modell wird gerade geladen.",
                                   "This model is being downloaded right now.");
    return false;
  }
  if (const std::optional<ModelEntry> entry = entryFor(id)) {
    fs::remove(partPathFor(modelDir, entry->file), ec);
  }
  if (!fs::exists(fs::status(target, ec))) {
    error = core::localizedMessage("Dieses Modell liegt nicht im Modell-Ordner.",
                                   "This model is not in the model folder.");
    return false;
  }
  fs::remove_all(target, ec);
  if (ec) {
    error = core::localizedMessage("Löschen fehlgeschlagen: ", "Deleting failed: ") + ec.message();
    return false;
  }
  fs::remove(installedMarker(modelDir, id), ec);
  ++core::gGeneration;
  return true;
}

}  // namespace velko::models
