// A loopback HTTP server for tests on cpp-httplib, with one way of answering per path.
#include "tests/support/http_test_server.h"

#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace velko::test {
namespace {

constexpr size_t kPiece = 64 * 1024;
constexpr const char* kContentType = "application/octet-stream";
// Real servers send a short page with a 416; so does this one, so that a sink sees the status.
constexpr const char* kNotSatisfiableBody = "416 Requested Range Not Satisfiable\n";

struct ByteRange {
  size_t first = 0;
  size_t end = 0;  // one past the last byte
};

// The single range "bytes=N-" or "bytes=N-M" within `size` bytes; nothing if it is malformed or
// starts at or past the end.
std::optional<ByteRange> parseRange(const std::string& header, size_t size) {
  unsigned long long first = 0;
  unsigned long long last = 0;
  int consumed = 0;
  if (std::sscanf(header.c_str(), "bytes=%llu-%n", &first, &consumed) != 1 || consumed == 0) {
    return std::nullopt;
  }
  ByteRange range{first, size};
  const char* rest = header.c_str() + consumed;
  if (*rest != '\0') {
    if (std::sscanf(rest, "%llu", &last) != 1 || last < first) return std::nullopt;
    range.end = std::min<size_t>(size, last + 1);
  }
  if (range.first >= size) return std::nullopt;
  return range;
}

}  // namespace

HttpTestServer::HttpTestServer() : server_(std::make_unique<httplib::Server>()) {
  server_->set_keep_alive_timeout(1);
  const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
    handle(request, response);
  };
  server_->Get(".*", handler).Post(".*", handler).Put(".*", handler).Delete(".*", handler);
  port_ = server_->bind_to_any_port("127.0.0.1");
  if (port_ <= 0) {
    std::fprintf(stderr, "test support: the HTTP test server cannot bind to 127.0.0.1\n");
    std::abort();
  }
  thread_ = std::thread([this] { server_->listen_after_bind(); });
  // stop() does nothing until the server runs, so the destructor must not come before that.
  while (!server_->is_running())
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

HttpTestServer::~HttpTestServer() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  stopping_.notify_all();
  server_->stop();
  thread_.join();
}

void HttpTestServer::route(const std::string& path, HttpRoute route) {
  std::lock_guard<std::mutex> lock(mutex_);
  routes_[path] = std::move(route);
}

void HttpTestServer::serve(const std::string& path, std::string bytes) {
  route(path, HttpRoute{.bytes = std::move(bytes)});
}

void HttpTestServer::redirectChain(const std::string& from, int hops, const std::string& to) {
  for (int i = 0; i < hops; ++i) {
    const std::string source = i == 0 ? from : from + "/" + std::to_string(i);
    const std::string target = i == hops - 1 ? to : from + "/" + std::to_string(i + 1);
    route(source, HttpRoute{.mode = HttpMode::Redirect, .location = url(target)});
  }
}

std::string HttpTestServer::url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<RecordedRequest> HttpTestServer::requests() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

bool HttpTestServer::waitForStop() {
  std::unique_lock<std::mutex> lock(mutex_);
  return stopping_.wait_for(lock, std::chrono::seconds(1), [this] { return stop_; });
}

void HttpTestServer::handle(const httplib::Request& request, httplib::Response& response) {
  // httplib cuts a body to the Range header by itself once the handler returns; here every mode
  // decides its own bytes, so the parsed ranges are taken away.
  const_cast<httplib::Request&>(request).ranges.clear();
  const std::string rangeHeader = request.get_header_value("Range");
  HttpRoute route;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back({request.method, request.path, rangeHeader,
                         request.get_header_value("User-Agent"), request.body});
    const auto found = routes_.find(request.path);
    if (found == routes_.end()) {
      response.status = 404;
      return;
    }
    route = found->second;
  }
  respond(route, rangeHeader, response);
  // Last, and replacing any header of the same name in any case, so that a test can send a
  // header name in the case it likes, Content-Type included.
  for (const auto& [name, value] : route.headers) {
    response.headers.erase(name);
    response.headers.emplace(name, value);
  }
}

void HttpTestServer::respond(const HttpRoute& route, const std::string& rangeHeader,
                             httplib::Response& response) {
  const auto refuseRange = [&] {
    response.status = 416;
    response.set_header("Content-Range", "bytes */" + std::to_string(route.bytes.size()));
    response.set_content(kNotSatisfiableBody, "text/plain");
  };

  switch (route.mode) {
    case HttpMode::Redirect:
      response.status = route.status != 0 ? route.status : 302;
      response.set_header("Location", route.location);
      return;
    case HttpMode::Status:
      response.status = route.status;
      response.set_content(route.bytes, kContentType);
      return;
    case HttpMode::NotSatisfiable:
      refuseRange();
      return;
    default:
      break;
  }

  ByteRange range{0, route.bytes.size()};
  response.status = 200;
  if (route.mode != HttpMode::IgnoreRange && !rangeHeader.empty()) {
    const std::optional<ByteRange> asked = parseRange(rangeHeader, route.bytes.size());
    if (!asked) {
      refuseRange();
      return;
    }
    range = *asked;
    response.status = 206;
    response.set_header("Content-Range", "bytes " + std::to_string(range.first) + "-" +
                                             std::to_string(range.end - 1) + "/" +
                                             std::to_string(route.bytes.size()));
  }
  auto body =
      std::make_shared<std::string>(route.bytes.substr(range.first, range.end - range.first));
  if (route.mode == HttpMode::Oversend) body->append(route.count, 'x');
  if (body->empty()) {
    response.set_content("", kContentType);
    return;
  }
  // Returning false from the provider makes httplib drop the connection mid-body.
  const size_t limit =
      route.mode == HttpMode::CloseAfter ? std::min(route.count, body->size()) : body->size();
  const bool trickle = route.mode == HttpMode::Trickle;
  const size_t piece = trickle ? std::max<size_t>(1, route.count) : kPiece;
  response.set_content_provider(
      body->size(), kContentType,
      [this, body, limit, piece, trickle](size_t offset, size_t, httplib::DataSink& sink) {
        if (offset >= limit) return false;
        const size_t n = std::min(piece, limit - offset);
        if (!sink.write(body->data() + offset, n)) return false;
        return !(trickle && offset + n < limit && waitForStop());
      });
}

}  // namespace velko::test
