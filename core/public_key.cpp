// The key in force for model lists. The compiled-in key arrives from the build as 64 hex digits.
#include "core/public_key.h"

#include <string_view>

namespace velko::core {
namespace {

constexpr unsigned char nibble(char c) {
  return static_cast<unsigned char>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
}

// The build checks the text when it is configured, so decoding needs no error path.
constexpr std::array<unsigned char, 32> decodeKey(std::string_view hex) {
  std::array<unsigned char, 32> key{};
  for (size_t i = 0; i < key.size(); ++i) {
    key[i] = static_cast<unsigned char>(nibble(hex[2 * i]) << 4 | nibble(hex[2 * i + 1]));
  }
  return key;
}

constexpr std::string_view kCompiledKeyHex = VELKO_MODEL_LIST_PUBLIC_KEY_HEX;
static_assert(kCompiledKeyHex.size() == 64, "the model-list key must be 64 hex digits");
constexpr std::array<unsigned char, 32> kCompiledKey = decodeKey(kCompiledKeyHex);

}  // namespace

PublicKeyOverride tokenPublicKeyOverride;

std::array<unsigned char, 32> tokenPublicKey() {
  return tokenPublicKeyOverride.set ? tokenPublicKeyOverride.key : kCompiledKey;
}

}  // namespace velko::core
