// Helper for the locator tests: prints where the model named by its argument lies, seen from
// wherever this executable was copied to.
#include <cstdio>

#include "vision/model_locator.h"

int main(int argc, char** argv) {
  if (argc != 2) return 64;
  const velko::vision::ModelSearchResult found = velko::vision::findModelPackage(argv[1]);
  std::printf("%s\n%s\n", found.path.c_str(), found.source.c_str());
  return 0;
}
