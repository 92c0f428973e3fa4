// brent.cpp -- Brent's zero finder and its secant-marching hybrids.
//
// R. P. Brent, "Algorithms for Minimization without Derivatives" (1973),
// chapter 4: inverse quadratic interpolation with a bisection safeguard,
// applied to g(x) = f(x) - y.
#include "rootfinding.hpp"

#include "entry_frame.hpp"
#include "entry_precision.hpp"
#include "secant_march.hpp"
#include "stats_entries.h"

namespace {

bool SameStrictSign(const TalvoFloat &a, const TalvoFloat &b) { return (a > 0L && b > 0L) || (a < 0L && b < 0L); }

// Magnitudes compared without making them floats.  |a| < |b|; false when
// either is NaN, as every comparison of fabs(a) and fabs(b) is.
bool AbsLess(const TalvoFloat &a, const TalvoFloat &b)
{
    mpfr_srcptr x = a.mpfr(), y = b.mpfr();
    return !mpfr_nan_p(x) && !mpfr_nan_p(y) && mpfr_cmpabs(x, y) < 0;
}

// The sign of |a| - t for a signed t, as fabs(a) compared with t would give
// it; false when either is NaN.
bool AbsMinus(const TalvoFloat &a, const TalvoFloat &t, int *sign)
{
    mpfr_srcptr x = a.mpfr(), y = t.mpfr();
    if (mpfr_nan_p(x) || mpfr_nan_p(y))
        return false;
    *sign = mpfr_signbit(y) && !mpfr_zero_p(y) ? 1 : mpfr_cmpabs(x, y);
    return true;
}
bool AbsAtMost(const TalvoFloat &a, const TalvoFloat &t)
{
    int s;
    return AbsMinus(a, t, &s) && s <= 0;
}
bool AbsAtLeast(const TalvoFloat &a, const TalvoFloat &t)
{
    int s;
    return AbsMinus(a, t, &s) && s >= 0;
}
bool AbsAbove(const TalvoFloat &a, const TalvoFloat &t)
{
    int s;
    return AbsMinus(a, t, &s) && s > 0;
}

using namespace stats::rootfinding;

const char *const kHybridNoConvergence = "BrentMethodHybrid was not able to converge on the specified root.";

} // namespace

TalvoFloat STATS_BrentMethod_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f, TalvoFloat a,
                                TalvoFloat b, TalvoFloat tol, int maxIterations)
{
    TalvoFloat fa = f.Call(a) - y, fb = f.Call(b) - y;
    if (SameStrictSign(fa, fb))
        TalvoRaiseError(kv, "root must be bracketed by lower and upper boundaries.");
    TalvoFloat c = b, fc = fb, d(0.0), e(0.0);
    // The constants of the loop, made once: the same roundings as making
    // them in every round, without the allocations.
    const TalvoFloat zero(0.0), one(1.0), two(2.0), three(3.0), twoTol = two * tol, halfTol = TalvoFloat(0.5) * tol;
    for (int iteration = 0; iteration < maxIterations; ++iteration) {
        if (SameStrictSign(fb, fc)) {
            c = a;
            fc = fa;
            d = b - a;
            e = d;
        }
        if (AbsLess(fc, fb)) {
            a = b;
            b = c;
            c = a;
            fa = fb;
            fb = fc;
            fc = fa;
        }
        // The relative part of the tolerance is tol itself: the search runs
        // three digits above the precision tol was derived from.
        TalvoFloat tol1 = twoTol * fabs(b) + halfTol;
        TalvoFloat xm = TalvoFloat(0.5) * (c - b);
        if (AbsAtMost(xm, tol1) || fb == zero)
            return b;
        if (AbsAtLeast(e, tol1) && AbsLess(fb, fa)) {
            TalvoFloat s = fb / fa, p, q;
            if (a == c) { // secant
                p = two * xm * s;
                q = one - s;
            } else { // inverse quadratic interpolation
                TalvoFloat r = fb / fc;
                q = fa / fc;
                p = s * (two * xm * q * (q - r) - (b - a) * (r - one));
                q = (q - one) * (r - one) * (s - one);
            }
            if (p > 0L)
                q = -q;
            p = fabs(p);
            TalvoFloat min1 = three * xm * q - fabs(tol1 * q), min2 = fabs(e * q);
            if (two * p < (min1 < min2 ? min1 : min2)) {
                e = d;
                d = p / q;
            } else {
                d = xm;
                e = d;
            }
        } else {
            d = xm;
            e = d;
        }
        a = b;
        fa = fb;
        b = AbsAbove(d, tol1) ? b + d : b + Sign(tol1, xm);
        fb = f.Call(b) - y;
    }
    TalvoRaiseError(kv, "maximum number of iterations exceeded in Brent root finding.");
}

// The root lies right of leftBarrier, where f takes the value lowerBound < y;
// the march heads for upperBound until f reaches y at its right point.
TalvoFloat STATS_BrentMethodHybridLeft_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                          TalvoFloat lowerBound, TalvoFloat upperBound, TalvoFloat leftBarrier,
                                          TalvoFloat initialPoint, TalvoFloat tol, int maxIterations)
{
    if (initialPoint <= leftBarrier)
        TalvoRaiseError(kv, kInitialLeft);
    if (y < lowerBound || y > upperBound)
        TalvoRaiseError(kv, kOutsideBounds);
    return SecantMarch<ContinuousPoints>(
        kv, f, March::Right, upperBound, leftBarrier, lowerBound, initialPoint, f.Call(initialPoint), maxIterations,
        kHybridNoConvergence, [&](const TalvoFloat &, const TalvoFloat &fb) { return fb >= y; },
        [&](const TalvoFloat &a, const TalvoFloat &b, int rounds) {
            return STATS_BrentMethod_MP(kv, y, f, a, b, tol, rounds);
        });
}

// The mirror image: the root lies left of rightBarrier, where f takes
// upperBound > y; the march heads for lowerBound until f at its left point
// is at most y.
TalvoFloat STATS_BrentMethodHybridRight_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                           TalvoFloat lowerBound, TalvoFloat upperBound, TalvoFloat initialPoint,
                                           TalvoFloat rightBarrier, TalvoFloat tol, int maxIterations)
{
    if (initialPoint >= rightBarrier)
        TalvoRaiseError(kv, kInitialRight);
    if (y < lowerBound || y > upperBound)
        TalvoRaiseError(kv, kOutsideBounds);
    TalvoFloat fx = f.Call(initialPoint);
    return SecantMarch<ContinuousPoints>(
        kv, f, March::Left, lowerBound, initialPoint, fx, rightBarrier, upperBound, maxIterations,
        kHybridNoConvergence, [&](const TalvoFloat &fa, const TalvoFloat &) { return fa <= y; },
        [&](const TalvoFloat &a, const TalvoFloat &b, int rounds) {
            return STATS_BrentMethod_MP(kv, y, f, a, b, tol, rounds);
        });
}

TalvoFloat STATS_BrentMethodHybridUnbound_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                             TalvoFloat lowerBound, TalvoFloat upperBound, TalvoFloat initialPoint1,
                                             TalvoFloat initialPoint2, TalvoFloat tol, int maxIterations)
{
    if (initialPoint1 == initialPoint2)
        TalvoRaiseError(kv,
                        "BrentMethodHybridUnbound requires distinct initial points (InitPoint1 != InitPoint2).");
    TalvoFloat lo = initialPoint1 < initialPoint2 ? initialPoint1 : initialPoint2;
    TalvoFloat hi = initialPoint1 < initialPoint2 ? initialPoint2 : initialPoint1;
    TalvoFloat flo = f.Call(lo), fhi = f.Call(hi);
    if (flo == y)
        return lo;
    if (fhi == y)
        return hi;
    if (flo < y)
        return STATS_BrentMethodHybridLeft_MP(kv, y, f, flo, upperBound, lo, hi, tol, maxIterations);
    return STATS_BrentMethodHybridRight_MP(kv, y, f, lowerBound, fhi, lo, hi, tol, maxIterations);
}

// ---------------------------------------------------------------------------
// Host entries: y, procedure, the floats of the inner function in its order,
// k and maxIterations.  The search runs at "Digits" + 3 with the absolute
// tolerance k * 10^-Digits; the root comes back at the caller's "Digits".
// ---------------------------------------------------------------------------

namespace {

using HybridForm = TalvoFloat (*)(TKernelVector, TalvoFloat, STATS_TalvoCallbackAdapter_MP &, TalvoFloat, TalvoFloat,
                                  TalvoFloat, TalvoFloat, TalvoFloat, int);

ALGEB HybridEntry(TKernelVector kv, ALGEB args, const char *entry, HybridForm form)
{
    stats::EntryFrame f(kv, args, entry, 8);
    TalvoFloat y = f.real(1);
    STATS_TalvoProcAdapter_MP g(kv, f.procedure(2));
    TalvoFloat p3 = f.real(3), p4 = f.real(4), p5 = f.real(5), p6 = f.real(6);
    int32_t k = f.int32(7), maxIterations = f.int32(8);
    stats::RaisedDigits precision(kv, TalvoFloat(double(k)));
    return precision.Result(form(kv, y, g, p3, p4, p5, p6, precision.tolerance(), maxIterations));
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoBrentMethod_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 6);
    TalvoFloat y = f.real(1);
    STATS_TalvoProcAdapter_MP g(kv, f.procedure(2));
    TalvoFloat a = f.real(3), b = f.real(4);
    int32_t k = f.int32(5), maxIterations = f.int32(6);
    stats::RaisedDigits precision(kv, TalvoFloat(double(k)));
    return precision.Result(STATS_BrentMethod_MP(kv, y, g, a, b, precision.tolerance(), maxIterations));
}

STATS_ENTRY ALGEB STATS_TalvoBrentMethodHybridLeft_MP(TKernelVector kv, ALGEB args)
{
    return HybridEntry(kv, args, __func__, STATS_BrentMethodHybridLeft_MP);
}

STATS_ENTRY ALGEB STATS_TalvoBrentMethodHybridRight_MP(TKernelVector kv, ALGEB args)
{
    return HybridEntry(kv, args, __func__, STATS_BrentMethodHybridRight_MP);
}

STATS_ENTRY ALGEB STATS_TalvoBrentMethodHybridUnbound_MP(TKernelVector kv, ALGEB args)
{
    return HybridEntry(kv, args, __func__, STATS_BrentMethodHybridUnbound_MP);
}
