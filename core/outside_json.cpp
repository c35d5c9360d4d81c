// A nesting guard in front of the JSON parser, and the one place that turns its exceptions into
// values.
#include "core/outside_json.h"

namespace velko::core {
namespace {

// Counts brackets outside strings. Text that passes may still be invalid JSON; the parser judges
// that. Text that fails is too deep, or too broken to be worth parsing.
bool nestingWithinLimit(std::string_view text) {
  int depth = 0;
  bool inString = false;
  bool escaped = false;
  for (const char c : text) {
    if (inString) {
      if (escaped) {
        escaped = false;
      } else if (c == '\\') {
        escaped = true;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      if (++depth > kMaxJsonNesting) return false;
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return true;
}

}  // namespace

ParsedJson parseOutsideJson(std::string_view text) {
  ParsedJson parsed;
  if (!nestingWithinLimit(text)) {
    parsed.error = "nested deeper than " + std::to_string(kMaxJsonNesting) + " levels";
    return parsed;
  }
  try {
    parsed.value = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/true,
                                         /*ignore_comments=*/false);
  } catch (const nlohmann::json::exception& e) {
    // parse_error for malformed text, out_of_range for a number beyond 64 bits: both mean the
    // text is not JSON this program can take.
    parsed.error = e.what();
  }
  return parsed;
}

}  // namespace velko::core
