// The window's one controller: all state of the window mode, the screen state machine, the
// plug-in actions, the tick and the model work. Views are rebuilt whole from these fields after
// every change.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "installer/actions.h"
#include "installer/model_area.h"
#include "installer/photoshop_discovery.h"
#include "installer/plugin_package.h"
#include "window/controller_options.h"

class QFont;
class QColor;
class QLabel;
class QScrollArea;
class QWidget;

namespace velko::window {

class KVButton;
class KVRoot;
class KVView;

enum Mode : int32_t {
  ModeIdle = 0,           // package, Photoshop and install status with the actions
  ModeWaiting = 1,        // Photoshop must be closed first
  ModeDone = 2,           // the result of the last action
  ModePluginMissing = 3,  // no package found
  ModeModels = 4,         // the model list
};

class KVController : public QObject {
  Q_OBJECT
 public:
  explicit KVController(ControllerOptions options);
  ~KVController() override;

  // Makes and shows the window, starts the tick, runs an auto action and schedules a screenshot.
  void launch();
  // Once a second: the idle screen follows the disk and Photoshop, the waiting screen starts the
  // action once Photoshop has gone. A screenshot run holds still.
  void tick();
  // Throws the whole view tree away and builds it anew from the fields.
  void rebuild();

  int32_t mode() const { return _mode; }
  KVRoot* window() const { return _window.get(); }
  // The models screen's state, as its views show it.
  bool modelBusy() const { return _modelBusy; }
  bool listLoading() const { return _listLoading; }
  // True once model work has been asked to stop; false before the models screen was opened.
  bool modelCancelRequested() const { return _modelCancel && _modelCancel->load(); }

 signals:
  // A worker posted a step; delivered queued, on this thread.
  void mailPosted();

 private:
  bool photoshopIsRunning() const;
  bool hasCompatiblePhotoshop() const;
  void refreshState();
  void startAction(int32_t action);
  void run(int32_t action);
  void saveScreenshot();
  void openModels();
  void closeModels();
  // The application is quitting: running model work is told to stop, and the quit goes on at once.
  // Only the controller's destruction, after the window is gone, waits for a worker to end.
  void applicationWillTerminate();

  // Model work (model_work.cpp). Every step that leaves this thread goes through inBackground.
  void refreshModelList();
  void modelsListFinished(const std::string& error);
  void fetchModel(const std::string& id);
  void fetchAllModels();
  void removeModel(const std::string& id, const QString& title);
  void onModelRow(const QString& identifier, const QString& title);
  void revealModelFolder();
  void cancelModelWork();
  void beginModelWork(const std::string& id);
  void endModelWork();
  void modelProgress(uint64_t received, uint64_t total);
  std::function<void(uint64_t, uint64_t)> progressCallback();
  // Runs `task` on a worker thread; the function it returns then runs on this thread, after
  // everything the task posted here before it ended.
  void inBackground(std::function<std::function<void()>()> task);
  // From any thread: `step` runs on this thread, after every step posted before it. Dropped once
  // the controller is going.
  void post(std::function<void()> step);
  // Runs the posted steps, in order.
  void deliverMail();

  void onPrimary();
  void onSecondary();
  void onText();

  // Screens (screens.cpp).
  QString text(const char* german, const char* english) const;
  QString versionText() const;
  void buildProduct(QWidget* root);
  void buildIdle(QWidget* root, double w);
  void buildWaiting(QWidget* root, double w);
  void buildDone(QWidget* root, double w);
  void buildPluginMissing(QWidget* root, double w);
  void buildModels(QWidget* root, double w);
  // `title` is the model title's font, `small` that of the detail and status texts.
  void buildModelRow(QWidget* list, const installer::ModelRow& row, int y, double w,
                     const QFont& title, const QFont& small);
  QString modelMessageLine(const std::vector<installer::ModelRow>& rows) const;
  void resizeWindowToHeight(int height);
  KVButton* buttonIn(QWidget* parent, const QString& title, int64_t style,
                     std::function<void()> action, const QRect& frame);
  KVButton* buttonIn(QWidget* parent, const QString& title, int64_t style,
                     void (KVController::*action)(), const QRect& frame);
  void addRowIn(QWidget* parent, int y, const QColor& dot, const QString& text);
  void symbolCircleIn(QWidget* parent, const QColor& color, const QString& symbol);

  std::optional<installer::PluginPackage> _package;
  std::vector<installer::PhotoshopInstall> _photoshops;
  std::string _installed;
  int32_t _mode = ModeIdle;
  int32_t _pendingAction = 0;
  installer::ActionResult _result;
  int32_t _resultAction = 0;
  bool _asked = false;
  bool _forceInstall = false;  // "Trotzdem installieren" pressed; the action itself ignores it
  bool _assumeRunning = false;
  std::string _uxpBaseDir;
  QString _screenshotPath;
  std::string _autoAction;
  bool _english = false;
  bool _openModels = false;
  double _shotDelay = 0.7;
  models::ModelStore::Options _modelStoreOptions;

  // Shared with the workers, which hold their own copies; made on the first opening of the models
  // screen and kept for the life of the controller.
  std::shared_ptr<installer::ModelArea> _models;
  std::shared_ptr<std::atomic<bool>> _modelCancel;
  // Set when the application quits; a list refresh stops at it (the cancel button does not).
  std::shared_ptr<std::atomic<bool>> _quitting;
  bool _modelBusy = false;    // a fetch or a batch runs
  bool _listLoading = false;  // a list refresh runs
  std::string _busyId;        // the model in work; empty between the models of a batch
  uint64_t _recv = 0;
  uint64_t _total = 0;      // 0: unknown
  int32_t _batchIndex = 0;  // 1-based; 0 outside a batch
  int32_t _batchCount = 0;
  QString _modelMessage;  // null: none
  bool _modelMessageIsError = false;
  QPointer<QScrollArea> _modelScroll;  // the list of the last rebuild
  double _modelScrollY = 0;
  double _lastModelRebuild = 0;  // steady-clock seconds of the last rebuild caused by progress

  std::unique_ptr<KVRoot> _window;
  QWidget* _screen = nullptr;  // this rebuild's views; replaced whole by the next
  QTimer _timer;

  // The hand-over from the workers. What crosses threads goes through this mutex; the queued
  // signal only says that there is mail. (Qt's own queues synchronise through futexes that race
  // detectors cannot follow, so nothing of ours rides on them.)
  std::mutex _mailLock;
  std::vector<std::function<void()>> _mail;  // guarded by _mailLock
  bool _mailClosed = false;                  // guarded by _mailLock
  // Started by inBackground; each is joined when its result arrives, or by the destructor.
  std::vector<std::thread> _workers;
};

}  // namespace velko::window
