// Points of edwards25519 in the ref10 coordinate systems, and the operations that verification
// needs.
#pragma once

#include "core/ed25519_field.h"

namespace velko::core {

// Projective: x = X/Z, y = Y/Z.
struct ge_p2 {
  fe X, Y, Z;
};

// Extended: as ge_p2, and XY = ZT.
struct ge_p3 {
  fe X, Y, Z, T;
};

// Completed: x = X/Z, y = Y/T. The result of an addition or doubling before it is converted.
struct ge_p1p1 {
  fe X, Y, Z, T;
};

// Affine, ready for mixed addition: y + x, y - x, 2dxy.
struct ge_precomp {
  fe yplusx, yminusx, xy2d;
};

// Extended, ready for addition: Y + X, Y - X, Z, 2dT.
struct ge_cached {
  fe YplusX, YminusX, Z, T2d;
};

// Decodes a 32-byte point encoding and stores the negated point -P in `h`. Returns 0 on success,
// -1 when the y coordinate has no matching x on the curve. Non-canonical encodings (y >= p, or the
// sign bit set for x = 0) are decoded as given, without complaint.
int ge_frombytes_negate_vartime(ge_p3* h, const unsigned char* s);

// The canonical 32-byte encoding of the point. Cannot fail.
void ge_tobytes(unsigned char* s, const ge_p2* h);

// None of the following can fail.
void ge_p2_0(ge_p2* h);
void ge_p1p1_to_p2(ge_p2* r, const ge_p1p1* p);
void ge_p1p1_to_p3(ge_p3* r, const ge_p1p1* p);
void ge_p3_to_p2(ge_p2* r, const ge_p3* p);
void ge_p3_to_cached(ge_cached* r, const ge_p3* p);
void ge_p2_dbl(ge_p1p1* r, const ge_p2* p);
void ge_p3_dbl(ge_p1p1* r, const ge_p3* p);
// r = p + q and r = p - q.
void ge_add(ge_p1p1* r, const ge_p3* p, const ge_cached* q);
void ge_sub(ge_p1p1* r, const ge_p3* p, const ge_cached* q);
void ge_madd(ge_p1p1* r, const ge_p3* p, const ge_precomp* q);
void ge_msub(ge_p1p1* r, const ge_p3* p, const ge_precomp* q);

// r = a * A + b * B, with B the base point and a, b 32-byte little-endian scalars below 2^255.
// Variable time: only for public inputs.
void ge_double_scalarmult_vartime(ge_p2* r, const unsigned char* a, const ge_p3* A,
                                  const unsigned char* b);

}  // namespace velko::core
