// The seam to the operating system: every system call of the installer goes through these
// functions. platform_posix.cpp holds what every POSIX system shares; platform_linux.cpp and
// platform_macos.mm each provide the rest with the same contracts, chosen in
// platform/CMakeLists.txt.
#pragma once

#include <cstdint>
#include <cstdio>
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

// How replaceFile failed.
enum class ReplaceFailure {
  None,             // `file` holds the new contents
  CreateTemporary,  // `temporary` could not be made: it exists, is a link, or the folder refuses
  Write,            // a write or the flush to disk failed (a full disk among them)
  Rename,           // the temporary could not take the place of `file`
};

struct ReplaceResult {
  ReplaceFailure failure = ReplaceFailure::None;
  std::string error;  // the system's reason; empty on success
};

// Replaces `file` with `contents` so that it holds the old or the new contents entirely, also
// after a power cut: `temporary` (a new name beside `file`) is created as writeNewFile does, every
// byte is checked, the data is flushed to the disk before the rename, and the folder after it. On
// any failure `file` is untouched and a temporary this call made is removed again.
ReplaceResult replaceFile(const std::filesystem::path& file, std::string_view contents,
                          const std::filesystem::path& temporary);

// Opens `file` for writing a download: created when missing (rw-r--r--), positioned at its end
// when `append`, emptied otherwise. Nullptr, with nothing created or changed, for anything but a
// regular file at that name: a symbolic link is never followed (the write could land outside the
// folder) and a FIFO is never waited on.
std::FILE* openFileForWriting(const std::filesystem::path& file, bool append);

// Bytes an unprivileged user may still write on the volume holding `path`. Nothing when the
// system cannot tell.
std::optional<uint64_t> availableBytes(const std::filesystem::path& path);

// Holds an exclusive advisory lock on one lock file while it lives; other threads and processes
// that try the same file are refused at once, never made to wait. The lock ends with the holder,
// and with the process if that dies; the file itself stays.
class FileLock {
 public:
  // Opens `path` (made with rw-r--r-- when missing; its folder is not made) and tries the lock
  // once. A symbolic link or anything but a regular file at `path` is not opened.
  explicit FileLock(const std::filesystem::path& path);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  bool held() const { return fd_ >= 0; }
  // True when the file was opened but someone else holds the lock; false when held, or when the
  // file could not be opened at all.
  bool busy() const { return busy_; }

 private:
  int fd_ = -1;
  bool busy_ = false;
};

// The path of the running executable, with links resolved. Empty when it cannot be found.
std::filesystem::path executablePath();

// Where the application keeps its module `name` (a file name without extension): beside the
// executable on Linux, in the bundle's Contents/PlugIns on a Mac; the file ends in ".so" on both.
// Empty when the executable's path cannot be found.
std::filesystem::path modulePath(std::string_view name);

// Opens the shared library `file` at run time, resolving all its symbols at once; a bare file
// name is searched where the system's loader searches. The library stays open for the rest of the
// process. Nullptr when it cannot be opened, with the loader's reason in `*error` if given.
void* openLibrary(const std::filesystem::path& file, std::string* error);

// The address of the symbol `name` in `library` (from openLibrary). Nullptr when it has none.
void* librarySymbol(void* library, const char* name);

// Extracts the zip archive `archive` into the existing folder `destination`. Entries whose names
// hold ".." or are absolute are refused, and nothing is written through a symbolic link; links in
// the archive are restored as links, for the caller to judge. Names come out the same whatever
// the process's locale: UTF-8 names as they are, names of old archivers byte for byte. False when
// the archive cannot be read, an entry fails its CRC, or any entry is not written whole (a full
// disk among the causes); what was extracted before the failure stays.
bool extractZip(const std::filesystem::path& archive, const std::filesystem::path& destination);

// Swaps the names `a` and `b` in one step; both must exist. False, with nothing changed, when the
// file system cannot do that, or always when the environment variable VELKO_NO_PATH_EXCHANGE is
// "1" (so tests can drive the callers' fallback, in child processes as well).
bool exchangePaths(const std::filesystem::path& a, const std::filesystem::path& b);

}  // namespace velko::platform

namespace velko::platform {

// Asks every running application of the current user that matches to quit politely, and returns
// how many were asked; never waits. An application matches when its bundle identifier begins with
// `bundleIdPrefix`, or else when its name contains `nameWord` (both case-sensitive). Where
// processes carry no bundle identifier (Linux), the name alone decides and the request is SIGTERM
// to processes of the real user, so that not even a run as root reaches another user's program.
// 0 when nothing matched or no request could be sent.
int askApplicationsToQuit(std::string_view bundleIdPrefix, std::string_view nameWord);

}  // namespace velko::platform
