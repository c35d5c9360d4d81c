// One blocking HTTP request on libcurl's easy interface; the three callbacks share one context.
// libcurl is opened on the first request, not linked: the plug-in road never pays for loading it.
#include "nodes/http_engine.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string_view>

#include "platform/platform.h"

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

// The libcurl functions the engine calls, found in the library opened at run time. The header
// gives only types and constants; every call goes through here.
struct Curl {
  decltype(&::curl_global_init) globalInit = nullptr;
  decltype(&::curl_easy_init) easyInit = nullptr;
  decltype(&::curl_easy_setopt) easySetopt = nullptr;
  decltype(&::curl_easy_perform) easyPerform = nullptr;
  decltype(&::curl_easy_getinfo) easyGetinfo = nullptr;
  decltype(&::curl_easy_cleanup) easyCleanup = nullptr;
  decltype(&::curl_easy_strerror) easyStrerror = nullptr;
  decltype(&::curl_slist_append) slistAppend = nullptr;
  decltype(&::curl_slist_free_all) slistFreeAll = nullptr;
  std::string error;  // why the library is unusable; empty when every function above was found
};

// Points `function` at the symbol `name`; on failure records the first missing name in `missing`.
template <typename Function>
void findSymbol(void* library, const char* name, Function& function, std::string& missing) {
  function = reinterpret_cast<Function>(platform::librarySymbol(library, name));
  if (function == nullptr && missing.empty()) missing = name;
}

Curl loadCurl() {
  Curl table;
  std::string reason;
  void* library = platform::openLibrary(VELKO_LIBCURL_FILE, &reason);
  if (library == nullptr) {
    table.error = "libcurl could not be loaded: " + reason;
    return table;
  }
  std::string missing;
  findSymbol(library, "curl_global_init", table.globalInit, missing);
  findSymbol(library, "curl_easy_init", table.easyInit, missing);
  findSymbol(library, "curl_easy_setopt", table.easySetopt, missing);
  findSymbol(library, "curl_easy_perform", table.easyPerform, missing);
  findSymbol(library, "curl_easy_getinfo", table.easyGetinfo, missing);
  findSymbol(library, "curl_easy_cleanup", table.easyCleanup, missing);
  findSymbol(library, "curl_easy_strerror", table.easyStrerror, missing);
  findSymbol(library, "curl_slist_append", table.slistAppend, missing);
  findSymbol(library, "curl_slist_free_all", table.slistFreeAll, missing);
  if (!missing.empty()) {
    table.error = "libcurl could not be loaded: " VELKO_LIBCURL_FILE " has no " + missing;
    return table;
  }
  // Once, before any handle, while the static's guard keeps every other first caller waiting.
  table.globalInit(CURL_GLOBAL_ALL);
  return table;
}

// Loaded by the first caller; a concurrent first call waits for it (a function-local static).
const Curl& curlLibrary() {
  static const Curl table = loadCurl();
  return table;
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

void setTimeLimits(const Curl& api, CURL* curl, const HttpRequest& request) {
  if (request.timeoutMs > 0) {
    api.easySetopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeoutMs));
  } else if (request.stallTimeoutMs <= 0) {
    // No limit of any kind: end at once rather than run unbounded.
    api.easySetopt(curl, CURLOPT_TIMEOUT_MS, 1L);
  }
  const long connectMs = request.timeoutMs >= 1 && request.timeoutMs <= kMaxConnectTimeoutMs
                             ? static_cast<long>(request.timeoutMs)
                             : kMaxConnectTimeoutMs;
  api.easySetopt(curl, CURLOPT_CONNECTTIMEOUT_MS, connectMs);
  if (request.stallTimeoutMs > 0) {
    api.easySetopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    api.easySetopt(curl, CURLOPT_LOW_SPEED_TIME,
                   std::max(1L, static_cast<long>(request.stallTimeoutMs / 1000)));
  }
}

}  // namespace

HttpResponse httpPerform(const HttpRequest& request, const std::function<bool()>& cancel) {
  HttpResponse response;
  const Curl& api = curlLibrary();
  if (!api.error.empty()) {
    response.error = api.error;
    return response;
  }
  CURL* curl = api.easyInit();
  if (curl == nullptr) {
    response.error = "curl_easy_init failed";
    return response;
  }
  TransferContext context{response, request};
  context.cancel = &cancel;

  // Only HTTP and HTTPS are ever spoken, also after a redirect.
  api.easySetopt(curl, CURLOPT_URL, request.url.c_str());
  api.easySetopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
  api.easySetopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  api.easySetopt(curl, CURLOPT_NOSIGNAL, 1L);
  api.easySetopt(curl, CURLOPT_FOLLOWLOCATION, request.followRedirects ? 1L : 0L);
  api.easySetopt(curl, CURLOPT_MAXREDIRS, 5L);
  setTimeLimits(api, curl, request);
  api.easySetopt(curl, CURLOPT_WRITEFUNCTION, writeBody);
  api.easySetopt(curl, CURLOPT_WRITEDATA, &context);
  api.easySetopt(curl, CURLOPT_HEADERFUNCTION, writeHeader);
  api.easySetopt(curl, CURLOPT_HEADERDATA, &context);
  api.easySetopt(curl, CURLOPT_NOPROGRESS, 0L);
  api.easySetopt(curl, CURLOPT_XFERINFOFUNCTION, progress);
  api.easySetopt(curl, CURLOPT_XFERINFODATA, &context);
  api.easySetopt(curl, CURLOPT_USERAGENT,
                 request.userAgent.empty() ? "VELKO API-Aufruf" : request.userAgent.c_str());
  // A sink gets the file's own bytes, so compression is offered only when the body stays here.
  if (!request.onBody) api.easySetopt(curl, CURLOPT_ACCEPT_ENCODING, "");

  if (request.method.empty() || request.method == "GET") {
    api.easySetopt(curl, CURLOPT_HTTPGET, 1L);
  } else {
    api.easySetopt(curl, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    if (!(request.method == "DELETE" && request.body.empty())) {
      api.easySetopt(curl, CURLOPT_POSTFIELDS, request.body.data());
      api.easySetopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                     static_cast<curl_off_t>(request.body.size()));
    }
  }

  curl_slist* resolveList = nullptr;
  for (const std::string& entry : request.resolve) {
    resolveList = api.slistAppend(resolveList, entry.c_str());
  }
  if (resolveList != nullptr) api.easySetopt(curl, CURLOPT_RESOLVE, resolveList);

  curl_slist* headerList = api.slistAppend(nullptr, "Expect:");
  for (const auto& [name, value] : request.headers) {
    headerList = api.slistAppend(headerList, (name + ": " + value).c_str());
  }
  api.easySetopt(curl, CURLOPT_HTTPHEADER, headerList);

  const CURLcode code = api.easyPerform(curl);
  long responseCode = 0;
  api.easyGetinfo(curl, CURLINFO_RESPONSE_CODE, &responseCode);
  api.slistFreeAll(resolveList);
  api.slistFreeAll(headerList);
  api.easyCleanup(curl);

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
    response.error = api.easyStrerror(code);
  } else if (context.tooLarge) {
    response.error = "response larger than 512 MB";
  } else {
    response.error = api.easyStrerror(code);
  }
  return response;
}

}  // namespace velko::nodes::detail
