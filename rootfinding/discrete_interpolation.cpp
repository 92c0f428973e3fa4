// discrete_interpolation.cpp -- the first integer at which a nondecreasing
// function of an integer argument reaches a target: bisection of an integer
// bracket, and secant marches (rounded to integers) that find the bracket.
#include "rootfinding.hpp"

#include "entry_frame.hpp"
#include "stats_entries.h"

#include <climits>

namespace {

// Positions are native integers, made floats (exactly, or rounded once when
// wider than the precision) for each call of f.
TalvoFloat AsFloat(long x) { return TalvoFloat(1.0) * x; }
TalvoFloat At(STATS_TalvoCallbackAdapter_MP &f, long x) { return f.Call(AsFloat(x)); }

long Saturated(__int128 x) { return x > LONG_MAX ? LONG_MAX : x < LONG_MIN ? LONG_MIN : long(x); }

const char *const kIterationsExceeded = "maximum number of iterations exceeded in discrete root finding.";
const char *const kNotNondecreasing = "specified function is not a nondecreasing function.";
const char *const kHybridNoConvergence = "DiscreteInterpolationHybrid was not able to converge to the specified root.";
const char *const kOutsideBounds = "the specified approximation point must be between function bounds.";

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
    return 0;
}

// The answer lies right of leftBarrier.  Each secant through the last two
// points is followed to where it reaches upperBound and rounded down; a step
// that rounds back onto the current point advances by one.
long STATS_DiscreteInterpolationHybridLeft_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                              TalvoFloat lowerBound, TalvoFloat upperBound, long leftBarrier,
                                              long initialPoint, int maxIterations)
{
    if (initialPoint <= leftBarrier)
        TalvoRaiseError(kv, "the specified initial point must be greater than the left barrier.");
    if (y < lowerBound || y > upperBound)
        TalvoRaiseError(kv, kOutsideBounds);
    long xl = leftBarrier, x = initialPoint;
    TalvoFloat fl = At(f, xl), fx = At(f, x);
    for (int round = 0; round < maxIterations; ++round) {
        if (fx >= y)
            return STATS_DiscreteInterpolation_MP(kv, y, f, xl, x, maxIterations - round);
        TalvoFloat s = (fx - fl) / (AsFloat(x) - AsFloat(xl));
        TalvoFloat c0 = fl - s * AsFloat(xl);
        long xnew = FloatToInt(floor((upperBound - c0) / s));
        if (xnew == x)
            xnew = Saturated(__int128(x) + 1);
        else if (xnew < x)
            TalvoRaiseError(kv, kNotNondecreasing);
        fl = fx;
        fx = At(f, xnew);
        if (fx < fl)
            TalvoRaiseError(kv, kNotNondecreasing);
        if (fx == fl)
            TalvoRaiseError(kv, kHybridNoConvergence);
        xl = x;
        x = xnew;
    }
    TalvoRaiseError(kv, kHybridNoConvergence);
    return 0;
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
        TalvoRaiseError(kv, "the specified initial point must be less than the right barrier.");
    if (y < lowerBound || y > upperBound)
        TalvoRaiseError(kv, kOutsideBounds);
    long x = initialPoint, xr = rightBarrier;
    TalvoFloat fx = At(f, x), fr = At(f, xr);
    for (int round = 0; round < maxIterations; ++round) {
        if (fr >= y)
            return STATS_DiscreteInterpolation_MP(kv, y, f, x, xr, maxIterations - round);
        TalvoFloat s = (fr - fx) / (AsFloat(xr) - AsFloat(x));
        TalvoFloat c0 = fx - s * AsFloat(x);
        long xnew = FloatToInt(floor((lowerBound - c0) / s));
        if (xnew == x)
            xnew = Saturated(__int128(x) - 1);
        else if (xnew > x)
            TalvoRaiseError(kv, kNotNondecreasing);
        fr = fx;
        fx = At(f, xnew);
        if (fr < fx)
            TalvoRaiseError(kv, kNotNondecreasing);
        if (fr == fx)
            TalvoRaiseError(kv, kHybridNoConvergence);
        xr = x;
        x = xnew;
    }
    TalvoRaiseError(kv, kHybridNoConvergence);
    return 0;
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
