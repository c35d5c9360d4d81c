// Readers for the public hash and signature vector files, and byte helpers for the crypto suites.
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

#include "tests/support/test_support.h"

namespace velko::test {

inline const unsigned char* bytesOf(std::string_view bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

inline std::string fromHex(std::string_view hex) {
  std::string out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    out += static_cast<char>(std::stoul(std::string(hex.substr(i, 2)), nullptr, 16));
  return out;
}

inline std::string toHex(const unsigned char* data, size_t length) {
  std::string out;
  for (size_t i = 0; i < length; ++i)
    out += {"0123456789abcdef"[data[i] >> 4], "0123456789abcdef"[data[i] & 0xf]};
  return out;
}

inline std::array<unsigned char, 32> array32(std::string_view bytes) {
  std::array<unsigned char, 32> out{};
  std::copy_n(bytesOf(bytes), std::min<size_t>(bytes.size(), 32), out.begin());
  return out;
}

// A file from tests/data/vectors; the current test fails if it is missing.
inline std::string readVectorFile(const std::string& fileName) {
  const auto text = readFile(std::string(VELKO_TEST_DATA) + "/vectors/" + fileName);
  EXPECT_TRUE(text) << "missing vector file " << fileName;
  return text.value_or("");
}

inline nlohmann::json readJsonVectors(const std::string& fileName) {
  return nlohmann::json::parse(readVectorFile(fileName));
}

struct HashVector {
  std::string message, digest;  // raw bytes, and lower-case hex
};

// The records of a NIST byte-oriented .rsp file ("Msg = 00" with "Len = 0" stands for empty).
inline std::vector<HashVector> readHashVectors(const std::string& fileName) {
  std::istringstream in(readVectorFile(fileName));
  std::vector<HashVector> vectors;
  std::string key, equals, value, message;
  size_t bits = 0;
  while (in >> key) {  // the headers and comments in between are skipped word by word
    if (key == "Len") in >> equals >> bits;
    if (key == "Msg" && in >> equals >> value) message = fromHex(value).substr(0, bits / 8);
    if (key == "MD" && in >> equals >> value) vectors.push_back({message, value});
  }
  return vectors;
}

}  // namespace velko::test
