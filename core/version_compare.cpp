// Dotted version strings for the model list's `min_velko`, segment by segment.
#include "core/version_compare.h"

#include <algorithm>
#include <cstdlib>

namespace velko::core {
namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// One part per dot-separated segment: the digits at the segment's start, 0 if there are none.
std::vector<int64_t> parseVersionParts(const std::string& version) {
  std::vector<int64_t> parts;
  size_t start = 0;
  while (true) {
    const size_t dot = version.find('.', start);
    const size_t end = dot == std::string::npos ? version.size() : dot;
    size_t digitsEnd = start;
    while (digitsEnd < end && isDigit(version[digitsEnd]))
      ++digitsEnd;
    parts.push_back(versionNumber(version.substr(start, digitsEnd - start)));
    if (dot == std::string::npos) break;
    start = dot + 1;
  }
  return parts;
}

}  // namespace

int compareVersionParts(const std::vector<int64_t>& a, const std::vector<int64_t>& b) {
  const size_t count = std::max(a.size(), b.size());
  for (size_t i = 0; i < count; ++i) {
    const int64_t left = i < a.size() ? a[i] : 0;
    const int64_t right = i < b.size() ? b[i] : 0;
    if (left != right) return left < right ? -1 : 1;
  }
  return 0;
}

int64_t versionNumber(const std::string& digits) {
  // strtoll saturates at the 64-bit maximum, which is the value an over-long run should have.
  return std::strtoll(digits.c_str(), nullptr, 10);
}

int compareVersions(const std::string& a, const std::string& b) {
  return compareVersionParts(parseVersionParts(a), parseVersionParts(b));
}

}  // namespace velko::core
