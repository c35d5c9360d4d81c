// The HTTP engine against a loopback server and a real nginx: what a response record says.
#include "nodes/http_engine.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/http_test_server.h"
#include "tests/support/nginx_server.h"
#include "tests/support/test_support.h"

namespace velko::nodes::detail {
namespace {

using test::HttpMode;

// One request per row: status and error, or the final response's body, type, location and
// Retry-After (what a failed one saw depends on timing). A failure keeps no status and no body.
TEST(HttpEngine, EndsOnTheFinalAnswerOrFailsWithNothingKept) {
  test::HttpTestServer server;
  server.route("/file", {.bytes = "payload", .headers = {{"Content-TYPE", "text/x-final"}}});
  // The first hop carries headers the final response lacks; none of them may survive.
  server.route("/start", {.mode = HttpMode::Redirect,
                          .location = server.url("/five"),
                          .headers = {{"Retry-After", "7"}, {"Content-Type", "text/x-hop"}}});
  server.redirectChain("/five", 4, "/file");
  server.redirectChain("/six", 6, "/file");
  // libcurl itself refuses file:// on a redirect, not ftp://: only the engine's own rule does.
  server.route("/scheme", {.mode = HttpMode::Redirect, .location = "ftp://127.0.0.1:9/passwd"});
  server.route("/cut", {.mode = HttpMode::CloseAfter, .bytes = std::string(900, 'c'), .count = 9});
  server.route("/slow", {.mode = HttpMode::Trickle, .bytes = std::string(100, 'a'), .count = 1});
  server.route("/missing", {.mode = HttpMode::Status, .bytes = "not here", .status = 404});
  server.serve("/empty", "");
  server.route("/busy", {HttpMode::Status, "later", 0, 503, "", {{"retry-AFTER", "99999"}}});
  test::TempDir root;
  const test::NginxServer tls(root.path(), test::NginxServer::Scheme::Https);
  const std::string six = server.url("/six"), octets = " | application/octet-stream |  | ";
  // Asked to "follow" redirects, "unlimited" in time, or to "refuse" the status (body only).
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {server.url("/start"), "follow", "200 payload | text/x-final |  | -"},
      {six, "follow", "0 Number of redirects hit maximum amount"},
      {six, "", "302  |  | " + six + "/1 | -"},
      {server.url("/scheme"), "follow", "0 Unsupported protocol"},
      {server.url("/cut"), "", "0 Transferred a partial file"},
      {server.url("/slow"), "unlimited", "0 Timeout was reached (timed out)"},
      {tls.url("/f"), "", "0 SSL peer certificate or SSH remote key was not OK"},
      {server.url("/missing"), "refuse", "0 cancelled (cancelled)"},
      {server.url("/empty"), "refuse", "200 " + octets + "-"},
      // An error status is an answer; Retry-After counts whole seconds, at most an hour.
      {server.url("/busy"), "", "503 later" + octets + "3600"},
  };
  std::vector<int> refused;
  for (const auto& [url, how, expected] : rows) {
    HttpRequest request;
    request.url = url;
    request.followRedirects = how == "follow";
    if (how == "unlimited") request.timeoutMs = request.stallTimeoutMs = 0;
    if (how == "refuse") {
      request.onStatus = [&](int status) { return refused.push_back(status), false; };
      request.onBody = [](const char*, size_t) { return true; };
    }
    const HttpResponse r = httpPerform(request, {});
    const std::string described =
        r.contentType + " | " + r.location + " | " +
        (r.retryAfterSeconds ? std::to_string(*r.retryAfterSeconds) : "-");
    EXPECT_EQ(std::to_string(r.status) + " " + r.error + (r.timedOut ? " (timed out)" : "") +
                  (r.cancelled ? " (cancelled)" : "") + r.body +
                  (r.error.empty() ? " | " + described : ""),
              expected);
  }
  EXPECT_EQ(refused, std::vector<int>{404}) << "an empty body never shows its status";
  const std::vector<test::RecordedRequest> asked = server.requests();
  EXPECT_EQ(std::count_if(asked.begin(), asked.end(), [](auto& r) { return r.path == "/file"; }), 1)
      << "the sixth hop's target is never asked for";
  EXPECT_EQ(server.requests().front().userAgent, "VELKO API-Aufruf") << "the default agent";
}

}  // namespace
}  // namespace velko::nodes::detail
