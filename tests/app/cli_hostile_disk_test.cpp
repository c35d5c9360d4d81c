// The real executable against hostile disks: things that are not files where files belong, absurd
// nesting, and a registry folder that runs full in the middle of the write.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>

#include <nlohmann/json.hpp>

#include "tests/app/cli_fixture.h"

namespace velko::test {
namespace {

class HostileDiskTest : public CliTest {
 protected:
  // Runs the installer under a time limit, so a read that waits forever fails the test (SIGKILL)
  // instead of hanging the suite.
  ProcessResult runLimited(const std::vector<std::string>& args, const Env& env = {}) const {
    std::vector<std::string> argv = {
        "/usr/bin/timeout", "-s", "KILL", "30", VELKO_INSTALLER_EXE, "--plugin",
        package().string()};
    argv.insert(argv.end(), args.begin(), args.end());
    return runProcess(argv, env);
  }
  void fifo(const fs::path& path) const {
    fs::create_directories(path.parent_path());
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0) << std::strerror(errno);
  }
  // An old version folder registered in PS.json, with a FIFO for its marker.
  void oldVersionWithFifoMarker() const {
    const fs::path old = registry().parent_path().parent_path().parent_path() / "Plugins" /
                         "External" / "com.example.sample_1.0.0";
    writeFile(old / "keep.txt", "old files");
    writeFile(registry(), R"({"plugins": [{"pluginId": "com.example.sample",
        "path": "$localPlugins/External/com.example.sample_1.0.0", "versionString": "1.0.0"}]})");
    fifo(old / "manifest.json");
  }
  fs::path oldKeep() const {
    return registry().parent_path().parent_path().parent_path() /
           "Plugins/External/com.example.sample_1.0.0/keep.txt";
  }
};

// Anything but a regular file where a file is expected is unreadable: never an abort, never a
// wait. A FIFO (which would hang a reader) and a device (which never ends) stand for every kind of
// non-file; a folder goes through the same check before opening. PS.json gets its read failure; a
// manifest that cannot be read is no manifest, so a folder without a readable marker is kept and a
// package without one is not found; an Info.plist that cannot be read gives no version. Absurd
// nesting is refused before anything is written.
TEST_F(HostileDiskTest, NonFilesAndAbsurdNestingAreUnreadableNeverFatal) {
  const std::string readFailure = "failed: Could not read PS.json: " + registry().string() + "\n";
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  const fs::path plist =
      dir_ / "Applications" / "Adobe Photoshop 2025.app" / "Contents" / "Info.plist";
  const struct {
    const char* name;
    std::function<void()> setup;
    const char* word;
    int code;
    std::string out, err;
    bool oldFolderKept = false;
  } cases[] = {
      {"FIFO at PS.json", [&] { fifo(registry()); }, "install", 1, "", readFailure},
      {"FIFO at PS.json", [&] { fifo(registry()); }, "status", 0, kStatus, ""},
      // A check that let devices through would read this one for ever.
      {"link to /dev/zero at PS.json",
       [&] {
         fs::create_directories(registry().parent_path());
         fs::create_symlink("/dev/zero", registry());
       },
       "install", 1, "", readFailure},
      {"FIFO at the package's manifest.json",
       [&] {
         fs::remove(package() / "manifest.json");
         fifo(package() / "manifest.json");
       },
       "install", 2, "", "error: plugin not found\n"},
      {"FIFO at an old folder's manifest.json", [&] { oldVersionWithFifoMarker(); }, "install", 0,
       "updated previous=1.0.0 version=1.2.0\n", "", true},
      {"FIFO at Info.plist", [&] { fifo(plist); }, "status", 0,
       kStatus + "photoshop: Adobe Photoshop 2025  too-old\n", ""},
      {"PS.json nested 100,000 deep", [&] { writeFile(registry(), deep); }, "install", 1, "",
       "failed: PS.json is not valid JSON: nested deeper than 256 levels\n"},
      {"PS.json nested 100,000 deep", [&] { writeFile(registry(), deep); }, "status", 0, kStatus,
       ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + ", " + c.word);
    fs::remove_all(dir_ / "Library");
    fs::remove_all(dir_ / "Applications");
    fs::remove_all(package());
    writeSamplePlugin(package(), "com.example.sample", "1.2.0");
    c.setup();
    // The test itself must not wait on a FIFO either.
    const auto registryText = [&] {
      return fs::is_regular_file(registry()) ? readFile(registry()) : std::nullopt;
    };
    const auto registryBefore = registryText();
    const ProcessResult r = runLimited({"--cli", c.word});
    EXPECT_EQ(r.exitCode, c.code) << "signal " << r.signal;
    EXPECT_EQ(r.out, c.out);
    EXPECT_EQ(r.err, c.err);
    if (c.code != 0) {
      EXPECT_EQ(registryText(), registryBefore);
    }
    EXPECT_EQ(fs::exists(oldKeep()), c.oldFolderKept);
  }
}

// Mounts a small tmpfs for the test's lifetime; only root may.
class SmallFileSystem {
 public:
  SmallFileSystem(const fs::path& at, size_t bytes) : at_(at) {
    fs::create_directories(at);
    const std::string options = "size=" + std::to_string(bytes);
    mounted_ = ::mount("tmpfs", at.c_str(), "tmpfs", 0, options.c_str()) == 0;
    if (!mounted_) reason_ = std::strerror(errno);
  }
  ~SmallFileSystem() {
    if (mounted_) ::umount2(at_.c_str(), MNT_DETACH);
  }
  SmallFileSystem(const SmallFileSystem&) = delete;
  SmallFileSystem& operator=(const SmallFileSystem&) = delete;
  bool mounted() const { return mounted_; }
  const std::string& reason() const { return reason_; }

 private:
  fs::path at_;
  bool mounted_ = false;
  std::string reason_;
};

// A registry folder with room for PS.json and its backup and nothing more: the new registry
// cannot be written. A registry this small (under 1 KiB, as on most machines) sits whole in a
// stream's buffer, so only a write that is checked to the last byte notices. The old PS.json must
// stay byte for byte, and the run fail.
TEST_F(HostileDiskTest, FullDiskNeverShortensTheRegistry) {
  if (geteuid() != 0) GTEST_SKIP() << "mounting a small tmpfs needs root";
  constexpr size_t kPage = 4096, kRegistryBytes = 600;
  // The registry in the text form the installer writes, padded with another plug-in's entry.
  nlohmann::json plugins = {{{"pluginId", "com.other"}, {"padding", ""}},
                            {{"pluginId", "com.example.sample"},
                             {"path", "$localPlugins/External/com.example.sample_1.0.0"},
                             {"versionString", "1.0.0"}}};
  std::string text = nlohmann::json{{"plugins", plugins}}.dump(2) + "\n";
  plugins[0]["padding"] = std::string(kRegistryBytes - text.size(), 'p');
  text = nlohmann::json{{"plugins", plugins}}.dump(2) + "\n";
  ASSERT_EQ(text.size(), kRegistryBytes);

  for (const char* word : {"install", "uninstall"}) {
    SCOPED_TRACE(word);
    const fs::path base = dir_ / word;
    const SmallFileSystem small(base / "PluginsInfo", 2 * kPage);
    if (!small.mounted()) GTEST_SKIP() << "cannot mount a tmpfs here: " << small.reason();
    const fs::path registry = base / "PluginsInfo" / "v1" / "PS.json";
    writeFile(registry, text);
    const ProcessResult r = runLimited({"--cli", word}, {{"VELKO_UXP_BASE_DIR", base.string()}});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_TRUE(r.err.starts_with("failed: Write error: " + registry.string() + ".tmp-velko-"))
        << r.err;
    EXPECT_EQ(readFile(registry), text);
  }
}

}  // namespace
}  // namespace velko::test
