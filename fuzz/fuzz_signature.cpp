// Fuzzes verifyEd25519Signature. Input: 32 key bytes, then up to 128 bytes of signature text, then
// the message. Besides crashes it traps on answers that contradict each other.
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "core/signature.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::array<unsigned char, 32> key{};
  const size_t keyBytes = size < key.size() ? size : key.size();
  std::memcpy(key.data(), data, keyBytes);
  data += keyBytes;
  size -= keyBytes;

  const size_t signatureBytes = size < 128 ? size : 128;
  const std::string signature(reinterpret_cast<const char*>(data), signatureBytes);
  const std::string message(reinterpret_cast<const char*>(data + signatureBytes),
                            size - signatureBytes);

  if (!velko::core::verifyEd25519Signature(message, signature, key)) return 0;

  // An accepted signature must be accepted in upper case too, and must fail for another message.
  std::string upper = signature;
  for (char& c : upper)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (!velko::core::verifyEd25519Signature(message, upper, key)) __builtin_trap();
  if (velko::core::verifyEd25519Signature(message + "x", signature, key)) __builtin_trap();
  return 0;
}
