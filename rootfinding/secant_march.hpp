// secant_march.hpp -- the outward march of the hybrid root finders.
//
// A hybrid form knows the root of f(x) = y lies on one side of a point and
// that f is nondecreasing with values between lowerBound and upperBound.
// It holds a pair of points a < b with their values, draws the secant
// through them and follows it to where it reaches the value bound on the far
// side (upperBound marching right, lowerBound marching left), so that the
// march overshoots y and brackets it.  The new point replaces the end of the
// pair on the side it moved away from.  Once the stop test holds the pair is
// handed to a bracketing search.
//
// The continuous forms (Brent) and the discrete ones (integer points, the
// secant's point rounded down) share this loop; a Points policy says how a
// position is made a float and how the secant's point becomes the next point.
#pragma once

#include "callback_adapters.hpp"
#include "stats_api.h"
#include "talvo_utils.hpp"

#include <climits>

namespace stats::rootfinding {

inline const char *const kNotNondecreasing = "specified function is not a nondecreasing function.";
inline const char *const kOutsideBounds = "the specified approximation point must be between function bounds.";
inline const char *const kInitialLeft = "the specified initial point must be greater than the left barrier.";
inline const char *const kInitialRight = "the specified initial point must be less than the right barrier.";

enum class March { Right, Left };

// Positions are floats: the secant's point is taken as it is; a point on
// the wrong side of the one it moved from means f is not nondecreasing.
struct ContinuousPoints {
    using Point = TalvoFloat;
    static TalvoFloat AsFloat(const TalvoFloat &x) { return x; }
    static TalvoFloat Next(TKernelVector kv, const TalvoFloat &target, const TalvoFloat &from, March way)
    {
        if (way == March::Right ? target < from : from < target)
            TalvoRaiseError(kv, kNotNondecreasing);
        return target;
    }
};

// Positions are native integers, made floats (exactly, or rounded once when
// wider than the precision).  The secant's point is rounded down; a point
// that rounds back onto the one it moved from advances by one.
struct DiscretePoints {
    using Point = long;
    static TalvoFloat AsFloat(long x) { return TalvoFloat(1.0) * x; }
    static long Saturated(__int128 x) { return x > LONG_MAX ? LONG_MAX : x < LONG_MIN ? LONG_MIN : long(x); }
    static long Next(TKernelVector kv, const TalvoFloat &target, long from, March way)
    {
        long x = FloatToInt(floor(target));
        if (x == from)
            return Saturated(__int128(from) + (way == March::Right ? 1 : -1));
        if (way == March::Right ? x < from : x > from)
            TalvoRaiseError(kv, kNotNondecreasing);
        return x;
    }
};

// Marches the pair (a, fa) < (b, fb) toward `bound` for at most
// maxIterations rounds.  stop(fa, fb) ends the march; finish(a, b, rounds)
// then searches the bracket with the rounds left.  A value that falls as the
// march goes on, or that stays where it was, raises.
template <class Points, class Stop, class Finish>
auto SecantMarch(TKernelVector kv, STATS_TalvoCallbackAdapter_MP &f, March way, const TalvoFloat &bound,
                 typename Points::Point a, TalvoFloat fa, typename Points::Point b, TalvoFloat fb,
                 int maxIterations, const char *noConvergence, Stop stop, Finish finish)
{
    for (int round = 0; round < maxIterations; ++round) {
        if (stop(fa, fb))
            return finish(a, b, maxIterations - round);
        TalvoFloat s = (fb - fa) / (Points::AsFloat(b) - Points::AsFloat(a));
        TalvoFloat c0 = fa - s * Points::AsFloat(a);
        TalvoFloat target = (bound - c0) / s;
        if (way == March::Right) {
            typename Points::Point x = Points::Next(kv, target, b, way);
            fa = fb;
            fb = f.Call(Points::AsFloat(x));
            a = b;
            b = x;
        } else {
            typename Points::Point x = Points::Next(kv, target, a, way);
            fb = fa;
            fa = f.Call(Points::AsFloat(x));
            b = a;
            a = x;
        }
        if (fb < fa)
            TalvoRaiseError(kv, kNotNondecreasing);
        if (fb == fa)
            TalvoRaiseError(kv, noConvergence);
    }
    TalvoRaiseError(kv, noConvergence);
}

} // namespace stats::rootfinding
