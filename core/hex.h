// Hexadecimal text to bytes: the one decoder for keys and signatures.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace velko::core {

// The value of one hex digit of either case; -1 for any other character.
constexpr int hexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Decodes exactly 2 * N hex digits of either case into `bytes`. False for another length or a
// character that is no hex digit; `bytes` is then partly written.
template <size_t N>
constexpr bool decodeHex(std::string_view hex, std::array<unsigned char, N>& bytes) {
  if (hex.size() != 2 * N) return false;
  for (size_t i = 0; i < N; ++i) {
    const int high = hexDigitValue(hex[2 * i]);
    const int low = hexDigitValue(hex[2 * i + 1]);
    if (high < 0 || low < 0) return false;
    bytes[i] = static_cast<unsigned char>(high << 4 | low);
  }
  return true;
}

}  // namespace velko::core
