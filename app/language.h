// Settles the language of the whole run once, from the system and --lang, and tells the layers.
#pragma once

#include <optional>
#include <string>

namespace velko::app {

// True for English, false for German. A system language beginning with "de" means German, any other
// or none means English; --lang "de" or "en" (exactly) overrides it. Cannot fail.
bool chooseEnglish(const std::optional<std::string>& systemLanguage, const std::string& langOption);

// Sets the message language of the plug-in layer and the locale of the core services to match.
void applyMessageLanguage(bool english);

}  // namespace velko::app
