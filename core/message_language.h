// The language selector of the core services and the one function that picks a text of a message
// pair.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace velko::core {

enum class MessageLocale : int32_t { German = 0, English = 1 };

// Stores the process-wide locale for messages built after this call. Cannot fail.
void setMessageLocale(MessageLocale locale);

// A copy of `english` when the locale is English, of `german` for every other value.
// Fails only by running out of memory.
std::string localizedMessage(std::string_view german, std::string_view english);

}  // namespace velko::core
