// Test helper: model lists signed with a fixed test key, the way the vendor publishes them.
#pragma once

#include <array>
#include <string>

#include "models/model_list.h"
#include "tools/model_tool/ed25519_keys.h"

namespace velko::test {

inline model_tool::PrivateSeed testSeed() {
  model_tool::PrivateSeed seed{};
  for (size_t i = 0; i < seed.size(); ++i)
    seed[i] = static_cast<unsigned char>(7 * i + 3);
  return seed;
}

inline std::array<unsigned char, 32> testPublicKey() {
  return model_tool::publicKeyOf(testSeed()).value();
}

// The signature over the literal wire prefix, not the library's constant, so a changed prefix in
// the code shows up as a failing test.
inline std::string signatureFor(const std::string& listText) {
  return model_tool::signHex(testSeed(), "VELKO-MODELS-V1\n" + listText);
}

// Verifies `listText` with a correct signature and the test key.
inline models::ListResult verifySigned(
    const std::string& listText,
    const std::string& listUrl = "https://example.test/m/models.json") {
  return models::verifyModelList(listText, signatureFor(listText), testPublicKey(), listUrl);
}

}  // namespace velko::test
