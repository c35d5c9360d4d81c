// Bringing a trusted model list into the store: from the server with its signature, or back from
// the pair kept in the model folder, verified again either way.
#include <string>

#include "core/message_language.h"
#include "models/model_files.h"
#include "models/model_store.h"

namespace velko::models {

namespace fs = std::filesystem;

namespace {

// A list or signature larger than this is refused while it arrives.
constexpr size_t kMaxListBytes = 4194304;

// Fetches `url` whole into `text`. False with the reason in `reason` when no acceptable answer
// came; a refused or cancelled body leaves `reason` empty.
bool fetchText(Transport& transport, const std::string& url, const std::function<bool()>& cancel,
               std::string& text, std::string& reason) {
  int seenStatus = 0;
  const TransportResult result = transport.get(
      url, 0,
      [&](int status) {
        seenStatus = status;
        return status >= 200 && status <= 299;
      },
      [&](const char* data, unsigned long length) {
        if (text.size() + length > kMaxListBytes) return false;
        text.append(data, length);
        return true;
      },
      {}, cancel);
  const int code = result.status != 0 ? result.status : seenStatus;
  if (code >= 200 && code <= 299) return !result.cancelled;
  if (code != 0) {
    reason = "HTTP " + std::to_string(code);
  } else {
    reason = result.cancelled ? "cancelled" : result.error;
  }
  return false;
}

}  // namespace

ListResult ModelStore::refreshList(const std::function<bool()>& cancel) {
  std::string listText;
  std::string signatureText;
  std::string reason;
  // The signature is asked for only once the whole list has arrived.
  if (!fetchText(*options_.transport, options_.listUrl, cancel, listText, reason) ||
      !fetchText(*options_.transport, options_.listUrl + ".sig", cancel, signatureText, reason)) {
    ListResult failed;
    failed.error =
        core::localizedMessage("Modell-Liste nicht erreichbar (", "Model list not reachable (") +
        reason + ").";
    return failed;
  }
  ListResult result =
      verifyModelList(listText, signatureText, *options_.publicKey, options_.listUrl);
  if (!result.ok) return result;  // a bad answer must not touch a good cache
  // Kept byte for byte, so that the next start verifies exactly what was received. A failed write
  // only costs the cache: the list is in use for this run all the same.
  writeFileAtomic(fs::path(options_.modelDir) / "models.json", listText);
  writeFileAtomic(fs::path(options_.modelDir) / "models.json.sig", signatureText);
  std::lock_guard<std::mutex> lock(mutex_);
  cached_ = result.list;
  return result;
}

ListResult ModelStore::loadCachedList() {
  std::string listText;
  std::string signatureText;
  if (!readFile(fs::path(options_.modelDir) / "models.json", listText) ||
      !readFile(fs::path(options_.modelDir) / "models.json.sig", signatureText)) {
    ListResult missing;
    missing.error =
        core::localizedMessage("Noch keine Modell-Liste geladen.", "No model list loaded yet.");
    return missing;
  }
  // Relative file names resolve against the address configured now.
  ListResult result =
      verifyModelList(listText, signatureText, *options_.publicKey, options_.listUrl);
  if (result.ok) {
    std::lock_guard<std::mutex> lock(mutex_);
    cached_ = result.list;
  }
  return result;
}

bool ModelStore::hasList() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return cached_.has_value();
}

ModelList ModelStore::list() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return cached_ ? *cached_ : ModelList{};
}

}  // namespace velko::models
