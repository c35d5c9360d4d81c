// The models screen's work: the list refresh, downloads of one model or all of them on worker
// threads with progress at a bounded rate, cancelling, the confirmed removal and the folder.
#include <QAbstractButton>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "window/controller.h"
#include "window/views.h"

namespace velko::window {
namespace {

// Reports closer together than this are dropped at the source, the last one excepted.
constexpr std::chrono::nanoseconds kProgressInterval = std::chrono::milliseconds(80);
// Rebuilds that progress causes are at least this far apart, in seconds.
constexpr double kRebuildInterval = 0.1;

double steadySeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

void KVController::inBackground(std::function<std::function<void()>()> task) {
  _workers.emplace_back([this, task = std::move(task)] {
    std::function<void()> finish = task();
    // Posted behind every progress report of the task, so the last report comes first.
    post([this, worker = std::this_thread::get_id(), finish = std::move(finish)] {
      // The worker has nothing left to do but return, so the join is immediate.
      const auto ended = std::find_if(_workers.begin(), _workers.end(),
                                      [&](const std::thread& t) { return t.get_id() == worker; });
      ended->join();
      _workers.erase(ended);
      finish();
    });
  });
}

void KVController::post(std::function<void()> step) {
  {
    std::lock_guard<std::mutex> lock(_mailLock);
    if (_mailClosed) return;
    _mail.push_back(std::move(step));
  }
  // One signal per step, even when an earlier delivery takes several at once.
  emit mailPosted();
}

void KVController::deliverMail() {
  std::vector<std::function<void()>> mail;
  {
    std::lock_guard<std::mutex> lock(_mailLock);
    mail.swap(_mail);
  }
  for (const std::function<void()>& step : mail)
    step();
}

void KVController::refreshModelList() {
  if (_listLoading || _modelBusy || !_models) return;
  _listLoading = true;
  rebuild();
  // A list refresh has no cancel button of its own; only quitting stops it, so that the window
  // closes at once on a slow server.
  inBackground([this, models = _models, quitting = _quitting]() -> std::function<void()> {
    std::string error = models->refresh([quitting] { return quitting->load(); });
    return [this, error = std::move(error)] { modelsListFinished(error); };
  });
}

void KVController::modelsListFinished(const std::string& error) {
  _listLoading = false;
  if (!error.empty()) {
    _modelMessageIsError = true;
    const QString text = QString::fromStdString(error);
    _modelMessage = _models->store.hasList()
                        ? this->text("%1 Angezeigt wird die zuletzt gespeicherte Liste.",
                                     "%1 Showing the last saved list.")
                              .arg(text)
                        : text;
  }
  rebuild();
  // The user may have left the screen meanwhile: then neither the auto action nor the picture.
  if (_mode != ModeModels) return;
  if (_autoAction == "models-fetch-all") {
    _autoAction.clear();
    fetchAllModels();
  }
  if (!_screenshotPath.isEmpty()) {
    QTimer::singleShot(static_cast<int>(_shotDelay * 1000), this, &KVController::saveScreenshot);
  }
}

std::function<void(uint64_t, uint64_t)> KVController::progressCallback() {
  // Shared by every copy of the function on its way to the worker; the zero time lets the first
  // report through.
  auto last = std::make_shared<std::chrono::steady_clock::time_point>();
  return [this, last](uint64_t received, uint64_t total) {
    const auto now = std::chrono::steady_clock::now();
    if (received < total && now - *last < kProgressInterval) return;
    *last = now;
    post([this, received, total] { modelProgress(received, total); });
  };
}

void KVController::modelProgress(uint64_t received, uint64_t total) {
  _recv = received;
  _total = total;
  const double now = steadySeconds();
  // The one place that redraws during a download; a report inside the interval only moves the
  // numbers, and the next rebuild shows them.
  if (now - _lastModelRebuild > kRebuildInterval && _mode == ModeModels) {
    _lastModelRebuild = now;
    rebuild();
  }
}

void KVController::beginModelWork(const std::string& id) {
  _modelBusy = true;
  _busyId = id;
  _recv = _total = 0;
  _batchIndex = _batchCount = 0;
  _modelMessage = QString();
  _modelMessageIsError = false;
  _modelCancel->store(false);
  rebuild();
}

void KVController::endModelWork() {
  _modelBusy = false;
  _busyId.clear();
  _batchIndex = _batchCount = 0;
  rebuild();
}

void KVController::fetchModel(const std::string& id) {
  if (_modelBusy || !_models) return;
  beginModelWork(id);
  inBackground([this, models = _models, id, progress = progressCallback(),
                cancelFlag = _modelCancel]() -> std::function<void()> {
    models::FetchResult result =
        models->fetch(id, progress, [cancelFlag] { return cancelFlag->load(); });
    return [this, result = std::move(result)] {
      if (!result.ok && result.error == models::FetchError::Cancelled) {
        _modelMessageIsError = false;
        _modelMessage = text(
            "Abgebrochen. Der Teil-Download bleibt liegen und wird beim nächsten Mal "
            "fortgesetzt.",
            "Cancelled. The partial download is kept and resumed next time.");
      } else if (!result.ok) {
        _modelMessageIsError = true;
        _modelMessage = QString::fromStdString(result.message);
      }
      endModelWork();
    };
  });
}

void KVController::fetchAllModels() {
  if (_modelBusy || !_models) return;
  // No row is busy until the first model starts.
  beginModelWork("");
  inBackground([this, models = _models, progress = progressCallback(),
                cancelFlag = _modelCancel]() -> std::function<void()> {
    const auto start = [this](int index, int count, const std::string& id) {
      // The new row shows with the next progress report; no rebuild of its own.
      post([this, index, count, id] {
        _busyId = id;
        _batchIndex = index + 1;
        _batchCount = count;
        _recv = _total = 0;
      });
    };
    const installer::BatchResult batch =
        models->fetchAll(start, progress, [cancelFlag] { return cancelFlag->load(); });
    return [this, batch] {
      if (batch.cancelled) {
        _modelMessageIsError = false;
        _modelMessage = text(
                            "Abgebrochen. %1 Modelle geladen; der Teil-Download bleibt liegen "
                            "und wird fortgesetzt.",
                            "Cancelled. %1 models loaded; the partial download is kept and "
                            "resumed next time.")
                            .arg(batch.loaded);
      } else if (batch.failed > 0) {
        _modelMessageIsError = true;
        _modelMessage =
            text("%1 Modelle geladen, %2 fehlgeschlagen: %3", "%1 models loaded, %2 failed: %3")
                .arg(batch.loaded)
                .arg(batch.failed)
                .arg(QString::fromStdString(batch.firstError));
      }
      endModelWork();
    };
  });
}

void KVController::cancelModelWork() {
  // The row keeps its progress and its button until the worker has noticed and ended.
  if (_modelBusy) _modelCancel->store(true);
}

void KVController::removeModel(const std::string& id, const QString& title) {
  if (_modelBusy || !_models) return;
  QMessageBox box(_window.get());
  box.setWindowTitle(QStringLiteral("Solstice Installer"));
  box.setText(text("„%1“ löschen?", "Delete “%1”?").arg(title));
  box.setInformativeText(
      text("Das Modell wird von diesem Mac entfernt. Du kannst es jederzeit wieder laden.",
           "The model is removed from this Mac. You can download it again at any time."));
  QAbstractButton* remove = box.addButton(text("Löschen", "Delete"), QMessageBox::AcceptRole);
  box.addButton(text("Abbrechen", "Cancel"), QMessageBox::RejectRole);
  box.exec();
  if (box.clickedButton() != remove) return;
  // On this thread: the window waits while the folder goes away.
  const std::string error = _models->remove(id);
  _modelMessageIsError = !error.empty();
  _modelMessage = error.empty() ? QString() : QString::fromStdString(error);
  rebuild();
}

void KVController::onModelRow(const QString& identifier, const QString& title) {
  if (identifier == QStringLiteral("cancel")) {
    cancelModelWork();
  } else if (identifier.startsWith(QStringLiteral("fetch:"))) {
    fetchModel(identifier.mid(6).toStdString());
  } else if (identifier.startsWith(QStringLiteral("remove:"))) {
    const QString id = identifier.mid(7);
    removeModel(id.toStdString(), title.isEmpty() ? id : title);
  }
}

void KVController::revealModelFolder() {
  if (!_models) return;
  // Made first, so the file manager can show it before the first download.
  const std::string folder = _models->store.options().modelDir;
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(folder)));
}

}  // namespace velko::window
