// The model transport against loopback servers, the test's own and a real nginx: what it asks
// for, and what reaches the store's callbacks.
#include "models/transport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/http_test_server.h"
#include "tests/support/nginx_server.h"
#include "tests/support/test_support.h"

namespace velko::models {
namespace {

using test::HttpMode;
using test::HttpRoute;
using test::HttpTestServer;

constexpr const char* kUserAgent = "Solstice Velko/velko-core 1.0.0 (models)";
const std::string kModel = "0123456789";

// One transfer as the store's callbacks saw it.
struct Fetched {
  TransportResult result;
  std::vector<int> statuses;
  std::string body;
  std::vector<std::pair<unsigned long long, unsigned long long>> progress;
};

Fetched fetch(const std::string& url, unsigned long long offset,
              const std::function<bool()>& cancel = {},
              const std::function<bool(const std::string&)>& keepGoing = {}) {
  Fetched out;
  out.result = makeHttpTransport()->get(
      url, offset,
      [&](int status) {
        out.statuses.push_back(status);
        return true;
      },
      [&](const char* data, unsigned long n) {
        out.body.append(data, n);
        return !keepGoing || keepGoing(out.body);
      },
      [&](unsigned long long received, unsigned long long expected) {
        out.progress.emplace_back(received, expected);
      },
      cancel);
  return out;
}

TEST(HttpTransport, AsksForTheRestFromTheOffset) {
  struct Row {
    unsigned long long offset;
    std::string range;
    int status;
  };
  // Large enough to arrive in many pieces, so that progress has values between the ends.
  std::string model(4 << 20, '\0');
  for (size_t i = 0; i < model.size(); ++i)
    model[i] = static_cast<char>(i * 7 % 251);
  HttpTestServer server;
  server.serve("/model.bin", model);
  const Row rows[] = {{0, "", 200}, {1, "bytes=1-", 206}, {4194303, "bytes=4194303-", 206}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.offset);
    const Fetched fetched = fetch(server.url("/model.bin"), row.offset);
    EXPECT_EQ(fetched.result.error, "");
    EXPECT_EQ(fetched.result.status, row.status);
    EXPECT_EQ(fetched.statuses, std::vector<int>{row.status});
    const std::string rest = model.substr(row.offset);
    EXPECT_TRUE(fetched.body == rest);

    const test::RecordedRequest asked = server.requests().back();
    EXPECT_EQ(asked.range, row.range);
    EXPECT_EQ(asked.userAgent, kUserAgent);

    // Progress counts this transfer only: expected is unknown (0) or what remains after offset.
    ASSERT_FALSE(fetched.progress.empty());
    unsigned long long before = 0;
    for (const auto& [received, expected] : fetched.progress) {
      EXPECT_GE(received, before);
      EXPECT_TRUE(expected == 0 || expected == rest.size()) << expected;
      before = received;
    }
    const unsigned long long size = rest.size();
    EXPECT_EQ(fetched.progress.back(), std::make_pair(size, size));
  }
}

TEST(HttpTransport, KeepsTheRangeAcrossRedirects) {
  HttpTestServer server;
  server.serve("/model.bin", kModel);
  server.redirectChain("/moved", 5, "/model.bin");
  const Fetched fetched = fetch(server.url("/moved"), 4);
  EXPECT_EQ(fetched.result.status, 206);
  EXPECT_EQ(fetched.body, "456789");
  const std::vector<test::RecordedRequest> requests = server.requests();
  ASSERT_EQ(requests.size(), 6u);
  for (const test::RecordedRequest& request : requests) {
    SCOPED_TRACE(request.path);
    EXPECT_EQ(request.range, "bytes=4-");
    EXPECT_EQ(request.userAgent, kUserAgent);
  }
}

// The transport judges nothing: statuses, short and long bodies reach the store as they came.
TEST(HttpTransport, PassesServerAnswersOnUnjudged) {
  struct Row {
    const char* name;
    HttpRoute route;
    unsigned long long offset;
    int status;
    std::string body;
    std::string error;
  };
  const Row rows[] = {
      {"range ignored", {.mode = HttpMode::IgnoreRange, .bytes = kModel}, 4, 200, kModel, ""},
      {"range refused",
       {.mode = HttpMode::NotSatisfiable, .bytes = kModel},
       4,
       416,
       "416 Requested Range Not Satisfiable\n",
       ""},
      {"more than asked",
       {.mode = HttpMode::Oversend, .bytes = kModel, .count = 2},
       8,
       206,
       "89xx",
       ""},
      {"server error",
       {.mode = HttpMode::Status, .bytes = "oops", .status = 500},
       0,
       500,
       "oops",
       ""},
      {"connection dropped",
       {.mode = HttpMode::CloseAfter, .bytes = kModel, .count = 3},
       0,
       0,
       "012",
       "Transferred a partial file"},
  };
  HttpTestServer server;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    server.route("/model.bin", row.route);
    const Fetched fetched = fetch(server.url("/model.bin"), row.offset);
    EXPECT_EQ(fetched.result.error, row.error);
    EXPECT_EQ(fetched.result.status, row.status);
    EXPECT_FALSE(fetched.result.cancelled);
    EXPECT_EQ(fetched.body, row.body);
    EXPECT_EQ(fetched.statuses.size(), 1u);
  }
}

TEST(HttpTransport, StopsWhenTheSinkOrTheCancelSaysSo) {
  HttpTestServer server;
  server.route("/slow", {.mode = HttpMode::Trickle, .bytes = std::string(100, 'a'), .count = 2});
  const std::string url = server.url("/slow");
  bool cancelNow = false;
  const Fetched bySink = fetch(url, 0, {}, [](const std::string&) { return false; });
  const Fetched byCancel = fetch(
      url, 0, [&] { return cancelNow; },
      [&](const std::string&) {
        cancelNow = true;
        return true;
      });
  for (const Fetched* fetched : {&bySink, &byCancel}) {
    EXPECT_TRUE(fetched->result.cancelled);
    EXPECT_EQ(fetched->result.status, 0);
    EXPECT_EQ(fetched->result.error, "cancelled");
    EXPECT_EQ(fetched->body, "aa");
  }
}

TEST(HttpTransport, RealNginxAnswersRangesItself) {
  test::TempDir root;
  test::writeFile(root / "models/model.bin", kModel);
  test::NginxServer nginx(root.path());
  const std::string url = nginx.url("/models/model.bin");

  const Fetched whole = fetch(url, 0);
  EXPECT_EQ(whole.result.status, 200);
  EXPECT_EQ(whole.body, kModel);

  const Fetched rest = fetch(url, 6);
  EXPECT_EQ(rest.result.status, 206);
  EXPECT_EQ(rest.statuses, std::vector<int>{206});
  EXPECT_EQ(rest.body, "6789");

  const Fetched past = fetch(url, kModel.size());
  EXPECT_EQ(past.result.error, "");
  EXPECT_EQ(past.result.status, 416);
  EXPECT_EQ(past.statuses, std::vector<int>{416});
  EXPECT_NE(past.body.find("416"), std::string::npos) << past.body;
}

TEST(HttpTransport, RefusesAnUntrustedCertificate) {
  test::TempDir root;
  test::writeFile(root / "model.bin", kModel);
  test::NginxServer nginx(root.path(), test::NginxServer::Scheme::Https);
  const Fetched fetched = fetch(nginx.url("/model.bin"), 0);
  EXPECT_EQ(fetched.result.error, "SSL peer certificate or SSH remote key was not OK");
  EXPECT_EQ(fetched.result.status, 0);
  EXPECT_TRUE(fetched.statuses.empty());
  EXPECT_EQ(fetched.body, "");
}

}  // namespace
}  // namespace velko::models
