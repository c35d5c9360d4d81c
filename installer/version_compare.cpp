// Dotted version strings of Photoshop and of the plug-in, read up to the first foreign character.
#include "installer/version_compare.h"

#include <cstdint>
#include <vector>

#include "core/version_compare.h"

namespace velko::installer {
namespace {

// Digits collect into the current part, a dot closes it, and any other byte ends the whole
// string: a suffix such as " beta" or "rc1" must not make a version look higher.
std::vector<int64_t> versionParts(const std::string& version) {
  std::vector<int64_t> parts;
  std::string digits;
  for (const char c : version) {
    if (c >= '0' && c <= '9') {
      digits.push_back(c);
    } else if (c == '.') {
      parts.push_back(core::versionNumber(digits));
      digits.clear();
    } else {
      break;
    }
  }
  parts.push_back(core::versionNumber(digits));
  return parts;
}

}  // namespace

int compareVersions(const std::string& a, const std::string& b) {
  return core::compareVersionParts(versionParts(a), versionParts(b));
}

}  // namespace velko::installer
