// JSON from outside the program: nesting refused before the parser, every parser failure a value.
#include "core/outside_json.h"

#include <gtest/gtest.h>

namespace velko::core {
namespace {

std::string nested(int depth, const std::string& inner = "") {
  return std::string(depth, '[') + inner + std::string(depth, ']');
}

TEST(ParseOutsideJson, RefusesAbsurdNestingAndReportsEveryFailureAsAValue) {
  const std::string tooDeep = "nested deeper than 256 levels";
  const struct {
    const char* label;
    std::string text;
    bool parses;
    std::string errorStart;
  } cases[] = {
      {"256 levels", nested(256), true, ""},
      {"257 levels", nested(257), false, tooDeep},
      {"objects count as levels", nested(256, R"({"a":1})"), false, tooDeep},
      {"brackets in strings do not count", nested(2, "\"" + std::string(300, '[') + "\\\"[\""),
       true, ""},
      {"100,000 levels", nested(100000), false, tooDeep},
      {"a number beyond 64 bits", "99995555555555595E555555555555555554", false,
       "[json.exception.out_of_range.406]"},
      {"a comment", "// no\n{}", false, "[json.exception.parse_error.101]"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    const ParsedJson parsed = parseOutsideJson(c.text);
    EXPECT_EQ(parsed.value.has_value(), c.parses);
    EXPECT_TRUE(parsed.error.starts_with(c.errorStart)) << parsed.error;
    EXPECT_EQ(parsed.error.empty(), c.parses);
  }
}

}  // namespace
}  // namespace velko::core
