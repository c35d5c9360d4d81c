// A temp home for the window's tests: a plug-in package, fake Photoshop bundles, a UXP folder, and
// the real controller on Qt's offscreen platform (made by qt_test_main.cpp), driven through its own
// buttons.
#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLabel>

#include <filesystem>
#include <string>
#include <vector>

#include "installer/actions.h"
#include "installer/plugin_package.h"
#include "tests/platform/plist_fixture.h"
#include "tests/support/test_support.h"
#include "window/controller.h"
#include "window/views.h"

namespace velko::test {
namespace fs = std::filesystem;

// Folders and files of one scene: HOME, the package (com.example.sample 1.2.0), the UXP folder.
class Scene {
 public:
  Scene() : home_(dir_.path()) { writeSamplePlugin(dir_ / "pkg", kId, "1.2.0"); }

  installer::PluginPackage package() const { return *installer::readPluginPackage(dir_ / "pkg"); }
  fs::path uxp() const { return dir_ / "uxp"; }
  // A UXP folder below a plain file: every install into it fails.
  fs::path blockedUxp() const {
    writeFile(dir_ / "blocker", "");
    return dir_ / "blocker" / "uxp";
  }
  // A Photoshop bundle in $HOME/Applications.
  void addPhotoshop(const std::string& name, const std::string& version) const {
    writeFile(dir_ / "Applications" / (name + ".app") / "Contents" / "Info.plist",
              xmlPlist("<dict><key>CFBundleShortVersionString</key><string>" + version +
                       "</string></dict>"));
  }
  // Installs another version of the same plug-in, as an earlier installer run would have.
  void preinstall(const std::string& version) const {
    const fs::path other = dir_ / ("pkg-" + version);
    writeSamplePlugin(other, kId, version);
    ASSERT_TRUE(installer::install(*installer::readPluginPackage(other), uxp()).ok);
  }
  window::ControllerOptions options(bool english = false) const {
    window::ControllerOptions options;
    options.package = package();
    options.uxpBaseDir = uxp().string();
    options.english = english;
    // The models screen never reaches past the loopback: a closed port refuses the list at once.
    options.modelStoreOptions.modelDir = (dir_ / "models").string();
    options.modelStoreOptions.listUrl = "http://127.0.0.1:9/models.json";
    return options;
  }

  static constexpr const char* kId = "com.example.sample";
  TempDir dir_;

 private:
  IsolatedHome home_;
};

// The launched controller and what a user sees and presses.
class Window {
 public:
  explicit Window(window::ControllerOptions options) : controller_(std::move(options)) {
    controller_.launch();
  }
  ~Window() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

  window::KVController& controller() { return controller_; }
  QWidget& widget() const { return *controller_.window(); }

  // Clicks the button with this object name, as the pointer would; a disabled one ignores it.
  void press(const QString& objectName) {
    auto* button = widget().findChild<window::KVButton*>(objectName);
    if (button == nullptr) {
      ADD_FAILURE() << "no button " << objectName.toStdString();
      return;
    }
    button->click();
  }

  // Every label and button of the screen in the order they stand in the view tree. Buttons
  // read "[title]", disabled ones "[title] (off)".
  std::vector<std::string> texts() const {
    std::vector<std::string> texts;
    for (const QWidget* child : widget().findChildren<QWidget*>()) {
      if (const auto* label = qobject_cast<const QLabel*>(child)) {
        texts.push_back(label->text().toStdString());
      } else if (const auto* button = qobject_cast<const QAbstractButton*>(child)) {
        texts.push_back("[" + button->text().toStdString() + "]" +
                        (button->isEnabled() ? "" : " (off)"));
      }
    }
    return texts;
  }

 private:
  window::KVController controller_;
};

}  // namespace velko::test
