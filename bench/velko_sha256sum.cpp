// Prints the SHA-256 of each file named on the command line, through the installer's sha256File.
#include <cstdio>

#include "models/sha256_file.h"

int main(int argc, char** argv) {
  int status = 0;
  for (int i = 1; i < argc; ++i) {
    const std::string digest = velko::models::sha256File(argv[i], {});
    if (digest.empty()) {
      std::fprintf(stderr, "velko-sha256sum: cannot read %s\n", argv[i]);
      status = 1;
      continue;
    }
    std::printf("%s  %s\n", digest.c_str(), argv[i]);
  }
  return status;
}
