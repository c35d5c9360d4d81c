// The plug-in layer's language flag, set once by main before other threads exist.
#include "plugin_export/message_language.h"

#include <atomic>

#include "plugin_export/localize.h"

namespace velko::plugin_export {
namespace {

// Zero-initialised, so German until main has settled the language.
std::atomic<bool> gEnglishMessages{false};

}  // namespace

void setMessageLanguage(const std::string& language) {
  // A plain prefix test: any other language falls back to German, the program's home language.
  gEnglishMessages.store(language.rfind("en", 0) == 0, std::memory_order_release);
}

std::string L(const char* german, const char* english) {
  return gEnglishMessages.load(std::memory_order_acquire) ? english : german;
}

}  // namespace velko::plugin_export
