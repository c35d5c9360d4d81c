// Hashes a file through one 1 MiB heap buffer, polling the cancel function once per read.
#include "models/sha256_file.h"

#include <fstream>
#include <memory>

#include "models/sha256.h"

namespace velko::models {

std::string sha256File(const std::string& path, const std::function<bool()>& cancel) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return {};
  constexpr std::streamsize kBufferBytes = 1 << 20;
  const auto buffer = std::make_unique<char[]>(kBufferBytes);
  Sha256 digest;
  while (true) {
    if (cancel && cancel()) return {};
    in.read(buffer.get(), kBufferBytes);
    const std::streamsize got = in.gcount();
    if (got > 0) digest.update(reinterpret_cast<const unsigned char*>(buffer.get()), got);
    if (in.bad()) return {};
    if (in.eof()) return digest.hex();
    if (in.fail()) return {};
  }
}

}  // namespace velko::models
