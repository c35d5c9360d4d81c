// A loopback HTTP server for tests: bytes registered by path, each path with one way of answering.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace velko::test {

// How a path answers. Modes that name `count` use it as written below.
enum class HttpMode {
  Serve,           // 200 with all bytes; a Range gets 206 and Content-Range, or 416 past the end
  IgnoreRange,     // 200 with all bytes, whatever the Range header asks
  NotSatisfiable,  // 416 always
  CloseAfter,      // like Serve, but the connection is closed after `count` body bytes
  Oversend,        // like Serve, then `count` bytes beyond the end (Content-Length counts them)
  Status,          // `status` with the bytes as body, e.g. 404 or 500
  Redirect,        // `status` (302 unless set) to `location`
  Trickle,         // like Serve, `count` bytes per second until done, or the server is destroyed
};

struct HttpRoute {
  HttpMode mode = HttpMode::Serve;
  std::string bytes{};
  size_t count = 0;
  int status = 0;  // Status and Redirect only
  std::string location{};
  std::vector<std::pair<std::string, std::string>> headers{};  // sent as given, name case kept
};

// What a request asked for, as the server saw it; absent headers are empty.
struct RecordedRequest {
  std::string method;
  std::string path;
  std::string range;
  std::string userAgent;
  std::string body;
};

// Listens on a free port of 127.0.0.1 from construction to destruction. Every method gets the
// path's answer; an unknown path is a 404.
class HttpTestServer {
 public:
  HttpTestServer();
  ~HttpTestServer();
  HttpTestServer(const HttpTestServer&) = delete;
  HttpTestServer& operator=(const HttpTestServer&) = delete;

  void route(const std::string& path, HttpRoute route);
  // Shorthand for a Serve route.
  void serve(const std::string& path, std::string bytes);
  // `hops` redirects: `from` to `from`/1, ... to `from`/<hops-1>, and that one to `to`.
  void redirectChain(const std::string& from, int hops, const std::string& to);

  int port() const { return port_; }
  // "http://127.0.0.1:<port>" followed by `path`.
  std::string url(const std::string& path) const;
  // Every request so far, in order of arrival.
  std::vector<RecordedRequest> requests() const;

 private:
  void handle(const httplib::Request& request, httplib::Response& response);
  void respond(const HttpRoute& route, const std::string& rangeHeader, httplib::Response& response);
  // Waits up to one second; true when the server is being destroyed.
  bool waitForStop();

  std::unique_ptr<httplib::Server> server_;
  int port_ = 0;
  std::thread thread_;
  mutable std::mutex mutex_;
  std::condition_variable stopping_;
  bool stop_ = false;
  std::map<std::string, HttpRoute> routes_;
  std::vector<RecordedRequest> requests_;
};

}  // namespace velko::test
