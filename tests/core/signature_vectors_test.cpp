// The signature check against RFC 8032, Wycheproof and the EdDSA edge cases, and its strict rules by hand.
#include <gtest/gtest.h>

#include "core/signature.h"
#include "core/signature_rules.h"
#include "tests/core/vector_files.h"

namespace velko::core {
namespace {

std::array<unsigned char, 32> key32(const std::string& hex) {
  return test::array32(test::fromHex(hex));
}

// Hex digits of either case are one text form; Wycheproof tries the wrong lengths.
TEST(SignatureVectors, Rfc8032VerifiesInItsTextFormOnly) {
  const auto vectors = test::readJsonVectors("rfc8032_ed25519.json")["vectors"];
  ASSERT_EQ(vectors.size(), 5u);
  for (const auto& v : vectors) {
    const auto key = key32(v["public_key"]);
    const std::string message = test::fromHex(v["message"].get<std::string>());
    const std::string valid = v["signature"];
    std::string upper = valid;
    std::transform(valid.begin(), valid.end(), upper.begin(), ::toupper);
    EXPECT_TRUE(verifyEd25519Signature(message, valid, key)) << v["name"];
    EXPECT_TRUE(verifyEd25519Signature(message, upper, key)) << v["name"];
    EXPECT_FALSE(verifyEd25519Signature(message, valid.substr(0, 127) + "g", key)) << v["name"];
  }
}

TEST(SignatureVectors, WycheproofAllCasesAsExpected) {
  const auto file = test::readJsonVectors("wycheproof_ed25519_test.json");
  int agreed = 0, total = 0;
  for (const auto& group : file["testGroups"]) {
    const auto key = key32(group["publicKey"]["pk"]);
    for (const auto& t : group["tests"]) {
      const bool expected = t["result"] == "valid";
      const bool got =
          verifyEd25519Signature(test::fromHex(t["msg"].get<std::string>()), t["sig"], key);
      EXPECT_EQ(got, expected) << "tcId " << t["tcId"] << ": " << t["comment"];
      agreed += got == expected;
      ++total;
    }
  }
  EXPECT_EQ(total, 151);
  EXPECT_EQ(agreed, 151) << "Wycheproof cases as expected, of " << total;
}

// Each case on our three rules: S < L, a key not of small order, and ref10's cofactorless
// equation R = SB - hA, which takes R and A as sent, so a non-canonical R never matches the
// recomputed encoding. Only a case that passes all three is accepted.
TEST(SignatureVectors, SpeccheckCasesDecidedByOurRules) {
  struct Expected {
    bool canonicalScalar, smallOrderKey, ref10Equation;
    const char* reason;
  };
  const Expected expected[12] = {
      {true, true, true, "A and R small order, S = 0: refused for the key"},
      {true, true, true, "A small order, R mixed: refused for the key"},
      {true, false, true, "A mixed, R small order: accepted, a small R is allowed"},
      {true, false, true, "A and R mixed, both equations hold: accepted"},
      {true, false, false, "holds only with the cofactor: refused"},
      {true, false, false, "holds only cofactored with unreduced 8h: refused"},
      {false, false, true, "S + L, which ref10 alone accepts: refused"},
      {false, false, false, "S far above L, byte 63 > 31: refused"},
      {true, false, false, "non-canonical R, hash over canonical R: refused"},
      {true, false, false, "non-canonical R, hash over R as sent: refused"},
      {true, true, false, "non-canonical (0, -1) as key, hash over canonical A: refused"},
      {true, true, true, "same key, hash over A as sent: ref10 accepts, we refuse for the key"},
  };
  const auto cases = test::readJsonVectors("ed25519_eddsa_edge_cases.json");
  ASSERT_EQ(cases.size(), 12u);
  for (size_t i = 0; i < 12; ++i) {
    const Expected& e = expected[i];
    SCOPED_TRACE("edge case " + std::to_string(i) + ": " + e.reason);
    const auto key = key32(cases[i]["pub_key"]);
    const std::string message = test::fromHex(cases[i]["message"].get<std::string>());
    const std::string signature = test::fromHex(cases[i]["signature"].get<std::string>());
    EXPECT_EQ(isCanonicalScalar(test::bytesOf(signature) + 32), e.canonicalScalar);
    EXPECT_EQ(isInsecureEd25519PublicKey(key), e.smallOrderKey);
    EXPECT_EQ(verifyEd25519Signature(message, cases[i]["signature"], key),
              e.canonicalScalar && !e.smallOrderKey && e.ref10Equation);
  }
}

// Wycheproof has S just above and just below the bound; these are L itself and L - 1.
TEST(SignatureRules, CanonicalScalarIsBelowTheGroupOrder) {
  const std::string order = "edd3f55c1a631258d69cf7a2def9de1400000000000000000000000000000010";
  EXPECT_FALSE(isCanonicalScalar(key32(order).data()));
  EXPECT_TRUE(isCanonicalScalar(key32("ec" + order.substr(2)).data()));
}

// Every encoding of the eight points of order dividing 8 (the five y values with either sign bit,
// and y + p where that still fits) is refused as a key; so is y = 2, which has no x on the curve.
TEST(SignatureRules, SmallOrderKeysAndNonPointsAreRefused) {
  for (const char* hex : {
           "0000000000000000000000000000000000000000000000000000000000000000",  // order 4
           "0100000000000000000000000000000000000000000000000000000000000000",  // neutral
           "ecffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff7f",  // order 2
           "26e8958fc2b227b045c3f489f2ef98f0d5dfac05d3c63339b13802886d53fc05",  // order 8
           "c7176a703d4dd84fba3c0b760d10670f2a2053fa2c39ccc64ec7fd7792ac037a",  // order 8
           "edffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff7f",  // y = p, as 0
           "eeffffffffffffffffffffffffffffffffffffffffffffffffffffffffffff7f",  // y = p + 1, as 1
       }) {
    auto key = key32(hex);
    EXPECT_TRUE(isInsecureEd25519PublicKey(key)) << hex;
    key[31] |= 0x80;
    EXPECT_TRUE(isInsecureEd25519PublicKey(key)) << hex << " with the sign bit set";
  }
  EXPECT_TRUE(isInsecureEd25519PublicKey(key32("02" + std::string(62, '0'))));
}

}  // namespace
}  // namespace velko::core
