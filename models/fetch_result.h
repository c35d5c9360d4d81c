// The answer of a model download: whether the model is installed, and if not, why.
#pragma once

#include <cstdint>
#include <string>

namespace velko::models {

// Why a fetch failed. The numbers are part of the interface: callers test for `Cancelled` (11).
enum class FetchError : int32_t {
  None = 0,
  NoList = 1,            // no model list is loaded
  UnknownModel = 2,      // the id is not in the list
  AppTooOld = 3,         // the model needs a newer application
  Busy = 4,              // another thread or process holds the model's lock
  Network = 5,           // no answer, or the transfer stopped before the end
  HttpStatus = 6,        // the server answered with a status that is not accepted
  SizeMismatch = 7,      // the file is not of the announced size
  ChecksumMismatch = 8,  // the file's SHA-256 is not the announced one
  UnpackFailed = 9,      // the archive could not be unpacked or is not acceptable
  IoError = 10,          // folder, disk space, file writing or the final replace
  Cancelled = 11,        // the caller's cancel function said stop
};

struct FetchResult {
  bool ok = false;  // the model is installed
  FetchError error = FetchError::None;
  std::string message;         // for the user, in the current language; empty when `ok`
  bool resumed = false;        // the server honoured a resume (206)
  uint64_t bytesReceived = 0;  // payload bytes written by this call, over all its transfers
};

}  // namespace velko::models
