// The last step of a download: the verified file becomes the installed package (a zip archive is
// unpacked and inspected first), and the marker records which build it is.
#include <nlohmann/json.hpp>
#include <system_error>

#include "core/message_language.h"
#include "models/model_files.h"
#include "models/model_store.h"
#include "models/package_install.h"
#include "models/store_layout.h"

namespace velko::models {

namespace fs = std::filesystem;

bool ModelStore::install(const ModelEntry& entry, const fs::path& partPath, FetchResult& result) {
  const fs::path modelDir = options_.modelDir;
  const fs::path target = modelDir / entry.package;
  const fs::path oldPath = downloadsDir(modelDir) / (entry.id + ".old");
  std::error_code ec;
  bool replaced = false;
  if (entry.kind == ModelKind::File) {
    // On failure the verified file stays, and the next fetch goes straight to its checksum.
    replaced = replacePath(partPath, target, oldPath);
  } else {
    const fs::path unpackDir = downloadsDir(modelDir) / (entry.id + ".unpack");
    if (!unpackAndInspect(partPath, unpackDir, entry.package)) {
      // Proved unusable although its checksum passed: the archive goes too.
      fs::remove_all(unpackDir, ec);
      fs::remove(partPath, ec);
      result.error = FetchError::UnpackFailed;
      result.message = core::localizedMessage("Modell-Paket ließ sich nicht entpacken.",
                                              "The model package could not be unpacked.");
      return false;
    }
    replaced = replacePath(unpackDir / entry.package, target, oldPath);
    fs::remove_all(unpackDir, ec);  // also takes a "__MACOSX" folder away
    if (replaced) fs::remove(partPath, ec);
  }
  if (!replaced) {
    result.error = FetchError::IoError;
    result.message =
        core::localizedMessage("Installieren fehlgeschlagen: ", "Installing failed: ") +
        target.string();
    return false;
  }
  // A lost marker costs only the update offer, so its failure is not reported.
  nlohmann::ordered_json marker;
  marker["sha256"] = entry.sha256;
  marker["version"] = entry.version;
  writeFileAtomic(installedMarker(modelDir, entry.id), marker.dump());
  return true;
}

}  // namespace velko::models
