// The one seam between the model store and the network, and the factory of its HTTP implementation.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace velko::models {

// The answer of one transfer. Success is an empty `error`; the caller judges the status.
struct TransportResult {
  int status = 0;          // HTTP status of the final response; 0 after a failure
  bool cancelled = false;  // stopped by one of the callbacks or by cancel
  std::string error;       // English text of the failure; "cancelled" after a stop
};

// Fetches one resource, one attempt per call; any retry or resume is the caller's business.
class Transport {
 public:
  virtual ~Transport() = default;

  // GETs `url`, from byte `offset` on (0 asks for the whole resource). `onStatus` is told the
  // status once before the first body bytes, and not at all for an empty body; `onBody` gets the
  // body piece by piece; false from either stops the transfer. `onProgress` (may be empty) gets
  // bytes received and expected in this transfer, not counting `offset`, never negative; expected
  // is 0 while unknown. `cancel` (may be empty) is polled throughout; true stops the transfer.
  // Blocks the calling thread; all callbacks run on it. A stop gives cancelled, status 0 and
  // error "cancelled".
  virtual TransportResult get(
      const std::string& url, unsigned long long offset, const std::function<bool(int)>& onStatus,
      const std::function<bool(const char*, unsigned long)>& onBody,
      const std::function<void(unsigned long long, unsigned long long)>& onProgress,
      const std::function<bool()>& cancel) = 0;
};

// The transport for all model traffic: redirects followed, no total time limit, a stall limit of
// one minute, a fixed User-Agent. It has no state, so one instance serves all threads.
std::shared_ptr<Transport> makeHttpTransport();

}  // namespace velko::models
