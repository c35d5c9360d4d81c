// The signature check against RFC 8032, Wycheproof and the speccheck edge cases, and its strict
// rules (text form, scalar range, small-order keys) on hand-made inputs.
#include <gtest/gtest.h>

#include <iostream>

#include "core/ed25519_verify.h"
#include "core/signature.h"
#include "core/signature_rules.h"
#include "tests/core/vector_files.h"

namespace velko::core {
namespace {

std::array<unsigned char, 32> key32(std::string_view hex) {
  const auto bytes = test::fromHex(hex);
  std::array<unsigned char, 32> key{};
  if (bytes.size() == 32) std::copy(bytes.begin(), bytes.end(), key.begin());
  return key;
}

std::string text(const std::vector<unsigned char>& bytes) {
  return {bytes.begin(), bytes.end()};
}

TEST(SignatureVectors, Rfc8032VerifiesAndOneFlippedBitDoesNot) {
  const auto file = test::readJsonVectors("rfc8032_ed25519.json");
  ASSERT_EQ(file["vectors"].size(), 5u);
  for (const auto& v : file["vectors"]) {
    const auto key = key32(v["public_key"].get<std::string>());
    std::string message = text(test::fromHex(v["message"].get<std::string>()));
    const std::string signature = v["signature"];
    EXPECT_TRUE(verifyEd25519Signature(message, signature, key)) << v["name"];
    if (message.empty()) continue;
    message[message.size() / 2] ^= 0x10;
    EXPECT_FALSE(verifyEd25519Signature(message, signature, key)) << v["name"];
  }
}

TEST(SignatureVectors, WycheproofAllCasesAsExpected) {
  const auto file = test::readJsonVectors("wycheproof_ed25519_test.json");
  int agreed = 0, total = 0;
  for (const auto& group : file["testGroups"]) {
    const auto key = key32(group["publicKey"]["pk"].get<std::string>());
    for (const auto& t : group["tests"]) {
      ++total;
      const bool expected = t["result"] == "valid";
      const bool got =
          verifyEd25519Signature(text(test::fromHex(t["msg"].get<std::string>())), t["sig"], key);
      EXPECT_EQ(got, expected) << "tcId " << t["tcId"] << ": " << t["comment"];
      agreed += got == expected;
    }
  }
  std::cout << "Wycheproof: " << agreed << " of " << total << " cases as expected\n";
  EXPECT_EQ(total, 151);
  EXPECT_EQ(agreed, 151);
}

// What each of our three tests says about the twelve cases, and why. The answer is accepted only
// for S < L, a key not of small order, and ref10's cofactorless equation R = SB - hA; ref10 takes
// R and A as sent, so a non-canonical R never equals the recomputed encoding.
TEST(SignatureVectors, SpeccheckCasesDecidedByOurRules) {
  struct Expected {
    bool canonicalScalar, smallOrderKey, ref10Equation;
  };
  const Expected expected[12] = {
      {true, true, true},     // 0: A and R small order, S = 0: refused for the key
      {true, true, true},     // 1: A small order, R mixed: refused for the key
      {true, false, true},    // 2: A mixed, R small order: accepted, a small R is allowed
      {true, false, true},    // 3: A and R mixed, both equations hold: accepted
      {true, false, false},   // 4: holds only with the cofactor: refused
      {true, false, false},   // 5: holds only cofactored with unreduced 8h: refused
      {false, false, true},   // 6: S + L (byte 63 <= 31), which ref10 alone accepts: refused
      {false, false, false},  // 7: S far above L, byte 63 > 31: refused
      {true, false, false},   // 8: non-canonical R, hash over canonical R: refused
      {true, false, false},   // 9: non-canonical R, hash over R as sent: refused
      {true, true, false},    // 10: non-canonical (0, -1) as key, hash over canonical A
      {true, true, true},     // 11: same key, hash over A as sent: ref10 accepts, we refuse
  };
  const auto cases = test::readJsonVectors("ed25519_speccheck_cases.json");
  ASSERT_EQ(cases.size(), 12u);
  for (size_t i = 0; i < 12; ++i) {
    const auto key = key32(cases[i]["pub_key"].get<std::string>());
    const std::string message = text(test::fromHex(cases[i]["message"].get<std::string>()));
    const std::string signatureHex = cases[i]["signature"];
    const auto signature = test::fromHex(signatureHex);
    const Expected& e = expected[i];
    SCOPED_TRACE("speccheck case " + std::to_string(i));

    EXPECT_EQ(isCanonicalScalar(signature.data() + 32), e.canonicalScalar);
    EXPECT_EQ(isInsecureEd25519PublicKey(key), e.smallOrderKey);
    EXPECT_EQ(
        ed25519_verify(signature.data(), reinterpret_cast<const unsigned char*>(message.data()),
                       message.size(), key.data()) != 0,
        e.ref10Equation);
    EXPECT_EQ(verifyEd25519Signature(message, signatureHex, key),
              e.canonicalScalar && !e.smallOrderKey && e.ref10Equation);
  }
}

// L as 32 little-endian bytes, then variants built from it.
std::array<unsigned char, 32> orderBytes() {
  return key32("edd3f55c1a631258d69cf7a2def9de1400000000000000000000000000000010");
}

TEST(SignatureRules, CanonicalScalarComparesFromTheTopByte) {
  struct Case {
    const char* name;
    std::array<unsigned char, 32> scalar;
    bool canonical;
  };
  auto variant = [](int index, unsigned char value) {
    auto s = orderBytes();
    s[index] = value;
    return s;
  };
  std::array<unsigned char, 32> allOnes;
  allOnes.fill(0xff);
  std::array<unsigned char, 32> belowTopThenHigh;  // 0x0fff...ff < L although low bytes are big
  belowTopThenHigh.fill(0xff);
  belowTopThenHigh[31] = 0x0f;
  const Case cases[] = {
      {"zero", {}, true},
      {"L - 1", variant(0, 0xec), true},
      {"L", orderBytes(), false},
      {"L + 1", variant(0, 0xee), false},
      {"2^252", key32(std::string(62, '0') + "10"), true},
      {"L with a middle byte raised", variant(20, 0x01), false},
      {"L with a middle byte lowered", variant(15, 0x13), true},
      {"0x0fff...ff", belowTopThenHigh, true},
      {"all ones", allOnes, false},
  };
  for (const auto& c : cases)
    EXPECT_EQ(isCanonicalScalar(c.scalar.data()), c.canonical) << c.name;
}

// Every encoding that decodes to one of the eight points of order dividing 8: the five y values,
// each with either sign bit, and y + p where that still fits in 255 bits.
std::vector<std::array<unsigned char, 32>> smallOrderEncodings() {
  const char* canonical[] = {
      "0000000000000000000000000000000000000000000000000000000000000000",  // order 4
      "0100000000000000000000000000000000000000000000000000000000000000",  // neutral element
      "ecffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff7f",  // order 2
      "26e8958fc2b227b045c3f489f2ef98f0d5dfac05d3c63339b13802886d53fc05",  // order 8
      "c7176a703d4dd84fba3c0b760d10670f2a2053fa2c39ccc64ec7fd7792ac037a",  // order 8
      "edffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff7f",  // y = p, as 0
      "eeffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff7f",  // y = p + 1, as 1
  };
  std::vector<std::array<unsigned char, 32>> keys;
  for (const char* hex : canonical) {
    auto key = key32(hex);
    keys.push_back(key);
    key[31] |= 0x80;
    keys.push_back(key);
  }
  return keys;
}

// For each small-order key, a signature that plain ref10 accepts (R = neutral element, S = 0, a
// message whose hash is a multiple of the key's order) must still be refused.
TEST(SignatureRules, SmallOrderKeysRefusedEvenWhereRef10Accepts) {
  unsigned char signature[64] = {1};  // R encodes the neutral element, S = 0
  const std::string signatureHex = test::toHex(signature, 64);
  for (const auto& key : smallOrderEncodings()) {
    SCOPED_TRACE(test::toHex(key.data(), 32));
    EXPECT_TRUE(isInsecureEd25519PublicKey(key));
    bool forged = false;
    for (int n = 0; n < 200 && !forged; ++n) {
      const std::string message = "message " + std::to_string(n);
      forged = ed25519_verify(signature, reinterpret_cast<const unsigned char*>(message.data()),
                              message.size(), key.data()) != 0;
      if (forged) {
        EXPECT_FALSE(verifyEd25519Signature(message, signatureHex, key));
      }
    }
    EXPECT_TRUE(forged) << "no message found that plain ref10 accepts";
  }
}

TEST(SignatureRules, KeysThatAreNoPointOrOfLargeOrder) {
  // y = 2 has no x on the curve.
  EXPECT_TRUE(isInsecureEd25519PublicKey(key32("02" + std::string(62, '0'))));
  // Keys of large order, one of them mixed with a small-order part, are usable.
  EXPECT_FALSE(isInsecureEd25519PublicKey(
      key32("d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a")));
  const auto speccheck = test::readJsonVectors("ed25519_speccheck_cases.json");
  EXPECT_FALSE(isInsecureEd25519PublicKey(key32(speccheck[2]["pub_key"].get<std::string>())));
}

// The text form, on RFC 8032 TEST 2 (one message byte 0x72).
TEST(SignatureRules, TextForm) {
  const auto key = key32("3d4017c3e843895a92b70aa74d1b7ebc9c982ccf2ec4968cc0cd55f12af4660c");
  const std::string message = "\x72";
  const std::string valid =
      "92a009a9f0d4cab8720e820b5f642540a2b27b5416503f8fb3762223ebdb69da"
      "085ac1e43e15996e458f3613d0f11d8c387b2eaeb4302aeeb00d291612bb0c00";
  ASSERT_TRUE(verifyEd25519Signature(message, valid, key));

  std::string upper = valid, mixed = valid;
  for (size_t i = 0; i < upper.size(); ++i) {
    upper[i] = static_cast<char>(std::toupper(upper[i]));
    if (i % 3 == 0) mixed[i] = upper[i];
  }
  EXPECT_TRUE(verifyEd25519Signature(message, upper, key));
  EXPECT_TRUE(verifyEd25519Signature(message, mixed, key));

  struct Case {
    const char* name;
    std::string signature;
  };
  std::vector<Case> refused = {
      {"empty", ""},
      {"127 digits", valid.substr(0, 127)},
      {"129 digits", valid + "0"},
      {"trailing newline", valid + "\n"},
      {"0x prefix", "0x" + valid.substr(2)},
  };
  for (size_t at : {0, 1, 63, 64, 127}) {
    for (char bad : {'g', ' ', 'G', '\0'}) {
      std::string s = valid;
      s[at] = bad;
      refused.push_back({"bad digit", s});
    }
  }
  for (const auto& c : refused) {
    EXPECT_FALSE(verifyEd25519Signature(message, c.signature, key))
        << c.name << ": " << c.signature;
  }
}

}  // namespace
}  // namespace velko::core
