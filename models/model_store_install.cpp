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

bool ModelStore::install(const ModelEntry& entry, const ModelPaths& paths, FetchResult& result) {
  std::error_code ec;
  bool replaced = false;
  if (entry.kind == ModelKind::File) {
    // On failure the verified file stays, and the next fetch goes straight to its checksum.
    replaced = replacePath(paths.part, paths.target, paths.old);
  } else {
    if (!unpackAndInspect(paths.part, paths.unpack, entry.package)) {
      // Proved unusable although its checksum passed: the archive goes too.
      fs::remove_all(paths.unpack, ec);
      fs::remove(paths.part, ec);
      result.error = FetchError::UnpackFailed;
      result.message = core::localizedMessage("Modell-Paket ließ sich nicht entpacken.",
                                              "The model package could not be unpacked.");
      return false;
    }
    replaced = replacePath(paths.unpack / entry.package, paths.target, paths.old);
    fs::remove_all(paths.unpack, ec);  // also takes a "__MACOSX" folder away
    if (replaced) fs::remove(paths.part, ec);
  }
  if (!replaced) {
    result.error = FetchError::IoError;
    result.message =
        core::localizedMessage("Installieren fehlgeschlagen: ", "Installing failed: ") +
        paths.target.string();
    return false;
  }
  // A lost marker costs only the update offer, so its failure is not reported. A link planted
  // at the marker folder would carry the write out of the model folder: no marker then.
  nlohmann::ordered_json marker;
  marker["sha256"] = entry.sha256;
  marker["version"] = entry.version;
  if (makeOwnFolder(paths.marker.parent_path())) writeFileAtomic(paths.marker, marker.dump());
  return true;
}

}  // namespace velko::models
