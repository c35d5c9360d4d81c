// The HTTP engine against a loopback server: what a response record says, and how a transfer ends.
#include "nodes/http_engine.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/support/http_test_server.h"

namespace velko::nodes::detail {
namespace {

using test::HttpMode;
using test::HttpRoute;
using test::HttpTestServer;

HttpRequest get(const std::string& url) {
  HttpRequest request;
  request.url = url;
  return request;
}

TEST(HttpEngine, SendsTheMethodAndBodyAsked) {
  struct Row {
    std::string method;
    std::string body;
    std::string sent;
  };
  const Row rows[] = {{"", "", "GET"},    {"GET", "", "GET"},       {"POST", "a=1&b=2", "POST"},
                      {"PUT", "", "PUT"}, {"DELETE", "", "DELETE"}, {"DELETE", "id=7", "DELETE"}};
  HttpTestServer server;
  server.serve("/api", "done");
  for (const Row& row : rows) {
    SCOPED_TRACE(row.method + " " + row.body);
    HttpRequest request = get(server.url("/api"));
    request.method = row.method;
    request.body = row.body;
    const HttpResponse response = httpPerform(request, {});
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(response.body, "done");
    const test::RecordedRequest seen = server.requests().back();
    EXPECT_EQ(seen.method, row.sent);
    EXPECT_EQ(seen.body, row.body);
    EXPECT_EQ(seen.userAgent, "VELKO API-Aufruf");
  }
}

TEST(HttpEngine, FollowsFiveRedirectsAndDescribesOnlyTheLastResponse) {
  HttpTestServer server;
  server.route("/file", {.bytes = "payload", .headers = {{"Content-TYPE", "text/x-final"}}});
  // The first hop carries headers the final response lacks; none of them may survive.
  server.route("/start", {.mode = HttpMode::Redirect,
                          .location = server.url("/five"),
                          .headers = {{"Retry-After", "7"}, {"Content-Type", "text/x-hop"}}});
  server.redirectChain("/five", 4, "/file");
  server.redirectChain("/six", 6, "/file");

  HttpRequest request = get(server.url("/start"));
  request.followRedirects = true;
  HttpResponse response = httpPerform(request, {});
  EXPECT_EQ(response.error, "");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "payload");
  EXPECT_EQ(response.contentType, "text/x-final");
  EXPECT_EQ(response.location, "");
  EXPECT_FALSE(response.retryAfterSeconds.has_value());

  request.url = server.url("/six");
  response = httpPerform(request, {});
  EXPECT_EQ(response.error, "Number of redirects hit maximum amount");
  EXPECT_EQ(response.status, 0);
  EXPECT_EQ(response.body, "");
  EXPECT_EQ(server.requests().size(), 5u + 1 + 6);  // the sixth hop's target is never asked for

  // Without followRedirects the redirect itself is the answer.
  request.followRedirects = false;
  response = httpPerform(request, {});
  EXPECT_EQ(response.status, 302);
  EXPECT_EQ(response.location, server.url("/six/1"));
}

TEST(HttpEngine, RedirectToAnotherSchemeFails) {
  HttpTestServer server;
  server.route("/ftp", {.mode = HttpMode::Redirect, .location = "ftp://127.0.0.1/file"});
  server.route("/file", {.mode = HttpMode::Redirect, .location = "file:///etc/passwd"});
  for (const std::string path : {"/ftp", "/file"}) {
    SCOPED_TRACE(path);
    HttpRequest request = get(server.url(path));
    request.followRedirects = true;
    const HttpResponse response = httpPerform(request, {});
    EXPECT_EQ(response.error, "Unsupported protocol");
    EXPECT_EQ(response.status, 0);
  }
}

TEST(HttpEngine, ReadsRetryAfterAsWholeSecondsUpToAnHour) {
  struct Row {
    std::string header;
    std::optional<int32_t> seconds;
  };
  const Row rows[] = {
      {"30", 30},           {"0", 0},
      {"30 seconds", 30},   {"99999", 3600},
      {"-5", std::nullopt}, {"Wed, 21 Oct 2026 07:28:00 GMT", std::nullopt},
  };
  HttpTestServer server;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.header);
    server.route("/busy", {.mode = HttpMode::Status,
                           .bytes = "later",
                           .status = 503,
                           .headers = {{"retry-AFTER", row.header}}});
    const HttpResponse response = httpPerform(get(server.url("/busy")), {});
    // An error status is an answer, not a failure: the caller decides.
    EXPECT_EQ(response.error, "");
    EXPECT_EQ(response.status, 503);
    EXPECT_EQ(response.body, "later");
    EXPECT_EQ(response.retryAfterSeconds, row.seconds);
  }
}

TEST(HttpEngine, FalseFromASinkCallbackCancels) {
  HttpTestServer server;
  server.route("/missing", {.mode = HttpMode::Status, .bytes = "not here", .status = 404});
  struct Row {
    const char* name;
    bool statusAnswer;
    bool bodyAnswer;
  };
  for (const Row& row : {Row{"onStatus", false, true}, Row{"onBody", true, false}}) {
    SCOPED_TRACE(row.name);
    int seenStatus = -1;
    HttpRequest request = get(server.url("/missing"));
    request.onStatus = [&](int status) {
      seenStatus = status;
      return row.statusAnswer;
    };
    request.onBody = [&](const char*, size_t) { return row.bodyAnswer; };
    const HttpResponse response = httpPerform(request, {});
    EXPECT_EQ(seenStatus, 404);
    EXPECT_TRUE(response.cancelled);
    EXPECT_EQ(response.error, "cancelled");
    EXPECT_EQ(response.status, 0);
  }
}

TEST(HttpEngine, EmptyBodyNeverCallsOnStatus) {
  HttpTestServer server;
  server.serve("/empty", "");
  bool called = false;
  HttpRequest request = get(server.url("/empty"));
  request.onStatus = [&](int) { return called = true; };
  request.onBody = [&](const char*, size_t) { return called = true; };
  const HttpResponse response = httpPerform(request, {});
  EXPECT_EQ(response.error, "");
  EXPECT_EQ(response.status, 200);
  EXPECT_FALSE(called);
}

TEST(HttpEngine, RequestWithoutAnyTimeLimitTimesOutAtOnce) {
  HttpTestServer server;
  server.route("/slow", {.mode = HttpMode::Trickle, .bytes = std::string(100, 'a'), .count = 1});
  HttpRequest request = get(server.url("/slow"));
  request.timeoutMs = 0;
  request.stallTimeoutMs = 0;
  const HttpResponse response = httpPerform(request, {});
  EXPECT_TRUE(response.timedOut);
  EXPECT_FALSE(response.cancelled);
  EXPECT_EQ(response.error, "Timeout was reached");
  EXPECT_EQ(response.status, 0);
}

TEST(HttpEngine, CancelEndsATrickleWhileItWaits) {
  HttpTestServer server;
  // A hundred seconds of body: the test only ends in time if the cancel is heard between bytes.
  server.route("/slow", {.mode = HttpMode::Trickle, .bytes = std::string(100, 'a'), .count = 1});
  size_t received = 0;
  HttpRequest request = get(server.url("/slow"));
  request.onBody = [&](const char*, size_t n) {
    received += n;
    return true;
  };
  const HttpResponse response = httpPerform(request, [&] { return received > 0; });
  EXPECT_TRUE(response.cancelled);
  EXPECT_EQ(response.error, "cancelled");
  EXPECT_EQ(response.status, 0);
  EXPECT_LT(received, 100u);
}

}  // namespace
}  // namespace velko::nodes::detail
