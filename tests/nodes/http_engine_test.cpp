// The HTTP engine against a loopback server and a real nginx: what a response record says, and
// how a transfer ends on redirects, cut bodies, refused statuses, no time limit and bad TLS; and
// scripts/nginx-serve.sh, which serves the demo and the benchmarks, as the engine sees it.
#include "nodes/http_engine.h"

#include <signal.h>

#include <gtest/gtest.h>

#include "tests/support/http_test_server.h"
#include "tests/support/nginx_server.h"
#include "tests/support/test_support.h"

namespace velko::nodes::detail {
namespace {

using test::HttpMode;

HttpRequest get(const std::string& url) {
  HttpRequest request;
  request.url = url;
  return request;
}

// One request per row; the response in one line: status, body or error, and what the last
// response said (content type, location, Retry-After seconds). After redirects only the final
// response is described; a failure keeps neither status nor body, whatever arrived before it.
TEST(HttpEngine, EndsOnTheFinalAnswerOrFailsWithNothingKept) {
  test::HttpTestServer server;
  server.route("/file", {.bytes = "payload", .headers = {{"Content-TYPE", "text/x-final"}}});
  // The first hop carries headers the final response lacks; none of them may survive.
  server.route("/start", {.mode = HttpMode::Redirect,
                          .location = server.url("/five"),
                          .headers = {{"Retry-After", "7"}, {"Content-Type", "text/x-hop"}}});
  server.redirectChain("/five", 4, "/file");
  server.redirectChain("/six", 6, "/file");
  server.route("/scheme", {.mode = HttpMode::Redirect, .location = "file:///etc/passwd"});
  server.route("/cut", {.mode = HttpMode::CloseAfter, .bytes = std::string(900, 'c'), .count = 9});
  server.route("/slow", {.mode = HttpMode::Trickle, .bytes = std::string(100, 'a'), .count = 1});
  server.route("/missing", {.mode = HttpMode::Status, .bytes = "not here", .status = 404});
  server.serve("/empty", "");
  // An error status is an answer: its Retry-After is read as whole seconds, up to an hour.
  int busyRoutes = 0;
  const auto busy = [&](const std::string& retryAfter) {
    const std::string path = "/busy/" + std::to_string(++busyRoutes);
    server.route(path, {.mode = HttpMode::Status,
                        .bytes = "later",
                        .status = 503,
                        .headers = {{"retry-AFTER", retryAfter}}});
    return server.url(path);
  };
  test::TempDir root;
  test::writeFile(root / "f", "f");
  const test::NginxServer tls(root.path(), test::NginxServer::Scheme::Https);
  const std::string six = server.url("/six"), octets = " | application/octet-stream |  | ";
  // The address; how it is asked ("follow" redirects, "unlimited" in time, "refuse" the status
  // in onStatus, which only a body reaches); and the outcome.
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {server.url("/start"), "follow", "200 payload | text/x-final |  | -"},
      {six, "follow",
       "0 Number of redirects hit maximum amount |  | " + server.url("/file") + " | -"},
      {six, "", "302  |  | " + six + "/1 | -"},
      {server.url("/scheme"), "follow", "0 Unsupported protocol |  | file:///etc/passwd | -"},
      {server.url("/cut"), "", "0 Transferred a partial file" + octets + "-"},
      {server.url("/slow"), "unlimited", "0 Timeout was reached (timed out)" + octets + "-"},
      {tls.url("/f"), "", "0 SSL peer certificate or SSH remote key was not OK |  |  | -"},
      {server.url("/missing"), "refuse", "0 cancelled (cancelled)" + octets + "-"},
      {server.url("/empty"), "refuse", "200 " + octets + "-"},
      {busy("30"), "", "503 later" + octets + "30"},
      {busy("0"), "", "503 later" + octets + "0"},
      {busy("30 seconds"), "", "503 later" + octets + "30"},
      {busy("99999"), "", "503 later" + octets + "3600"},
      {busy("-5"), "", "503 later" + octets + "-"},
      {busy("Wed, 21 Oct 2026 07:28:00 GMT"), "", "503 later" + octets + "-"},
  };
  std::vector<int> refused;
  for (const auto& [url, how, expected] : rows) {
    HttpRequest request = get(url);
    request.followRedirects = how == "follow";
    if (how == "unlimited") request.timeoutMs = request.stallTimeoutMs = 0;
    if (how == "refuse") {
      request.onStatus = [&](int status) { return refused.push_back(status), false; };
      request.onBody = [](const char*, size_t) { return true; };
    }
    const HttpResponse r = httpPerform(request, {});
    EXPECT_EQ(std::to_string(r.status) + " " + (r.error.empty() ? r.body : r.error) +
                  (r.timedOut ? " (timed out)" : "") + (r.cancelled ? " (cancelled)" : "") + " | " +
                  r.contentType + " | " + r.location + " | " +
                  (r.retryAfterSeconds ? std::to_string(*r.retryAfterSeconds) : "-"),
              expected);
  }
  EXPECT_EQ(refused, std::vector<int>{404}) << "an empty body never shows its status";
  size_t finalAsked = 0;  // the sixth hop's target is never asked for
  for (const test::RecordedRequest& request : server.requests())
    finalAsked += request.path == "/file";
  EXPECT_EQ(finalAsked, 1u);
  EXPECT_EQ(server.requests().front().userAgent, "VELKO API-Aufruf") << "the default agent";
}

// Start prints a working address and finds a running server again; stop leaves nothing running
// and may be repeated.
TEST(NginxServeScript, StartsServesAndStopsForGood) {
  test::TempDir root, state;
  test::writeFile(root / "hello.txt", "hello\n");
  const auto script = [&](std::vector<std::string> args) {
    args.insert(args.begin(), {"/bin/bash", VELKO_NGINX_SERVE_SCRIPT});
    return test::runProcess(args);
  };
  const test::ProcessResult started = script({"start", root.path(), state.path()});
  ASSERT_EQ(started.out.rfind("http://127.0.0.1:", 0), 0u) << started.err;
  const pid_t pid = std::stoi(test::readFile(state / "server.pid").value_or("0"));
  EXPECT_EQ(script({"start", root.path(), state.path()}).out, started.out);
  const HttpRequest request = get(started.out.substr(0, started.out.find('\n')) + "/hello.txt");
  EXPECT_EQ(httpPerform(request, {}).body, "hello\n");
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(script({"stop", state.path()}).exitCode, 0) << round;
    EXPECT_TRUE(pid > 0 && kill(pid, 0) != 0) << "nginx still runs";
  }
  EXPECT_NE(httpPerform(request, {}).error, "");
}

}  // namespace
}  // namespace velko::nodes::detail
