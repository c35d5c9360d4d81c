// Helper for the locator test: where the model named by its argument lies, below the working
// folder.
#include <cstdio>
#include <filesystem>

#include "vision/model_locator.h"

int main(int argc, char** argv) {
  if (argc != 2) return 64;
  const velko::vision::ModelSearchResult found = velko::vision::findModelPackage(argv[1]);
  const std::filesystem::path path(found.path);
  const std::filesystem::path shown =
      path.is_absolute() ? path.lexically_relative(std::filesystem::current_path()) : path;
  std::printf("%s %s\n", shown.c_str(), found.source.c_str());
  return 0;
}
