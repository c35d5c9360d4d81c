// The per-model lock: an advisory lock on a file that excludes other threads and processes and
// never waits.
#pragma once

#include <filesystem>

namespace velko::models {

// Holds the exclusive lock on one lock file while it lives. The lock ends with the holder, and
// with the process if that dies, since it belongs to the open descriptor; the file itself stays.
class FileLock {
 public:
  // Opens `path` (made with rw-r--r-- if it does not exist; its folder is not made) and tries the
  // exclusive lock once. `held()` is false when the file cannot be opened or someone else holds
  // the lock.
  explicit FileLock(const std::filesystem::path& path);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  bool held() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

}  // namespace velko::models
