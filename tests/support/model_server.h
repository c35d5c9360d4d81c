// A model server for tests: model files and a list signed with the development key, served by the
// loopback HTTP server under /m/.
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/http_test_server.h"

namespace velko::test {

// A list entry of kind "file" for `bytes`, stored as "<id>.bin", fetched from "<id>.bin" beside
// the list. Fields may be changed or added before publishing.
nlohmann::json fileModel(const std::string& id, const std::string& bytes);
// A list entry of kind "coreml" for the zip archive `zipBytes`, fetched from "<id>.zip".
nlohmann::json coremlModel(const std::string& id, const std::string& zipBytes);

// The 64 hex digits of SHA-256 of `bytes`.
std::string sha256Hex(const std::string& bytes);

// The public half of the development key in tests/data.
std::array<unsigned char, 32> developmentPublicKey();

// The list text of `entries` and its signature by the development key, as a server publishes them.
struct SignedList {
  std::string text;
  std::string signature;
};
SignedList signedList(const std::vector<nlohmann::json>& entries);

class ModelServer {
 public:
  // Signs a list of `entries` with the development key and serves it at /m/models.json with its
  // .sig beside it, and serves each entry's `file` with the matching `bytes`. A later
  // `http.route` changes how one of them answers.
  void publish(const std::vector<nlohmann::json>& entries, const std::vector<std::string>& bytes);
  // Publishes file models "a", "b" and "c" of 1000, 2000 and 3000 bytes of their own letter.
  void publishThree();
  // "http://127.0.0.1:<port>/m/models.json".
  std::string listUrl() const { return http.url("/m/models.json"); }

  HttpTestServer http;
};

}  // namespace velko::test
