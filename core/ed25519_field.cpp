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
#pragma GCC unroll 10
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

// h = f^(2^k), by k squarings.
void squareTimes(fe h, const fe f, int k) {
  fe_sq(h, f);
  for (int i = 1; i < k; ++i)
    fe_sq(h, h);
}

// The common start of both powers below: f^(2^250 - 1), and f^11 on the way. Runs of ones in the
// exponent are doubled in length from 2^5 - 1 upwards, so 250 squarings need only 11 products.
void power2To250Minus1(fe h, fe f11, const fe f) {
  fe f2, f9, run5, run10, run20, run40, run50, run100, run200, t;
  fe_sq(f2, f);
  squareTimes(t, f2, 2);
  fe_mul(f9, t, f);
  fe_mul(f11, f9, f2);
  fe_sq(t, f11);
  fe_mul(run5, t, f9);  // f^31 = f^(2^5 - 1)
  squareTimes(t, run5, 5);
  fe_mul(run10, t, run5);
  squareTimes(t, run10, 10);
  fe_mul(run20, t, run10);
  squareTimes(t, run20, 20);
  fe_mul(run40, t, run20);
  squareTimes(t, run40, 10);
  fe_mul(run50, t, run10);
  squareTimes(t, run50, 50);
  fe_mul(run100, t, run50);
  squareTimes(t, run100, 100);
  fe_mul(run200, t, run100);
  squareTimes(t, run200, 50);
  fe_mul(h, t, run50);
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
  // Unrolled whole, so the doubling and wrapping tests fold away; the hottest loop of a check.
#pragma GCC unroll 10
  for (int i = 0; i < 10; ++i) {
#pragma GCC unroll 10
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
  // p - 2 = 2^255 - 21 = (2^250 - 1) * 2^5 + 11
  fe run250, f11, t;
  power2To250Minus1(run250, f11, f);
  squareTimes(t, run250, 5);
  fe_mul(h, t, f11);
}

void fe_pow22523(fe h, const fe f) {
  // (p - 5) / 8 = 2^252 - 3 = (2^250 - 1) * 2^2 + 1
  fe run250, f11, t;
  power2To250Minus1(run250, f11, f);
  squareTimes(t, run250, 2);
  fe_mul(h, t, f);
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
