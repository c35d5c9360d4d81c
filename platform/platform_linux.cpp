// Linux implementation of the operating-system seam: /proc for processes, libplist for Info.plist,
// the locale variables for the language, /proc/self/exe for the bundle.
#include "platform/platform.h"
#include "platform/property_list_nesting.h"

#include <fcntl.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

namespace velko::platform {
namespace {

constexpr size_t kShortNameLimit = 32;
constexpr size_t kPropertyStringLimit = 127;

std::optional<std::string> nonEmptyEnv(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr || *value == '\0') return std::nullopt;
  return std::string(value);
}

// Strict UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isUtf8(std::string_view text) {
  for (size_t i = 0; i < text.size();) {
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;  // the range of the second byte
    if (lead < 0x80) {
      length = 1;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3;
      if (lead == 0xE0) low = 0xA0;
      if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4;
      if (lead == 0xF0) low = 0x90;
      if (lead == 0xF4) high = 0x8F;
    } else {
      return false;
    }
    if (text.size() - i < length) return false;
    for (size_t k = 1; k < length; ++k) {
      const unsigned char min = k == 1 ? low : 0x80, max = k == 1 ? high : 0xBF;
      if (byte(i + k) < min || byte(i + k) > max) return false;
    }
    i += length;
  }
  return true;
}

}  // namespace

std::vector<int> listProcessIds() {
  std::vector<int> pids;
  std::error_code ec;
  for (std::filesystem::directory_iterator it("/proc", ec), end; !ec && it != end;
       it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
    pids.push_back(std::atoi(name.c_str()));
  }
  return pids;
}

std::optional<std::string> processShortName(int pid) {
  const std::filesystem::path proc = "/proc/" + std::to_string(pid);
  // /proc/<pid>/comm is cut at 15 bytes, too short for "Adobe Photoshop 2025"; the executable's
  // file name is what the process table shows on the Mac. argv[0] serves for processes whose
  // executable link we may not read.
  std::error_code ec;
  std::string name = std::filesystem::read_symlink(proc / "exe", ec).filename().string();
  if (ec || name.empty()) {
    std::ifstream cmdline(proc / "cmdline", std::ios::binary);
    std::string argv0;
    if (!cmdline || !std::getline(cmdline, argv0, '\0') || argv0.empty()) return std::nullopt;
    name = std::filesystem::path(argv0).filename().string();
    if (name.empty()) return std::nullopt;
  }
  if (name.size() > kShortNameLimit) name.resize(kShortNameLimit);
  return name;
}

std::optional<std::string> propertyListString(std::string_view bytes, const std::string& key) {
  if (bytes.empty() || bytes.size() > UINT32_MAX) return std::nullopt;
  // Checked before the library sees the bytes: it would overflow its stack on absurd nesting.
  if (!propertyListNestingWithinLimit(bytes)) return std::nullopt;
  plist_t root = nullptr;
  plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &root);
  if (root == nullptr) return std::nullopt;
  std::optional<std::string> result;
  if (plist_get_node_type(root) == PLIST_DICT) {
    plist_t node = plist_dict_get_item(root, key.c_str());
    if (node != nullptr && plist_get_node_type(node) == PLIST_STRING) {
      uint64_t length = 0;
      const char* text = plist_get_string_ptr(node, &length);
      // libplist hands over the bytes of a binary list's ASCII-typed string and of XML text
      // unchecked; the system's own reader gives text only.
      if (text != nullptr && length <= kPropertyStringLimit && isUtf8({text, length})) {
        result.emplace(text, length);
      }
    }
  }
  plist_free(root);
  return result;
}

std::optional<std::string> preferredLanguage() {
  // LANGUAGE is a colon-separated list of preferences; the others hold one locale each.
  if (auto list = nonEmptyEnv("LANGUAGE")) {
    const std::string first = list->substr(0, list->find(':'));
    if (!first.empty()) return first;
  }
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (auto value = nonEmptyEnv(name)) return value;
  }
  return std::nullopt;
}

std::filesystem::path bundlePath() {
  std::error_code ec;
  const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (ec || exe.empty()) return {};
  const std::filesystem::path folder = exe.parent_path();
  const std::filesystem::path contents = folder.parent_path();
  const std::filesystem::path app = contents.parent_path();
  if (folder.filename() == "MacOS" && contents.filename() == "Contents" &&
      app.extension() == ".app") {
    return app;
  }
  return folder;
}

std::filesystem::path resourcePath() {
  const std::filesystem::path bundle = bundlePath();
  if (bundle.empty()) return {};
  return bundle / "Contents" / "Resources";
}

std::optional<std::string> readRegularFile(const std::filesystem::path& file) {
  // Judged before opening, so a FIFO or a device is never opened at all, and again on the open
  // descriptor, in case the name was swapped in between. O_NONBLOCK keeps even that open from
  // waiting for a FIFO's writer.
  struct stat info {};
  if (::stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  const int fd = ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  std::optional<std::string> text;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
    text.emplace();
    char buffer[65536];
    for (;;) {
      const ssize_t n = ::read(fd, buffer, sizeof buffer);
      if (n > 0) {
        text->append(buffer, static_cast<size_t>(n));
      } else if (n == 0) {
        break;
      } else if (errno != EINTR) {
        text.reset();
        break;
      }
    }
  }
  ::close(fd);
  return text;
}

NewFileResult writeNewFile(const std::filesystem::path& file, std::string_view contents,
                           NewFileMode mode) {
  NewFileResult result;
  // O_EXCL with O_NOFOLLOW: neither an existing file nor a planted link is written through.
  const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                        mode.ownerOnly ? 0600 : 0666);
  if (fd < 0) {
    result.error = std::strerror(errno);
    return result;
  }
  result.created = true;
  // The umask can only take bits away; this makes an owner-only file exactly 0600 whatever it was.
  int error = mode.ownerOnly && ::fchmod(fd, 0600) != 0 ? errno : 0;
  for (size_t written = 0; error == 0 && written < contents.size();) {
    const ssize_t n = ::write(fd, contents.data() + written, contents.size() - written);
    if (n > 0) {
      written += static_cast<size_t>(n);
    } else if (n == 0) {
      error = EIO;
    } else if (errno != EINTR) {
      error = errno;
    }
  }
  if (error == 0 && mode.durable && ::fsync(fd) != 0) error = errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error != 0) {
    result.error = std::strerror(error);
    return result;
  }
  if (mode.durable) {
    // The new name must survive a crash as well, not only the bytes behind it.
    const std::filesystem::path parent = file.parent_path().empty() ? "." : file.parent_path();
    const int dir = ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
      ::fsync(dir);
      ::close(dir);
    }
  }
  return result;
}

}  // namespace velko::platform
