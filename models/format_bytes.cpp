// Decimal byte counts with the separator the caller asks for, independent of the process locale.
#include "models/format_bytes.h"

#include <algorithm>
#include <cstdio>

namespace velko::models {

std::string formatBytes(unsigned long long bytes, bool english) {
  double value = 0;
  const char* unit = "KB";
  if (bytes < 1000000ULL) {
    value = static_cast<double>(bytes) / 1000.0;
  } else {
    value = static_cast<double>(bytes) / 1e6;
    unit = "MB";
    if (value >= 1000.0) {
      value /= 1000.0;
      unit = "GB";
    }
  }
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, value < 10.0 ? "%.1f %s" : "%.0f %s", value, unit);
  std::string text = buffer;
  if (!english) std::replace(text.begin(), text.end(), '.', ',');
  return text;
}

}  // namespace velko::models
