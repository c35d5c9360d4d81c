// The real executable against hostile disks: things that are not files where files belong, absurd
// nesting, folders that run full in the middle of a write, and odd names on the model road.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <optional>

#include <nlohmann/json.hpp>

#include "tests/app/cli_fixture.h"
#include "tests/support/model_server.h"
#include "tests/support/zip_archive.h"

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

// Fills the file system holding `folder` to the last byte.
void fillUp(const fs::path& folder) {
  const int fd = ::open((folder / "filler").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ASSERT_GE(fd, 0) << std::strerror(errno);
  const std::string block(4096, 'f');
  while (::write(fd, block.data(), block.size()) > 0) {
  }
  ::write(fd, block.data(), 1);  // the last partial page
  ::close(fd);
}

// The bytes of a zip archive made by the test's writer.
std::string zipBytes(const fs::path& file, const std::vector<ZipEntry>& entries,
                     ZipForm form = {}) {
  writeZip(file, entries, form);
  return readFile(file).value();
}

// The model road, through the real executable, on disks that run full, with files planted where
// the store writes its own, and with odd names from the archive and from the command line. Nothing
// outside the model folder is touched, nothing hangs, a package that was not written whole never
// counts as installed, and the cached list is never replaced by less than a whole new one.
TEST_F(HostileDiskTest, ModelRoadKeepsToTheModelFolderAndSeesEveryFailedWrite) {
  if (!VELKO_LIST_KEY_IS_DEVELOPMENT_KEY) GTEST_SKIP() << "the executable trusts another key";
  ModelServer server;
  const std::string weights = "old weights";
  // An archive whose only entry fails its CRC-32: one byte of the stored data is changed after
  // the CRC was written. The list's checksum is over the changed bytes, so only the unpack can
  // see it.
  std::string badCrc = zipBytes(dir_ / "crc.zip", {zipFile("c.mlmodelc/w.bin", "weights-weights")},
                                {.stored = true});
  badCrc[badCrc.find("weights-weights")] = 'W';
  const auto publishZip = [&](const fs::path& store, const std::string& id,
                              const std::vector<ZipEntry>& entries, ZipForm form = {}) {
    const std::string zip = zipBytes(store.parent_path() / (id + ".zip"), entries, form);
    server.publish({coremlModel(id, zip)}, {zip});
  };
  const std::string utf8Name = "Gewichte-\xc3\xbc.bin", oldArchiverName =
                                                            "Gr\x94\xe1"
                                                            "e.bin";

  struct Row {
    const char* name;
    size_t tmpfsBytes;  // 0: the store lies on the ordinary disk
    std::function<void(const fs::path& store)> setup;
    std::vector<std::string> args;
    int code;
    std::string out, err;  // "<store>" stands for the model folder
    std::function<void(const fs::path& store)> check;
  };
  const Row rows[] = {
      {"an unpack that runs out of room fails and leaves the old package and its marker",
       110'000'000,
       [&](const fs::path& store) {
         writeFile(store / "z.mlmodelc" / "w.bin", weights);
         writeFile(store / ".installed" / "z.json", R"({"sha256":"old","version":"0.9"})");
         // 120 MB of one letter deflate to a small download; no installed_size is announced.
         publishZip(store, "z", {zipFile("z.mlmodelc/w.bin", std::string(120'000'000, 'w'))});
       },
       {"models-fetch", "--model", "z"},
       1,
       "",
       "failed: The model package could not be unpacked.\n",
       [&](const fs::path& store) {
         // Compared as a truth value: a failure must not print 120 MB.
         EXPECT_TRUE(readFile(store / "z.mlmodelc" / "w.bin") == weights);
         EXPECT_EQ(readFile(store / ".installed" / "z.json"),
                   R"({"sha256":"old","version":"0.9"})");
         EXPECT_FALSE(fs::exists(store / ".downloads" / "z.zip.part"));
         EXPECT_FALSE(fs::exists(store / ".downloads" / "z.unpack"));
       }},
      {"an entry that fails its CRC-32 is refused",
       0,
       [&](const fs::path&) { server.publish({coremlModel("c", badCrc)}, {badCrc}); },
       {"models-fetch", "--model", "c"},
       1,
       "",
       "failed: The model package could not be unpacked.\n",
       [](const fs::path& store) { EXPECT_FALSE(fs::exists(store / "c.mlmodelc")); }},
      {"a name flagged as UTF-8 unpacks although the command line sets no locale",
       0,
       [&](const fs::path& store) {
         publishZip(store, "u", {zipFile("u.mlmodelc/" + utf8Name, "w")}, {.utf8Names = true});
       },
       {"models-fetch", "--model", "u"},
       0,
       "loaded u\n",
       "",
       [&](const fs::path& store) { EXPECT_EQ(readFile(store / "u.mlmodelc" / utf8Name), "w"); }},
      {"an old archiver's name unpacks byte for byte",
       0,
       [&](const fs::path& store) {
         publishZip(store, "o", {zipFile("o.mlmodelc/" + oldArchiverName, "w")});
       },
       {"models-fetch", "--model", "o"},
       0,
       "loaded o\n",
       "",
       [&](const fs::path& store) {
         EXPECT_EQ(readFile(store / "o.mlmodelc" / oldArchiverName), "w");
       }},
      {"an id that climbs out names nothing (any id with a '/' is refused alike)",
       0,
       [&](const fs::path& store) {
         server.publishThree();
         writeFile(store.parent_path() / "project" / "MyModel.mlmodelc" / "w.bin", weights);
         writeFile(store.parent_path() / "project" / "MyModel.json", "{}");
       },
       {"models-remove", "--model", "../project/MyModel"},
       1,
       "",
       "failed: This model is not in the model folder.\n",
       [&](const fs::path& store) {
         EXPECT_EQ(readFile(store.parent_path() / "project" / "MyModel.mlmodelc" / "w.bin"),
                   weights);
         EXPECT_TRUE(fs::exists(store.parent_path() / "project" / "MyModel.json"));
         EXPECT_FALSE(fs::exists(store / ".downloads")) << "not even a lock file is made";
       }},
      {"a plain file named .downloads holds no download: removal goes ahead",
       0,
       [&](const fs::path& store) {
         server.publishThree();
         writeFile(store / ".downloads", "");
         writeFile(store / "x.mlmodelc" / "w.bin", weights);
       },
       {"models-remove", "--model", "x"},
       0,
       "removed x\n",
       "",
       [](const fs::path& store) { EXPECT_FALSE(fs::exists(store / "x.mlmodelc")); }},
      {"a FIFO at the download's name is no file to write, never waited on",
       0,
       [&](const fs::path& store) {
         server.publishThree();
         fifo(store / ".downloads" / "a.bin.part");
       },
       {"models-fetch", "--model", "a"},
       1,
       "",
       "failed: Cannot write file: <store>/.downloads/a.bin.part\n",
       [](const fs::path&) {}},
      {"a link at the download's name is not written through",
       0,
       [&](const fs::path& store) {
         server.publishThree();
         writeFile(store.parent_path() / "outside", "outside");
         fs::create_directories(store / ".downloads");
         fs::create_symlink(store.parent_path() / "outside", store / ".downloads" / "a.bin.part");
       },
       {"models-fetch", "--model", "a"},
       1,
       "",
       "failed: Cannot write file: <store>/.downloads/a.bin.part\n",
       [](const fs::path& store) {
         EXPECT_EQ(readFile(store.parent_path() / "outside"), "outside");
       }},
      {"a link at the lock's name makes no file outside",
       0,
       [&](const fs::path& store) {
         server.publishThree();
         fs::create_directories(store / ".downloads");
         fs::create_symlink(store.parent_path() / "outside.lock", store / ".downloads" / "a.lock");
       },
       {"models-fetch", "--model", "a"},
       1,
       "",
       "failed: Cannot write file: <store>/.downloads/a.lock\n",
       [](const fs::path& store) {
         EXPECT_FALSE(fs::exists(fs::symlink_status(store.parent_path() / "outside.lock")));
       }},
      {"a refresh on a full disk keeps the cached list whole and still serves the fresh one",
       64 * 1024,
       [&](const fs::path& store) {
         const SignedList cached = signedList({fileModel("r1", "1")});
         writeFile(store / "models.json", cached.text);
         writeFile(store / "models.json.sig", cached.signature);
         server.publish({fileModel("r2", "2")}, {"2"});
         fillUp(store);
       },
       {"models"},
       0,
       "id=r2 state=missing size=1 license=MIT update=no title=Title r2\n",
       "",
       [&](const fs::path& store) {
         const SignedList cached = signedList({fileModel("r1", "1")});
         EXPECT_EQ(readFile(store / "models.json"), cached.text);
         EXPECT_EQ(readFile(store / "models.json.sig"), cached.signature);
       }},
  };
  const bool root = geteuid() == 0;
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Row& row = rows[i];
    SCOPED_TRACE(row.name);
    if (row.tmpfsBytes != 0 && !root) {
      std::printf("skipped without root (a tmpfs is mounted): %s\n", row.name);
      continue;
    }
    const fs::path store = dir_ / ("row" + std::to_string(i)) / "models";
    fs::create_directories(store);
    std::optional<SmallFileSystem> small;
    if (row.tmpfsBytes != 0) {
      small.emplace(store, row.tmpfsBytes);
      ASSERT_TRUE(small->mounted()) << small->reason();
    }
    row.setup(store);
    std::vector<std::string> args = {"--cli"};
    args.insert(args.end(), row.args.begin(), row.args.end());
    const ProcessResult r = runLimited(
        args, {{"VELKO_MODEL_LIST_URL", server.listUrl()}, {"VELKO_MODEL_STORE", store.string()}});
    const auto withStore = [&](std::string text) {
      if (const size_t at = text.find("<store>"); at != std::string::npos) {
        text.replace(at, 7, store.string());
      }
      return text;
    };
    EXPECT_EQ(r.exitCode, row.code) << "signal " << r.signal;
    EXPECT_EQ(r.out, withStore(row.out));
    EXPECT_EQ(r.err, withStore(row.err));
    row.check(store);
  }
}

}  // namespace
}  // namespace velko::test
