// Helpers the fuzz targets share: the invariant check and a scratch folder for readers of files.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace velko::fuzz {

// Ends the run with a message when an invariant of the code under test does not hold, so libFuzzer
// saves the input as a crash.
inline void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "broken invariant: %s\n", what);
  std::abort();
}

// One folder for the whole run, removed when the process exits normally. Readers that take a path
// get their input written below it. In memory (/dev/shm) where there is one: on ext4 every
// truncation or rename over a file with contents waits for the disk, five times slower per input.
inline const std::filesystem::path& scratchFolder() {
  struct Scratch {
    std::filesystem::path path;
    Scratch() {
      std::error_code ec;
      const std::filesystem::path parent = std::filesystem::is_directory("/dev/shm", ec)
                                               ? std::filesystem::path("/dev/shm")
                                               : std::filesystem::temp_directory_path();
      std::string pattern = (parent / "velko-fuzz-XXXXXX").string();
      require(mkdtemp(pattern.data()) != nullptr, "scratch folder created");
      path = pattern;
    }
    ~Scratch() {
      std::error_code ec;
      std::filesystem::remove_all(path, ec);
    }
  };
  static const Scratch scratch;
  return scratch.path;
}

// Replaces `file` with `bytes`, creating its folders.
inline void writeFile(const std::filesystem::path& file, std::string_view bytes) {
  std::error_code ec;
  std::filesystem::create_directories(file.parent_path(), ec);
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  require(out.good(), "input file written");
}

// The whole file; empty when it cannot be read.
inline std::string readFile(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

}  // namespace velko::fuzz
