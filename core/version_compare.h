// Dotted version strings for the model list's `min_velko`, read segment by segment.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace velko::core {

// -1, 0 or 1 as `a` is lower than, equal to or higher than `b`, part by part, a missing part
// counting as 0. Never fails; both vectors may be of any length, also empty.
int compareVersionParts(const std::vector<int64_t>& a, const std::vector<int64_t>& b);

// The value of a run of ASCII digits; 0 for an empty run, 9223372036854775807 for a run too long
// for 64 bits. Never fails.
int64_t versionNumber(const std::string& digits);

// -1, 0 or 1 as version `a` is lower than, equal to or higher than `b`. Every segment between dots
// counts by the digits at its start ("1.2rc1.5" is 1.2.5, "v2.5" is 0.5). Never fails.
int compareVersions(const std::string& a, const std::string& b);

}  // namespace velko::core
