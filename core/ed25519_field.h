// Arithmetic modulo p = 2^255 - 19 in the ref10 form: ten signed limbs of alternately 26 and 25
// bits.
#pragma once

#include <cstdint>

namespace velko::core {

// Limb i holds bits from ceil(25.5 * i) upward. Every function below accepts outputs of any other
// function below as input, and every output may alias an input.
typedef int32_t fe[10];

// None of these can fail.
void fe_0(fe h);
void fe_1(fe h);
void fe_copy(fe h, const fe f);
void fe_add(fe h, const fe f, const fe g);
void fe_sub(fe h, const fe f, const fe g);
void fe_neg(fe h, const fe f);
void fe_mul(fe h, const fe f, const fe g);
void fe_sq(fe h, const fe f);
// h = 2 * f^2.
void fe_sq2(fe h, const fe f);
// h = 1/f, computed as f^(p-2); zero stays zero.
void fe_invert(fe h, const fe f);
// h = f^((p-5)/8), the power behind the square root in point decoding.
void fe_pow22523(fe h, const fe f);

// Reads 32 bytes little-endian and ignores the top bit; values of p and above are taken as given,
// which is how ref10 reads non-canonical encodings.
void fe_frombytes(fe h, const unsigned char* s);
// Writes the canonical value below p as 32 bytes little-endian.
void fe_tobytes(unsigned char* s, const fe h);

// 1 when the value modulo p is not zero, else 0.
int fe_isnonzero(const fe f);
// The low bit of the canonical value: 1 for "negative" x in the sense of RFC 8032.
int fe_isnegative(const fe f);

}  // namespace velko::core
