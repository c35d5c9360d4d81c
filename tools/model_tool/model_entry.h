// One entry of models.json, built from the model's download file and the vendor's options.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace velko::model_tool {

// The vendor's choices for one entry; empty texts are left out of the JSON.
struct EntryOptions {
  std::string id;
  std::string kind;  // "coreml" or "file"
  std::string package;
  std::string version;
  std::string title_de;
  std::string title_en;
  std::string license;
  std::string license_url;
  std::string source;
  std::string min_velko;
  std::optional<uint64_t> installed_size;
  std::string file;  // download address, absolute or relative to the list; default: the file's name
};

struct EntryResult {
  bool ok = false;
  std::string json;   // the entry as indented JSON, keys in the list's reading order
  std::string error;  // why no entry was made
};

// Measures `path` (size and SHA-256 through the installer's own hashing) and builds the entry.
// Refuses (ok false) when the file cannot be read or is empty, and when the installer's list rules
// would drop the entry, so a broken row is caught before it is published.
EntryResult buildEntry(const std::string& path, const EntryOptions& options);

}  // namespace velko::model_tool
