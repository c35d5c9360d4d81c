// The seam to the operating system: every system call of the installer goes through these
// functions. Only the Linux implementation exists (platform_linux.cpp); a macOS port adds one
// source of its own that provides every function below with the same contracts (proc_listpids,
// CFPropertyList, NSLocale, NSBundle, renamex_np with RENAME_SWAP, _NSGetExecutablePath, and a
// zip extraction such as /usr/bin/ditto) and is chosen in platform/CMakeLists.txt.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velko::platform {

// Identifiers of all processes on the machine, in no particular order.
// Empty when the process table cannot be read.
std::vector<int> listProcessIds();

// The short name of one process, cut at 32 bytes: the file name of its executable.
// Nothing when the process has ended or may not be inspected by the caller.
std::optional<std::string> processShortName(int pid);

// The string value of `key` at the top level of a property list, XML or binary, given as raw bytes.
// Nothing when the bytes are no property list, the root is no dictionary, the value is missing or
// no string, or the string is longer than 127 bytes or not valid UTF-8; nothing too for a list
// nested absurdly deep (see property_list_nesting.h), which is never handed to the library.
std::optional<std::string> propertyListString(std::string_view bytes, const std::string& key);

// The user's first preferred language as the system reports it ("de-DE", "en_US.UTF-8", ...).
// Nothing when the system reports none.
std::optional<std::string> preferredLanguage();

// The application bundle: the `<name>.app` folder when the executable lies in
// `<name>.app/Contents/MacOS/`, otherwise the folder that holds the executable.
// Empty when the executable's path cannot be found.
std::filesystem::path bundlePath();

// The bundle's resources folder, `<bundle>/Contents/Resources`. Empty when the bundle path is.
std::filesystem::path resourcePath();

// The whole contents of `file` when it is a regular file (a link to one is followed). Nothing when
// it is missing or unreadable, and nothing for anything but a regular file: a folder, a FIFO (which
// would block a reader forever), a device such as /dev/zero (which never ends).
std::optional<std::string> readRegularFile(const std::filesystem::path& file);

// How a new file is made by writeNewFile.
struct NewFileMode {
  bool ownerOnly = false;  // mode 0600 from the first instant, else 0666 less the umask
  bool durable = false;    // flush the file and its folder to disk before returning
};

// What writeNewFile did.
struct NewFileResult {
  bool created = false;  // the file was made; after a failure it may hold part of the contents
  std::string error;     // empty on success, else the system's reason
};

// Creates `file` as a new file and writes all of `contents`. An existing file or link at that name
// is never opened, so a name planted in advance cannot redirect the write. A write error, a full
// disk among them, is reported here, not lost in a buffer; a partly written file is left for the
// caller to judge.
NewFileResult writeNewFile(const std::filesystem::path& file, std::string_view contents,
                           NewFileMode mode);

// The path of the running executable, with links resolved. Empty when it cannot be found.
std::filesystem::path executablePath();

// Extracts the zip archive `archive` into the existing folder `destination`. Entries whose names
// hold ".." or are absolute are refused, and nothing is written through a symbolic link; links in
// the archive are restored as links, for the caller to judge. False when the archive cannot be
// read or any entry cannot be written; what was extracted before the failure stays.
bool extractZip(const std::filesystem::path& archive, const std::filesystem::path& destination);

// Swaps the names `a` and `b` in one step; both must exist. False, with nothing changed, when the
// file system cannot do that, or always when the environment variable VELKO_NO_PATH_EXCHANGE is
// "1" (so tests can drive the callers' fallback, in child processes as well).
bool exchangePaths(const std::filesystem::path& a, const std::filesystem::path& b);

}  // namespace velko::platform

namespace velko::platform {

// Asks process `pid` politely to quit (SIGTERM), but only when it belongs to the user running the
// installer, so that not even a run as root reaches another user's program. Does not wait.
// False when the process is another user's, has ended, or the signal could not be sent.
bool askOwnProcessToQuit(int pid);

}  // namespace velko::platform
