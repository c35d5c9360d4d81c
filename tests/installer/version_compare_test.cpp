// Both version rules on the same pairs: where they agree, where they part, and where they saturate.
#include <gtest/gtest.h>

#include "core/version_compare.h"
#include "installer/version_compare.h"

namespace velko {
namespace {

TEST(CompareVersions, BothRulesOnOnePairTable) {
  // The installer stops at the first foreign character; core reads each dotted part's digits.
  const struct {
    std::string a, b;
    int installer, core;
  } cases[] = {
      {"1.2", "1.2.0.0", 0, 0},
      {"", "0.0.1", -1, -1},
      {"1.10", "1.9", 1, 1},
      {"007.0010", "7.10", 0, 0},
      {"1..2.", "1.0.2", 0, 0},
      {"25.0.0 beta", "25", 0, 0},
      {"1.2.3-beta.4", "1.2.3.4", -1, 0},
      {"1.2rc1.5", "1.2.5", -1, 0},
      {"-1.2", "0.2", -1, 0},
      {"99999999999999999999.1", "9223372036854775807.1", 0, 0},
      {"99999999999999999999", "9223372036854775806", 1, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("\"" + c.a + "\" vs \"" + c.b + "\"");
    EXPECT_EQ(installer::compareVersions(c.a, c.b), c.installer);
    EXPECT_EQ(installer::compareVersions(c.b, c.a), -c.installer);
    EXPECT_EQ(core::compareVersions(c.a, c.b), c.core);
    EXPECT_EQ(core::compareVersions(c.b, c.a), -c.core);
  }
}

}  // namespace
}  // namespace velko
