// Parsing JSON that comes from outside the program: files on disk and answers of servers.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace velko::core {

// Real registries, manifests and model lists nest a handful of levels. The JSON library builds,
// copies, writes and frees documents recursively, so a file some tens of thousands of levels deep
// overflows the stack (and one that survives is written back with gigabytes of indentation). The
// limit lies far above any real file and far below any stack, sanitizer builds' included.
inline constexpr int kMaxJsonNesting = 256;

// The outcome of parseOutsideJson.
struct ParsedJson {
  std::optional<nlohmann::json> value;  // the document; empty on failure
  std::string error;                    // on failure the English reason, else empty
};

// Parses `text` as strict JSON (no comments). Text nested deeper than kMaxJsonNesting is refused
// before the parser sees it, with the reason "nested deeper than 256 levels"; any other failure,
// a number too large for its type included, gives the JSON library's own text.
ParsedJson parseOutsideJson(std::string_view text);

}  // namespace velko::core
