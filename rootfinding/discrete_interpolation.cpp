// discrete_interpolation.cpp -- the first integer at which a nondecreasing
// function of an integer argument reaches a target: bisection of an integer
// bracket, and secant marches (rounded to integers) that find the bracket.
#include "rootfinding.hpp"

#include "entry_frame.hpp"
#include "secant_march.hpp"
#include "stats_entries.h"

#include <climits>

namespace {

using namespace stats::rootfinding;

TalvoFloat At(STATS_TalvoCallbackAdapter_MP &f, long x) { return f.Call(DiscretePoints::AsFloat(x)); }
long Saturated(__int128 x) { return DiscretePoints::Saturated(x); }

const char *const kIterationsExceeded = "maximum number of iterations exceeded in discrete root finding.";
const char *const kHybridNoConvergence = "DiscreteInterpolationHybrid was not able to converge to the specified root.";

} // namespace

// Invariant after the first two evaluations: f(lo) <= y <= f(hi).  A value
// strictly above y at lo returns lo; a value equal to y at lo does not stop
// the search, which returns the smallest integer above lo reaching y.
long STATS_DiscreteInterpolation_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f, long lo,
                                    long hi, int maxIterations)
{
    TalvoFloat flo = At(f, lo);
    if (flo > y)
        return lo;
    TalvoFloat fhi = At(f, hi);
    if (fhi < y)
        TalvoRaiseError(kv, "root must be bracketed by left and right barriers.");
    if (maxIterations <= 0)
        TalvoRaiseError(kv, kIterationsExceeded);
    for (int iteration = 0; iteration < maxIterations; ++iteration) {
        if (__int128(hi) - lo <= 1)
            return fhi < y ? Saturated(__int128(hi) + 1) : hi;
        long mid = long((__int128(lo) + hi) / 2); // truncated towards zero
        TalvoFloat fm = At(f, mid);
        if (fm < y) {
            lo = mid;
            flo = fm;
        } else {
            hi = mid;
            fhi = fm;
        }
    }
    TalvoRaiseError(kv, kIterationsExceeded);
}

// With f nondecreasing, f(lo) < y and f(hi) >= y, the bisection above
// compares f(mid) < y exactly when mid < root, the smallest integer with
// f(root) >= y.  So once a caller has found root and made sure the
// comparisons would come out that way, the search's path, its result and its
// iteration limit are decided by the integers alone.
long STATS_DiscreteInterpolationReplay_MP(TKernelVector kv, long lo, long hi, long root, int maxIterations)
{
    if (maxIterations <= 0)
        TalvoRaiseError(kv, kIterationsExceeded);
    for (int iteration = 0; iteration < maxIterations; ++iteration) {
        if (__int128(hi) - lo <= 1)
            return hi;
        long mid = long((__int128(lo) + hi) / 2);
        if (mid < root)
            lo = mid;
        else
            hi = mid;
    }
    TalvoRaiseError(kv, kIterationsExceeded);
}

// The answer lies right of leftBarrier.  The march heads for upperBound,
// each secant's point rounded down (one step on when it rounds back onto the
// current point), until f reaches y at its right point.
long STATS_DiscreteInterpolationHybridLeft_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                              TalvoFloat lowerBound, TalvoFloat upperBound, long leftBarrier,
                                              long initialPoint, int maxIterations)
{
    if (initialPoint <= leftBarrier)
        TalvoRaiseError(kv, kInitialLeft);
    if (y < lowerBound || y > upperBound)
        TalvoRaiseError(kv, kOutsideBounds);
    TalvoFloat fl = At(f, leftBarrier), fx = At(f, initialPoint);
    return SecantMarch<DiscretePoints>(
        kv, f, March::Right, upperBound, leftBarrier, fl, initialPoint, fx, maxIterations, kHybridNoConvergence,
        [&](const TalvoFloat &, const TalvoFloat &fb) { return fb >= y; },
        [&](long a, long b, int rounds) { return STATS_DiscreteInterpolation_MP(kv, y, f, a, b, rounds); });
}

// The mirror image, aimed at lowerBound, with one difference kept on
// purpose: each round tests the value at the right point, so with a proper
// barrier (f(rightBarrier) >= y) the first round hands [initialPoint,
// rightBarrier] to the bisection.
long STATS_DiscreteInterpolationHybridRight_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                               TalvoFloat lowerBound, TalvoFloat upperBound, long initialPoint,
                                               long rightBarrier, int maxIterations)
{
    if (initialPoint >= rightBarrier)
        TalvoRaiseError(kv, kInitialRight);
    if (y < lowerBound || y > upperBound)
        TalvoRaiseError(kv, kOutsideBounds);
    TalvoFloat fx = At(f, initialPoint), fr = At(f, rightBarrier);
    return SecantMarch<DiscretePoints>(
        kv, f, March::Left, lowerBound, initialPoint, fx, rightBarrier, fr, maxIterations, kHybridNoConvergence,
        [&](const TalvoFloat &, const TalvoFloat &fb) { return fb >= y; },
        [&](long a, long b, int rounds) { return STATS_DiscreteInterpolation_MP(kv, y, f, a, b, rounds); });
}

// Given the larger point first, both ends are the second point: the search
// then returns it when its value is y and otherwise fails on the barrier test
// of the one-sided form it hands over to.
long STATS_DiscreteInterpolationHybridUnbound_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                                 TalvoFloat lowerBound, TalvoFloat upperBound, long initialPoint1,
                                                 long initialPoint2, int maxIterations)
{
    if (y < lowerBound || y > upperBound)
        TalvoRaiseError(kv, kOutsideBounds);
    if (initialPoint1 == initialPoint2)
        TalvoRaiseError(
            kv, "DiscreteInterpolationHybridUnbound requires distinct initial points (InitPoint1 != InitPoint2).");
    long lo = initialPoint1 < initialPoint2 ? initialPoint1 : initialPoint2;
    long hi = initialPoint2;
    TalvoFloat flo = At(f, lo), fhi = At(f, hi);
    if (flo == y)
        return lo;
    if (fhi == y)
        return hi;
    if (flo < y)
        return STATS_DiscreteInterpolationHybridLeft_MP(kv, y, f, flo, upperBound, lo, hi, maxIterations);
    return STATS_DiscreteInterpolationHybridRight_MP(kv, y, f, flo, fhi, lo, hi, maxIterations);
}

// ---------------------------------------------------------------------------
// Host entries.  The integer points arrive as numbers and are truncated; no
// change of "Digits"; the result is a host integer.
// ---------------------------------------------------------------------------

namespace {

using HybridForm = long (*)(TKernelVector, TalvoFloat, STATS_TalvoCallbackAdapter_MP &, TalvoFloat, TalvoFloat, long,
                            long, int);

ALGEB HybridEntry(TKernelVector kv, ALGEB args, const char *entry, HybridForm form)
{
    stats::EntryFrame f(kv, args, entry, 7);
    TalvoFloat y = f.real(1);
    STATS_TalvoProcAdapter_MP g(kv, f.procedure(2));
    TalvoFloat lowerBound = f.real(3), upperBound = f.real(4);
    long p1 = f.integer(5), p2 = f.integer(6);
    int32_t maxIterations = f.int32(7);
    return ToTalvoInteger(kv, form(kv, y, g, lowerBound, upperBound, p1, p2, maxIterations));
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoDiscreteInterpolation_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 5);
    TalvoFloat y = f.real(1);
    STATS_TalvoProcAdapter_MP g(kv, f.procedure(2));
    long lo = f.integer(3), hi = f.integer(4);
    int32_t maxIterations = f.int32(5);
    return ToTalvoInteger(kv, STATS_DiscreteInterpolation_MP(kv, y, g, lo, hi, maxIterations));
}

STATS_ENTRY ALGEB STATS_TalvoDiscreteInterpolationHybridLeft_MP(TKernelVector kv, ALGEB args)
{
    return HybridEntry(kv, args, __func__, STATS_DiscreteInterpolationHybridLeft_MP);
}

STATS_ENTRY ALGEB STATS_TalvoDiscreteInterpolationHybridRight_MP(TKernelVector kv, ALGEB args)
{
    return HybridEntry(kv, args, __func__, STATS_DiscreteInterpolationHybridRight_MP);
}

STATS_ENTRY ALGEB STATS_TalvoDiscreteInterpolationHybridUnbound_MP(TKernelVector kv, ALGEB args)
{
    return HybridEntry(kv, args, __func__, STATS_DiscreteInterpolationHybridUnbound_MP);
}
