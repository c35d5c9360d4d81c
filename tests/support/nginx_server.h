// Debian's nginx as a test's own child: a free loopback port, a temporary prefix, a given root.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "tests/support/test_support.h"

namespace velko::test {

// Serves `root` from construction to destruction; the process is stopped and reaped on
// destruction. With Https the server presents a self-signed certificate made at start, which
// the system does not trust. Aborts the test run when nginx cannot be started.
class NginxServer {
 public:
  enum class Scheme { Http, Https };

  explicit NginxServer(const std::filesystem::path& root, Scheme scheme = Scheme::Http);
  ~NginxServer();
  NginxServer(const NginxServer&) = delete;
  NginxServer& operator=(const NginxServer&) = delete;

  int port() const { return port_; }
  // "http://127.0.0.1:<port>" (or https) followed by `path`.
  std::string url(const std::string& path) const;

 private:
  void stop();

  TempDir state_;
  Scheme scheme_;
  pid_t pid_ = -1;
  int port_ = 0;
};

}  // namespace velko::test
