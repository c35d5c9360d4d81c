// The one decision on the language, made before any domain object exists.
#include "app/language.h"

#include "core/message_language.h"
#include "plugin_export/message_language.h"

namespace velko::app {

bool chooseEnglish(const std::optional<std::string>& systemLanguage,
                   const std::string& langOption) {
  if (langOption == "de") return false;
  if (langOption == "en") return true;
  return !(systemLanguage && systemLanguage->starts_with("de"));
}

void applyMessageLanguage(bool english) {
  velko::plugin_export::setMessageLanguage(english ? "en" : "de");
  velko::core::setMessageLocale(english ? velko::core::MessageLocale::English
                                        : velko::core::MessageLocale::German);
}

}  // namespace velko::app
