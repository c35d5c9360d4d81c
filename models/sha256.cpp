// SHA-256: buffering and padding, the choice of compression function, and the portable rounds.
#include "models/sha256.h"

#include <cstdlib>
#include <cstring>

#include "models/sha256_blocks.h"

namespace velko::models {
namespace {

constexpr uint32_t kInitialHash[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                      0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};

uint32_t rotr(uint32_t x, int n) {
  return (x >> n) | (x << (32 - n));
}

uint32_t loadBigEndian32(const unsigned char* p) {
  return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}

// Lets a user or a benchmark compare the paths without a rebuild.
bool portableForcedByEnvironment() {
  const char* value = std::getenv("VELKO_SHA256_PORTABLE");
  return value != nullptr && value[0] != '\0' && std::strcmp(value, "0") != 0;
}

}  // namespace

const uint32_t kSha256RoundConstants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

void sha256BlocksPortable(uint32_t state[8], const unsigned char* data, size_t blockCount) {
  for (; blockCount > 0; --blockCount, data += 64) {
    uint32_t w[64];
    for (int t = 0; t < 16; ++t)
      w[t] = loadBigEndian32(data + 4 * t);
    for (int t = 16; t < 64; ++t) {
      const uint32_t s0 = rotr(w[t - 15], 7) ^ rotr(w[t - 15], 18) ^ (w[t - 15] >> 3);
      const uint32_t s1 = rotr(w[t - 2], 17) ^ rotr(w[t - 2], 19) ^ (w[t - 2] >> 10);
      w[t] = w[t - 16] + s0 + w[t - 7] + s1;
    }
    uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    uint32_t e = state[4], f = state[5], g = state[6], h = state[7];
    for (int t = 0; t < 64; ++t) {
      const uint32_t t1 = h + (rotr(e, 6) ^ rotr(e, 11) ^ rotr(e, 25)) + ((e & f) ^ (~e & g)) +
                          kSha256RoundConstants[t] + w[t];
      const uint32_t t2 = (rotr(a, 2) ^ rotr(a, 13) ^ rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
      h = g;
      g = f;
      f = e;
      e = d + t1;
      d = c;
      c = b;
      b = a;
      a = t1 + t2;
    }
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
    state[4] += e;
    state[5] += f;
    state[6] += g;
    state[7] += h;
  }
}

bool sha256HardwareAvailable() {
  return sha256HardwareBlocks() != nullptr;
}

Sha256::Sha256(Sha256Path path) : compress_(sha256BlocksPortable) {
  std::memcpy(state_, kInitialHash, sizeof state_);
  if (path == Sha256Path::Automatic && !portableForcedByEnvironment()) {
    if (Sha256BlocksFunction hardware = sha256HardwareBlocks()) compress_ = hardware;
  }
}

bool Sha256::usesHardware() const {
  return compress_ != sha256BlocksPortable;
}

void Sha256::update(const unsigned char* data, size_t length) {
  if (length == 0) return;
  totalBytes_ += length;
  if (pendingBytes_ > 0) {
    const size_t take = length < 64 - pendingBytes_ ? length : 64 - pendingBytes_;
    std::memcpy(pending_ + pendingBytes_, data, take);
    pendingBytes_ += take;
    data += take;
    length -= take;
    if (pendingBytes_ < 64) return;
    compress_(state_, pending_, 1);
    pendingBytes_ = 0;
  }
  // Whole blocks go straight from the caller's buffer, without a copy.
  const size_t wholeBlocks = length / 64;
  if (wholeBlocks > 0) compress_(state_, data, wholeBlocks);
  data += wholeBlocks * 64;
  length -= wholeBlocks * 64;
  if (length > 0) std::memcpy(pending_, data, length);
  pendingBytes_ = length;
}

std::string Sha256::hex() {
  const uint64_t totalBits = totalBytes_ * 8;
  unsigned char padding[72] = {0x80};
  // Pad to 56 bytes modulo 64, then append the bit length big-endian.
  const size_t padBytes = (pendingBytes_ < 56 ? 56 : 120) - pendingBytes_;
  for (int i = 0; i < 8; ++i)
    padding[padBytes + i] = static_cast<unsigned char>(totalBits >> (56 - 8 * i));
  update(padding, padBytes + 8);

  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out(64, '0');
  for (int i = 0; i < 8; ++i) {
    for (int nibble = 0; nibble < 8; ++nibble) {
      out[8 * i + nibble] = kDigits[(state_[i] >> (28 - 4 * nibble)) & 0xf];
    }
  }
  return out;
}

}  // namespace velko::models
