// Rows, sums and the batch fetch over the model store, with one rule of what is due shared by the
// command line and the window.
#include "installer/model_area.h"

#include "core/version_compare.h"
#include "models/entry_title.h"
#include "models/format_bytes.h"

namespace velko::installer {

namespace models = velko::models;

namespace {

std::string messageOf(const models::ListResult& result) {
  return result.ok ? "" : result.error;
}

// A row is due when a fetch would bring something new, and the application may use the model.
bool isDue(const ModelRow& row) {
  const bool wanted = row.state == ModelRowState::Missing || row.state == ModelRowState::Partial ||
                      row.updateAvailable;
  return wanted && row.compatible;
}

// The store counts in unsigned long long; an empty function must stay empty on the way.
std::function<void(unsigned long long, unsigned long long)> storeProgress(
    const std::function<void(uint64_t, uint64_t)>& progress) {
  if (!progress) return {};
  return [&progress](unsigned long long done, unsigned long long total) { progress(done, total); };
}

}  // namespace

ModelArea::ModelArea(bool english, models::ModelStore::Options options)
    : english(english), store(std::move(options)) {}

std::string ModelArea::loadCached() {
  return messageOf(store.loadCachedList());
}

std::string ModelArea::refresh(const std::function<bool()>& cancel) {
  return messageOf(store.refreshList(cancel));
}

std::vector<ModelRow> ModelArea::rows() const {
  std::vector<ModelRow> rows;
  if (!store.hasList()) return rows;
  const std::string& appVersion = store.options().appVersion;
  for (const models::ModelEntry& entry : store.list().models) {
    ModelRow row;
    row.id = entry.id;
    row.title = models::entryTitle(entry, english);
    row.sizeText = models::formatBytes(entry.size, english);
    row.license = entry.license;
    row.licenseUrl = entry.license_url;
    row.sizeBytes = entry.size;
    switch (store.state(entry.id)) {
      case models::ModelState::InStore:
        row.state = ModelRowState::Installed;
        row.updateAvailable = store.updateAvailable(entry.id);
        break;
      case models::ModelState::Elsewhere:
        row.state = ModelRowState::Bundled;
        break;
      case models::ModelState::Absent:
        row.state =
            store.partialBytes(entry.id) != 0 ? ModelRowState::Partial : ModelRowState::Missing;
        break;
    }
    row.compatible =
        entry.min_velko.empty() || core::compareVersions(appVersion, entry.min_velko) >= 0;
    rows.push_back(std::move(row));
  }
  return rows;
}

uint64_t ModelArea::pendingBytes() const {
  uint64_t total = 0;
  for (const ModelRow& row : rows()) {
    if (isDue(row)) total += row.sizeBytes;
  }
  return total;
}

uint64_t ModelArea::installedBytes() const {
  uint64_t total = 0;
  for (const ModelRow& row : rows()) {
    if (row.state == ModelRowState::Installed) total += store.installedBytes(row.id);
  }
  return total;
}

models::FetchResult ModelArea::fetch(const std::string& id,
                                     const std::function<void(uint64_t, uint64_t)>& progress,
                                     const std::function<bool()>& cancel) {
  return store.fetch(id, storeProgress(progress), cancel);
}

BatchResult ModelArea::fetchAll(const std::function<void(int, int, const std::string&)>& start,
                                const std::function<void(uint64_t, uint64_t)>& progress,
                                const std::function<bool()>& cancel) {
  // Settled once: list changes during the batch do not reach it.
  std::vector<std::string> due;
  for (const ModelRow& row : rows()) {
    if (isDue(row)) due.push_back(row.id);
  }
  BatchResult batch;
  if (due.empty()) return batch;
  const auto cancelNow = [&cancel] { return cancel && cancel(); };
  const int count = static_cast<int>(due.size());
  for (int index = 0; index < count; ++index) {
    // Asked before the first model and between two, never after the last.
    if (cancelNow()) {
      batch.cancelled = true;
      return batch;
    }
    if (start) start(index, count, due[index]);
    const models::FetchResult result = store.fetch(due[index], storeProgress(progress), cancel);
    if (result.ok) {
      ++batch.loaded;
    } else if (result.error == models::FetchError::Cancelled) {
      batch.cancelled = true;
      return batch;
    } else {
      ++batch.failed;
      if (batch.firstError.empty()) batch.firstError = result.message;
    }
  }
  return batch;
}

std::string ModelArea::remove(const std::string& id) {
  std::string error;
  return store.remove(id, error) ? std::string() : error;
}

}  // namespace velko::installer
