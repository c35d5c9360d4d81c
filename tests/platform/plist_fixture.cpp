// Property list files for tests: XML written by hand, binary made from it with libplist or by hand.
#include "tests/platform/plist_fixture.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>

namespace velko::test {

std::string xmlPlist(const std::string& root) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST "
         "1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist "
         "version=\"1.0\">\n" +
         root + "\n</plist>\n";
}

std::string binaryPlist(const std::string& xml) {
  plist_t node = nullptr;
  plist_from_xml(xml.data(), static_cast<uint32_t>(xml.size()), &node);
  if (node == nullptr) std::abort();  // a broken fixture, not a finding
  char* bytes = nullptr;
  uint32_t length = 0;
  plist_to_bin(node, &bytes, &length);
  plist_free(node);
  std::string binary(bytes, length);
  plist_to_bin_free(bytes);
  return binary;
}

std::string nestedBinaryPlist(const std::string& version, int depth, bool cycle) {
  const auto be32 = [](uint64_t v) {
    return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
  };
  // Objects 0 to 3 are the dictionary, its two keys and the version; 4 + i is array level i.
  std::string bytes = "bplist00\xD2" + be32(1) + be32(2) + be32(3) + be32(4), table = be32(8);
  for (const std::string& object : {std::string("\x5F\x10\x1A") + "CFBundleShortVersionString",
                                    std::string("\x51x"), char(0x50 | version.size()) + version}) {
    table += be32(bytes.size());
    bytes += object;
  }
  for (int level = 0; level < depth; ++level) {
    table += be32(bytes.size());
    const bool innermost = level == depth - 1;
    bytes += innermost && !cycle ? std::string("\xA0") : "\xA1" + be32(innermost ? 4 : 5 + level);
  }
  return bytes + table + std::string(6, '\0') + "\x04\x04" + be32(0) + be32(4 + depth) +
         std::string(8, '\0') + be32(0) + be32(bytes.size());
}

}  // namespace velko::test
