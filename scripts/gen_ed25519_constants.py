#!/usr/bin/env python3
"""Writes core/ed25519_constants.cpp: the curve constants of edwards25519 in the 10-limb field form.

The values are computed here from their definitions (p = 2^255 - 19, d = -121665/121666, the base
point with y = 4/5 and even x), so the generated file can be checked by running this script again
and comparing: python3 scripts/gen_ed25519_constants.py > core/ed25519_constants.cpp
"""

P = 2**255 - 19
OFFSETS = [0, 26, 51, 77, 102, 128, 153, 179, 204, 230]
WIDTHS = [26, 25, 26, 25, 26, 25, 26, 25, 26, 25]


def inv(x):
    return pow(x, P - 2, P)


D = (-121665 * inv(121666)) % P
SQRTM1 = pow(2, (P - 1) // 4, P)


def recover_x(y, sign):
    u = (y * y - 1) % P
    v = (D * y * y + 1) % P
    x = pow(u * inv(v), (P + 3) // 8, P)
    if (v * x * x - u) % P != 0:
        x = (x * SQRTM1) % P
    assert (v * x * x - u) % P == 0
    if x & 1 != sign:
        x = P - x
    return x


def add(a, b):
    (x1, y1), (x2, y2) = a, b
    t = D * x1 * x2 * y1 * y2 % P
    x3 = (x1 * y2 + x2 * y1) * inv(1 + t) % P
    y3 = (y1 * y2 + x1 * x2) * inv(1 - t) % P
    return (x3, y3)


def limbs(v):
    v %= P
    return [(v >> o) & ((1 << w) - 1) for o, w in zip(OFFSETS, WIDTHS)]


def fe_text(v):
    return "{" + ", ".join(str(x) for x in limbs(v)) + "}"


def main():
    by = 4 * inv(5) % P
    base = (recover_x(by, 0), by)
    twice = add(base, base)
    multiples = [base]
    for _ in range(7):
        multiples.append(add(multiples[-1], twice))

    out = []
    out.append("// Curve constants of edwards25519 in the field's 10-limb form; generated, do not edit.")
    out.append("// Regenerate with: python3 scripts/gen_ed25519_constants.py > core/ed25519_constants.cpp")
    out.append('#include "core/ed25519_constants.h"')
    out.append("")
    out.append("namespace velko::core {")
    out.append("")
    out.append("// clang-format off")
    out.append("const fe ed25519_d = " + fe_text(D) + ";")
    out.append("const fe ed25519_d2 = " + fe_text(2 * D) + ";")
    out.append("const fe ed25519_sqrtm1 = " + fe_text(SQRTM1) + ";")
    out.append("")
    out.append("const ge_precomp ed25519_base_odd_multiples[8] = {")
    for k, (x, y) in enumerate(multiples):
        out.append("    // %d * B" % (2 * k + 1))
        out.append("    {" + fe_text(y + x) + ",")
        out.append("     " + fe_text(y - x) + ",")
        out.append("     " + fe_text(2 * D * x * y) + "},")
    out.append("};")
    out.append("// clang-format on")
    out.append("")
    out.append("}  // namespace velko::core")
    print("\n".join(out))


if __name__ == "__main__":
    main()
