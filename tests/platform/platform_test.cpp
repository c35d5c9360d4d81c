// The seam to the operating system against real child processes, plist bytes and environments.
#include "platform/platform.h"

#include <gtest/gtest.h>

#include "tests/platform/plist_fixture.h"
#include "tests/support/test_support.h"

namespace velko::platform {
namespace {
namespace fs = std::filesystem;

TEST(ProcessTable, ShortNameCutAt32BytesWhileTheProcessLives) {
  // No "Photoshop" in these names: suites running in parallel would see it.
  const std::pair<std::string, std::string> cases[] = {
      {"Adobe Fotoshop 2025", "Adobe Fotoshop 2025"},
      {std::string(32, 'n'), std::string(32, 'n')},
      {"velko-a-rather-long-process-name-of-forty", "velko-a-rather-long-process-name"},
  };
  test::TempDir dir;
  int ended = 0;
  for (const auto& [executable, shortName] : cases) {
    test::FakeProcess child(dir.path(), executable);
    EXPECT_EQ(processShortName(child.pid()), shortName) << executable;
    ended = child.pid();
  }
  EXPECT_EQ(processShortName(ended), std::nullopt);
}

TEST(PropertyListString, XmlAndBinaryGiveTheSameAnswers) {
  const std::string key = "CFBundleShortVersionString", chars127(127, '7'), chars128(128, '8');
  const auto dict = [&](const std::string& value) {
    return "<dict><key>A</key><string>PS</string><key>" + key + "</key>" + value + "</dict>";
  };
  const struct {
    const char* label;
    std::string root;  // the XML root element
    std::optional<std::string> expected;
  } cases[] = {
      {"utf-8 kept as bytes", dict("<string>26.0 \xC3\xA4</string>"), "26.0 \xC3\xA4"},
      {"empty string", dict("<string></string>"), ""},
      {"127 bytes fit", dict("<string>" + chars127 + "</string>"), chars127},
      {"128 bytes do not", dict("<string>" + chars128 + "</string>"), std::nullopt},
      {"integer value", dict("<integer>25</integer>"), std::nullopt},
      {"only nested", "<dict><key>Inner</key>" + dict("<string>25</string>") + "</dict>", {}},
      {"array root", "<array><string>" + key + "</string><string>25</string></array>", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.label);
    const std::string xml = test::xmlPlist(c.root);
    EXPECT_EQ(propertyListString(xml, key), c.expected) << "XML";
    EXPECT_EQ(propertyListString(test::binaryPlist(xml), key), c.expected) << "binary";
  }
  // A binary list whose value is an ASCII-typed string, by hand: libplist passes its bytes on as
  // they are, so a byte that is no UTF-8 must be refused here.
  const auto asciiValue = [](const std::string& two) {
    return std::string("bplist00\xD1\x01\x02\x5F\x10\x1A", 14) + "CFBundleShortVersionString" +
           "\x52" + two + std::string("\x08\x0B\x28\0\0\0\0\0\0\x01\x01", 11) +
           std::string(7, '\0') + "\x03" + std::string(15, '\0') + "\x2B";
  };
  EXPECT_EQ(propertyListString(asciiValue("25"), key), "25");
  EXPECT_EQ(propertyListString(asciiValue("\xD3\x32"), key), std::nullopt);
  EXPECT_EQ(propertyListString(test::xmlPlist(dict("<string>2\xD3</string>")), key), std::nullopt);
  // Bytes that are no property list, or a damaged one, give nothing.
  const std::string xml = test::xmlPlist(dict("<string>25.0</string>"));
  for (const std::string& bytes : {key + " = 25.0", xml.substr(0, xml.size() / 2),
                                   std::string("bplist00"), test::binaryPlist(xml).substr(0, 40)}) {
    EXPECT_EQ(propertyListString(bytes, key), std::nullopt) << bytes;
  }
}

TEST(PreferredLanguage, FirstNonEmptyVariableInOrderWins) {
  using Value = std::optional<std::string>;
  const struct {
    Value language, lcAll, lcMessages, lang, expected;
  } cases[] = {
      {{}, {}, {}, {}, {}},
      {"", "", "", "", {}},
      {{}, {}, "en_GB.UTF-8", "de_DE.UTF-8", "en_GB.UTF-8"},
      {{}, "fr_FR", "en_GB.UTF-8", "de_DE.UTF-8", "fr_FR"},
      {"en_US:de:fr", "fr_FR", "en_GB.UTF-8", "de_DE", "en_US"},
      {"", "", "", "de_DE", "de_DE"},
      {":de", {}, {}, "en_US", "en_US"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);  // the row's index
    test::ScopedEnv env({{"LANGUAGE", c.language},
                         {"LC_ALL", c.lcAll},
                         {"LC_MESSAGES", c.lcMessages},
                         {"LANG", c.lang}});
    EXPECT_EQ(preferredLanguage(), c.expected);
  }
}

TEST(BundlePath, DependsOnWhereTheExecutableLies) {
  const std::pair<const char*, const char*> cases[] = {
      {"Velko Installer.app/Contents/MacOS", "Velko Installer.app"},
      {"plain", "plain"},
      {"Velko.app/Contents/Helpers", "Velko.app/Contents/Helpers"},
      {"NoBundle/Contents/MacOS", "NoBundle/Contents/MacOS"},
      {"Velko.app/Other/MacOS", "Velko.app/Other/MacOS"},
  };
  test::TempDir dir;
  // The executable's own path comes back with symbolic links resolved.
  const fs::path root = fs::canonical(dir.path());
  for (const auto& [folder, bundle] : cases) {
    SCOPED_TRACE(folder);
    const fs::path exe = root / folder / "print_bundle_path";
    fs::create_directories(exe.parent_path());
    fs::copy_file(VELKO_PRINT_BUNDLE_PATH, exe);
    const test::ProcessResult run = test::runProcess({exe.string()});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, (root / bundle).string() + "\n" +
                           (root / bundle / "Contents" / "Resources").string() + "\n");
  }
}

}  // namespace
}  // namespace velko::platform
