// Shared helpers of the test suites: temporary folders, pinned environment, files, child processes.
#include "tests/support/test_support.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

extern char** environ;

namespace velko::test {
namespace fs = std::filesystem;
namespace {

[[noreturn]] void die(const std::string& what) {
  std::fprintf(stderr, "test support: %s: %s\n", what.c_str(), std::strerror(errno));
  std::abort();
}

std::vector<std::string> environmentWith(
    const std::map<std::string, std::optional<std::string>>& env) {
  std::vector<std::string> out;
  for (char** e = environ; *e != nullptr; ++e) {
    const std::string entry = *e;
    if (!env.contains(entry.substr(0, entry.find('=')))) out.push_back(entry);
  }
  for (const auto& [name, value] : env) {
    if (value) out.push_back(name + "=" + *value);
  }
  return out;
}

void setOrUnset(const std::string& name, const std::optional<std::string>& value) {
  if (value) {
    setenv(name.c_str(), value->c_str(), 1);
  } else {
    unsetenv(name.c_str());
  }
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
  std::vector<char*> out;
  for (auto& s : strings)
    out.push_back(s.data());
  out.push_back(nullptr);
  return out;
}

// Starts `argv` with stdin from /dev/null and stdout, stderr into the files `out` and `err`.
pid_t spawn(const std::vector<std::string>& argv,
            const std::map<std::string, std::optional<std::string>>& env, const std::string& out,
            const std::string& err) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  std::vector<std::string> args = argv;
  std::vector<std::string> envStrings = environmentWith(env);
  auto argp = pointers(args);
  auto envp = pointers(envStrings);
  pid_t pid = -1;
  const int rc = posix_spawn(&pid, argv.at(0).c_str(), &actions, nullptr, argp.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) {
    errno = rc;
    die("posix_spawn " + argv.at(0));
  }
  return pid;
}

}  // namespace

bool onLinux() {
  return VELKO_TEST_ON_LINUX;
}

TempDir::TempDir() {
  std::string pattern = (fs::temp_directory_path() / "velko-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) die("mkdtemp");
  path_ = pattern;
}

TempDir::~TempDir() {
  std::error_code ec;
  // Tests make folders read-only to provoke failures; give the owner rights back before removal.
  for (auto it = fs::recursive_directory_iterator(path_, ec); !ec && it != fs::end(it);
       it.increment(ec)) {
    if (it->is_directory(ec))
      fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
  }
  fs::permissions(path_, fs::perms::owner_all, fs::perm_options::add, ec);
  fs::remove_all(path_, ec);
}

ScopedEnv::ScopedEnv(const std::map<std::string, std::optional<std::string>>& values) {
  for (const auto& [name, value] : values) {
    const char* old = std::getenv(name.c_str());
    saved_[name] = old ? std::optional<std::string>(old) : std::nullopt;
    setOrUnset(name, value);
  }
}

ScopedEnv::~ScopedEnv() {
  for (const auto& [name, value] : saved_)
    setOrUnset(name, value);
}

IsolatedHome::IsolatedHome(const fs::path& root, const std::string& lang)
    : env_({{"HOME", root.string()},
            {"VELKO_UXP_BASE_DIR", std::nullopt},
            {"VELKO_MODEL_STORE", (root / "models").string()},
            {"VELKO_MODEL_DIR", std::nullopt},
            {"VELKO_MODEL_DIR_ONLY", std::nullopt},
            {"VELKO_MODEL_LIST_URL", "http://127.0.0.1:9/models.json"},
            {"LANGUAGE", std::nullopt},
            {"LC_ALL", std::nullopt},
            {"LC_MESSAGES", std::nullopt},
            {"LANG", lang}}) {}

void writeFile(const fs::path& file, const std::string& contents) {
  std::error_code ec;
  if (file.has_parent_path()) fs::create_directories(file.parent_path(), ec);
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << contents;
  if (!out) die("write " + file.string());
}

std::optional<std::string> readFile(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::ostringstream buffer;
  buffer << in.rdbuf();
  return buffer.str();
}

std::optional<Tree> treeAt(const fs::path& path) {
  std::error_code ec;
  const auto at = [&ec](const fs::path& p) -> std::string {
    const fs::file_status s = fs::symlink_status(p, ec);
    return fs::is_regular_file(s) ? readFile(p).value_or("<unreadable>")
           : fs::is_symlink(s)    ? "-> " + fs::read_symlink(p, ec).string()
           : fs::is_directory(s)  ? "/"
                                  : "<other>";
  };
  const fs::file_status s = fs::symlink_status(path, ec);
  if (!fs::exists(s)) return std::nullopt;
  if (!fs::is_directory(s)) return Tree{{"", at(path)}};
  Tree tree;
  for (auto it = fs::recursive_directory_iterator(path, ec); !ec && it != fs::end(it);
       it.increment(ec))
    tree[it->path().lexically_relative(path).string()] = at(it->path());
  return tree;
}

void writeSamplePlugin(const fs::path& folder, const std::string& id, const std::string& version,
                       const std::string& name) {
  writeFile(folder / "manifest.json",
            "{\n  \"id\": \"" + id + "\",\n  \"name\": \"" + name + "\",\n  \"version\": \"" +
                version + "\",\n  \"main\": \"index.html\",\n  \"manifestVersion\": 5,\n" +
                "  \"host\": {\"app\": \"PS\", \"minVersion\": \"24.2.0\"}\n}\n");
  writeFile(folder / "index.html", "<!doctype html><script src=\"main.js\"></script>\n");
  writeFile(folder / "main.js", "console.log('" + id + " " + version + "');\n");
  writeFile(folder / "icons" / "icon.png", std::string("\x89PNG\r\n\x1a\n", 8));
}

ProcessResult runProcess(const std::vector<std::string>& argv,
                         const std::map<std::string, std::optional<std::string>>& env) {
  // Files rather than pipes: nothing to drain while the child runs, and no hang when a
  // grandchild keeps the streams open.
  const TempDir streams;
  const pid_t pid = spawn(argv, env, streams / "out", streams / "err");
  ProcessResult result;
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.out = readFile(streams / "out").value_or("");
  result.err = readFile(streams / "err").value_or("");
  return result;
}

pid_t startProcess(const std::vector<std::string>& argv,
                   const std::map<std::string, std::optional<std::string>>& env) {
  return spawn(argv, env, "/dev/null", "/dev/null");
}

FakeProcess::FakeProcess(const fs::path& folder, const std::string& name) {
  const fs::path exe = folder / name;
  std::error_code ec;
  fs::create_directories(folder, ec);
  fs::copy_file("/bin/sleep", exe, fs::copy_options::overwrite_existing, ec);
  if (ec) die("copy sleep to " + exe.string());
  pid_ = startProcess({exe.string(), "300"});
}

FakeProcess::~FakeProcess() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
  }
}

}  // namespace velko::test
