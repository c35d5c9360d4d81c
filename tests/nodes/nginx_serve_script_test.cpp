// scripts/nginx-serve.sh as the demo and the benchmarks run it: start prints a working URL, stop
// leaves nothing running and may be repeated.
#include <signal.h>

#include <gtest/gtest.h>

#include <string>

#include "nodes/http_engine.h"
#include "tests/support/test_support.h"

namespace velko::nodes::detail {
namespace {

test::ProcessResult script(const std::vector<std::string>& arguments) {
  std::vector<std::string> argv = {"/bin/bash", VELKO_NGINX_SERVE_SCRIPT};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  return test::runProcess(argv);
}

TEST(NginxServeScript, StartsServesAndStopsForGood) {
  test::TempDir root;
  test::TempDir state;
  test::writeFile(root / "hello.txt", "hello\n");

  const test::ProcessResult started = script({"start", root.path(), state.path()});
  ASSERT_EQ(started.exitCode, 0) << started.err;
  ASSERT_EQ(started.out.rfind("http://127.0.0.1:", 0), 0u) << started.out;
  const std::string base = started.out.substr(0, started.out.find('\n'));
  const pid_t pid = std::stoi(test::readFile(state / "server.pid").value_or("0"));
  ASSERT_GT(pid, 0);

  // A second start finds the running server and names it again.
  EXPECT_EQ(script({"start", root.path(), state.path()}).out, started.out);

  HttpRequest request;
  request.url = base + "/hello.txt";
  const HttpResponse response = httpPerform(request, {});
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "hello\n");

  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    const test::ProcessResult stopped = script({"stop", state.path()});
    EXPECT_EQ(stopped.exitCode, 0) << stopped.err;
    EXPECT_NE(kill(pid, 0), 0) << "nginx still runs";
  }
  EXPECT_NE(httpPerform(request, {}).error, "");
}

}  // namespace
}  // namespace velko::nodes::detail
