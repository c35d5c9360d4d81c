// What the shared POSIX source asks of each system's own source; private to the platform layer.
#pragma once

namespace velko::platform {

// Makes the data of the open file `fd` durable: on the disk, not only in a cache, before anything
// depends on it. 0, or the errno of the failure.
int flushFileData(int fd);

}  // namespace velko::platform
