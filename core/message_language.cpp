// The core services' message locale: German until main has settled the language.
#include "core/message_language.h"

#include <atomic>

namespace velko::core {
namespace {

// Zero-initialised, so German; written once before other threads exist, read from any thread.
std::atomic<MessageLocale> gMessageLocale{MessageLocale::German};

}  // namespace

void setMessageLocale(MessageLocale locale) {
  gMessageLocale.store(locale, std::memory_order_release);
}

std::string localizedMessage(std::string_view german, std::string_view english) {
  const auto locale = static_cast<int32_t>(gMessageLocale.load(std::memory_order_acquire));
  return std::string(locale == 1 ? english : german);
}

}  // namespace velko::core
