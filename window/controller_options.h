// What the start of the window hands the controller, free of Qt so that main can fill it in
// without loading the window's libraries.
#pragma once

#include <optional>
#include <string>

#include "installer/plugin_package.h"
#include "models/model_store.h"

namespace velko::window {

struct ControllerOptions {
  std::optional<installer::PluginPackage> package;
  std::string uxpBaseDir;      // empty: the default UXP folder
  std::string screenshotPath;  // UTF-8; empty: no picture
  std::string autoAction;      // "install", "uninstall"; anything else does nothing here
  bool assumeRunning = false;  // treat Photoshop as running whatever the process table says
  bool english = false;        // the language of every text; false is German
  bool openModels = false;     // open on the models screen
  double shotDelay = 0.7;      // seconds between the models screen's list and its picture
  models::ModelStore::Options modelStoreOptions;  // the models screen's store
};

}  // namespace velko::window
