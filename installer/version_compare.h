// Dotted version strings of Photoshop and of the plug-in, read up to the first foreign character.
#pragma once

#include <string>

namespace velko::installer {

// -1, 0 or 1 as version `a` is lower than, equal to or higher than `b`, part by part, a missing
// part counting as 0. Everything from the first foreign character on is ignored ("1.2rc1.5" is
// 1.2, "v2.5" is 0). Never fails.
int compareVersions(const std::string& a, const std::string& b);

}  // namespace velko::installer
