// Linux's own part of the operating-system seam: /proc for processes and the quit request (a
// signal), libplist for Info.plist, the locale variables for the language, /proc/self/exe for the
// bundle and the modules, libarchive on a thread with its own working folder for zip files,
// renameat2 for the atomic exchange, fsync for durable data.
#include "platform/platform.h"
#include "platform/posix_internal.h"
#include "platform/property_list_nesting.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <locale.h>
#include <plist/plist.h>
#include <sched.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>

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

std::filesystem::path executablePath() {
  std::error_code ec;
  std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
  if (ec) return {};
  return exe;
}

std::filesystem::path bundlePath() {
  const std::filesystem::path exe = executablePath();
  if (exe.empty()) return {};
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

std::filesystem::path modulePath(std::string_view name) {
  const std::filesystem::path exe = executablePath();
  if (exe.empty()) return {};
  return exe.parent_path() / (std::string(name) + ".so");
}

namespace {

// Entries are written relative to the working folder, so libarchive's checks (no "..", no
// absolute name, no link on the way) cover exactly the names below the destination, whatever
// links lie above it. Links themselves are restored as they are; the caller judges them.
constexpr int kExtractFlags = ARCHIVE_EXTRACT_TIME | ARCHIVE_EXTRACT_SECURE_NODOTDOT |
                              ARCHIVE_EXTRACT_SECURE_NOABSOLUTEPATHS |
                              ARCHIVE_EXTRACT_SECURE_SYMLINKS;

// Only ARCHIVE_OK counts as success below: libarchive answers ARCHIVE_WARN for an entry whose
// bytes could not all be written ("Write failed" on a full disk) and for one whose CRC-32 does not
// match, and either would leave a damaged file that looks installed.
bool copyEntryData(archive* reader, archive* writer) {
  for (;;) {
    const void* block = nullptr;
    size_t size = 0;
    la_int64_t offset = 0;
    const int r = archive_read_data_block(reader, &block, &size, &offset);
    if (r == ARCHIVE_EOF) return true;
    if (r != ARCHIVE_OK) return false;
    if (archive_write_data_block(writer, block, size, offset) != ARCHIVE_OK) return false;
  }
}

// Extracts the open archive into the working folder. Only folders, files and symbolic links are
// accepted, and the owner keeps the right to read and remove all of them whatever the archive
// says, so a refused package can always be cleared away.
bool extractEntries(archive* reader, archive* writer) {
  for (;;) {
    archive_entry* entry = nullptr;
    const int r = archive_read_next_header(reader, &entry);
    if (r == ARCHIVE_EOF) return true;
    if (r != ARCHIVE_OK) return false;
    const mode_t type = archive_entry_filetype(entry);
    if (type == AE_IFDIR) {
      archive_entry_set_perm(entry, archive_entry_perm(entry) | 0700);
    } else if (type == AE_IFREG) {
      archive_entry_set_perm(entry, archive_entry_perm(entry) | 0600);
    } else if (type != AE_IFLNK) {
      return false;
    }
    if (archive_write_header(writer, entry) != ARCHIVE_OK) return false;
    if (!copyEntryData(reader, writer)) return false;
    if (archive_write_finish_entry(writer) != ARCHIVE_OK) return false;
  }
}

// The character set libarchive converts names into follows the locale. In the "C" locale a
// name flagged as UTF-8 cannot be converted and the entry is refused, so the command line (which
// never sets a locale) would refuse what the window accepts. The extraction thread therefore
// works in a UTF-8 locale of its own, whatever the process has; names without the flag are taken
// byte for byte either way.
class Utf8LocaleForThisThread {
 public:
  Utf8LocaleForThisThread() {
    for (const char* name : {"C.UTF-8", "UTF-8", "en_US.UTF-8"}) {
      locale_ = ::newlocale(LC_CTYPE_MASK, name, static_cast<locale_t>(0));
      if (locale_ != static_cast<locale_t>(0)) break;
    }
    if (locale_ != static_cast<locale_t>(0)) ::uselocale(locale_);
  }
  ~Utf8LocaleForThisThread() {
    if (locale_ == static_cast<locale_t>(0)) return;
    ::uselocale(LC_GLOBAL_LOCALE);
    ::freelocale(locale_);
  }
  Utf8LocaleForThisThread(const Utf8LocaleForThisThread&) = delete;
  Utf8LocaleForThisThread& operator=(const Utf8LocaleForThisThread&) = delete;

 private:
  locale_t locale_ = static_cast<locale_t>(0);
};

// Runs on a thread of its own: the working folder and the locale it changes are not shared with
// the process.
bool extractZipInto(const std::filesystem::path& archivePath,
                    const std::filesystem::path& destination) {
  if (::unshare(CLONE_FS) != 0 || ::chdir(destination.c_str()) != 0) return false;
  const Utf8LocaleForThisThread utf8;
  archive* reader = archive_read_new();
  archive* writer = archive_write_disk_new();
  bool ok = reader != nullptr && writer != nullptr;
  if (ok) {
    archive_read_support_format_zip(reader);
    archive_write_disk_set_options(writer, kExtractFlags);
    ok = archive_read_open_filename(reader, archivePath.c_str(), 64 * 1024) == ARCHIVE_OK &&
         extractEntries(reader, writer);
    // Closing the writer sets the folders' times and modes, so its answer counts as well.
    ok = archive_write_close(writer) == ARCHIVE_OK && ok;
  }
  archive_read_free(reader);
  archive_write_free(writer);
  return ok;
}

}  // namespace

bool extractZip(const std::filesystem::path& archive, const std::filesystem::path& destination) {
  std::error_code ec;
  const std::filesystem::path source = std::filesystem::absolute(archive, ec);
  if (ec) return false;
  bool ok = false;
  try {
    std::thread worker([&] { ok = extractZipInto(source, destination); });
    worker.join();
  } catch (const std::system_error&) {
    return false;  // no thread could be started
  }
  return ok;
}

bool exchangePaths(const std::filesystem::path& a, const std::filesystem::path& b) {
  const char* disabled = std::getenv("VELKO_NO_PATH_EXCHANGE");
  if (disabled != nullptr && std::strcmp(disabled, "1") == 0) return false;
  return ::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0;
}

int flushFileData(int fd) {
  return ::fsync(fd) == 0 ? 0 : errno;
}

int askApplicationsToQuit(std::string_view, std::string_view nameWord) {
  // Processes here carry no bundle identifier: the name alone decides. An empty word would match
  // every process of the user.
  if (nameWord.empty()) return 0;
  int asked = 0;
  for (const int pid : listProcessIds()) {
    if (pid <= 0) continue;
    const std::optional<std::string> name = processShortName(pid);
    if (!name || name->find(nameWord) == std::string::npos) continue;
    // /proc/<pid> belongs to the process's owner. Compared with our real user, not the
    // effective one, so a set-uid or root run still spares everyone else's programs.
    struct stat info {};
    const std::string proc = "/proc/" + std::to_string(pid);
    if (::stat(proc.c_str(), &info) != 0 || info.st_uid != ::getuid()) continue;
    if (::kill(pid, SIGTERM) == 0) ++asked;
  }
  return asked;
}

}  // namespace velko::platform
