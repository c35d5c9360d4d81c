// The fixed field values and base point multiples of edwards25519 (generated into the .cpp).
#pragma once

#include "core/ed25519_field.h"
#include "core/ed25519_group.h"

namespace velko::core {

extern const fe ed25519_d;       // d = -121665/121666
extern const fe ed25519_d2;      // 2d
extern const fe ed25519_sqrtm1;  // a square root of -1
// 1B, 3B, 5B, ..., 15B for the base point B: the window of ge_double_scalarmult_vartime.
extern const ge_precomp ed25519_base_odd_multiples[8];

}  // namespace velko::core
