// Plain Ed25519 verification as in the ref10 reference code, without the stricter checks on top.
#pragma once

#include <cstddef>

namespace velko::core {

// Non-zero when the 64-byte `signature` (R, then S little-endian) is valid for `message` under the
// 32-byte `publicKey`, as ref10 judges it: it refuses a signature whose byte 63 exceeds 31 and a
// key that does not decode, but accepts S up to 2^253 and keys of small order. 0 otherwise.
int ed25519_verify(const unsigned char* signature, const unsigned char* message,
                   size_t messageLength, const unsigned char* publicKey);

}  // namespace velko::core
