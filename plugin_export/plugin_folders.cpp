// Plug-in folders appear with their marker and disappear with the marker last, so that a kill at
// any moment leaves either no folder or one that the next run recognises as its own.
#include "plugin_export/plugin_folders.h"

#include <algorithm>
#include <string_view>
#include <system_error>

#include "plugin_export/disk_basics.h"
#include "plugin_export/localize.h"
#include "plugin_export/manifest_info.h"

namespace velko::plugin_export {
namespace fs = std::filesystem;

namespace {

// Suffixes of this layer's own short-lived folders, each followed by the time in milliseconds.
constexpr std::string_view kTrashSuffix = ".velko-trash-";
constexpr std::string_view kStagingSuffix = ".velko-staging-";

// True for a name this layer gave a trash or staging folder.
bool isOwnLeftoverName(const std::string& name) {
  for (const std::string_view suffix : {kTrashSuffix, kStagingSuffix}) {
    const size_t at = name.rfind(suffix);
    if (at == std::string::npos) continue;
    const std::string_view digits = std::string_view(name).substr(at + suffix.size());
    if (!digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos) {
      return true;
    }
  }
  return false;
}

// Deletes everything in `folder` but its top-level manifest.json, then the manifest, then the
// folder. True when all of it is gone.
bool deleteMarkerLast(const fs::path& folder) {
  std::error_code ec;
  if (fs::is_symlink(fs::symlink_status(folder, ec))) return fs::remove(folder, ec);

  const fs::path marker = folder / "manifest.json";
  std::vector<fs::path> entries;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    if (it->path() != marker) entries.push_back(it->path());
  }
  if (ec) return false;
  bool complete = true;
  for (const auto& entry : entries) {
    fs::remove_all(entry, ec);
    complete = complete && !ec;
  }
  if (!complete) return false;  // keep the marker while anything of the plug-in is left
  fs::remove(marker, ec);
  if (ec) return false;
  fs::remove(folder, ec);
  return !ec;
}

}  // namespace

FolderRemoval removeMarkedFolder(const fs::path& folder, const std::string& id) {
  if (!folderMarkerMatches(folder, id)) return FolderRemoval::NotMarked;
  // A registry path may end in a separator; the folder is then the component before it.
  const fs::path named = folder.has_filename() ? folder : folder.parent_path();
  const fs::path trash = named.parent_path() / (named.filename().string() +
                                                std::string(kTrashSuffix) + millisSinceEpoch());
  std::error_code ec;
  fs::rename(named, trash, ec);
  if (ec) return FolderRemoval::Failed;
  return deleteMarkerLast(trash) ? FolderRemoval::Removed : FolderRemoval::Failed;
}

bool createFolderWithMarker(const fs::path& target, const fs::path& manifestFile) {
  fs::path staging = target;
  staging += std::string(kStagingSuffix) + millisSinceEpoch();
  std::error_code ec;
  fs::create_directories(staging.parent_path(), ec);
  if (!fs::create_directory(staging, ec)) return false;
  fs::copy_file(manifestFile, staging / "manifest.json", ec);
  if (!ec) fs::rename(staging, target, ec);
  if (!ec) return true;
  // Only this call's own staging folder is taken away, and the manifest it copied.
  fs::remove(staging / "manifest.json", ec);
  fs::remove(staging, ec);
  return false;
}

std::vector<std::string> removeSiblingVersionFolders(const fs::path& externalDir,
                                                     const std::string& id,
                                                     const std::string& keepFolder,
                                                     std::vector<std::string>& warnings) {
  // The underscore keeps a plug-in whose id merely begins with this id ("<id>x_1.0") out.
  const std::string prefix = id + "_";
  std::vector<fs::path> candidates;
  std::error_code ec;
  for (fs::directory_iterator it(externalDir, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    std::error_code typeEc;
    if (name != keepFolder && name.rfind(prefix, 0) == 0 && it->is_directory(typeEc)) {
      candidates.push_back(it->path());
    }
  }
  std::sort(candidates.begin(), candidates.end());

  std::vector<std::string> removed;
  for (const auto& folder : candidates) {
    switch (removeMarkedFolder(folder, id)) {
      case FolderRemoval::NotMarked:
        // A kill between making a staging folder and giving it its manifest leaves it empty and
        // unmarked. Only an empty one goes, by a delete that cannot reach into a folder with
        // content: an empty folder holds nothing to lose.
        if (isOwnLeftoverName(folder.filename().string())) {
          std::error_code ignored;
          fs::remove(folder, ignored);
        }
        break;
      case FolderRemoval::Removed:
        removed.push_back(folder.filename().string());
        break;
      case FolderRemoval::Failed:
        warnings.push_back(L("Alten Plugin-Ordner konnte nicht entfernt werden: ",
                             "Could not remove old plugin folder: ") +
                           folder.string());
        break;
    }
  }
  return removed;
}

}  // namespace velko::plugin_export
