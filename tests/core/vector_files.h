// Readers for the public hash and signature vector files, and byte helpers for the crypto suites.
#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/test_support.h"

namespace velko::test {

// `bytes` as the unsigned bytes the C interfaces take.
inline const unsigned char* bytesOf(std::string_view bytes) {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

// The bytes of a hex text; fails the current test on odd length or a non-hex digit.
inline std::string fromHex(std::string_view hex) {
  EXPECT_EQ(hex.size() % 2, 0u) << hex;
  EXPECT_EQ(hex.find_first_not_of("0123456789abcdefABCDEF"), std::string_view::npos) << hex;
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

// The first 32 of `bytes`, zero-filled when there are fewer.
inline std::array<unsigned char, 32> array32(std::string_view bytes) {
  std::array<unsigned char, 32> out{};
  std::copy_n(bytesOf(bytes), std::min<size_t>(bytes.size(), 32), out.begin());
  return out;
}

// A file from the public test vectors in tests/data/vectors; empty (and the current test failed) when missing.
inline std::string readVectorFile(const std::string& fileName) {
  const auto text = readFile(std::string(VELKO_TEST_DATA) + "/vectors/" + fileName);
  EXPECT_TRUE(text.has_value()) << "missing vector file " << fileName;
  return text.value_or("");
}

// A JSON file from the public test vectors in tests/data/vectors.
inline nlohmann::json readJsonVectors(const std::string& fileName) {
  return nlohmann::json::parse(readVectorFile(fileName));
}

struct HashVector {
  std::string message, digest;  // raw bytes, and lower-case hex
};

// The records of a NIST byte-oriented .rsp file from the public test vectors in tests/data/vectors.
inline std::vector<HashVector> readHashVectors(const std::string& fileName) {
  std::istringstream in(readVectorFile(fileName));
  std::vector<HashVector> vectors;
  std::string key, equals, value, message;
  size_t bits = 0;
  while (in >> key) {
    if (key != "Len" && key != "Msg" && key != "MD") continue;  // comments and headers
    in >> equals >> value;
    if (key == "Len") bits = std::stoul(value);
    if (key == "Msg") message = fromHex(value).substr(0, bits / 8);  // "Msg = 00" stands for empty
    if (key == "MD") vectors.push_back({message, value});
  }
  return vectors;
}

}  // namespace velko::test
