// Group operations of edwards25519 (a = -1) with the ref10 formulas; they are complete, so the
// neutral element and points of small order need no special cases.
#include "core/ed25519_group.h"

#include "core/ed25519_constants.h"

namespace velko::core {
namespace {

// The addition formula behind ge_add, ge_sub, ge_madd and ge_msub. The second point comes as
// Y+X, Y-X, 2dT and Z (null when Z is 1, as for precomputed points). Subtracting adds the
// negation (-x, y), whose Y+X and Y-X trade places and whose T changes sign.
void addPoint(ge_p1p1* r, const ge_p3* p, const fe qPlus, const fe qMinus, const fe qT2d,
              const fe* qZ, bool subtract) {
  fe zz, twiceZ;
  fe_add(r->X, p->Y, p->X);
  fe_sub(r->Y, p->Y, p->X);
  fe_mul(r->Z, r->X, subtract ? qMinus : qPlus);
  fe_mul(r->Y, r->Y, subtract ? qPlus : qMinus);
  fe_mul(r->T, qT2d, p->T);
  if (qZ != nullptr) {
    fe_mul(zz, p->Z, *qZ);
  } else {
    fe_copy(zz, p->Z);
  }
  fe_add(twiceZ, zz, zz);
  fe_sub(r->X, r->Z, r->Y);
  fe_add(r->Y, r->Z, r->Y);
  if (subtract) {
    fe_sub(r->Z, twiceZ, r->T);
    fe_add(r->T, twiceZ, r->T);
  } else {
    fe_add(r->Z, twiceZ, r->T);
    fe_sub(r->T, twiceZ, r->T);
  }
}

// Signed sliding window of width 5: r[i] in {0, +-1, +-3, ..., +-15}, with sum r[i] 2^i = a.
void slide(signed char* r, const unsigned char* a) {
  for (int i = 0; i < 256; ++i)
    r[i] = 1 & (a[i >> 3] >> (i & 7));
  for (int i = 0; i < 256; ++i) {
    if (!r[i]) continue;
    for (int b = 1; b <= 6 && i + b < 256; ++b) {
      if (!r[i + b]) continue;
      if (r[i] + (r[i + b] << b) <= 15) {
        r[i] = static_cast<signed char>(r[i] + (r[i + b] << b));
        r[i + b] = 0;
      } else if (r[i] - (r[i + b] << b) >= -15) {
        r[i] = static_cast<signed char>(r[i] - (r[i + b] << b));
        for (int k = i + b; k < 256; ++k) {
          if (!r[k]) {
            r[k] = 1;
            break;
          }
          r[k] = 0;
        }
      } else {
        break;
      }
    }
  }
}

}  // namespace

int ge_frombytes_negate_vartime(ge_p3* h, const unsigned char* s) {
  fe u, v, v3, vxx, check;
  fe_1(h->Z);
  fe_frombytes(h->Y, s);
  fe_sq(u, h->Y);
  fe_mul(v, u, ed25519_d);
  fe_sub(u, u, h->Z);  // u = y^2 - 1
  fe_add(v, v, h->Z);  // v = d y^2 + 1

  // x = u v^3 (u v^7)^((p-5)/8), a square root of u/v if one exists (up to a factor sqrt(-1)).
  fe_sq(v3, v);
  fe_mul(v3, v3, v);
  fe_sq(h->X, v3);
  fe_mul(h->X, h->X, v);
  fe_mul(h->X, h->X, u);
  fe_pow22523(h->X, h->X);
  fe_mul(h->X, h->X, v3);
  fe_mul(h->X, h->X, u);

  fe_sq(vxx, h->X);
  fe_mul(vxx, vxx, v);
  fe_sub(check, vxx, u);
  if (fe_isnonzero(check)) {
    fe_add(check, vxx, u);
    if (fe_isnonzero(check)) return -1;
    fe_mul(h->X, h->X, ed25519_sqrtm1);
  }

  // Keep the x whose sign is the opposite of the encoded one: this yields -P.
  if (fe_isnegative(h->X) == (s[31] >> 7)) fe_neg(h->X, h->X);
  fe_mul(h->T, h->X, h->Y);
  return 0;
}

void ge_tobytes(unsigned char* s, const ge_p2* h) {
  fe recip, x, y;
  fe_invert(recip, h->Z);
  fe_mul(x, h->X, recip);
  fe_mul(y, h->Y, recip);
  fe_tobytes(s, y);
  s[31] ^= static_cast<unsigned char>(fe_isnegative(x) << 7);
}

void ge_p2_0(ge_p2* h) {
  fe_0(h->X);
  fe_1(h->Y);
  fe_1(h->Z);
}

void ge_p1p1_to_p2(ge_p2* r, const ge_p1p1* p) {
  fe_mul(r->X, p->X, p->T);
  fe_mul(r->Y, p->Y, p->Z);
  fe_mul(r->Z, p->Z, p->T);
}

void ge_p1p1_to_p3(ge_p3* r, const ge_p1p1* p) {
  fe_mul(r->X, p->X, p->T);
  fe_mul(r->Y, p->Y, p->Z);
  fe_mul(r->Z, p->Z, p->T);
  fe_mul(r->T, p->X, p->Y);
}

void ge_p3_to_p2(ge_p2* r, const ge_p3* p) {
  fe_copy(r->X, p->X);
  fe_copy(r->Y, p->Y);
  fe_copy(r->Z, p->Z);
}

void ge_p3_to_cached(ge_cached* r, const ge_p3* p) {
  fe_add(r->YplusX, p->Y, p->X);
  fe_sub(r->YminusX, p->Y, p->X);
  fe_copy(r->Z, p->Z);
  fe_mul(r->T2d, p->T, ed25519_d2);
}

void ge_p2_dbl(ge_p1p1* r, const ge_p2* p) {
  fe t0;
  fe_sq(r->X, p->X);
  fe_sq(r->Z, p->Y);
  fe_sq2(r->T, p->Z);
  fe_add(r->Y, p->X, p->Y);
  fe_sq(t0, r->Y);
  fe_add(r->Y, r->Z, r->X);  // Y^2 + X^2
  fe_sub(r->Z, r->Z, r->X);  // Y^2 - X^2
  fe_sub(r->X, t0, r->Y);    // 2XY
  fe_sub(r->T, r->T, r->Z);  // 2Z^2 - (Y^2 - X^2)
}

void ge_p3_dbl(ge_p1p1* r, const ge_p3* p) {
  ge_p2 q;
  ge_p3_to_p2(&q, p);
  ge_p2_dbl(r, &q);
}

void ge_add(ge_p1p1* r, const ge_p3* p, const ge_cached* q) {
  addPoint(r, p, q->YplusX, q->YminusX, q->T2d, &q->Z, false);
}

void ge_sub(ge_p1p1* r, const ge_p3* p, const ge_cached* q) {
  addPoint(r, p, q->YplusX, q->YminusX, q->T2d, &q->Z, true);
}

void ge_madd(ge_p1p1* r, const ge_p3* p, const ge_precomp* q) {
  addPoint(r, p, q->yplusx, q->yminusx, q->xy2d, nullptr, false);
}

void ge_msub(ge_p1p1* r, const ge_p3* p, const ge_precomp* q) {
  addPoint(r, p, q->yplusx, q->yminusx, q->xy2d, nullptr, true);
}

void ge_double_scalarmult_vartime(ge_p2* r, const unsigned char* a, const ge_p3* A,
                                  const unsigned char* b) {
  signed char aslide[256], bslide[256];
  slide(aslide, a);
  slide(bslide, b);

  // Ai[k] = (2k + 1) A
  ge_cached Ai[8];
  ge_p1p1 t;
  ge_p3 u, A2;
  ge_p3_to_cached(&Ai[0], A);
  ge_p3_dbl(&t, A);
  ge_p1p1_to_p3(&A2, &t);
  for (int k = 1; k < 8; ++k) {
    ge_add(&t, &A2, &Ai[k - 1]);
    ge_p1p1_to_p3(&u, &t);
    ge_p3_to_cached(&Ai[k], &u);
  }

  ge_p2_0(r);
  int i = 255;
  while (i >= 0 && !aslide[i] && !bslide[i])
    --i;
  for (; i >= 0; --i) {
    ge_p2_dbl(&t, r);
    if (aslide[i] > 0) {
      ge_p1p1_to_p3(&u, &t);
      ge_add(&t, &u, &Ai[aslide[i] / 2]);
    } else if (aslide[i] < 0) {
      ge_p1p1_to_p3(&u, &t);
      ge_sub(&t, &u, &Ai[-aslide[i] / 2]);
    }
    if (bslide[i] > 0) {
      ge_p1p1_to_p3(&u, &t);
      ge_madd(&t, &u, &ed25519_base_odd_multiples[bslide[i] / 2]);
    } else if (bslide[i] < 0) {
      ge_p1p1_to_p3(&u, &t);
      ge_msub(&t, &u, &ed25519_base_odd_multiples[-bslide[i] / 2]);
    }
    ge_p1p1_to_p2(r, &t);
  }
}

}  // namespace velko::core
