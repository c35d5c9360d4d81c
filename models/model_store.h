// The model store: one model folder on disk and the model list currently trusted, with the
// queries, the list refresh, the download and the removal of models.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "models/fetch_result.h"
#include "models/model_list.h"
#include "models/transport.h"

namespace velko::models {

struct ModelPaths;

// Where a model's package is, as far as the store can tell.
enum class ModelState : int32_t {
  Absent = 0,     // no usable copy anywhere
  InStore = 1,    // the package lies in the model folder
  Elsewhere = 2,  // not in the model folder, but the model package locator found one
};

class ModelStore {
 public:
  // Every field may be left empty; the constructor fills in the default.
  struct Options {
    std::string modelDir;  // default: velko::core::userModelDirectory()
    std::string listUrl;   // default: VELKO_MODEL_LIST_URL if set and not empty, else the server's
    std::optional<std::array<unsigned char, 32>> publicKey;  // default: core::tokenPublicKey()
    std::shared_ptr<Transport> transport;                    // default: the HTTP transport
    std::string appVersion;                                  // default: "1.0.0"
  };

  // Fills in the defaults. Touches neither disk nor network, and loads no list.
  explicit ModelStore(Options options);
  ModelStore(const ModelStore&) = delete;
  ModelStore& operator=(const ModelStore&) = delete;

  // The options with their defaults filled in.
  const Options& options() const { return options_; }

  // --- Queries. Each reads the disk anew; a failure reads as 0 bytes, Absent or false. ---

  // The listed entry's `package`, or `id` + ".mlmodelc" when the id is not in the list.
  std::string packageNameFor(const std::string& id) const;
  ModelState state(const std::string& id) const;
  // The sum of the package's file sizes in the model folder; 0 when it is not there.
  unsigned long long installedBytes(const std::string& id) const;
  // True only for a listed model in the store whose marker names another checksum than the list.
  bool updateAvailable(const std::string& id) const;
  // The size of the listed model's partial download; 0 when there is none or the id is unlisted.
  unsigned long long partialBytes(const std::string& id) const;

  // --- The list. ---

  // Fetches the list and its signature, verifies them, keeps them on disk and in memory. On
  // failure (`ok` false with the message) neither disk nor memory changes.
  ListResult refreshList(const std::function<bool()>& cancel);
  // Verifies and takes the pair kept on disk. On failure the list in memory stays as it was.
  ListResult loadCachedList();
  bool hasList() const;
  // A copy of the trusted list; an empty list (format 0) when there is none.
  ModelList list() const;

  // --- Changes. ---

  // Downloads, verifies and installs the listed model `id`, resuming a partial download. Both
  // functions may be empty; `onProgress(done, total)` ends with done == total on success. On
  // failure `ok` is false, with the reason in `error` and `message`; what can be continued is
  // kept on disk, what was proved wrong is deleted.
  FetchResult fetch(const std::string& id,
                    const std::function<void(unsigned long long, unsigned long long)>& onProgress,
                    const std::function<bool()>& cancel);

  // Deletes the model's package, marker and partial download. Works without a list. False with
  // the message in `error` when the model is being downloaded, is not in the model folder or
  // cannot be deleted; `error` is left alone on success.
  bool remove(const std::string& id, std::string& error);

 private:
  std::optional<ModelEntry> entryFor(const std::string& id) const;
  // modelDir / packageNameFor(id); nothing when the id or the package is no safe name, so a name
  // from outside can never point past the model folder.
  std::optional<std::filesystem::path> packagePathFor(const std::string& id) const;
  // The last step of a fetch: puts the verified download `partPath` in place and writes the
  // marker. False with `result`'s error and message set when the package could not be installed.
  bool install(const ModelEntry& entry, const ModelPaths& paths, FetchResult& result);

  Options options_;
  mutable std::mutex mutex_;
  std::optional<ModelList> cached_;  // the trusted list; guarded by mutex_
};

}  // namespace velko::models
