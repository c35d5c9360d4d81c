// Both version rules side by side, on the strings where they agree and where they part.
#include <gtest/gtest.h>

#include "core/version_compare.h"
#include "installer/version_compare.h"

namespace velko {
namespace {

// What each rule reads from a string, written as the plain dotted version it must equal.
TEST(VersionParts, EachRuleReadsTheDocumentedParts) {
  const struct {
    std::string version;
    std::string installerParts;
    std::string coreParts;
  } cases[] = {
      {"", "0", "0"},
      {"1.2.3", "1.2.3", "1.2.3"},
      {"1.2.3-beta", "1.2.3", "1.2.3"},
      {"1.2.3-beta.4", "1.2.3", "1.2.3.4"},
      {"1.2rc1.5", "1.2", "1.2.5"},
      {"v2.5", "0", "0.5"},
      {"-1.2", "0", "0.2"},
      {" 1.2", "0", "0.2"},
      {"2.5.", "2.5.0", "2.5.0"},
      {"1..2", "1.0.2", "1.0.2"},
      {".", "0.0", "0.0"},
      {"007.0010", "7.10", "7.10"},
      {"25.0.0 beta", "25.0.0", "25.0.0"},
      {"99999999999999999999.1", "9223372036854775807.1", "9223372036854775807.1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("\"" + c.version + "\"");
    EXPECT_EQ(installer::compareVersions(c.version, c.installerParts), 0);
    EXPECT_EQ(core::compareVersions(c.version, c.coreParts), 0);
  }
}

TEST(CompareVersions, BothRulesOrderPairs) {
  const struct {
    std::string a;
    std::string b;
    int installer;
    int core;
  } cases[] = {
      {"1.2", "1.2.0.0", 0, 0},
      {"1.10", "1.9", 1, 1},
      {"1.07", "1.7", 0, 0},
      {"", "0", 0, 0},
      {"", "0.0.1", -1, -1},
      {"99999999999999999999.1", "9223372036854775807.1", 0, 0},
      {"99999999999999999999", "9223372036854775806", 1, 1},
      {"9223372036854775807", "1", 1, 1},
      {"24.2.0", "24.2", 0, 0},
      {"24.1.9", "24.2.0", -1, -1},
      {"25.0", "24.2.0", 1, 1},
      {"1.2rc1.5", "1.2.9", -1, -1},
      {"1.2rc1.5", "1.2.4", -1, 1},
      {"1.2rc1.5", "1.2", 0, 1},
      {"v2.5", "0", 0, 1},
      {"v2.5", "0.4", -1, 1},
      {"1.2.3-beta", "1.2.3", 0, 0},
      {"-1.2", "0.2", -1, 0},
      {"2.0.1", "2.1", -1, -1},
      {"3", "2.99.99", 1, 1},
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
