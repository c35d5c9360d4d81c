// The model store's HTTP transport: the one policy for all model traffic on top of the engine.
#include "models/transport.h"

#include <string>

#include "nodes/http_engine.h"

namespace velko::models {
namespace {

constexpr const char* kUserAgent = "Solstice Velko/velko-core 1.0.0 (models)";
// A model file may take any time while it moves; one that stands still for a minute is given up.
constexpr int64_t kStallTimeoutMs = 60000;

class HttpTransport final : public Transport {
 public:
  TransportResult get(const std::string& url, unsigned long long offset,
                      const std::function<bool(int)>& onStatus,
                      const std::function<bool(const char*, unsigned long)>& onBody,
                      const std::function<void(unsigned long long, unsigned long long)>& onProgress,
                      const std::function<bool()>& cancel) override {
    nodes::detail::HttpRequest request;
    request.method = "GET";
    request.url = url;
    if (offset != 0) request.headers.emplace_back("Range", "bytes=" + std::to_string(offset) + "-");
    request.followRedirects = true;
    request.timeoutMs = 0;
    request.stallTimeoutMs = kStallTimeoutMs;
    request.userAgent = kUserAgent;
    request.onStatus = onStatus;
    request.onBody = onBody;
    if (onProgress) {
      request.onProgress = [onProgress](long long received, long long expected) {
        onProgress(received < 0 ? 0 : static_cast<unsigned long long>(received),
                   expected < 0 ? 0 : static_cast<unsigned long long>(expected));
      };
    }
    const nodes::detail::HttpResponse response = nodes::detail::httpPerform(request, cancel);
    return TransportResult{response.status, response.cancelled, response.error};
  }
};

}  // namespace

std::shared_ptr<Transport> makeHttpTransport() {
  return std::make_shared<HttpTransport>();
}

}  // namespace velko::models
