// A nesting guard in front of the property-list library, for Info.plist files from any disk.
#pragma once

#include <string_view>

namespace velko::platform {

// An Info.plist nests two or three levels. The property-list library parses and frees recursively,
// so a file some tens of thousands of levels deep overflows the stack inside it. The limit lies far
// above any real file and far below any stack.
inline constexpr int kMaxPropertyListNesting = 256;

// True when the arrays and dictionaries of `bytes`, an XML or binary property list, nest no deeper
// than kMaxPropertyListNesting. False for a binary list whose objects refer to each other in a
// cycle or point outside the data, which no library could read either. Text that passes may still
// be no property list; the library judges that.
bool propertyListNestingWithinLimit(std::string_view bytes);

}  // namespace velko::platform
