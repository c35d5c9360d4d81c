// The model lock on flock(2): exclusive, non-blocking, released by unlock and close.
#include "models/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velko::models {

FileLock::FileLock(const std::filesystem::path& path) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) return;
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
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

}  // namespace velko::models
