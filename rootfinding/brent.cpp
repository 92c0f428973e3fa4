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

#include "few_limbs.hpp"

namespace {

// The sign tests and magnitude comparisons of the loop, read straight from
// the floats.  Every one is false when a side is NaN, as the comparisons of
// TalvoFloat are.
int SignOf(mpfr_srcptr x) { return mpfr_nan_p(x) ? 0 : mpfr_sgn(x); }
bool SameStrictSign(mpfr_srcptr a, mpfr_srcptr b)
{
    const int sa = SignOf(a), sb = SignOf(b);
    return sa != 0 && sa == sb;
}

// |a| < |b|.
bool AbsLess(mpfr_srcptr x, mpfr_srcptr y) { return !mpfr_nan_p(x) && !mpfr_nan_p(y) && mpfr_cmpabs(x, y) < 0; }

// The sign of |a| - t for a signed t, as fabs(a) compared with t gives it;
// false when either is NaN.
bool AbsMinus(mpfr_srcptr x, mpfr_srcptr t, int *sign)
{
    if (mpfr_nan_p(x) || mpfr_nan_p(t))
        return false;
    *sign = mpfr_signbit(t) && !mpfr_zero_p(t) ? 1 : mpfr_cmpabs(x, t);
    return true;
}
bool AbsAtMost(mpfr_srcptr x, mpfr_srcptr t)
{
    int s;
    return AbsMinus(x, t, &s) && s <= 0;
}
bool AbsAtLeast(mpfr_srcptr x, mpfr_srcptr t)
{
    int s;
    return AbsMinus(x, t, &s) && s >= 0;
}
bool AbsAbove(mpfr_srcptr x, mpfr_srcptr t)
{
    int s;
    return AbsMinus(x, t, &s) && s > 0;
}

// An MPFR float of the working precision held by the search's frame and
// freed on every way out of it (a raised error included).
class Work {
public:
    explicit Work(mpfr_prec_t p) { mpfr_init2(v_, p); }
    ~Work() { mpfr_clear(v_); }
    Work(const Work &) = delete;
    Work &operator=(const Work &) = delete;
    operator mpfr_ptr() { return v_; }
    operator mpfr_srcptr() const { return v_; }

private:
    mpfr_t v_;
};

using namespace stats::rootfinding;

const char *const kHybridNoConvergence = "BrentMethodHybrid was not able to converge on the specified root.";

} // namespace

// The points and their values are host floats, handed to f and returned as
// they are; the arithmetic of a round (the tolerance, the interpolation, the
// step) runs in MPFR floats of the working precision kept for the whole
// search.  Each operation is the one a TalvoFloat expression performs (the
// exact operands rounded once, to nearest, at the working precision), so
// the search takes the same steps and returns the same float as it does in
// TalvoFloat arithmetic, without a collected float per operation.
TalvoFloat STATS_BrentMethod_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f, TalvoFloat a,
                                TalvoFloat b, TalvoFloat tol, int maxIterations)
{
    TalvoFloat fa = f.Call(a) - y, fb = f.Call(b) - y;
    if (SameStrictSign(fa.mpfr(), fb.mpfr()))
        TalvoRaiseError(kv, "root must be bracketed by lower and upper boundaries.");
    TalvoFloat c = b, fc = fb;
    const mpfr_prec_t wp = talvo_float_precision();
    constexpr mpfr_rnd_t N = MPFR_RNDN;
    Work d(wp), e(wp), tol1(wp), xm(wp), s(wp), p(wp), q(wp), r(wp), min1(wp), min2(wp), t(wp), u(wp), twoTol(wp),
        halfTol(wp);
    // Sums, differences and products go through the float library's inline
    // paths (the same numbers as MPFR's, inline up to four limbs).
    using talvo::floatn::add_rn;
    using talvo::floatn::mul_rn;
    using talvo::floatn::sub_rn;
    MPFR_DECL_INIT(one, 2);
    MPFR_DECL_INIT(three, 2);
    mpfr_set_ui(one, 1, N);
    mpfr_set_ui(three, 3, N);
    mpfr_set_zero(d, 1);
    mpfr_set_zero(e, 1);
    mpfr_mul_ui(twoTol, tol.mpfr(), 2, N);  // 2 tol
    mpfr_div_ui(halfTol, tol.mpfr(), 2, N); // 0.5 tol
    for (int iteration = 0; iteration < maxIterations; ++iteration) {
        if (SameStrictSign(fb.mpfr(), fc.mpfr())) {
            c = a;
            fc = fa;
            sub_rn(d, b.mpfr(), a.mpfr());
            mpfr_set(e, d, N);
        }
        if (AbsLess(fc.mpfr(), fb.mpfr())) {
            a = b;
            b = c;
            c = a;
            fa = fb;
            fb = fc;
            fc = fa;
        }
        // The relative part of the tolerance is tol itself: the search runs
        // three digits above the precision tol was derived from.
        // tol1 = 2 tol |b| + 0.5 tol, xm = 0.5 (c - b).
        mpfr_abs(t, b.mpfr(), N);
        mul_rn(t, twoTol, t);
        add_rn(tol1, t, halfTol);
        sub_rn(t, c.mpfr(), b.mpfr());
        mpfr_div_2ui(xm, t, 1, N); // exact, as a division by 2 is
        if (AbsAtMost(xm, tol1) || mpfr_zero_p(fb.mpfr()))
            return b;
        if (AbsAtLeast(e, tol1) && AbsLess(fb.mpfr(), fa.mpfr())) {
            mpfr_div(s, fb.mpfr(), fa.mpfr(), N);
            if (mpfr_equal_p(a.mpfr(), c.mpfr())) { // secant: p = 2 xm s, q = 1 - s
                mpfr_mul_2ui(t, xm, 1, N);
                mul_rn(p, t, s);
                sub_rn(q, one, s);
            } else { // inverse quadratic interpolation
                // r = fb / fc, q = fa / fc,
                // p = s (2 xm q (q - r) - (b - a)(r - 1)), q = (q - 1)(r - 1)(s - 1).
                mpfr_div(r, fb.mpfr(), fc.mpfr(), N);
                mpfr_div(q, fa.mpfr(), fc.mpfr(), N);
                mpfr_mul_2ui(t, xm, 1, N);
                mul_rn(t, t, q);
                sub_rn(u, q, r);
                mul_rn(t, t, u);
                sub_rn(u, b.mpfr(), a.mpfr());
                sub_rn(p, r, one);
                mul_rn(u, u, p);
                sub_rn(t, t, u);
                mul_rn(p, s, t);
                sub_rn(t, q, one);
                sub_rn(u, r, one);
                mul_rn(t, t, u);
                sub_rn(u, s, one);
                mul_rn(q, t, u);
            }
            if (SignOf(p) > 0)
                mpfr_neg(q, q, N);
            mpfr_abs(p, p, N);
            // min1 = 3 xm q - |tol1 q|, min2 = |e q|; interpolate when 2 p < min(min1, min2).
            mul_rn(t, xm, three);
            mul_rn(t, t, q);
            mul_rn(u, tol1, q);
            mpfr_abs(u, u, N);
            sub_rn(min1, t, u);
            mul_rn(min2, e, q);
            mpfr_abs(min2, min2, N);
            mpfr_mul_2ui(t, p, 1, N);
            if (mpfr_less_p(t, mpfr_less_p(min1, min2) ? static_cast<mpfr_srcptr>(min1) : min2)) {
                mpfr_set(e, d, N);
                mpfr_div(d, p, q, N);
            } else {
                mpfr_set(d, xm, N);
                mpfr_set(e, d, N);
            }
        } else {
            mpfr_set(d, xm, N);
            mpfr_set(e, d, N);
        }
        a = b;
        fa = fb;
        // b moves by d, or by tol1 towards c when d is smaller.
        if (AbsAbove(d, tol1)) {
            add_rn(t, b.mpfr(), d);
        } else {
            mpfr_copysign(u, tol1, xm, N);
            add_rn(t, b.mpfr(), u);
        }
        b = TalvoFloat::from_handle(talvo_float_from_mpfr(t, wp));
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
