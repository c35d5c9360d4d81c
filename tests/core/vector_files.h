// Readers for the public hash and signature vector files, and hex helpers for the crypto suites.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace velko::test {

// The bytes of a hex text; fails the current test on odd length or a non-hex digit.
std::vector<unsigned char> fromHex(std::string_view hex);
std::string toHex(const unsigned char* data, size_t length);

struct HashVector {
  std::string message;  // raw bytes
  std::string digest;   // lower-case hex
};

// The records of a NIST byte-oriented .rsp file from the shared test data folder. Empty (and the
// current test failed) when the file cannot be read.
std::vector<HashVector> readHashVectors(const std::string& fileName);

// A JSON file from the shared test data folder; null (and the current test failed) when missing.
nlohmann::json readJsonVectors(const std::string& fileName);

}  // namespace velko::test
