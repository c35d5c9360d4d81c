// The installer's command line: the options it knows and how an argument list turns into them.
#pragma once

#include <string>
#include <vector>

namespace velko::app {

// Everything the command line can say. Value options start empty, flags false.
struct CommandLine {
  std::string lang;          // --lang
  std::string plugin;        // --plugin
  std::string uxpBaseDir;    // --uxp-base-dir
  std::string cli;           // --cli
  std::string model;         // --model
  std::string autoAction;    // --auto
  std::string screenshot;    // --screenshot
  std::string modelTestKey;  // --model-test-key: taken off the line, never read
  double shotDelay = 0.7;    // --shot-delay, converted by atof
  bool openModels = false;   // --models
  bool ignorePhotoshop = false;
  bool assumeRunning = false;
};

// Reads the arguments behind the program's name. Never fails: unknown arguments are dropped, a
// value option takes the next argument whatever it looks like, and one standing last gets the empty
// value.
CommandLine parseCommandLine(const std::vector<std::string>& args);

}  // namespace velko::app
