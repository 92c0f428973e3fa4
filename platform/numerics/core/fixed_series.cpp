// fixed_series.cpp -- 128-bit fixed-point enclosures and positive series
// (see fixed_series.hpp).
#include "fixed_series.hpp"

#include <algorithm>
#include <cmath>

namespace talvo::mp {

// v 2^s as an integer rounded down or up (v >= 0); false beyond 128 bits.
// An arf is m 2^(e - 64 n) for its n limbs m (top bit set) and exponent e;
// its top two limbs T (the rest, if any, only sets `rest`) give
// v 2^s = T 2^(e + s - 128) + rest.
bool arf_to_u128(u128 &r, arf_srcptr v, slong s, bool up)
{
    if (arf_is_zero(v)) {
        r = 0;
        return true;
    }
    if (arf_sgn(v) < 0 || !arf_is_finite(v) || COEFF_IS_MPZ(ARF_EXP(v)))
        return false;
    mp_srcptr d;
    mp_size_t n;
    ARF_GET_MPN_READONLY(d, n, v);
    u128 top = u128(d[n - 1]) << 64;
    bool rest = false;
    if (n >= 2)
        top |= d[n - 2];
    for (mp_size_t i = 0; i + 2 < n; ++i)
        rest = rest || d[i] != 0;
    slong sh = ARF_EXP(v) + s - 128;
    if (sh > 0)
        return false; // T has its top bit set: any left shift overflows
    if (sh <= -128) {
        r = 0;
        rest = true;
    } else if (sh < 0) {
        rest = rest || (top << (128 + sh)) != 0;
        r = top >> (-sh);
    } else {
        r = top;
    }
    if (up && rest) {
        if (++r == 0)
            return false;
    }
    return true;
}

// The ball [lo, hi] 2^-s (lo <= hi).
void u128_interval_to_arb(arb_ptr r, u128 lo, u128 hi, slong s)
{
    u128 w = hi - lo;
    u128 mid = lo + (w >> 1);
    u128 rad = w - (w >> 1); // mid - rad <= lo, mid + rad = hi
    mp_limb_t limbs[2] = {static_cast<mp_limb_t>(mid), static_cast<mp_limb_t>(mid >> 64)};
    if (limbs[1] != 0)
        arf_set_mpn(arb_midref(r), limbs, 2, 0);
    else
        arf_set_ui(arb_midref(r), limbs[0]);
    arf_mul_2exp_si(arb_midref(r), arb_midref(r), -s);
    if ((rad >> 64) != 0)
        mag_set_ui_2exp_si(arb_radref(r), static_cast<ulong>(rad >> 64) + 1, 64 - s);
    else
        mag_set_ui_2exp_si(arb_radref(r), static_cast<ulong>(rad), -s);
}


void FixedSeries::reset(const fmpq *a, const fmpq *b, slong scale)
{
    fmpq_set(alpha, a);
    fmpq_set(beta, b);
    e = scale;
    lo.clear();
    hi.clear();
    approx.clear();
}

bool FixedSeries::extend(slong n)
{
    if (static_cast<slong>(lo.size()) >= n)
        return true;
    Arb r, q;
    while (static_cast<slong>(lo.size()) < n) {
        slong j = static_cast<slong>(lo.size());
        if (j == 0) {
            arb_one(last);
        } else {
            // c_j = c_(j-1) (alpha + j - 1) / ((beta + j - 1) 2^e)
            Fmpq t, u;
            fmpq_add_si(t, alpha, j - 1);
            fmpq_add_si(u, beta, j - 1);
            fmpq_div(t, t, u);
            arb_set_fmpq(r, t, kTablePrec);
            arb_mul(last, last, r, kTablePrec);
            arb_mul_2exp_si(last, last, -e);
        }
        Arf a, b;
        arb_get_lbound_arf(a, last, kTablePrec);
        arb_get_ubound_arf(b, last, kTablePrec);
        u128 l, h;
        if (!arf_to_u128(l, a, 127, false) || !arf_to_u128(h, b, 127, true))
            return false;
        lo.push_back(l);
        hi.push_back(h);
        approx.push_back(arf_get_d(arb_midref(last), ARF_RND_NEAR));
    }
    return true;
}

bool FixedSeries::sum(arb_ptr r, arb_srcptr z, slong n, slong bits)
{
    if (n <= 0 || n > kMaxTerms || !extend(n))
        return false;
    Arf zl, zh;
    arb_get_lbound_arf(zl, z, 128);
    arb_get_ubound_arf(zh, z, 128);
    if (arf_sgn(zl) < 0)
        arf_zero(zl);
    arf_mul_2exp_si(zl, zl, e);
    arf_mul_2exp_si(zh, zh, e);
    double wd = arf_get_d(zh, ARF_RND_UP);
    if (!(wd < 0x1p60))
        return false;
    // The largest partial Horner value, in double, sets the scale S.
    double h = 0, hmax = 1;
    for (slong j = n - 1; j >= 0; --j) {
        h = approx[static_cast<size_t>(j)] + wd * h;
        hmax = std::max(hmax, h);
    }
    if (!std::isfinite(hmax))
        return false;
    int hexp;
    std::frexp(hmax, &hexp);
    const slong S = std::min<slong>(127, 125 - hexp);
    int lz;
    std::frexp(std::max(wd, 1.0), &lz);
    const slong Sz = 127 - lz;
    if (S < 64)
        return false;
    u128 wl, wh;
    if (!arf_to_u128(wl, zl, Sz, false) || !arf_to_u128(wh, zh, Sz, true))
        return false;
    const int cshift = static_cast<int>(127 - S);
    u128 hl = lo[static_cast<size_t>(n - 1)] >> cshift;
    u128 hh = (hi[static_cast<size_t>(n - 1)] >> cshift) + 1;
    for (slong j = n - 2; j >= 0; --j) {
        u128 pl, ph;
        if (!shift_round(pl, mul_wide(hl, wl), static_cast<int>(Sz), false) ||
            !shift_round(ph, mul_wide(hh, wh), static_cast<int>(Sz), true))
            return false;
        u128 cl = lo[static_cast<size_t>(j)] >> cshift;
        u128 ch = (hi[static_cast<size_t>(j)] >> cshift) + 1;
        hl = pl + cl;
        hh = ph + ch;
        if (hl < pl || hh < ph)
            return false;
    }
    // Enough bits: (hh - hl) <= hl 2^-bits.
    u128 width = hh - hl;
    if (bits >= 120 || (width != 0 && (hl >> bits) < width))
        return false;
    u128_interval_to_arb(r, hl, hh, S);
    return true;
}

} // namespace talvo::mp
