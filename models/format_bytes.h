// The one text of a byte count in all model messages and screens, in decimal units.
#pragma once

#include <string>

namespace velko::models {

// `bytes` in KB below 1,000,000, else in MB, or GB from 1,000 MB on: one decimal below 10, none
// from 10 on ("1.5 KB", "250 MB"). With `english` false the decimal point is a comma. Uses no
// locale. Cannot fail.
std::string formatBytes(unsigned long long bytes, bool english);

}  // namespace velko::models
