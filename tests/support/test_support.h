// Shared helpers of the test suites: temporary folders, pinned environment, files, child processes.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velko::test {

// True when the suites run on Linux. A test that needs what only Linux has (/proc, a tmpfs mount,
// fontconfig, an X server, the locale variables as the system's language, SIGTERM as the quit
// request) skips elsewhere with its reason, through this rather than a test of the system.
bool onLinux();

// A fresh folder under the system's temp folder, removed with everything in it on destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::filesystem::path& rel) const { return path_ / rel; }

 private:
  std::filesystem::path path_;
};

// Sets (or, with nullopt, unsets) environment variables for its lifetime and restores them after.
class ScopedEnv {
 public:
  explicit ScopedEnv(const std::map<std::string, std::optional<std::string>>& values);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::map<std::string, std::optional<std::string>> saved_;
};

// Pins HOME and the UXP base folder into `root` and the language to `lang` ("en_US.UTF-8"), so
// nothing a test runs can reach the real home folder.
class IsolatedHome {
 public:
  explicit IsolatedHome(const std::filesystem::path& root, const std::string& lang = "en_US.UTF-8");

 private:
  ScopedEnv env_;
};

// Writes `contents` to `file`, creating parent folders. Aborts the test run on failure.
void writeFile(const std::filesystem::path& file, const std::string& contents);
// The whole file, or nothing when it cannot be read.
std::optional<std::string> readFile(const std::filesystem::path& file);

// Writes a plug-in package (manifest.json, an entry file, a few assets) into `folder`.
void writeSamplePlugin(const std::filesystem::path& folder, const std::string& id,
                       const std::string& version, const std::string& name = "Sample Plugin");

// What stands at a path: relative names ("" for the path itself when it is no folder) -> a file's
// bytes, "/" for a folder, "-> target" for a link, "<other>" for anything else.
using Tree = std::map<std::string, std::string>;
// Nothing but regular files is opened, so a FIFO is safe. Nullopt when nothing stands there.
std::optional<Tree> treeAt(const std::filesystem::path& path);

struct ProcessResult {
  int exitCode = -1;  // exit status, or -1 when the child was killed by a signal
  int signal = 0;     // the signal that ended the child, 0 if it exited
  std::string out;    // everything written to stdout
  std::string err;    // everything written to stderr
};

// Runs `argv` (argv[0] is the executable's path) to its end with the current environment plus
// `env` (a nullopt value removes the variable), and captures both output streams.
ProcessResult runProcess(const std::vector<std::string>& argv,
                         const std::map<std::string, std::optional<std::string>>& env = {});

// Starts `argv` without waiting; stdout and stderr go to /dev/null. Returns the child's pid.
pid_t startProcess(const std::vector<std::string>& argv,
                   const std::map<std::string, std::optional<std::string>>& env = {});

// A real process whose executable is named `name` (a copy of `sleep` in `folder`), so that the
// process table shows that name. Killed and reaped on destruction.
class FakeProcess {
 public:
  FakeProcess(const std::filesystem::path& folder, const std::string& name);
  ~FakeProcess();
  FakeProcess(const FakeProcess&) = delete;
  FakeProcess& operator=(const FakeProcess&) = delete;
  pid_t pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
};

}  // namespace velko::test
