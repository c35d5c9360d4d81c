// The controller's state machine: start-up, the tick, waiting for Photoshop, the actions and the
// three button entry points.
#include "window/controller.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QSaveFile>
#include <QScreen>

#include "installer/registered_version.h"
#include "window/views.h"

namespace velko::window {

KVController::KVController(ControllerOptions options)
    : _package(std::move(options.package)),
      _mode(_package ? ModeIdle : ModePluginMissing),
      _assumeRunning(options.assumeRunning),
      _uxpBaseDir(std::move(options.uxpBaseDir)),
      _screenshotPath(QString::fromStdString(options.screenshotPath)),
      _autoAction(std::move(options.autoAction)),
      _english(options.english),
      _openModels(options.openModels),
      _shotDelay(options.shotDelay),
      _modelStoreOptions(std::move(options.modelStoreOptions)) {
  _timer.setInterval(1000);
  connect(&_timer, &QTimer::timeout, this, &KVController::tick);
  connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
          &KVController::applicationWillTerminate);
  connect(this, &KVController::mailPosted, this, &KVController::deliverMail, Qt::QueuedConnection);
}

KVController::~KVController() {
  // Workers stop at their next look at the flag; what they post from now on is dropped.
  applicationWillTerminate();
  {
    std::lock_guard<std::mutex> lock(_mailLock);
    _mailClosed = true;
  }
  for (std::thread& worker : _workers)
    worker.join();
}

void KVController::launch() {
  refreshState();
  _window = std::make_unique<KVRoot>();
  _window->setWindowTitle(QStringLiteral("Solstice Installer"));
  _window->setFixedSize(560, 400);
  if (const QScreen* screen = QGuiApplication::primaryScreen()) {
    _window->move(screen->availableGeometry().center() - _window->rect().center());
  }
  // The models screen grows the centred window downwards, so it comes after the centring.
  if (_openModels) {
    openModels();
  } else {
    rebuild();
  }
  _window->show();
  _window->activateWindow();
  _timer.start();

  // Straight to the action: an auto run neither asks about Photoshop nor waits for it.
  if (_package && _autoAction == "install") run(0);
  if (_package && _autoAction == "uninstall") run(1);

  // The main screens' picture comes at a fixed delay; the models screen's comes after its list
  // has arrived (modelsListFinished).
  if (!_screenshotPath.isEmpty() && _mode != ModeModels) {
    QTimer::singleShot(700, this, &KVController::saveScreenshot);
  }
}

bool KVController::photoshopIsRunning() const {
  return _assumeRunning || installer::photoshopRunning();
}

bool KVController::hasCompatiblePhotoshop() const {
  for (const installer::PhotoshopInstall& install : _photoshops) {
    if (install.compatible) return true;
  }
  return false;
}

void KVController::refreshState() {
  if (!_package) return;
  _photoshops =
      installer::findPhotoshopInstalls(installer::defaultPhotoshopSearchRoots(), _package->minHost);
  _installed = installer::installedVersion(_package->id, _uxpBaseDir).value_or("");
}

void KVController::tick() {
  if (!_screenshotPath.isEmpty()) return;
  if (_mode == ModeIdle) {
    refreshState();
    rebuild();
  } else if (_mode == ModeWaiting && !photoshopIsRunning()) {
    run(_pendingAction);
  }
}

void KVController::startAction(int32_t action) {
  _pendingAction = action;
  if (!photoshopIsRunning()) {
    run(action);
    return;
  }
  _mode = ModeWaiting;
  _asked = false;
  rebuild();
}

void KVController::run(int32_t action) {
  if (!_package) return;
  _resultAction = action;
  // On this thread on purpose: the window stays still until the disk work is done.
  _result = action != 0 ? installer::uninstall(*_package, _uxpBaseDir)
                        : installer::install(*_package, _uxpBaseDir);
  refreshState();
  _mode = ModeDone;
  rebuild();
}

void KVController::saveScreenshot() {
  const QImage image = _window->grab().toImage();
  QSaveFile file(_screenshotPath);
  if (file.open(QIODevice::WriteOnly) && image.save(&file, "PNG")) file.commit();
  // A failed write still ends the run: a screenshot run must never hang.
  QCoreApplication::quit();
}

void KVController::openModels() {
  _mode = ModeModels;
  if (!_models) {
    _models = std::make_shared<installer::ModelArea>(_english, _modelStoreOptions);
    _modelCancel = std::make_shared<std::atomic<bool>>(false);
    _quitting = std::make_shared<std::atomic<bool>>(false);
    // Without a saved list the screen says so until the refresh answers.
    _models->loadCached();
  }
  _modelMessage = QString();
  _modelScrollY = 0;
  resizeWindowToHeight(560);
  rebuild();
  refreshModelList();
}

void KVController::closeModels() {
  // A download does not go on behind the idle screen; its end arrives later and is not waited for.
  if (_modelBusy) _modelCancel->store(true);
  _mode = _package ? ModeIdle : ModePluginMissing;
  resizeWindowToHeight(400);
  refreshState();
  rebuild();
}

void KVController::onPrimary() {
  switch (_mode) {
    case ModeIdle:
      startAction(0);
      break;
    case ModeWaiting:
      _asked = true;
      installer::askPhotoshopToQuit();
      rebuild();
      break;
    case ModeDone:
    case ModePluginMissing:
      _window->close();
      break;
    case ModeModels:
      if (_modelBusy) {
        cancelModelWork();
      } else {
        fetchAllModels();
      }
      break;
    default:
      break;
  }
}

void KVController::applicationWillTerminate() {
  if (_modelCancel) _modelCancel->store(true);
  if (_quitting) _quitting->store(true);
}

void KVController::onSecondary() {
  switch (_mode) {
    case ModeIdle:
      startAction(1);
      break;
    case ModeDone:
      // "Try again" goes back to the idle screen; the user starts the action anew.
      _mode = ModeIdle;
      refreshState();
      rebuild();
      break;
    case ModePluginMissing:
      openModels();
      break;
    case ModeModels:
      revealModelFolder();
      break;
    default:
      break;
  }
}

void KVController::onText() {
  switch (_mode) {
    case ModeIdle:
      if (hasCompatiblePhotoshop()) {
        _window->close();
      } else {
        _forceInstall = true;
        startAction(0);
      }
      break;
    case ModeWaiting:
      // The next tick refreshes the idle screen; the quit request, if sent, stays sent.
      _mode = ModeIdle;
      rebuild();
      break;
    case ModeModels:
      closeModels();
      break;
    default:
      _window->close();
      break;
  }
}

}  // namespace velko::window
