// Reading one string from a property list, in XML and binary form, and refusing everything else.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "platform/platform.h"
#include "tests/platform/plist_fixture.h"

namespace velko::platform {
namespace {

const std::string kKey = "CFBundleShortVersionString";

struct PlistCase {
  const char* label;
  std::string root;  // the XML root element
  std::optional<std::string> expected;
};

std::string dictWith(const std::string& valueElement) {
  return "<dict><key>CFBundleName</key><string>Photoshop</string><key>" + kKey + "</key>" +
         valueElement + "</dict>";
}

std::vector<PlistCase> plistCases() {
  const std::string chars127(127, '7');
  const std::string chars128(128, '8');
  return {
      {"string value", test::versionDict("25.0.0"), "25.0.0"},
      {"utf-8 kept as bytes", dictWith("<string>26.0 Vorschau \xC3\xA4</string>"),
       "26.0 Vorschau \xC3\xA4"},
      {"empty string", dictWith("<string></string>"), ""},
      {"127 bytes fit", dictWith("<string>" + chars127 + "</string>"), chars127},
      {"128 bytes do not", dictWith("<string>" + chars128 + "</string>"), std::nullopt},
      {"integer value", dictWith("<integer>25</integer>"), std::nullopt},
      {"array value", dictWith("<array><string>25.0</string></array>"), std::nullopt},
      {"key missing", "<dict><key>CFBundleVersion</key><string>25.0</string></dict>", std::nullopt},
      {"only nested", "<dict><key>Inner</key>" + test::versionDict("25.0") + "</dict>",
       std::nullopt},
      {"array root", "<array><string>" + kKey + "</string><string>25.0</string></array>",
       std::nullopt},
      {"string root", "<string>25.0</string>", std::nullopt},
  };
}

TEST(PropertyListString, XmlAndBinaryGiveTheSameAnswers) {
  for (const PlistCase& c : plistCases()) {
    SCOPED_TRACE(c.label);
    const std::string xml = test::xmlPlist(c.root);
    EXPECT_EQ(propertyListString(xml, kKey), c.expected) << "XML";
    EXPECT_EQ(propertyListString(test::binaryPlist(xml), kKey), c.expected) << "binary";
  }
}

TEST(PropertyListString, DamagedBytesGiveNothing) {
  const std::string xml = test::xmlPlist(test::versionDict("25.0.0"));
  const std::string binary = test::binaryPlist(xml);
  const struct {
    const char* label;
    std::string bytes;
  } cases[] = {
      {"empty", ""},
      {"plain text", "CFBundleShortVersionString = 25.0.0"},
      {"json", "{\"CFBundleShortVersionString\": \"25.0.0\"}"},
      {"xml cut in half", xml.substr(0, xml.size() / 2)},
      {"binary header only", "bplist00"},
      {"binary without trailer", binary.substr(0, binary.size() - 32)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    EXPECT_EQ(propertyListString(c.bytes, kKey), std::nullopt);
  }
}

}  // namespace
}  // namespace velko::platform
