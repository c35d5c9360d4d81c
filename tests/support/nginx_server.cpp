// The system's nginx as a test's own child; its configuration comes from scripts/nginx-serve.sh.
#include "tests/support/nginx_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace velko::test {
namespace {

constexpr const char* kNginx = VELKO_NGINX;

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A port of 127.0.0.1 that was free a moment ago, or 0.
int freePort() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return 0;
  sockaddr_in address = loopback(0);
  socklen_t length = sizeof(address);
  int port = 0;
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
      getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    port = ntohs(address.sin_port);
  }
  close(fd);
  return port;
}

bool accepts(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return false;
  const sockaddr_in address = loopback(port);
  const bool ok = connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  close(fd);
  return ok;
}

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "test support: %s\n", what.c_str());
  std::abort();
}

}  // namespace

NginxServer::NginxServer(const std::filesystem::path& root, Scheme scheme) : scheme_(scheme) {
  const std::string state = state_.path().string();
  // Another program may take the port before nginx binds it; then nginx exits and we try again.
  for (int attempt = 0; attempt < 5 && pid_ < 0; ++attempt) {
    port_ = freePort();
    std::vector<std::string> config = {"/bin/bash", VELKO_NGINX_SERVE_SCRIPT,
                                       "config",    root.string(),
                                       state,       std::to_string(port_)};
    if (scheme == Scheme::Https) config.push_back("--https");
    const ProcessResult written = runProcess(config);
    if (written.exitCode != 0) fail("nginx-serve.sh config failed: " + written.err);

    pid_ = startProcess(
        {kNginx, "-p", state, "-c", state + "/nginx.conf", "-e", state + "/logs/error.log"});
    for (int tick = 0; tick < 2000; ++tick) {
      if (accepts(port_)) return;
      int status = 0;
      if (waitpid(pid_, &status, WNOHANG) == pid_) {
        pid_ = -1;
        break;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    stop();
  }
  fail("nginx did not start; see " + state + "/logs/error.log");
}

NginxServer::~NginxServer() {
  stop();
}

void NginxServer::stop() {
  if (pid_ < 0) return;
  kill(pid_, SIGTERM);
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
}

std::string NginxServer::url(const std::string& path) const {
  return std::string(scheme_ == Scheme::Https ? "https" : "http") +
         "://127.0.0.1:" + std::to_string(port_) + path;
}

}  // namespace velko::test
