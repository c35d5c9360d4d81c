// Picks one text of a German/English message pair; private to this layer.
#pragma once

#include <string>

namespace velko::plugin_export {

// A copy of `english` when setMessageLanguage chose English, of `german` otherwise. Values are
// appended to the returned text; this layer has no format strings.
std::string L(const char* german, const char* english);

}  // namespace velko::plugin_export
