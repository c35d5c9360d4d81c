// The exit codes of a command-line run, shared by the plug-in road and the model road.
#pragma once

namespace velko::app {

enum ExitCode : int {
  kExitOk = 0,
  kExitFailed = 1,
  kExitNoPackage = 2,    // plug-in road: no plug-in package found
  kExitNoModelList = 2,  // model road: neither a cached nor a fresh model list
  kExitPhotoshopRunning = 3,
  kExitUnknownWord = 64,
};

}  // namespace velko::app
