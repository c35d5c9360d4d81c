// Fuzzes unpackAndInspect with arbitrary archive bytes in a private folder. Besides crashes it
// traps when anything appears outside the unpack folder, or when what was unpacked cannot be
// cleared.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "models/package_install.h"

namespace {
namespace fs = std::filesystem;

// A fresh folder per input, the archive two levels below it, so names such as "../../x" still
// land inside what is watched. Removed again after the input, so nothing is left behind when
// libFuzzer ends the run.
struct Sandbox {
  fs::path root, archive, unpackDir;
};

Sandbox makeSandbox() {
  std::string pattern = (fs::temp_directory_path() / "velko-fuzz-unzip-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) std::abort();
  const fs::path root = pattern;
  fs::create_directories(root / "a" / "b");
  return Sandbox{root, root / "a" / "b" / "m.zip", root / "a" / "b" / "m.unpack"};
}

// Everything in the sandbox but the unpack folder's insides; links are listed, not followed.
std::set<std::string> outsideUnpack(const Sandbox& box) {
  std::set<std::string> names;
  for (auto it = fs::recursive_directory_iterator(box.root);
       it != fs::recursive_directory_iterator(); ++it) {
    if (it->path() == box.unpackDir) it.disable_recursion_pending();
    names.insert(it->path().lexically_relative(box.root).string());
  }
  return names;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Sandbox box = makeSandbox();
  {
    std::ofstream out(box.archive, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    if (!out) std::abort();
  }
  velko::models::unpackAndInspect(box.archive, box.unpackDir, "m.mlmodelc");

  static const std::set<std::string> expected = {"a", "a/b", "a/b/m.zip", "a/b/m.unpack"};
  if (outsideUnpack(box) != expected) {
    std::fprintf(stderr, "fuzz_unzip: something was written outside %s\n", box.unpackDir.c_str());
    __builtin_trap();
  }
  std::error_code ec;
  fs::remove_all(box.root, ec);
  if (ec) __builtin_trap();
  return 0;
}
