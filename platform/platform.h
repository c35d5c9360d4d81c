// The seam to the operating system: every system call of the installer goes through these
// functions. Each platform has one source file that implements them (platform_linux.cpp,
// platform_macos.mm).
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
// no string, or the string is longer than 127 bytes.
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

// Creates `file` with access for its owner alone (mode 0600 from the first instant, so no other
// user can open it before the contents arrive), writes `contents` and flushes it to disk.
// An existing file or link is never replaced. Empty on success, else the system's reason; a
// partly written file is removed.
std::string writeNewPrivateFile(const std::filesystem::path& file, std::string_view contents);

}  // namespace velko::platform

namespace velko::platform {

// Asks process `pid` politely to quit (SIGTERM), but only when it belongs to the user running the
// installer, so that not even a run as root reaches another user's program. Does not wait.
// False when the process is another user's, has ended, or the signal could not be sent.
bool askOwnProcessToQuit(int pid);

}  // namespace velko::platform
