// Field arithmetic of edwards25519. Products are summed in 64 bits and carried back into limbs
// after every operation, so limb sizes never grow across calls.
#include "core/ed25519_field.h"

namespace velko::core {
namespace {

constexpr int kWidth[10] = {26, 25, 26, 25, 26, 25, 26, 25, 26, 25};
constexpr int kOffset[10] = {0, 26, 51, 77, 102, 128, 153, 179, 204, 230};

// Brings every limb back into its width (rounding to the nearest, so limbs may be negative).
// The carry out of the top limb is worth 2^255 = 19 modulo p and goes back into limb 0.
void carry(fe h, int64_t wide[10]) {
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 10; ++i) {
      const int64_t c = (wide[i] + (int64_t{1} << (kWidth[i] - 1))) >> kWidth[i];
      wide[i] -= c * (int64_t{1} << kWidth[i]);
      if (i < 9) {
        wide[i + 1] += c;
      } else {
        wide[0] += c * 19;
      }
    }
  }
  for (int i = 0; i < 10; ++i)
    h[i] = static_cast<int32_t>(wide[i]);
}

// h = f^e for the 255-bit exponent `e` (32 bytes little-endian), by square and multiply.
void power(fe h, const fe f, const unsigned char* e) {
  fe base, result;
  fe_copy(base, f);
  fe_1(result);
  for (int bit = 254; bit >= 0; --bit) {
    fe_sq(result, result);
    if ((e[bit >> 3] >> (bit & 7)) & 1) fe_mul(result, result, base);
  }
  fe_copy(h, result);
}

}  // namespace

void fe_0(fe h) {
  for (int i = 0; i < 10; ++i)
    h[i] = 0;
}

void fe_1(fe h) {
  fe_0(h);
  h[0] = 1;
}

void fe_copy(fe h, const fe f) {
  for (int i = 0; i < 10; ++i)
    h[i] = f[i];
}

void fe_add(fe h, const fe f, const fe g) {
  int64_t wide[10];
  for (int i = 0; i < 10; ++i)
    wide[i] = int64_t{f[i]} + g[i];
  carry(h, wide);
}

void fe_sub(fe h, const fe f, const fe g) {
  int64_t wide[10];
  for (int i = 0; i < 10; ++i)
    wide[i] = int64_t{f[i]} - g[i];
  carry(h, wide);
}

void fe_neg(fe h, const fe f) {
  fe zero;
  fe_0(zero);
  fe_sub(h, zero, f);
}

// Schoolbook product. Limb i stands for 2^kOffset[i]; the product of two odd limbs lands half a bit
// above the even limb it is summed into and is doubled, and terms past limb 9 wrap with factor 19.
void fe_mul(fe h, const fe f, const fe g) {
  int64_t wide[10] = {};
  for (int i = 0; i < 10; ++i) {
    for (int j = 0; j < 10; ++j) {
      int64_t term = int64_t{f[i]} * g[j];
      if ((i & 1) && (j & 1)) term *= 2;
      int k = i + j;
      if (k >= 10) {
        term *= 19;
        k -= 10;
      }
      wide[k] += term;
    }
  }
  carry(h, wide);
}

void fe_sq(fe h, const fe f) {
  fe_mul(h, f, f);
}

void fe_sq2(fe h, const fe f) {
  fe square;
  fe_sq(square, f);
  fe_add(h, square, square);
}

void fe_invert(fe h, const fe f) {
  // p - 2 = 2^255 - 21
  unsigned char exponent[32];
  for (int i = 0; i < 32; ++i)
    exponent[i] = 0xff;
  exponent[0] = 0xeb;
  exponent[31] = 0x7f;
  power(h, f, exponent);
}

void fe_pow22523(fe h, const fe f) {
  // (p - 5) / 8 = 2^252 - 3
  unsigned char exponent[32];
  for (int i = 0; i < 32; ++i)
    exponent[i] = 0xff;
  exponent[0] = 0xfd;
  exponent[31] = 0x0f;
  power(h, f, exponent);
}

void fe_frombytes(fe h, const unsigned char* s) {
  for (int i = 0; i < 10; ++i) {
    uint64_t bits = 0;
    const int firstByte = kOffset[i] / 8;
    for (int b = 0; b < 5 && firstByte + b < 32; ++b) {
      bits |= uint64_t{s[firstByte + b]} << (8 * b);
    }
    bits >>= kOffset[i] % 8;
    h[i] = static_cast<int32_t>(bits & ((uint64_t{1} << kWidth[i]) - 1));
  }
}

void fe_tobytes(unsigned char* s, const fe f) {
  int64_t h[10];
  for (int i = 0; i < 10; ++i)
    h[i] = f[i];
  // With carried limbs h lies a little around [0, p). q is 1 exactly when h + 19 reaches 2^255,
  // that is when h >= p; then h - p = h + 19 - 2^255.
  int64_t q = (19 * h[9] + (int64_t{1} << 24)) >> 25;
  for (int i = 0; i < 10; ++i)
    q = (h[i] + q) >> kWidth[i];
  h[0] += 19 * q;
  for (int i = 0; i < 10; ++i) {
    const int64_t c = h[i] >> kWidth[i];
    h[i] -= c * (int64_t{1} << kWidth[i]);
    if (i < 9) h[i + 1] += c;  // the carry out of limb 9 is the 2^255 that is dropped
  }
  for (int i = 0; i < 32; ++i)
    s[i] = 0;
  for (int i = 0; i < 10; ++i) {
    const uint64_t bits = static_cast<uint64_t>(h[i]) << (kOffset[i] % 8);
    for (int b = 0; b < 5 && kOffset[i] / 8 + b < 32; ++b) {
      s[kOffset[i] / 8 + b] |= static_cast<unsigned char>(bits >> (8 * b));
    }
  }
}

int fe_isnonzero(const fe f) {
  unsigned char s[32];
  fe_tobytes(s, f);
  unsigned char any = 0;
  for (int i = 0; i < 32; ++i)
    any |= s[i];
  return any != 0;
}

int fe_isnegative(const fe f) {
  unsigned char s[32];
  fe_tobytes(s, f);
  return s[0] & 1;
}

}  // namespace velko::core
