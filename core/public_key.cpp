// The key in force for model lists. The compiled-in key arrives from the build as 64 hex digits.
#include "core/public_key.h"

#include <string_view>

#include "core/hex.h"

namespace velko::core {
namespace {

// Decoded while compiling: a key that is not 64 hex digits stops the build.
constexpr std::array<unsigned char, 32> decodeKey(std::string_view hex) {
  std::array<unsigned char, 32> key{};
  if (!decodeHex(hex, key)) throw "the model-list key must be 64 hex digits";
  return key;
}

constexpr std::array<unsigned char, 32> kCompiledKey = decodeKey(VELKO_MODEL_LIST_PUBLIC_KEY_HEX);

}  // namespace

PublicKeyOverride tokenPublicKeyOverride;

std::array<unsigned char, 32> tokenPublicKey() {
  return tokenPublicKeyOverride.set ? tokenPublicKeyOverride.key : kCompiledKey;
}

}  // namespace velko::core
