// The part of the operating-system seam that every POSIX system shares: reading regular files
// only, the new-file writer and the atomic replace, download files opened without following links,
// free space, the advisory file lock, and libraries opened at run time.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix_internal.h"

namespace velko::platform {

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

namespace {

// Makes the entries of `file`'s folder durable, so that a new or renamed name survives a power
// cut as well as the bytes behind it. Best effort: a folder that cannot be opened is left alone.
void flushFolderOf(const std::filesystem::path& file) {
  const std::filesystem::path parent = file.parent_path().empty() ? "." : file.parent_path();
  const int dir = ::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir < 0) return;
  ::fsync(dir);
  ::close(dir);
}

// A new file at `file`, never an existing one and never through a link planted at that name.
// The descriptor, or -1 with errno set.
int createNewFile(const std::filesystem::path& file, mode_t mode) {
  return ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
}

// Writes every byte of `contents`, so that a short write (a full disk) cannot pass unseen.
// 0 or the errno.
int writeAll(int fd, std::string_view contents) {
  for (size_t written = 0; written < contents.size();) {
    const ssize_t n = ::write(fd, contents.data() + written, contents.size() - written);
    if (n > 0) {
      written += static_cast<size_t>(n);
    } else if (n == 0) {
      return EIO;
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

}  // namespace

NewFileResult writeNewFile(const std::filesystem::path& file, std::string_view contents,
                           NewFileMode mode) {
  NewFileResult result;
  const int fd = createNewFile(file, mode.ownerOnly ? 0600 : 0666);
  if (fd < 0) {
    result.error = std::strerror(errno);
    return result;
  }
  result.created = true;
  // The umask can only take bits away; this makes an owner-only file exactly 0600 whatever it was.
  int error = mode.ownerOnly && ::fchmod(fd, 0600) != 0 ? errno : 0;
  if (error == 0) error = writeAll(fd, contents);
  if (error == 0 && mode.durable) error = flushFileData(fd);
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error != 0) {
    result.error = std::strerror(error);
    return result;
  }
  if (mode.durable) flushFolderOf(file);
  return result;
}

ReplaceResult replaceFile(const std::filesystem::path& file, std::string_view contents,
                          const std::filesystem::path& temporary) {
  ReplaceResult result;
  const int fd = createNewFile(temporary, 0666);
  if (fd < 0) {
    result.failure = ReplaceFailure::CreateTemporary;
    result.error = std::strerror(errno);
    return result;
  }
  // The data reaches the disk before the rename: otherwise a power cut after a reported success
  // could leave the new name pointing at an empty file.
  int error = writeAll(fd, contents);
  if (error == 0) error = flushFileData(fd);
  if (::close(fd) != 0 && error == 0) error = errno;
  result.failure = ReplaceFailure::Write;
  if (error == 0 && ::rename(temporary.c_str(), file.c_str()) != 0) {
    error = errno;
    result.failure = ReplaceFailure::Rename;
  }
  if (error != 0) {
    ::unlink(temporary.c_str());
    result.error = std::strerror(error);
    return result;
  }
  result.failure = ReplaceFailure::None;
  flushFolderOf(file);
  return result;
}

std::FILE* openFileForWriting(const std::filesystem::path& file, bool append) {
  // O_NOFOLLOW refuses a link at the name; O_NONBLOCK keeps a FIFO from holding the open until a
  // reader comes. Only a regular file is kept, and only then is it emptied.
  const int fd = ::open(
      file.c_str(),
      O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | (append ? O_APPEND : 0), 0644);
  if (fd < 0) return nullptr;
  struct stat info {};
  const int flags = ::fcntl(fd, F_GETFL);
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || flags < 0 ||
      ::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0 || (!append && ::ftruncate(fd, 0) != 0)) {
    ::close(fd);
    return nullptr;
  }
  std::FILE* stream = ::fdopen(fd, append ? "ab" : "wb");
  if (stream == nullptr) ::close(fd);
  return stream;
}

std::optional<uint64_t> availableBytes(const std::filesystem::path& path) {
  struct statvfs info {};
  if (::statvfs(path.c_str(), &info) != 0) return std::nullopt;
  return static_cast<uint64_t>(info.f_frsize) * static_cast<uint64_t>(info.f_bavail);
}

FileLock::FileLock(const std::filesystem::path& path) {
  // Never through a link planted at the lock's name, which could make the file elsewhere.
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
  if (fd < 0) return;
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    return;
  }
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    busy_ = errno == EWOULDBLOCK;
    ::close(fd);
    return;
  }
  fd_ = fd;
}

FileLock::~FileLock() {
  if (fd_ < 0) return;
  ::flock(fd_, LOCK_UN);
  ::close(fd_);
}

void* openLibrary(const std::filesystem::path& file, std::string* error) {
  // RTLD_NOW: a missing symbol fails here, as a value, not later as a crash in the middle of a
  // call. RTLD_LOCAL: nothing opened later binds to this library's symbols by accident.
  void* library = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr && error != nullptr) {
    const char* reason = ::dlerror();
    *error = reason != nullptr ? reason : "unknown reason";
  }
  return library;
}

void* librarySymbol(void* library, const char* name) {
  return ::dlsym(library, name);
}

}  // namespace velko::platform
