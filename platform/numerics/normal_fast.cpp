// normal_fast.cpp -- the normal deviate at up to 64 bits from double-double
// evaluations of the upper tail with a proven error bound.
//
// The upper tail is Q(t) = phi(t) R(t), phi the density and R Mills' ratio,
// which is entire and completely monotone: R(t) = int_0^oo e^(-t s - s^2/2) ds,
// so its Taylor coefficients at a node t0 are c_k = (-1)^k M_k / k! with
// M_k = int_0^oo s^k e^(-t0 s - s^2/2) ds > 0.  No cancellation at any t.
// The nodes are t0 = i/8 (i = 0 .. 272, t up to 34); a node's coefficients
// c_0 .. c_19 are made on first use from R(t0) = sqrt(pi/2) e^(t0^2/2)
// erfc(t0 / sqrt 2) and the recurrence of R' = t R - 1,
//   R^(k+1) = t0 R^(k) + k R^(k-1),
// at 1024 bits (it cancels, so the balls are checked), and kept as
// double-doubles.
//
// Error budget of Q(t) for 0 <= t <= 34, |h| = |t - t0| <= 1/16, relative to
// Q (u = 2^-53; the operations' bounds are in double_double.hpp, exp's in
// double_double_functions.hpp):
//   the terms beyond c_19: |c_k| <= 2^((k-1)/2) Gamma((k+1)/2) / k! (drop
//     the e^(-t0 s) in M_k), so they sum to below 2^-110, and R >= 1/35;
//   the coefficients: each within 2^-106 of itself plus its ball's radius,
//     checked below 2^-110 R(t0) when the node is made;
//   the sum as its even and odd parts, E(h^2) + h O(h^2), each by Horner's
//     rule in h^2 over terms of one sign (two chains the processor runs side
//     by side): h^2 within 5 u^2, so a term of degree 2j within 5j u^2, and
//     10 steps of 8 u^2 per chain; the parts sum to at most
//     sum |c_k| |h|^k = R(t0 - |h|), and R(t0 - 1/16) / R(t0 + 1/16)
//     <= e^(2/16 * 0.8) < 1.11 (|R'/R| <= 0.8): below 2^-97.5;
//   exp(-t^2/2): t^2 by mul (5 u^2 of t^2/2 <= 578 gives 2^-94.3 in the
//     argument), exp within 2^-93.5;
//   1/sqrt(2 pi) within 2^-107, and the two products within 5 u^2 each.
// In all below 2^-92.6; kUpperError states 2^-92.
//
// The deviate: t with Q(t) = q (q = min(p, 1 - p), exact), from the
// double start, one Newton step in double-double, then a proof: with
// eps = 2^-80 t1, Q is decreasing and phi decreasing on t > 0, so
//   Q(t1 - eps) >= Q(t1) + eps phi(t1)  and  Q(t1 + eps) <= Q(t1) - eps phi(t1 + eps);
// when the enclosure of Q(t1) makes the first exceed q and the second fall
// short of it, the root lies within eps of t1, and the answer is given only
// when that interval rounds to one float.
#include "normal_fast.hpp"

#include "core/double_double_functions.hpp"
#include "core/support.hpp"
#include "invert/invert.hpp"
#include "invert/start.hpp"

#include <arb_hypgeom.h>

#include <cmath>
#include <memory>

namespace talvo::mp {

namespace {

using dd::DD;

constexpr int kNodes = 273; // t0 = 0, 1/8, ..., 34
constexpr int kTerms = 20;  // c_0 .. c_19
constexpr double kMaxT = 33.875;
constexpr double kUpperError = 0x1p-92;
// phi = (1/sqrt(2 pi)) exp(-t^2/2): 2^-107, 2^-94.3 and 2^-93.5 as above, and
// the product's 5 u^2.
constexpr double kDensityError = 0x1.6a09e667f3bcdp-93; // 2^-92.5, rounded up
constexpr slong kNodePrec = 1024;

struct Node {
    bool made = false, usable = false;
    DD c[kTerms];
};

struct Constants {
    DD inv_sqrt_2pi;
    std::unique_ptr<Node[]> nodes{new Node[kNodes]};
};

Constants &constants()
{
    thread_local Constants c = [] {
        Constants k;
        Arb v;
        arb_const_pi(v, 256);
        arb_mul_2exp_si(v, v, 1);
        arb_rsqrt(v, v, 256);
        k.inv_sqrt_2pi = dd::from_arb(v);
        return k;
    }();
    return c;
}

void make_node(Node &node, int i)
{
    node.made = true;
    const slong prec = kNodePrec;
    Arb t0, x, R, prev, cur, next, fact, c, s2;
    arb_set_si(t0, i);
    arb_mul_2exp_si(t0, t0, -3);
    // R(t0) = sqrt(pi/2) e^(t0^2/2) erfc(t0 / sqrt 2).
    arb_sqrt_ui(s2, 2, prec);
    arb_div(x, t0, s2, prec);
    arb_hypgeom_erfc(R, x, prec);
    arb_sqr(x, t0, prec);
    arb_mul_2exp_si(x, x, -1);
    arb_exp(x, x, prec);
    arb_mul(R, R, x, prec);
    arb_const_pi(x, prec);
    arb_mul_2exp_si(x, x, -1);
    arb_sqrt(x, x, prec);
    arb_mul(R, R, x, prec);
    // The checks: every coefficient within 2^-110 R(t0).
    Mag limit, rad;
    arb_get_mag_lower(limit, R);
    mag_mul_2exp_si(limit, limit, -110);
    arb_set(prev, R);           // R^(0)
    arb_mul(cur, t0, R, prec);  // R^(1) = t0 R - 1
    arb_sub_ui(cur, cur, 1, prec);
    arb_one(fact);
    bool ok = true;
    for (int k = 0; k < kTerms; ++k) {
        const Arb &d = k == 0 ? prev : cur;
        if (k >= 2)
            arb_mul_ui(fact, fact, static_cast<ulong>(k), prec);
        arb_div(c, d, fact, prec);
        mag_set(rad, arb_radref(c));
        if (!arb_is_finite(c) || mag_cmp(rad, limit) > 0)
            ok = false;
        node.c[k] = dd::from_arb(c);
        if (k >= 1) {
            // R^(k+1) = t0 R^(k) + k R^(k-1)
            arb_mul(next, t0, cur, prec);
            arb_addmul_ui(next, prev, static_cast<ulong>(k), prec);
            arb_swap(prev, cur);
            arb_swap(cur, next);
        }
    }
    node.usable = ok;
}

// Q(t) for 0 <= t <= 34 (t exact as given), within kUpperError of it, and
// the density phi(t), within kDensityError; false where a node could not be
// made accurately.
TALVO_DD_INLINE bool upper_tail(DD &out, DD &phi, DD t)
{
    Constants &k = constants();
    const int i = static_cast<int>(std::nearbyint(t.hi * 8));
    if (i < 0 || i >= kNodes)
        return false;
    Node &node = k.nodes[static_cast<size_t>(i)];
    if (!node.made)
        make_node(node, i);
    if (!node.usable)
        return false;
    // h = t - t0 exactly: t.hi - t0 is exact (both multiples of ulp(t.hi)'s
    // power, t0 within 1/16 of t.hi), and adding t.lo is a two-sum.
    const DD h = dd::two_sum(t.hi - 0.125 * i, t.lo);
    const DD h2 = dd::mul(h, h);
    DD even = node.c[kTerms - 2], odd = node.c[kTerms - 1];
    for (int n = kTerms - 4; n >= 0; n -= 2) {
        even = dd::add(node.c[n], dd::mul(h2, even));
        odd = dd::add(node.c[n + 1], dd::mul(h2, odd));
    }
    const DD s = dd::add(even, dd::mul(h, odd));
    phi = dd::mul(k.inv_sqrt_2pi, dd::exp(dd::ldexp(dd::neg(dd::mul(t, t)), -1)));
    out = dd::mul(phi, s);
    return out.hi > 0;
}

// P(Z <= z) of the rounded deviate z = +-T, from Q(t1) and phi(t1) by
// Taylor's theorem when d = T - t1 is at most 2^-48 t1 (a deviate of 50 bits
// or more; a shorter one evaluates Q(T) itself):
//   Q(T) = Q(t1) - d phi(t1) + (d^2 / 2) t1 phi(t1) - (d^3 / 6) Q'''(xi),
// |Q'''| = |t^2 - 1| phi(t) <= ((t1 + |d|)^2 + 1) phi(t1) e^(|d| t1) on the
// interval.  The error: Q(t1)'s kUpperError, d's 3 u^2 and phi's
// kDensityError in the linear term with its product's 5 u^2, 2^-50 of the
// quadratic term (doubles), the remainder, and the two sums' 3 u^2.  The
// probability is Q(T) for z < 0 and 1 - Q(T) above; false where its rounding
// is not decided.
TALVO_DD_INLINE bool probability_of_rounded(mpfr_ptr out, mpfr_srcptr z, bool negative, DD t1, DD Q1, DD phi1)
{
    DD T;
    if (!dd::from_float(T, z))
        return false;
    if (negative)
        T = dd::neg(T);
    const DD d = dd::add(T, dd::neg(t1));
    const double ad = std::fabs(d.hi) * (1 + 0x1p-50);
    DD QT;
    double err; // absolute, of QT as Q(T)
    if (ad <= 0x1p-48 * t1.hi) {
        const DD linear = dd::mul(d, phi1);
        const double quad = 0.5 * d.hi * d.hi * t1.hi * phi1.hi;
        QT = dd::add(dd::add(Q1, dd::neg(linear)), DD{quad, 0.0});
        const double tmax = t1.hi + ad;
        const double rem = ad * ad * ad / 6 * (tmax * tmax + 1) * phi1.hi * (1 + 2 * ad * tmax + 0x1p-40);
        err = kUpperError * Q1.hi * (1 + 0x1p-50) +
              std::fabs(linear.hi) * (1 + 0x1p-50) * (kDensityError + 9 * 0x1p-106) + std::fabs(quad) * 0x1p-50 +
              rem + 8 * 0x1p-106 * (Q1.hi + std::fabs(linear.hi));
    } else {
        // A short deviate: Q(T) from its own evaluation.
        DD phiT;
        if (!(T.hi > 0) || !upper_tail(QT, phiT, T))
            return false;
        err = kUpperError * QT.hi * (1 + 0x1p-40);
    }
    if (!(QT.hi > 0))
        return false;
    // 1 - Q(T) >= 1/2: twice the error, and the subtraction's 3 u^2 / (1 - 4u).
    if (!negative)
        return dd::round_to(out, dd::add(DD{1.0, 0.0}, dd::neg(QT)), 2 * err + 0x1p-104);
    return dd::round_to(out, QT, err / (QT.hi * (1 - 0x1p-40)));
}

} // namespace

TALVO_FMA_CLONES bool normal_deviate_dd(mpfr_ptr z, mpfr_srcptr p, bool lower, mpfr_ptr probability)
{
    const mpfr_prec_t prec = mpfr_get_prec(z);
    if (!fast_paths_enabled() || prec > 64)
        return false;
    DD P;
    if (!dd::from_float(P, p) || !(P.hi > 0 && P.hi < 1))
        return false;
    // q = min(p, 1 - p), exactly: 1 - p.hi is exact for p.hi in [1/2, 1].
    const bool upper_half = P.hi > 0.5 || (P.hi == 0.5 && P.lo > 0);
    DD q = P;
    if (upper_half)
        q = dd::two_sum(1.0 - P.hi, -P.lo);
    if (!(q.hi > 0 && q.hi < 0.5))
        return false;
    // The deviate is sign * t with Q(t) = q.
    const bool negative = (!upper_half) == lower;
    const double t0 = start_normal_upper(q.hi);
    if (!(t0 >= 0x1p-10 && t0 <= kMaxT))
        return false;
    DD Q0, phi0;
    if (!upper_tail(Q0, phi0, DD{t0, 0.0}))
        return false;
    const DD r0 = dd::add(Q0, dd::neg(q));
    const double step = (r0.hi + r0.lo) / phi0.hi;
    const DD t1 = dd::two_sum(t0, step);
    if (!(t1.hi >= 0x1p-10 && t1.hi <= kMaxT))
        return false;
    DD Q1, phi1;
    if (!upper_tail(Q1, phi1, t1))
        return false;
    const double eps = 0x1p-80 * t1.hi;
    // phi(t1 + eps) from below: phi(t1) e^(-eps (t1 + eps)), eps t1 < 2^-69.
    const double phi = phi1.hi * (1 - 0x1p-60);
    const DD r1 = dd::add(Q1, dd::neg(q));
    const double D = r1.hi + r1.lo; // within 2^-50 of Q1 - q
    const double slack = std::fabs(D) * 0x1p-50 + kUpperError * Q1.hi * (1 + 0x1p-50);
    const double push = eps * phi * (1 - 0x1p-50);
    if (!(D - slack + push > 0 && D + slack - push < 0))
        return false;
    if (!dd::round_to(z, t1, 0x1p-80 * (1 + 0x1p-40)))
        return false;
    if (negative)
        mpfr_neg(z, z, MPFR_RNDN);
    if (probability != nullptr && !probability_of_rounded(probability, z, negative, t1, Q1, phi1))
        mpfr_set_nan(probability);
    count_fast_answer();
    return true;
}

} // namespace talvo::mp
