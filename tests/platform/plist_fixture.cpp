// Property list files for tests: XML written by hand, binary made from it with libplist.
#include "tests/platform/plist_fixture.h"

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace velko::test {

std::string xmlPlist(const std::string& root) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
         "<plist version=\"1.0\">\n" +
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
  const auto bigEndian = [](uint64_t value, int bytes) {
    std::string out;
    for (int i = bytes - 1; i >= 0; --i)
      out.push_back(static_cast<char>(value >> (8 * i)));
    return out;
  };
  const std::string key = "CFBundleShortVersionString";
  std::vector<std::string> objects = {
      "\xD2" + bigEndian(1, 4) + bigEndian(2, 4) + bigEndian(3, 4) + bigEndian(4, 4),
      "\x5F\x10" + std::string(1, static_cast<char>(key.size())) + key,
      "\x51x",
      std::string(1, static_cast<char>(0x50 | version.size())) + version,
  };
  for (int level = 0; level < depth; ++level) {
    const bool innermost = level == depth - 1;
    if (innermost && !cycle) {
      objects.push_back("\xA0");
    } else {
      objects.push_back("\xA1" + bigEndian(innermost ? 4 : objects.size() + 1, 4));
    }
  }
  std::string bytes = "bplist00", table;
  for (const auto& object : objects) {
    table += bigEndian(bytes.size(), 4);
    bytes += object;
  }
  const uint64_t tableAt = bytes.size();
  return bytes + table + std::string(6, '\0') + "\x04\x04" + bigEndian(objects.size(), 8) +
         bigEndian(0, 8) + bigEndian(tableAt, 8);
}

}  // namespace velko::test
