// Parsing of the NIST .rsp and JSON vector files.
#include "tests/core/vector_files.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/support/test_support.h"

namespace velko::test {
namespace {

std::string sharedFile(const std::string& fileName) {
  return std::string(VELKO_SHARED_TESTDATA) + "/" + fileName;
}

}  // namespace

std::vector<unsigned char> fromHex(std::string_view hex) {
  EXPECT_EQ(hex.size() % 2, 0u) << hex;
  EXPECT_EQ(hex.find_first_not_of("0123456789abcdefABCDEF"), std::string_view::npos) << hex;
  std::vector<unsigned char> out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    out.push_back(
        static_cast<unsigned char>(std::stoul(std::string(hex.substr(i, 2)), nullptr, 16)));
  }
  return out;
}

std::string toHex(const unsigned char* data, size_t length) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out;
  for (size_t i = 0; i < length; ++i) {
    out += kDigits[data[i] >> 4];
    out += kDigits[data[i] & 0xf];
  }
  return out;
}

std::vector<HashVector> readHashVectors(const std::string& fileName) {
  std::ifstream in(sharedFile(fileName));
  EXPECT_TRUE(in) << "missing vector file " << fileName;
  std::vector<HashVector> vectors;
  size_t bits = 0;
  std::string line, message;
  while (std::getline(in, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::istringstream fields(line);
    std::string key, equals, value;
    if (!(fields >> key >> equals >> value) || equals != "=") continue;
    if (key == "Len") bits = std::stoul(value);
    if (key == "Msg") {
      const auto bytes = fromHex(value);
      message.assign(bytes.begin(), bytes.begin() + bits / 8);  // "Msg = 00" stands for empty
    }
    if (key == "MD") vectors.push_back({message, value});
  }
  return vectors;
}

nlohmann::json readJsonVectors(const std::string& fileName) {
  const auto text = readFile(sharedFile(fileName));
  EXPECT_TRUE(text.has_value()) << "missing vector file " << fileName;
  return text ? nlohmann::json::parse(*text) : nlohmann::json();
}

}  // namespace velko::test
