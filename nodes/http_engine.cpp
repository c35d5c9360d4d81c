// One blocking HTTP request on libcurl's easy interface; the three callbacks share one context.
#include "nodes/http_engine.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <mutex>
#include <string_view>

namespace velko::nodes::detail {
namespace {

// A response collected in memory may not grow beyond this; exactly this size is still accepted.
constexpr size_t kMaxBodyInMemory = 536870912;  // 512 MiB
constexpr int32_t kMaxRetryAfterSeconds = 3600;
constexpr long kMaxConnectTimeoutMs = 30000;

// Shared by the callbacks of one transfer; lives on the stack of httpPerform.
struct TransferContext {
  HttpResponse& response;
  const HttpRequest& request;
  bool cancelled = false;
  int32_t status = 0;  // from the latest status line
  bool statusReported = false;
  const std::function<bool()>* cancel = nullptr;
  bool tooLarge = false;
};

void ensureCurlInitialized() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_ALL); });
}

size_t writeBody(char* data, size_t size, size_t count, void* userdata) {
  auto& context = *static_cast<TransferContext*>(userdata);
  const size_t n = size * count;
  const HttpRequest& request = context.request;
  if (request.onBody) {
    if (!context.statusReported) {
      context.statusReported = true;
      if (request.onStatus && !request.onStatus(context.status)) {
        context.cancelled = true;
        return 0;
      }
    }
    if (!request.onBody(data, n)) {
      context.cancelled = true;
      return 0;
    }
    return n;
  }
  std::string& body = context.response.body;
  if (body.size() + n > kMaxBodyInMemory) {
    context.tooLarge = true;
    return 0;
  }
  body.append(data, n);
  return n;
}

// Records what the caller may want of the last response; a new status line forgets the previous
// response's headers, so after a redirect chain only the final one is described.
size_t writeHeader(char* data, size_t size, size_t count, void* userdata) {
  auto& context = *static_cast<TransferContext*>(userdata);
  const size_t n = size * count;
  const std::string_view line(data, n);
  HttpResponse& response = context.response;

  const size_t colon = line.find(':');
  if (colon != std::string_view::npos) {
    std::string name(line.substr(0, colon));
    for (char& c : name)
      c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    std::string_view value = line.substr(colon + 1);
    while (!value.empty() &&
           (value.back() == '\r' || value.back() == '\n' || value.back() == ' ')) {
      value.remove_suffix(1);
    }
    while (!value.empty() && value.front() == ' ')
      value.remove_prefix(1);

    if (name == "location") {
      response.location = value;
    } else if (name == "content-type") {
      response.contentType = value;
    } else if (name == "retry-after") {
      const std::string text(value);
      char* end = nullptr;
      const long seconds = std::strtol(text.c_str(), &end, 10);
      if (end != text.c_str() && seconds >= 0) {
        response.retryAfterSeconds =
            static_cast<int32_t>(std::min<long>(seconds, kMaxRetryAfterSeconds));
      }
    }
    return n;
  }

  if (line.size() >= 5 && line.substr(0, 5) == "HTTP/") {
    const size_t blank = line.find(' ');
    context.status = blank == std::string_view::npos
                         ? 0
                         : std::atoi(std::string(line.substr(blank + 1)).c_str());
    response.contentType.clear();
    response.location.clear();
    response.retryAfterSeconds.reset();
  }
  return n;
}

// libcurl's order is expected first; the caller's is received first. Also called while nothing
// arrives, so a cancel takes effect during a stall.
int progress(void* userdata, curl_off_t expected, curl_off_t received, curl_off_t, curl_off_t) {
  auto& context = *static_cast<TransferContext*>(userdata);
  if (context.request.onProgress) context.request.onProgress(received, expected);
  if (context.cancel != nullptr && *context.cancel) return (*context.cancel)() ? 1 : 0;
  return 0;
}

void setTimeLimits(CURL* curl, const HttpRequest& request) {
  if (request.timeoutMs > 0) {
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeoutMs));
  } else if (request.stallTimeoutMs <= 0) {
    // No limit of any kind: end at once rather than run unbounded.
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, 1L);
  }
  const long connectMs = request.timeoutMs >= 1 && request.timeoutMs <= kMaxConnectTimeoutMs
                             ? static_cast<long>(request.timeoutMs)
                             : kMaxConnectTimeoutMs;
  curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, connectMs);
  if (request.stallTimeoutMs > 0) {
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME,
                     std::max(1L, static_cast<long>(request.stallTimeoutMs / 1000)));
  }
}

}  // namespace

HttpResponse httpPerform(const HttpRequest& request, const std::function<bool()>& cancel) {
  HttpResponse response;
  ensureCurlInitialized();
  CURL* curl = curl_easy_init();
  if (curl == nullptr) {
    response.error = "curl_easy_init failed";
    return response;
  }
  TransferContext context{response, request};
  context.cancel = &cancel;

  // Only HTTP and HTTPS are ever spoken, also after a redirect.
  curl_easy_setopt(curl, CURLOPT_URL, request.url.c_str());
  curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, request.followRedirects ? 1L : 0L);
  curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
  setTimeLimits(curl, request);
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, writeBody);
  curl_easy_setopt(curl, CURLOPT_WRITEDATA, &context);
  curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, writeHeader);
  curl_easy_setopt(curl, CURLOPT_HEADERDATA, &context);
  curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
  curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, progress);
  curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &context);
  curl_easy_setopt(curl, CURLOPT_USERAGENT,
                   request.userAgent.empty() ? "VELKO API-Aufruf" : request.userAgent.c_str());
  // A sink gets the file's own bytes, so compression is offered only when the body stays here.
  if (!request.onBody) curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");

  if (request.method.empty() || request.method == "GET") {
    curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
  } else {
    curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    if (!(request.method == "DELETE" && request.body.empty())) {
      curl_easy_setopt(curl, CURLOPT_POSTFIELDS, request.body.data());
      curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                       static_cast<curl_off_t>(request.body.size()));
    }
  }

  curl_slist* resolveList = nullptr;
  for (const std::string& entry : request.resolve) {
    resolveList = curl_slist_append(resolveList, entry.c_str());
  }
  if (resolveList != nullptr) curl_easy_setopt(curl, CURLOPT_RESOLVE, resolveList);

  curl_slist* headerList = curl_slist_append(nullptr, "Expect:");
  for (const auto& [name, value] : request.headers) {
    headerList = curl_slist_append(headerList, (name + ": " + value).c_str());
  }
  curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headerList);

  const CURLcode code = curl_easy_perform(curl);
  long responseCode = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &responseCode);
  curl_slist_free_all(resolveList);
  curl_slist_free_all(headerList);
  curl_easy_cleanup(curl);

  if (code == CURLE_OK) {
    response.status = static_cast<int32_t>(responseCode);
    return response;
  }
  response.status = 0;
  response.body.clear();
  if (code == CURLE_ABORTED_BY_CALLBACK || (code == CURLE_WRITE_ERROR && context.cancelled)) {
    response.cancelled = true;
    response.error = "cancelled";
  } else if (code == CURLE_OPERATION_TIMEDOUT) {
    response.timedOut = true;
    response.error = curl_easy_strerror(code);
  } else if (context.tooLarge) {
    response.error = "response larger than 512 MB";
  } else {
    response.error = curl_easy_strerror(code);
  }
  return response;
}

}  // namespace velko::nodes::detail
