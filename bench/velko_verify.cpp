// verifyEd25519Signature as a command, for bench/signature_verify.sh: verifies one signature over
// and over for a few seconds and prints the verifications per second.
// Usage: velko-verify <public key hex> <signature hex> <message> [seconds]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/signature.h"
#include "tools/model_tool/ed25519_keys.h"

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr,
                 "usage: velko-verify <public key hex> <signature hex> <message> [seconds]\n");
    return 64;
  }
  const auto key = velko::model_tool::publicKeyFromHex(argv[1]);
  if (!key) {
    std::fprintf(stderr, "not a public key: %s\n", argv[1]);
    return 64;
  }
  const std::string signature = argv[2], message = argv[3];
  const double seconds = argc > 4 ? std::atof(argv[4]) : 3.0;
  using Clock = std::chrono::steady_clock;
  const Clock::time_point start = Clock::now();
  long count = 0;
  std::chrono::duration<double> elapsed{};
  do {
    for (int i = 0; i < 100; ++i) {
      if (!velko::core::verifyEd25519Signature(message, signature, *key)) {
        std::fprintf(stderr, "the signature does not verify\n");
        return 1;
      }
    }
    count += 100;
    elapsed = Clock::now() - start;
  } while (elapsed.count() < seconds);
  std::printf("%.0f\n", count / elapsed.count());
  return 0;
}
