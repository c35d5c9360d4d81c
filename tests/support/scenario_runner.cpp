// Plays scenario files: a world laid out in a temporary home, runs of the real executable or calls
// of the plug-in layer, and what must hold after each. The words are explained in
// tests/scenarios.md.
#include <fcntl.h>
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <set>
#include <sstream>
#include <thread>

#include "plugin_export/message_language.h"
#include "plugin_export/plugin_install.h"
#include "plugin_export/plugin_uninstall.h"
#include "plugin_export/uxp_locations.h"
#include "tests/platform/plist_fixture.h"
#include "tests/support/model_server.h"
#include "tests/support/nginx_server.h"
#include "tests/support/scenario_file.h"
#include "tests/support/zip_archive.h"

namespace velko::test {
namespace {

namespace fs = std::filesystem;
using json = nlohmann::json;

// The first word of `rest` (double quotes keep blanks in it) and the rest after it, unexpanded.
std::pair<std::string, std::string> firstWord(const std::string& rest) {
  const bool quoted = rest.starts_with('"');
  const size_t end = rest.find(quoted ? '"' : ' ', quoted);
  const std::string first = rest.substr(quoted, end == std::string::npos ? end : end - quoted);
  const size_t next = rest.find_first_not_of(' ', end == std::string::npos ? end : end + quoted);
  return {first, next == std::string::npos ? "" : rest.substr(next)};
}

std::vector<std::string> words(std::string text) {
  std::vector<std::string> out;
  for (text.erase(0, text.find_first_not_of(' ')); !text.empty();)
    std::tie(out.emplace_back(), text) = firstWord(text);
  return out;
}

// Places that CMake passes as NAME=PATH arguments, e.g. a helper program of one suite.
std::map<std::string, std::string> gPlaces;

class Player {
 public:
  explicit Player(const Scenario& s) : scenario_(s) {
    writeSamplePlugin(dir_ / "pkg", "com.example.sample", "1.2.0");
    const fs::path uxp = dir_ / "Library/Application Support/Adobe/UXP";
    vars_ = {{"home", dir_.path().string()},
             {"pkg", (dir_ / "pkg").string()},
             {"uxp", uxp.string()},
             {"registry", (uxp / "PluginsInfo/v1/PS.json").string()},
             {"external", (uxp / "Plugins/External").string()},
             {"store", (dir_ / "models").string()},
             {"exe", VELKO_INSTALLER_EXE}};
    vars_.insert(gPlaces.begin(), gPlaces.end());
    plugin_export::setMessageLanguage("en");
  }

  ~Player() {
    for (const fs::path& at : mounts_)
      ::umount2(at.c_str(), MNT_DETACH);
  }

  void play() {
    ASSERT_FALSE(scenario_.title.empty()) << scenario_.file << ": lines before the first title";
    for (const ScenarioLine& line : scenario_.lines) {
      const testing::ScopedTrace trace(scenario_.file.c_str(), line.number,
                                       line.verb + " " + line.rest);
      if (line.verb == "run" || line.verb == "call") runLine_ = line.number;
      step(line);
      if (testing::Test::IsSkipped() || testing::Test::HasFatalFailure()) return;
    }
    checkResult();
    if (background_ > 0) finish(0);
  }

 private:
  // {name} of a known place, {N*text} N times the text, {N~} the first N bytes of "0,1,2,...";
  // the escapes \n, \t, \\ and \xHH.
  std::string expand(const std::string& text) const {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '\\' && i + 1 < text.size()) {
        const char c = text[++i];
        if (c == 'x') {
          out += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
          i += 2;
        } else {
          out += c == 'n' ? '\n' : c == 't' ? '\t' : c;
        }
        continue;
      }
      const size_t close = text[i] == '{' ? text.find('}', i) : std::string::npos;
      const std::string inside =
          close == std::string::npos ? "" : text.substr(i + 1, close - i - 1);
      size_t digits = 0;
      while (digits < inside.size() && std::isdigit(static_cast<unsigned char>(inside[digits])))
        ++digits;
      if (vars_.contains(inside)) {
        out += vars_.at(inside);
      } else if (digits > 0 && inside.size() > digits + 1 && inside[digits] == '*') {
        for (size_t n = std::stoul(inside); n > 0; --n)
          out += inside.substr(digits + 1);
      } else if (digits > 0 && inside.size() == digits + 1 && inside[digits] == '~') {
        std::string counting;
        for (int n = 0; counting.size() < std::stoul(inside); ++n)
          counting += std::to_string(n) + ",";
        out += counting.substr(0, std::stoul(inside));
      } else {
        out += text[i];
        continue;
      }
      i = close;
    }
    return out;
  }
  // A path whose last part may hold wildcards, which must then match exactly one entry.
  fs::path resolve(const std::string& word) const {
    const fs::path path = expand(word);
    if (path.filename().string().find('*') == std::string::npos) return path;
    std::vector<fs::path> found;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(path.parent_path(), ec))
      if (fnmatch(path.filename().c_str(), e.path().filename().c_str(), 0) == 0)
        found.push_back(e.path());
    EXPECT_EQ(found.size(), 1u) << "entries matching " << path;
    return found.size() == 1 ? found[0] : path;
  }

  ModelServer& server() {
    if (!server_) {
      server_.emplace();
      vars_["list"] = server_->listUrl();
    }
    return *server_;
  }
  void addModel(json entry, const std::string& bytes) {
    const std::string file = entry["file"];
    if (file.find("://") == std::string::npos) serve("/m/" + file, bytes);
    models_.push_back(std::move(entry));
    listChanged_ = true;
  }
  void serve(const std::string& path, const std::string& bytes) {
    served_[path] = bytes;
    server().http.serve(path, bytes);
  }
  void route(const std::vector<std::string>& a) {
    static const std::map<std::string, HttpMode> modes = {
        {"status", HttpMode::Status},     {"close-after", HttpMode::CloseAfter},
        {"oversend", HttpMode::Oversend}, {"not-satisfiable", HttpMode::NotSatisfiable},
        {"trickle", HttpMode::Trickle},   {"ignore-range", HttpMode::IgnoreRange},
        {"redirect", HttpMode::Redirect}};
    ASSERT_TRUE(a.size() >= 2 && modes.contains(a[1])) << "route PATH MODE [N|TARGET]";
    const HttpMode mode = modes.at(a[1]);
    const bool redirect = mode == HttpMode::Redirect;
    const size_t n = a.size() > 2 && !redirect ? std::stoul(a[2]) : 0;
    server().http.route(a[0], {mode, mode == HttpMode::Status ? "" : served_[a[0]], n,
                               static_cast<int>(n), redirect ? server().http.url(a.at(2)) : ""});
  }
  // The Range header of each request for `path`, in brackets.
  std::string ranges(const std::string& path) {
    std::string seen;
    for (const RecordedRequest& r : server().http.requests())
      if (r.path == path) seen += "[" + r.range + "]";
    return seen;
  }
  void publishIfChanged() {
    if (!server_ || !listChanged_) return;
    const SignedList list = signedList(models_);
    server_->http.serve("/m/models.json", list.text);
    server_->http.serve("/m/models.json.sig", list.signature);
    listChanged_ = false;
  }

  // Takes the state of every path a later `same` names, just before a run or a call.
  void beforeRun() {
    checkResult();
    publishIfChanged();
    before_.clear();
    for (const ScenarioLine& l : scenario_.lines)
      if (l.verb == "same") before_[l.rest] = treeAt(expand(firstWord(l.rest).first));
  }
  void run(std::vector<std::string> argv) {
    beforeRun();
    argv.insert(argv.begin(), exe_);
    if (limited_) argv.insert(argv.begin(), {"/usr/bin/timeout", "-s", "KILL", "30"});
    result_ = runProcess(argv, env_);
  }
  // The plug-in layer's answer as lines: "ok" (with "replaced" or "removed") or "error <text>",
  // then "removed <folder>" and "warning <text>" lines; or "running" or "not running".
  void call(const std::vector<std::string>& a) {
    beforeRun();
    plugin_export::InstallOptions options{vars_["uxp"]};
    for (size_t i = 2; i < a.size(); ++i) {
      if (a[i] == "keep") options.replaceExisting = false;
      if (a[i].starts_with("min=")) options.hostMinVersion = a[i].substr(4);
    }
    std::string out;
    const auto add = [&out](const std::string& word, const std::vector<std::string>& items) {
      for (const std::string& item : items)
        out += word + " " + item + "\n";
    };
    bool ok = true;
    if (a.at(0) == "install") {
      const auto r = plugin_export::installIntoPhotoshop(a.at(1), options);
      ok = r.ok;
      out = !ok ? "error " + r.error + "\n" : r.replacedExisting ? "ok replaced\n" : "ok\n";
      add("removed", r.removedFolders);
      add("warning", r.warnings);
    } else if (a.at(0) == "uninstall") {
      const auto r = plugin_export::uninstallFromPhotoshop(a.at(1), options);
      ok = r.ok;
      out = !ok ? "error " + r.error + "\n" : r.removed ? "ok removed\n" : "ok\n";
      add("warning", r.warnings);
    } else {
      ASSERT_EQ(a.at(0), "running") << "call install|uninstall|running";
      out = plugin_export::isPhotoshopRunning() ? "running\n" : "not running\n";
    }
    result_ = ProcessResult{ok ? 0 : 1, 0, out, ""};
  }
  void checkResult() {
    if (result_) {
      const std::string of = "of the run in line " + std::to_string(runLine_);
      // A stream given as a pattern ("out-like", "err-like") matches with '*' for any text.
      const auto same = [&](const std::string& actual, const std::string& expected, bool like) {
        return like ? fnmatch(expected.c_str(), actual.c_str(), 0) == 0 : actual == expected;
      };
      EXPECT_EQ(result_->exitCode, expected_.exitCode) << of << ", signal " << result_->signal;
      EXPECT_PRED3(same, result_->out, expected_.out, like_.contains("out")) << of;
      EXPECT_PRED3(same, result_->err, expected_.err, like_.contains("err")) << of;
    }
    result_.reset();
    expected_ = ProcessResult{0, 0, "", ""};
    like_.clear();
  }
  void finish(int code) {
    int status = 0;
    ASSERT_EQ(waitpid(background_, &status, 0), background_);
    background_ = -1;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == code) << "status " << status;
  }

  void step(const ScenarioLine& line) {
    const std::string& v = line.verb;
    std::vector<std::string> a = words(line.rest);
    for (std::string& word : a)
      word = expand(word);
    const auto [first, tail] = firstWord(line.rest);
    const fs::path path = expand(first);
    const std::string text = expand(tail);
    if (v == "exit") {
      expected_.exitCode = std::stoi(a.at(0));
    } else if (v == "out" || v == "err" || v == "out-like" || v == "err-like") {
      (v.starts_with("out") ? expected_.out : expected_.err) += expand(line.rest) + "\n";
      if (v.ends_with("-like")) like_.insert(v.substr(0, 3));
    } else if (v == "needs") {
      if (line.rest == "root" && geteuid() != 0) GTEST_SKIP() << "needs root";
      if (line.rest == "linux" && !onLinux()) GTEST_SKIP() << "needs Linux";
      if (line.rest == "dev-key" && !VELKO_LIST_KEY_IS_DEVELOPMENT_KEY)
        GTEST_SKIP() << "the executable trusts another key than the development key";
    } else if (v == "file") {
      writeFile(path, text);
    } else if (v == "plugin") {
      writeSamplePlugin(a.at(0), a.at(1), a.at(2));
    } else if (v == "mkdir") {
      fs::create_directories(path);
    } else if (v == "remove") {
      fs::remove_all(path);
    } else if (v == "plist" || v == "binary-plist") {  // a property list whose root is TEXT
      writeFile(path, v == "plist" ? xmlPlist(text) : binaryPlist(xmlPlist(text)));
    } else if (v == "nested-plist") {  // nested-plist PATH VERSION DEPTH [cycle]
      writeFile(a.at(0), nestedBinaryPlist(a.at(1), std::stoi(a.at(2)), a.size() > 3));
    } else if (v == "truncate") {
      fs::resize_file(path, std::stoul(text));
    } else if (v == "fifo") {
      fs::create_directories(path.parent_path());
      ASSERT_EQ(mkfifo(path.c_str(), 0600), 0) << std::strerror(errno);
    } else if (v == "link") {
      fs::create_directories(path.parent_path());
      fs::create_symlink(text, path);
    } else if (v == "copy") {
      fs::create_directories(fs::path(a.at(1)).parent_path());
      fs::copy(a.at(0), a.at(1), fs::copy_options::recursive);
    } else if (v == "exe") {
      exe_ = path;
    } else if (v == "env") {
      const size_t equals = line.rest.find('=');
      env_[line.rest.substr(0, equals)] = equals == std::string::npos
                                              ? std::nullopt
                                              : std::optional(expand(line.rest.substr(equals + 1)));
    } else if (v == "limit") {
      limited_ = true;
    } else if (v == "process") {
      processes_.push_back(std::make_unique<FakeProcess>(dir_ / "proc", expand(line.rest)));
    } else if (v == "end-processes") {
      processes_.clear();
    } else if (v == "tmpfs") {
      fs::create_directories(path);  // a small file system for the scenario; only root may mount
      ASSERT_EQ(::mount("tmpfs", path.c_str(), "tmpfs", 0, ("size=" + a.at(1)).c_str()), 0)
          << std::strerror(errno);
      mounts_.push_back(path);
    } else if (v == "fill") {
      const int fd = ::open((path / "filler").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      ASSERT_GE(fd, 0) << std::strerror(errno);
      const std::string block(4096, 'f');
      while (::write(fd, block.data(), block.size()) > 0) {
      }
      (void)!::write(fd, block.data(), 1);  // the last partial page
      ::close(fd);
    } else if (v == "model") {  // model ID BYTES [JSON merged into the entry]
      const std::vector<std::string> w = words(line.rest);
      json entry = fileModel(w.at(0), expand(w.at(1)));
      const size_t patch = line.rest.find(" {\"");
      if (patch != std::string::npos)
        entry.merge_patch(json::parse(expand(line.rest.substr(patch))));
      addModel(entry, expand(w.at(1)));
    } else if (v == "zipmodel") {  // zipmodel ID [utf8] [stored] [damaged] NAME=CONTENTS...
      std::vector<ZipEntry> entries;
      ZipForm form;
      bool damaged = false;
      for (size_t i = 1; i < a.size(); ++i) {
        if (a[i] == "utf8" || a[i] == "stored" || a[i] == "damaged") {
          (a[i] == "utf8" ? form.utf8Names : a[i] == "stored" ? form.stored : damaged) = true;
        } else {
          entries.push_back(
              zipFile(a[i].substr(0, a[i].find('=')), a[i].substr(a[i].find('=') + 1)));
        }
      }
      writeZip(dir_ / "zips" / (a.at(0) + ".zip"), entries, form);
      std::string zip = readFile(dir_ / "zips" / (a.at(0) + ".zip")).value();
      // One byte of the stored data changed after its CRC was written: only the unpack sees it.
      if (damaged) zip[zip.find(entries.at(0).contents)] ^= 0x20;
      addModel(coremlModel(a.at(0), zip), zip);
    } else if (v == "serve" || v == "route") {  // after the list, so they can change its answers
      publishIfChanged();
      v == "serve" ? serve(path.string(), text) : route(a);
    } else if (v == "signed-list") {  // the models so far, signed, into a folder; a new list begins
      const SignedList list = signedList(models_);
      writeFile(path / "models.json", list.text);
      writeFile(path / "models.json.sig", list.signature);
      models_.clear();
    } else if (v == "nginx") {
      nginx_ = std::make_unique<NginxServer>(path);
      vars_["nginx"] = nginx_->url("");
    } else if (v == "not-asked") {
      EXPECT_EQ(ranges(path), "") << path << " was asked for";
    } else if (v == "ranges") {
      EXPECT_EQ(ranges(path), text) << path;
    } else if (v == "run") {
      run(a);
    } else if (v == "call") {
      call(a);
    } else if (v == "start") {  // a run in the background, ended by `finish`
      beforeRun();
      a.insert(a.begin(), exe_);
      background_ = startProcess(a, env_);
    } else if (v == "await") {
      for (int i = 0; i < 3000 && ranges(path).empty(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      ASSERT_NE(ranges(path), "");
    } else if (v == "still-running") {
      int status = 0;
      EXPECT_EQ(waitpid(background_, &status, WNOHANG), 0) << "it has ended";
    } else if (v == "finish") {
      finish(std::stoi(a.at(0)));
    } else if (v == "text") {
      checkResult();
      EXPECT_EQ(readFile(resolve(first)), text);
    } else if (v == "same") {
      checkResult();
      EXPECT_TRUE(treeAt(path) == before_[line.rest]) << path << " changed";
    } else if (v == "exists" || v == "absent") {
      checkResult();
      std::error_code ec;
      EXPECT_EQ(fs::exists(fs::symlink_status(resolve(first), ec)), v == "exists") << path;
    } else if (v == "list") {  // list FOLDER PATTERN...: each entry matches one pattern, each once
      checkResult();
      std::multiset<std::string> names;
      std::error_code ec;
      for (const auto& e : fs::directory_iterator(a.at(0), ec))
        names.insert(e.path().filename().string());
      for (size_t i = 1; i < a.size(); ++i) {
        const auto hit = std::find_if(names.begin(), names.end(), [&](const std::string& n) {
          return fnmatch(a[i].c_str(), n.c_str(), 0) == 0;
        });
        EXPECT_NE(hit, names.end()) << a[i] << " is not in " << a[0];
        if (hit != names.end()) names.erase(hit);
      }
      EXPECT_TRUE(names.empty()) << "more in " << a[0] << ": " << testing::PrintToString(names);
    } else {
      FAIL() << "unknown word: " << v;
    }
  }

  const Scenario& scenario_;
  TempDir dir_;
  IsolatedHome home_{dir_.path()};
  std::map<std::string, std::string> vars_;
  std::string exe_ = VELKO_INSTALLER_EXE;
  std::map<std::string, std::optional<std::string>> env_;
  bool limited_ = false;
  std::optional<ModelServer> server_;
  std::vector<json> models_;
  bool listChanged_ = false;
  std::map<std::string, std::string> served_;
  std::unique_ptr<NginxServer> nginx_;
  std::vector<std::unique_ptr<FakeProcess>> processes_;
  std::vector<fs::path> mounts_;
  pid_t background_ = -1;
  std::optional<ProcessResult> result_;
  int runLine_ = 0;
  std::set<std::string> like_;
  ProcessResult expected_{0, 0, "", ""};
  std::map<std::string, std::optional<Tree>> before_;
};

class ScenarioTest : public testing::Test {
 public:
  explicit ScenarioTest(Scenario s) : scenario_(std::move(s)) {}
  void TestBody() override { Player(scenario_).play(); }

 private:
  Scenario scenario_;
};

}  // namespace
}  // namespace velko::test

// Each argument is a scenario file, whose scenarios become tests named by their titles, or a
// place NAME=PATH for the files.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  for (int i = 1; i < argc; ++i) {
    const std::string file = argv[i];
    if (const size_t equals = file.find('='); equals != std::string::npos) {
      velko::test::gPlaces[file.substr(0, equals)] = file.substr(equals + 1);
      continue;
    }
    const auto scenarios = velko::test::readScenarioFile(file);
    if (scenarios.empty()) {
      std::fprintf(stderr, "no scenarios in %s\n", file.c_str());
      return 1;
    }
    const std::string suite = std::filesystem::path(file).stem().string();
    for (const auto& s : scenarios) {
      testing::RegisterTest(suite.c_str(), s.title.c_str(), nullptr, nullptr, file.c_str(),
                            s.number,
                            [s]() -> testing::Test* { return new velko::test::ScenarioTest(s); });
    }
  }
  return RUN_ALL_TESTS();
}
