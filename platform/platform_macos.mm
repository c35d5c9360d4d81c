// The macOS half of the operating-system seam (platform/platform.h), chosen by
// platform/CMakeLists.txt on Apple systems. Written against Apple's documentation; it has not been
// compiled on a Mac yet (see the README's macOS section).
//
// It holds only what differs from Linux: the process table (proc_listpids, proc_name), Info.plist
// (Core Foundation), the language (NSLocale), the executable, its bundle and its modules
// (_NSGetExecutablePath, NSBundle), zip extraction (/usr/bin/ditto), the atomic exchange
// (renamex_np), durable data (F_FULLFSYNC) and the quit request (NSWorkspace). Reading, writing,
// locking, free space and opening libraries live in the POSIX source that both systems compile.
// Each Apple interface is named where it is called.
#include "platform/platform.h"
#include "platform/posix_internal.h"
#include "platform/property_list_nesting.h"

#import <AppKit/AppKit.h>
#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/Foundation.h>
#include <fcntl.h>
#include <libproc.h>
#include <mach-o/dyld.h>
#include <spawn.h>
#include <stdio.h>
#include <sys/param.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>
#include <type_traits>
#include <vector>

extern char** environ;

namespace velko::platform {

namespace {
namespace fs = std::filesystem;

constexpr size_t kShortNameLimit = 32;
constexpr size_t kPropertyStringLimit = 127;

// CFRelease: Core Foundation objects from a Create function are ours to release.
struct CFReleaser {
  void operator()(CFTypeRef object) const {
    if (object != nullptr) CFRelease(object);
  }
};
template <typename Ref>
using CFHolder = std::unique_ptr<std::remove_pointer_t<Ref>, CFReleaser>;

// The path behind `path` with links resolved (realpath), or empty when it cannot be resolved.
fs::path resolved(const char* path) {
  if (path == nullptr) return {};
  char buffer[PATH_MAX];
  if (realpath(path, buffer) == nullptr) return {};
  return fs::path(buffer);
}

// True when `exe` lies in <name>.app/Contents/MacOS: only then is the main bundle an application.
// Otherwise NSBundle would call the executable's own folder the bundle, and the build folder's
// layout (Contents/Resources beside the executable) would be missed.
bool insideApplication(const fs::path& exe) {
  const fs::path folder = exe.parent_path();
  const fs::path contents = folder.parent_path();
  return folder.filename() == "MacOS" && contents.filename() == "Contents" &&
         contents.parent_path().extension() == ".app";
}

// A Foundation path as a file system path, links resolved like executablePath(), so that the
// bundle, its resources and the executable name the same folders. Empty for nil.
fs::path resolvedPath(NSString* path) {
  if (path == nil || path.length == 0) return {};
  // NSString fileSystemRepresentation: the path's bytes as the file system wants them.
  return resolved(path.fileSystemRepresentation);
}

// The UTF-8 bytes of a Foundation string, or nothing for nil.
std::optional<std::string> utf8(NSString* text) {
  if (text == nil) return std::nullopt;
  // NSString UTF8String: valid inside the surrounding autorelease pool only, so copied at once.
  const char* bytes = text.UTF8String;
  if (bytes == nullptr) return std::nullopt;
  return std::string(bytes);
}

// The owner keeps the right to read and remove everything ditto unpacked, whatever modes the
// archive carried, so that a refused package can always be cleared away; libarchive's extraction
// on Linux widens each entry in the same way. Links are left as they are.
void widenOwnerAccess(const fs::path& root) {
  std::error_code ec;
  // A folder is widened when the walk reaches it, before the walk opens it.
  for (fs::recursive_directory_iterator it(root, ec), end; !ec && it != end; it.increment(ec)) {
    const fs::file_status status = it->symlink_status(ec);
    if (ec) break;
    if (fs::is_directory(status)) {
      fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
    } else if (fs::is_regular_file(status)) {
      fs::permissions(it->path(), fs::perms::owner_read | fs::perms::owner_write,
                      fs::perm_options::add, ec);
    }
    ec.clear();
  }
}

}  // namespace

std::vector<int> listProcessIds() {
  // The table may grow between asking for its size and reading it, so some room is added and a
  // buffer that came back full is read again.
  for (int attempt = 0; attempt < 4; ++attempt) {
    // proc_listpids answers in bytes: with no buffer, the bytes the table needs now; with one,
    // the bytes it filled; 0 on failure.
    const int needed = proc_listpids(PROC_ALL_PIDS, 0, nullptr, 0);
    if (needed <= 0) return {};
    std::vector<pid_t> pids(static_cast<size_t>(needed) / sizeof(pid_t) + 64);
    const int bytes =
        proc_listpids(PROC_ALL_PIDS, 0, pids.data(), static_cast<int>(pids.size() * sizeof(pid_t)));
    if (bytes <= 0) return {};
    const size_t count = static_cast<size_t>(bytes) / sizeof(pid_t);
    if (count < pids.size()) return std::vector<int>(pids.begin(), pids.begin() + count);
  }
  return {};
}

std::optional<std::string> processShortName(int pid) {
  // The kernel's own process 0 has no /proc entry on Linux, so it has no name here either.
  if (pid <= 0) return std::nullopt;
  // proc_name asks for room for the kernel's name field (2 * MAXCOMLEN bytes) and answers 0 for
  // a process that has gone or may not be inspected. The field ends in a NUL, so a name comes
  // back cut at 31 bytes, one fewer than on Linux.
  char name[2 * MAXCOMLEN + 1] = {};
  const int length = proc_name(pid, name, sizeof name);
  if (length <= 0) return std::nullopt;
  std::string text(name, strnlen(name, sizeof name));
  if (text.empty()) return std::nullopt;
  if (text.size() > kShortNameLimit) text.resize(kShortNameLimit);
  return text;
}

std::optional<std::string> propertyListString(std::string_view bytes, const std::string& key) {
  if (bytes.empty() || bytes.size() > static_cast<size_t>(LONG_MAX)) return std::nullopt;
  // Checked before Core Foundation sees the bytes: its parser recurses for every level.
  if (!propertyListNestingWithinLimit(bytes)) return std::nullopt;
  // CFDataCreateWithBytesNoCopy: the bytes stay the caller's; kCFAllocatorNull tells Core
  // Foundation never to free them.
  const CFHolder<CFDataRef> data(
      CFDataCreateWithBytesNoCopy(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                  static_cast<CFIndex>(bytes.size()), kCFAllocatorNull));
  if (!data) return std::nullopt;
  // CFPropertyListCreateWithData: XML and binary lists alike; no format or error is wanted, a
  // failure is simply no list.
  const CFHolder<CFPropertyListRef> root(CFPropertyListCreateWithData(
      kCFAllocatorDefault, data.get(), kCFPropertyListImmutable, nullptr, nullptr));
  // CFGetTypeID, CFDictionaryGetTypeID: the root must be a dictionary.
  if (!root || CFGetTypeID(root.get()) != CFDictionaryGetTypeID()) return std::nullopt;
  // CFStringCreateWithCString: the key as Core Foundation compares it.
  const CFHolder<CFStringRef> name(
      CFStringCreateWithCString(kCFAllocatorDefault, key.c_str(), kCFStringEncodingUTF8));
  if (!name) return std::nullopt;
  // CFDictionaryGetValue: the value belongs to the dictionary (the Get Rule), never released.
  const void* value = CFDictionaryGetValue(static_cast<CFDictionaryRef>(root.get()), name.get());
  // CFGetTypeID, CFStringGetTypeID: only a string is an answer.
  if (value == nullptr || CFGetTypeID(value) != CFStringGetTypeID()) return std::nullopt;
  const CFStringRef text = static_cast<CFStringRef>(value);
  // CFStringGetLength counts UTF-16 units. Every unit takes at least one byte of UTF-8, so more
  // units than the limit are too long already.
  const CFIndex units = CFStringGetLength(text);
  if (units > static_cast<CFIndex>(kPropertyStringLimit)) return std::nullopt;
  // CFStringGetMaximumSizeForEncoding: room for the worst case, and one byte for the NUL.
  const CFIndex room = CFStringGetMaximumSizeForEncoding(units, kCFStringEncodingUTF8);
  if (room == kCFNotFound) return std::nullopt;
  std::vector<char> buffer(static_cast<size_t>(room) + 1);
  // CFStringGetCString: false for a string with no UTF-8 form (a lone surrogate), which is no
  // valid UTF-8, so nothing.
  if (!CFStringGetCString(text, buffer.data(), static_cast<CFIndex>(buffer.size()),
                          kCFStringEncodingUTF8)) {
    return std::nullopt;
  }
  std::string result(buffer.data());
  if (result.size() > kPropertyStringLimit) return std::nullopt;
  return result;
}

std::optional<std::string> preferredLanguage() {
  @autoreleasepool {
    // NSLocale preferredLanguages: the user's languages in order of preference ("de-DE",
    // "en-US", ...); NSArray firstObject: the first of them, nil when there is none.
    NSString* first = [NSLocale preferredLanguages].firstObject;
    std::optional<std::string> language = utf8(first);
    if (language && language->empty()) language.reset();
    return language;
  }
}

std::filesystem::path executablePath() {
  // _NSGetExecutablePath: first the size needed (-1, with *bufsize set), then the path, which may
  // still be a link.
  uint32_t size = 0;
  _NSGetExecutablePath(nullptr, &size);
  if (size == 0) return {};
  std::vector<char> path(size + 1, '\0');
  size = static_cast<uint32_t>(path.size());
  if (_NSGetExecutablePath(path.data(), &size) != 0) return {};
  return resolved(path.data());
}

std::filesystem::path bundlePath() {
  const fs::path exe = executablePath();
  if (exe.empty()) return {};
  if (!insideApplication(exe)) return exe.parent_path();
  @autoreleasepool {
    // NSBundle mainBundle, bundlePath: the application's folder as the system sees it.
    const fs::path bundle = resolvedPath([NSBundle mainBundle].bundlePath);
    if (!bundle.empty()) return bundle;
  }
  return exe.parent_path().parent_path().parent_path();
}

std::filesystem::path resourcePath() {
  const fs::path exe = executablePath();
  if (exe.empty()) return {};
  if (insideApplication(exe)) {
    @autoreleasepool {
      // NSBundle mainBundle, resourcePath: the application's Contents/Resources.
      const fs::path resources = resolvedPath([NSBundle mainBundle].resourcePath);
      if (!resources.empty()) return resources;
    }
  }
  return bundlePath() / "Contents" / "Resources";
}

std::filesystem::path modulePath(std::string_view name) {
  const fs::path exe = executablePath();
  if (exe.empty()) return {};
  const std::string file = std::string(name) + ".so";
  if (insideApplication(exe)) {
    @autoreleasepool {
      // NSBundle mainBundle, builtInPlugInsPath: the application's Contents/PlugIns.
      const fs::path plugIns = resolvedPath([NSBundle mainBundle].builtInPlugInsPath);
      if (!plugIns.empty()) return plugIns / file;
    }
  }
  return bundlePath() / "Contents" / "PlugIns" / file;
}

bool extractZip(const std::filesystem::path& archive, const std::filesystem::path& destination) {
  std::error_code ec;
  // Absolute, so that neither name can be taken for one of ditto's options.
  const fs::path source = fs::absolute(archive, ec);
  if (ec) return false;
  const fs::path target = fs::absolute(destination, ec);
  if (ec) return false;
  // ditto -x -k: extract a PKZip archive; --noqtn: no quarantine mark on the model files;
  // --noextattr --norsrc: no extended attributes or resource forks from the archive.
  const char* argv[] = {"/usr/bin/ditto", "-x",           "-k",           "--noqtn", "--noextattr",
                        "--norsrc",       source.c_str(), target.c_str(), nullptr};
  // posix_spawn_file_actions_init, _addopen, _destroy: ditto reads nothing, and its complaints
  // are no message of ours.
  posix_spawn_file_actions_t actions;
  if (posix_spawn_file_actions_init(&actions) != 0) return false;
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  // posix_spawn: 0 once the child exists; an exec that fails later shows as exit status 127.
  pid_t pid = -1;
  const int spawned =
      posix_spawn(&pid, argv[0], &actions, nullptr, const_cast<char* const*>(argv), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (spawned != 0) return false;
  // waitpid: a signal to this process interrupts the wait, not ditto; wait again.
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return false;
  }
  // Whatever ditto managed to write, the caller must be able to remove.
  widenOwnerAccess(target);
  // Exit code 0 and no signal: the core-dump bit (0x80) is the only one that may be set.
  return (status & 0xFF7F) == 0;
}

bool exchangePaths(const std::filesystem::path& a, const std::filesystem::path& b) {
  const char* disabled = std::getenv("VELKO_NO_PATH_EXCHANGE");
  if (disabled != nullptr && std::strcmp(disabled, "1") == 0) return false;
  // renamex_np with RENAME_SWAP: one step, or a failure with nothing changed where the volume
  // cannot swap (VOL_CAP_INT_RENAME_SWAP) or a name is missing.
  return renamex_np(a.c_str(), b.c_str(), RENAME_SWAP) == 0;
}

int flushFileData(int fd) {
  // fsync only hands the data to the drive, which may keep it in its cache past a power cut;
  // fcntl F_FULLFSYNC asks the drive to write it out. File systems without it refuse it, and then
  // fsync is the most there is.
  if (fcntl(fd, F_FULLFSYNC) != -1) return 0;
  return fsync(fd) == 0 ? 0 : errno;
}

int askApplicationsToQuit(std::string_view bundleIdPrefix, std::string_view nameWord) {
  // An empty prefix or word matches nothing: never every application at once.
  const auto hasPrefix = [&](const std::optional<std::string>& id) {
    return !bundleIdPrefix.empty() && id && std::string_view(*id).starts_with(bundleIdPrefix);
  };
  const auto hasWord = [&](const std::optional<std::string>& name) {
    return !nameWord.empty() && name && name->find(nameWord) != std::string::npos;
  };
  int asked = 0;
  @autoreleasepool {
    // NSWorkspace sharedWorkspace, runningApplications: the current user's applications, as
    // fresh as the main run loop's last turn.
    NSArray<NSRunningApplication*>* running = [NSWorkspace sharedWorkspace].runningApplications;
    for (NSRunningApplication* application in running) {
      // NSRunningApplication processIdentifier: never ourselves.
      if (application.processIdentifier == getpid()) continue;
      // NSRunningApplication bundleIdentifier (nil without an Info.plist), localizedName.
      const bool matches =
          hasPrefix(utf8(application.bundleIdentifier)) || hasWord(utf8(application.localizedName));
      if (!matches) continue;
      // NSRunningApplication terminate: a polite request, as the Quit menu item makes it; the
      // application may ask to save, or refuse. NO when it has already gone.
      if ([application terminate]) ++asked;
    }
  }
  return asked;
}

}  // namespace velko::platform
