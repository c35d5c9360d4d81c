// The language selector of the plug-in layer's messages; German until it is set.
#pragma once

#include <string>

namespace velko::plugin_export {

// English for messages built after this call when `language` begins with "en" (case-sensitive),
// German for anything else. Cannot fail.
void setMessageLanguage(const std::string& language);

}  // namespace velko::plugin_export
