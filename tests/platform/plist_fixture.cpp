// Property list files for tests: XML written by hand, binary made from it with libplist.
#include "tests/platform/plist_fixture.h"

#include <plist/plist.h>

#include <cstdlib>

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

}  // namespace velko::test
