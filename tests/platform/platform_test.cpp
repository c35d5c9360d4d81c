// The seam to the operating system against real child processes, plist bytes and environments.
#include "platform/platform.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/platform/plist_fixture.h"
#include "tests/support/test_support.h"
#include "tests/support/zip_archive.h"

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
  bool cutRowsLeftOut = false;
  for (const auto& [executable, shortName] : cases) {
    // proc_name on a Mac ends the name after 31 bytes (the kernel's pbi_name holds a NUL).
    if (!test::onLinux() && executable.size() > 31) {
      cutRowsLeftOut = true;
      continue;
    }
    test::FakeProcess child(dir.path(), executable);
    EXPECT_EQ(processShortName(child.pid()), shortName) << executable;
    ended = child.pid();
  }
  EXPECT_EQ(processShortName(ended), std::nullopt);
  if (cutRowsLeftOut) GTEST_SKIP() << "names of 32 bytes and more: proc_name keeps 31";
}

// The quit request reaches the user's own matching process and never another user's, even from
// root. The names are unique to this test, since suites run in parallel.
TEST(ProcessTable, QuitRequestSparesOtherUsersProcesses) {
  if (!test::onLinux()) {
    GTEST_SKIP() << "SIGTERM by pid and setpriv are Linux's; a Mac asks applications to quit "
                    "through NSWorkspace";
  }
  test::TempDir dir;
  test::FakeProcess own(dir / "own", "velko-quit-own");
  EXPECT_EQ(askApplicationsToQuit("", ""), 0) << "an empty word matches nothing";
  EXPECT_EQ(askApplicationsToQuit("", "velko-quit-own"), 1);
  int status = 0;
  ASSERT_EQ(waitpid(own.pid(), &status, 0), own.pid());
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
  EXPECT_EQ(askApplicationsToQuit("", "velko-quit-own"), 0) << "an ended process";

  if (getuid() != 0) GTEST_SKIP() << "another user's process needs root to start";
  fs::permissions(dir.path(),
                  fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
  fs::copy_file("/bin/sleep", dir / "velko-quit-other");
  const pid_t other =
      test::startProcess({"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                          (dir / "velko-quit-other").string(), "300"});
  // setpriv keeps its pid when it becomes the sleeper; wait until it has.
  while (processShortName(other) != "velko-quit-other") {
    ASSERT_EQ(waitpid(other, &status, WNOHANG), 0) << "setpriv ended early";
    usleep(1000);
  }
  EXPECT_EQ(askApplicationsToQuit("", "velko-quit-other"), 0);
  EXPECT_EQ(kill(other, 0), 0) << "the other user's process must still run";
  kill(other, SIGKILL);
  waitpid(other, &status, 0);
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

// The library would overflow its stack on absurd nesting, so such lists never reach it; a deep but
// sane one still gives its answer.
TEST(PropertyListString, AbsurdNestingNeverReachesTheLibrary) {
  const std::string key = "CFBundleShortVersionString";
  const auto xml = [&](int depth) {
    std::string nested;
    for (int i = 0; i < depth; ++i)
      nested += "<array>";
    for (int i = 0; i < depth; ++i)
      nested += "</array>";
    return test::xmlPlist("<dict><key>" + key + "</key><string>26.0.0</string><key>x</key>" +
                          nested + "</dict>");
  };
  const struct {
    const char* label;
    std::string bytes;
    std::optional<std::string> expected;
  } cases[] = {
      {"XML, 200 deep", xml(200), "26.0.0"},
      {"XML, 100,000 deep", xml(100000), std::nullopt},
      {"binary, 200 deep", test::nestedBinaryPlist("26.0.0", 200), "26.0.0"},
      {"binary, 100,000 deep", test::nestedBinaryPlist("26.0.0", 100000), std::nullopt},
      {"binary, a cycle", test::nestedBinaryPlist("26.0.0", 3, true), std::nullopt},
  };
  for (const auto& c : cases)
    EXPECT_EQ(propertyListString(c.bytes, key), c.expected) << c.label;
}

// A new file is never written through a name that exists, a planted link included.
TEST(WriteNewFile, NeverWritesThroughAnExistingName) {
  test::TempDir dir;
  test::writeFile(dir / "existing", "old");
  fs::create_symlink(dir / "elsewhere", dir / "link");
  for (const char* name : {"existing", "link"}) {
    const NewFileResult r = writeNewFile(dir / name, "new", {});
    EXPECT_FALSE(r.created) << name;
    EXPECT_FALSE(r.error.empty()) << name;
  }
  EXPECT_EQ(test::readFile(dir / "existing"), "old");
  EXPECT_FALSE(fs::exists(dir / "elsewhere"));
  const NewFileResult fresh = writeNewFile(dir / "fresh", "new", {});
  EXPECT_TRUE(fresh.created && fresh.error.empty()) << fresh.error;
  EXPECT_EQ(test::readFile(dir / "fresh"), "new");
}

TEST(PreferredLanguage, FirstNonEmptyVariableInOrderWins) {
  if (!test::onLinux()) GTEST_SKIP() << "a Mac's language comes from NSLocale, not from variables";
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
                           (root / bundle / "Contents" / "Resources").string() + "\n" +
                           exe.string() + "\n");
  }
}

TEST(ExtractZip, WritesBelowALinkedDestinationAndLeavesTheWorkingFolder) {
  test::TempDir dir;
  // Links above the destination are the user's business (a home folder on another disk); only
  // the names inside the archive are checked.
  fs::create_directories(dir / "real" / "dest");
  fs::create_directory_symlink(dir / "real", dir / "linked");
  const fs::path archive = dir / "a.zip";
  test::writeZip(archive, {test::zipFolder("ro/", 0500), test::zipFile("ro/f", "x", 0)});
  const fs::path before = fs::current_path();
  ASSERT_TRUE(extractZip(archive, dir / "linked" / "dest"));
  EXPECT_EQ(fs::current_path(), before);
  // Modes that would lock the owner out are widened, so a refused package can be cleared away
  // (checked on the bits: the test may run as root, whom no mode stops).
  const fs::path ro = dir / "real" / "dest" / "ro";
  EXPECT_EQ(test::readFile(ro / "f"), "x");
  EXPECT_EQ(fs::status(ro).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(ro / "f").permissions(), fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_FALSE(extractZip(dir / "missing.zip", dir / "real" / "dest"));
}

TEST(ExchangePaths, SwapsInOneStepOrChangesNothing) {
  test::TempDir dir;
  const fs::path a = dir / "a", b = dir / "b";
  test::writeFile(a / "id", "a");
  test::writeFile(b, "b");
  ASSERT_TRUE(exchangePaths(a, b));
  EXPECT_EQ(test::readFile(b / "id"), "a");
  EXPECT_EQ(test::readFile(a), "b");

  EXPECT_FALSE(exchangePaths(a, dir / "missing"));
  EXPECT_EQ(test::readFile(a), "b");
  {
    test::ScopedEnv env({{"VELKO_NO_PATH_EXCHANGE", std::string("1")}});
    EXPECT_FALSE(exchangePaths(a, b));
    EXPECT_EQ(test::readFile(a), "b");
  }
  test::ScopedEnv env({{"VELKO_NO_PATH_EXCHANGE", std::string("0")}});
  EXPECT_TRUE(exchangePaths(a, b));
}

}  // namespace
}  // namespace velko::platform
