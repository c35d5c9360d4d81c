// Model-list trust: SHA-512 and Ed25519 against public vectors and OpenSSL, and the release key.
#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <random>
#include <regex>

#include "core/sha512.h"
#include "core/signature.h"
#include "core/signature_rules.h"
#include "tests/core/vector_files.h"

namespace velko::core {
namespace {

// The short messages cross every padding edge; odd pieces put block boundaries inside pieces.
TEST(Sha512, KnownAnswers) {
  const auto vectors = test::readHashVectors("SHA512ShortMsg.rsp");
  ASSERT_EQ(vectors.size(), 129u);
  for (const auto& [message, digest] : vectors) {
    for (size_t piece : {1, 3, 111, 129}) {
      sha512_state state;
      sha512_init(&state);
      for (size_t at = 0; at < message.size(); at += piece)
        sha512_update(&state, test::bytesOf(message) + at, std::min(piece, message.size() - at));
      unsigned char out[64];
      sha512_final(&state, out);
      EXPECT_EQ(test::toHex(out, 64), digest) << message.size() << " bytes in pieces of " << piece;
    }
  }
}

struct Signed {
  std::string message, signature, key;  // raw bytes
};

// Derives a key pair from the 32 bytes of `seed` and signs `message` with OpenSSL.
Signed signWithOpenSsl(const std::string& seed, const std::string& message) {
  Signed out{message, std::string(64, '\0'), std::string(32, '\0')};
  const auto raw = [](std::string& b) { return reinterpret_cast<unsigned char*>(b.data()); };
  EVP_PKEY* key = EVP_PKEY_new_raw_private_key(EVP_PKEY_ED25519, nullptr, test::bytesOf(seed), 32);
  EVP_MD_CTX* ctx = EVP_MD_CTX_new();
  size_t keyLength = 32, signatureLength = 64;
  EXPECT_TRUE(EVP_PKEY_get_raw_public_key(key, raw(out.key), &keyLength) == 1 &&
              EVP_DigestSignInit(ctx, nullptr, nullptr, nullptr, key) == 1 &&
              EVP_DigestSign(ctx, raw(out.signature), &signatureLength, test::bytesOf(message),
                             message.size()) == 1);
  EVP_MD_CTX_free(ctx);
  EVP_PKEY_free(key);
  return out;
}

// One table for the rules S < L (no malleable S + L), no key of small order and ref10's equation,
// which takes R and A as sent: Wycheproof; the EdDSA edge cases, of which only 2 (A mixed, R small)
// and 3 (A and R mixed) pass all three; forgeries; and OpenSSL's signatures of random messages
// under random keys, good in either case of hex digits, never after a changed byte.
TEST(SignatureCheck, VectorsForgeriesAndOpenSslSignaturesDecidedByTheStrictRules) {
  int cases = 0;
  const auto expect = [&](bool valid, const std::string& message, const std::string& signatureHex,
                          const std::string& key, const std::string& label) {
    EXPECT_EQ(verifyEd25519Signature(message, signatureHex, test::array32(key)), valid) << label;
    ++cases;
  };
  const auto bytes = [](const nlohmann::json& j) { return test::fromHex(j.get<std::string>()); };
  const auto wycheproof = test::readJsonVectors("wycheproof_ed25519_test.json");
  for (const auto& group : wycheproof["testGroups"]) {
    for (const auto& t : group["tests"]) {
      expect(t["result"] == "valid", bytes(t["msg"]), t["sig"], bytes(group["publicKey"]["pk"]),
             "tcId " + t["tcId"].dump());
    }
  }
  const auto edge = test::readJsonVectors("ed25519_eddsa_edge_cases.json");
  for (size_t i = 0; i < edge.size(); ++i) {
    expect(i == 2 || i == 3, bytes(edge[i]["message"]), edge[i]["signature"],
           bytes(edge[i]["pub_key"]), "edge case " + std::to_string(i));
  }
  // R the neutral point and S = 0 pass ref10 for any message under the neutral point as the key:
  // as y = 1, as y = 1 with the sign of x set, and as y = p + 1.
  for (const std::string& key : {std::string("\x01"), "\x01" + std::string(30, '\0') + "\x80",
                                 "\xee" + std::string(30, '\xff') + "\x7f"})
    expect(false, "", "01" + std::string(126, '0'), key, "forged " + testing::PrintToString(key));
  std::mt19937_64 random(25519);
  const auto randomBytes = [&](size_t size) {
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
  };
  for (int round = 0; round < 150; ++round) {
    const auto expectRound = [&](bool valid, const Signed& s, const std::string& what) {
      std::string hex = test::toHex(test::bytesOf(s.signature), 64);
      if (round % 2) std::transform(hex.begin(), hex.end(), hex.begin(), ::toupper);
      expect(valid, s.message, hex, s.key, "round " + std::to_string(round) + ", " + what);
    };
    const Signed good = signWithOpenSsl(randomBytes(32), randomBytes(1 + random() % 300));
    expectRound(true, good, "as signed");
    // One flipped bit in even rounds, one byte replaced by another in odd ones.
    for (std::string Signed::*part : {&Signed::message, &Signed::signature, &Signed::key}) {
      Signed bad = good;
      const size_t at = random() % (bad.*part).size();
      (bad.*part)[at] ^= static_cast<char>(round % 2 ? 1 + random() % 255 : 1u << random() % 8);
      expectRound(false, bad, "byte " + std::to_string(at) + " changed");
    }
  }
  EXPECT_EQ(cases, 151 + 12 + 3 + 150 * 4);
}

// The rules by hand where no signature reaches them: S = L (the scalar 0) and L - 1 decided on the
// last byte; keys of small order with y >= p, or no point at all (y = 2), which ref10 also refuses.
TEST(SignatureRules, BoundariesNoSignatureReaches) {
  const std::string order =
      test::fromHex("edd3f55c1a631258d69cf7a2def9de14") + std::string(15, '\0') + "\x10";
  EXPECT_FALSE(isCanonicalScalar(test::bytesOf(order)));
  EXPECT_TRUE(isCanonicalScalar(test::bytesOf("\xec" + order.substr(1))));
  for (const std::string& key : {"\xed" + std::string(30, '\xff') + "\x7f", std::string("\x02")})
    EXPECT_TRUE(isInsecureEd25519PublicKey(test::array32(key))) << (key[0] & 0xff);
}

// A release build never trusts the development key, whose private half lies in the repository.
TEST(PublicKey, ReleaseBuildWithoutTheVendorsKeyDoesNotConfigure) {
  test::TempDir dir;
  const test::ProcessResult r =
      test::runProcess({VELKO_CMAKE_COMMAND, "-S", VELKO_SOURCE_DIR, "-B", (dir / "b").string(),
                        "-G", "Ninja", "-DVELKO_BUILD_TESTS=OFF", "-DVELKO_RELEASE=ON"});
  const std::string err = std::regex_replace(r.err, std::regex("\\s+"), " ");  // unwrapped
  EXPECT_NE(r.exitCode, 0);
  EXPECT_NE(err.find("needs the production model-list key"), std::string::npos) << err;
}

}  // namespace
}  // namespace velko::core
