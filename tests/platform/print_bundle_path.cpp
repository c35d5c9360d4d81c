// Helper for the bundle path tests: prints the bundle and resources folders of wherever it lies,
// and its own path.
#include <cstdio>

#include "platform/platform.h"

int main() {
  std::printf("%s\n%s\n%s\n", velko::platform::bundlePath().c_str(),
              velko::platform::resourcePath().c_str(), velko::platform::executablePath().c_str());
  return 0;
}
