// One blocking HTTP request on libcurl's easy interface: a request record in, a response record
// out. libcurl is opened at run time on the first request.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velko::nodes::detail {

// What to ask for and how. The request carries its own policy: time limits, redirects, resolver
// pins and what happens to the body.
struct HttpRequest {
  std::string method;  // empty means GET; compared case-sensitively
  std::string url;
  std::vector<std::pair<std::string, std::string>> headers;  // name and value
  std::string body;
  int64_t timeoutMs = 60000;         // whole transfer; zero or less means none
  bool followRedirects = false;      // at most 5, and only to http or https
  std::vector<std::string> resolve;  // libcurl resolver pins, "host:port:address"
  // Sink for the body: with one set, the body is streamed and not kept. False stops the transfer.
  std::function<bool(const char*, size_t)> onBody;
  // Told the status once, before the first body bytes reach onBody. False stops the transfer.
  std::function<bool(int)> onStatus;
  // Told bytes received and bytes expected, in this order.
  std::function<void(long long, long long)> onProgress;
  int64_t stallTimeoutMs = 0;  // below one byte per second for this long ends it; <= 0 means none
  std::string userAgent;       // empty means "VELKO API-Aufruf"
};

// What came back. Success is an empty `error`; an HTTP error status such as 404 is a success here.
struct HttpResponse {
  int32_t status = 0;       // status of the last response; 0 after any failure
  std::string body;         // the body when no onBody was set; empty after any failure
  std::string contentType;  // of the last response
  std::optional<int32_t> retryAfterSeconds;  // of the last response, capped at 3600
  std::string location;                      // of the last response
  bool cancelled = false;                    // stopped by a callback or by the cancel function
  bool timedOut = false;                     // libcurl reported a timeout
  std::string error;                         // English text of the failure; empty on success
};

// Runs `request` once on the calling thread: no retry, no connection reuse, no cache. `cancel`
// may be empty; it is polled during the transfer, also while no data arrives, and true stops it.
// On failure `status` is 0, `body` is empty and `error` holds "cancelled", "response larger than
// 512 MB", "curl_easy_init failed", "libcurl could not be loaded: " and the loader's reason (the
// library is opened on the first call), or libcurl's own text (with `timedOut` set for a timeout).
HttpResponse httpPerform(const HttpRequest& request, const std::function<bool()>& cancel);

}  // namespace velko::nodes::detail
