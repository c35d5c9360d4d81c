// The window's one controller: all state of the window mode, the screen state machine, the
// plug-in actions and the tick. Views are rebuilt whole from these fields after every change.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "installer/actions.h"
#include "installer/photoshop_discovery.h"
#include "installer/plugin_package.h"

class QFont;
class QColor;
class QLabel;
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

// What the start of the window hands the controller.
struct ControllerOptions {
  std::optional<installer::PluginPackage> package;
  std::string uxpBaseDir;      // empty: the default UXP folder
  QString screenshotPath;      // empty: no picture
  std::string autoAction;      // "install", "uninstall"; anything else does nothing here
  bool assumeRunning = false;  // treat Photoshop as running whatever the process table says
  bool english = false;        // the language of every text; false is German
  bool openModels = false;     // open on the models screen
  double shotDelay = 0.7;      // seconds between the models screen's list and its picture
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

  int32_t mode() const { return _mode; }
  KVRoot* window() const { return _window.get(); }

 private:
  bool photoshopIsRunning() const;
  bool hasCompatiblePhotoshop() const;
  void refreshState();
  void startAction(int32_t action);
  void run(int32_t action);
  void saveScreenshot();
  void openModels();
  void closeModels();

  void onPrimary();
  void onSecondary();
  void onText();

  // Screens (screens.cpp).
  QString text(const char* german, const char* english) const;
  QString versionText() const;
  void rebuild();
  void buildProduct(QWidget* root);
  void buildIdle(QWidget* root, double w);
  void buildWaiting(QWidget* root, double w);
  void buildDone(QWidget* root, double w);
  void buildPluginMissing(QWidget* root, double w);
  void buildModels(QWidget* root, double w);
  void resizeWindowToHeight(int height);
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
  std::unique_ptr<KVRoot> _window;
  QWidget* _screen = nullptr;  // this rebuild's views; replaced whole by the next
  QTimer _timer;
};

}  // namespace velko::window
