// The front ends' one door to the model store: rows in the user's language, byte sums, and the
// batch fetch of everything that is due.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "models/model_store.h"

namespace velko::installer {

enum class ModelRowState : int32_t {
  Missing = 0,    // not on disk
  Partial = 1,    // a partly downloaded file lies in the store
  Installed = 2,  // installed in the store
  Bundled = 3,    // not in the store, but the model package locator found a copy
};

// One model as a table shows it.
struct ModelRow {
  std::string id;
  std::string title;     // in the area's language, the other one as fallback
  std::string sizeText;  // formatBytes of sizeBytes
  std::string license;
  std::string licenseUrl;
  uint64_t sizeBytes = 0;  // the download's size, not the installed one
  ModelRowState state = ModelRowState::Missing;
  bool updateAvailable = false;  // only ever true when Installed
  bool compatible = false;       // this application is new enough for the model
};

struct BatchResult {
  int32_t loaded = 0;      // models fetched with success
  int32_t failed = 0;      // models that failed; a cancel is not counted
  bool cancelled = false;  // the batch stopped because of a cancel
  std::string firstError;  // the message of the first failure; empty if none
};

class ModelArea {
 public:
  ModelArea(bool english, velko::models::ModelStore::Options options);
  ModelArea(const ModelArea&) = delete;
  ModelArea& operator=(const ModelArea&) = delete;

  // Both return the empty string on success, else the message; a failure leaves the list as it was.
  std::string loadCached();
  std::string refresh(const std::function<bool()>& cancel);

  // One row per listed model, in the list's order; empty without a list.
  std::vector<ModelRow> rows() const;
  // The download size of every due row: what fetchAll would download.
  uint64_t pendingBytes() const;
  // What the installed models take in the model folder.
  uint64_t installedBytes() const;

  // The store's fetch, unchanged.
  velko::models::FetchResult fetch(const std::string& id,
                                   const std::function<void(uint64_t, uint64_t)>& progress,
                                   const std::function<bool()>& cancel);
  // Fetches every due model, one after the other in the list's order. `start(index, count, id)` is
  // told before each. A failure does not stop the batch; a cancel does. All callbacks may be empty.
  BatchResult fetchAll(const std::function<void(int, int, const std::string&)>& start,
                       const std::function<void(uint64_t, uint64_t)>& progress,
                       const std::function<bool()>& cancel);
  // The empty string when the model was deleted, else the store's message.
  std::string remove(const std::string& id);

  const bool english;  // the language of the rows
  // Front ends ask it `hasList` and read its model folder; everything else goes through the area.
  velko::models::ModelStore store;
};

}  // namespace velko::installer
