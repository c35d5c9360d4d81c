// The signed model list: its records and the one function that turns list text plus signature into
// a trusted list.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace velko::models {

// What a list signature covers in front of the list's bytes, so that a list signature cannot pass
// for a signature over anything else the key signs. The vendor's signing tool uses it as well.
inline constexpr std::string_view kSignedListPrefix = "VELKO-MODELS-V1\n";

enum class ModelKind : int32_t {
  CoreML = 0,  // a compiled model folder `<id>.mlmodelc`, delivered as a zip archive
  File = 1,    // one plain file, stored under `package` as downloaded
};

// One row of the list. Field names that mirror the list's JSON keys keep the JSON spelling.
struct ModelEntry {
  std::string id;
  std::string version;
  std::string title_de;
  std::string title_en;
  ModelKind kind = ModelKind::CoreML;
  std::string package;          // folder or file name inside the model folder
  std::string file;             // the list's `file` value, unchanged
  std::string url;              // absolute download address derived from `file`
  uint64_t size = 0;            // download size in bytes, never 0 in a kept entry
  std::string sha256;           // 64 lower-case hex digits of the download
  uint64_t installed_size = 0;  // announced size on disk after unpacking, 0 if unknown
  std::string license;
  std::string license_url;
  std::string source;
  std::string min_velko;  // lowest application version allowed to use the model; empty means any
  std::vector<std::string> nodes;
};

struct ModelList {
  int32_t format = 0;  // 1 in an accepted list, 0 in an empty one
  std::string issued;  // the issue stamp as written, never interpreted
  std::vector<ModelEntry> models;
};

struct ListResult {
  bool ok = false;
  ModelList list;     // empty (format 0) when `ok` is false
  std::string error;  // message in the current language; empty when `ok` is true
};

// Checks the Ed25519 signature of "VELKO-MODELS-V1\n" + `listText` against `publicKey` before
// looking at the list, then parses it and keeps the entries that meet the rules. `listUrl` only
// resolves relative `file` values. Does no I/O.
// Refusal: `ok` false, empty list, and the signature, JSON, missing-field or newer-version message.
// A `format` value that cannot convert to a number (string, null, array, object) is not caught:
// the JSON library's type_error leaves this function.
ListResult verifyModelList(const std::string& listText, const std::string& signatureText,
                           const std::array<unsigned char, 32>& publicKey,
                           const std::string& listUrl);

// The directory part of an address with its final slash, ignoring query and fragment. Empty when
// the address has no path ("https://example.test") or no slash at all.
std::string urlDirectory(const std::string& url);

}  // namespace velko::models
