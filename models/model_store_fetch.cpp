// Downloading one listed model: the lock, the disk test, the resumable transfer into the `.part`
// file, and the size and checksum tests before anything touches the installed package.
#include <cstdio>
#include <string>
#include <system_error>

#include "core/generation.h"
#include "core/message_language.h"
#include "core/version_compare.h"
#include "models/entry_title.h"
#include "models/format_bytes.h"
#include "models/free_space.h"
#include "models/model_store.h"
#include "models/sha256_file.h"
#include "models/store_layout.h"
#include "platform/platform.h"

namespace velko::models {

namespace fs = std::filesystem;

namespace {

using Progress = std::function<void(unsigned long long, unsigned long long)>;
using Cancel = std::function<bool()>;

bool failWith(FetchResult& result, FetchError error, std::string message) {
  result.ok = false;
  result.error = error;
  result.message = std::move(message);
  return false;
}

// A link at the name counts as nothing: its target may lie outside the model folder.
uint64_t regularFileSize(const fs::path& path) {
  std::error_code ec;
  if (!fs::is_regular_file(fs::symlink_status(path, ec))) return 0;
  const uintmax_t size = fs::file_size(path, ec);
  return ec ? 0 : size;
}

bool cancelled(const Cancel& cancel) {
  return cancel && cancel();
}

std::string cannotWriteMessage(const fs::path& file) {
  return core::localizedMessage("Datei nicht schreibbar: ", "Cannot write file: ") + file.string();
}

std::string cancelledMessage() {
  return core::localizedMessage("Abgebrochen.", "Cancelled.");
}

// Brings `part` up to the entry's size, starting at `offset`, in at most two transfers: the second
// only after a 416, which says the server thinks the offset lies beyond the file. True when the
// file reached the announced size or the loop gave up after two 416 answers (the caller's size
// test then speaks); false with the failure in `result`.
bool transferInto(Transport& transport, const ModelEntry& entry, const fs::path& part,
                  uint64_t offset, const Progress& onProgress, const Cancel& cancel,
                  FetchResult& result) {
  for (int transfer = 0; transfer < 2 && offset < entry.size; ++transfer) {
    FILE* file = platform::openFileForWriting(part, offset != 0);
    if (file == nullptr) {
      return failWith(result, FetchError::IoError, cannotWriteMessage(part));
    }
    int seenStatus = 0;
    bool writeFailed = false;
    bool tooLarge = false;
    uint64_t written = offset;
    const TransportResult answer = transport.get(
        entry.url, offset,
        [&](int status) {
          seenStatus = status;
          if (status == 200 && offset != 0) {
            // The server ignored the range and sends the file from its start: begin anew in the
            // same transfer. Appending writes go to the end, which is now 0.
            std::error_code ec;
            std::fflush(file);
            fs::resize_file(part, 0, ec);
            if (ec) {
              writeFailed = true;
              return false;
            }
            std::fseek(file, 0, SEEK_SET);
            written = 0;
            return true;
          }
          return status == 200 || status == 206;
        },
        [&](const char* data, unsigned long length) {
          // The signed size is the limit: a server may not fill the disk beyond it.
          if (written + length > entry.size) {
            tooLarge = true;
            return false;
          }
          if (std::fwrite(data, 1, length, file) != length) {
            writeFailed = true;
            return false;
          }
          written += length;
          result.bytesReceived += length;
          return true;
        },
        [&](unsigned long long, unsigned long long) {
          // Only the store knows the bytes of earlier runs, so the transport's numbers are unused.
          if (onProgress) onProgress(std::min<uint64_t>(written, entry.size), entry.size);
        },
        cancel);
    const bool closeFailed = std::fclose(file) != 0;
    const int status = seenStatus != 0 ? seenStatus : answer.status;
    if (offset != 0 && (status == 200 || status == 206)) result.resumed = status == 206;

    std::error_code ec;
    if (closeFailed || writeFailed) {
      return failWith(
          result, FetchError::IoError,
          core::localizedMessage("Schreiben fehlgeschlagen: ", "Writing failed: ") + part.string());
    }
    if (tooLarge) {
      fs::remove(part, ec);
      return failWith(
          result, FetchError::SizeMismatch,
          core::localizedMessage("Die geladene Datei ist größer als angekündigt – verworfen.",
                                 "The downloaded file is larger than announced – discarded."));
    }
    if (cancelled(cancel)) {
      return failWith(result, FetchError::Cancelled, cancelledMessage());
    }
    if (status == 200 || status == 206) {
      offset = regularFileSize(part);
      if (offset >= entry.size) continue;
      return failWith(result, FetchError::Network,
                      core::localizedMessage("Download unterbrochen – „Laden“ setzt ihn fort.",
                                             "Download interrupted – \"Download\" resumes it."));
    }
    if (status == 416) {
      fs::remove(part, ec);
      offset = 0;
      continue;
    }
    if (status == 0) {
      return failWith(result, FetchError::Network,
                      core::localizedMessage("Keine Verbindung zum Modell-Server (",
                                             "No connection to the model server (") +
                          answer.error + ").");
    }
    return failWith(
        result, FetchError::HttpStatus,
        core::localizedMessage("Modell-Server antwortet mit HTTP ", "Model server answered HTTP ") +
            std::to_string(status) + ".");
  }
  return true;
}

}  // namespace

FetchResult ModelStore::fetch(const std::string& id, const Progress& onProgress,
                              const Cancel& cancel) {
  FetchResult result;
  if (!hasList()) {
    failWith(result, FetchError::NoList,
             core::localizedMessage("Keine Modell-Liste – bitte mit dem Internet verbinden.",
                                    "No model list – please connect to the internet."));
    return result;
  }
  // A copy: a list refresh during the download does not reach this run.
  const std::optional<ModelEntry> found = entryFor(id);
  const std::optional<ModelPaths> paths =
      found ? pathsFor(options_.modelDir, *found) : std::nullopt;
  if (!paths) {
    failWith(result, FetchError::UnknownModel,
             core::localizedMessage("Modell „" + id + "“ steht nicht in der Modell-Liste.",
                                    "Model \"" + id + "\" is not in the model list."));
    return result;
  }
  const ModelEntry& entry = *found;
  if (!entry.min_velko.empty() && core::compareVersions(options_.appVersion, entry.min_velko) < 0) {
    failWith(result, FetchError::AppTooOld,
             core::localizedMessage(
                 "Dieses Modell braucht Solstice Velko " + entry.min_velko + " oder neuer.",
                 "This model needs Solstice Velko " + entry.min_velko + " or newer."));
    return result;
  }
  const fs::path modelDir = options_.modelDir;
  std::error_code ec;
  if (!makeOwnFolder(downloadsDir(modelDir))) {
    failWith(result, FetchError::IoError,
             core::localizedMessage("Modell-Ordner nicht anlegbar: ",
                                    "Cannot create the model folder: ") +
                 options_.modelDir);
    return result;
  }
  const platform::FileLock lock(paths->lock);
  if (lock.busy()) {
    failWith(result, FetchError::Busy,
             core::localizedMessage("Dieses Modell wird gerade schon geladen.",
                                    "This model is already being downloaded."));
    return result;
  }
  if (!lock.held()) {
    failWith(result, FetchError::IoError, cannotWriteMessage(paths->lock));
    return result;
  }

  const fs::path& part = paths->part;
  uint64_t offset = regularFileSize(part);
  if (offset > entry.size) {
    // Longer than the model: it cannot be a piece of this download.
    fs::remove(part, ec);
    offset = 0;
  }
  const std::optional<uint64_t> available = platform::availableBytes(modelDir);
  if (available && !enoughSpace(*available, entry, offset)) {
    const uint64_t shown = entry.size + unpackNeed(entry);
    failWith(result, FetchError::IoError,
             core::localizedMessage("Nicht genug freier Speicher für " + entryTitle(entry, false) +
                                        " (" + formatBytes(shown, false) + ").",
                                    "Not enough free disk space for " + entryTitle(entry, true) +
                                        " (" + formatBytes(shown, true) + ")."));
    return result;
  }

  if (!transferInto(*options_.transport, entry, part, offset, onProgress, cancel, result)) {
    return result;
  }
  if (regularFileSize(part) != entry.size) {
    fs::remove(part, ec);
    failWith(result, FetchError::SizeMismatch,
             core::localizedMessage(
                 "Die geladene Datei hat nicht die angekündigte Größe – verworfen.",
                 "The downloaded file does not have the announced size – discarded."));
    return result;
  }
  const std::string digest = sha256File(part.string(), cancel);
  // Asked before the comparison, so a digest cut short by a cancel never reads as a bad file.
  if (cancelled(cancel)) {
    failWith(result, FetchError::Cancelled, cancelledMessage());
    return result;
  }
  if (digest != entry.sha256) {
    fs::remove(part, ec);
    failWith(result, FetchError::ChecksumMismatch,
             core::localizedMessage(
                 "Die geladene Datei ist beschädigt (Prüfsumme stimmt nicht) – verworfen.",
                 "The downloaded file is damaged (checksum mismatch) – discarded."));
    return result;
  }
  if (!install(entry, *paths, result)) return result;

  ++core::gGeneration;
  if (onProgress) onProgress(entry.size, entry.size);
  result.ok = true;
  return result;
}

}  // namespace velko::models
