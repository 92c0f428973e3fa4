// newton_raphson.cpp -- Newton's method with the derivative supplied by the
// caller: plain (optional barriers), safeguarded by a bracket with bisection
// as the fallback (the rtsafe scheme of Press et al., "Numerical Recipes",
// 9.4), and a hybrid that first brackets the root of a nondecreasing f.
#include "rootfinding.hpp"

#include "entry_frame.hpp"
#include "entry_precision.hpp"
#include "stats_entries.h"

namespace {

bool IsZero(const TalvoFloat &x) { return mpfr_zero_p(x.mpfr()); }
bool IsNegative(const TalvoFloat &x) { return !mpfr_nan_p(x.mpfr()) && mpfr_sgn(x.mpfr()) < 0; }
bool IsPositive(const TalvoFloat &x) { return !mpfr_nan_p(x.mpfr()) && mpfr_sgn(x.mpfr()) > 0; }
TalvoFloat Half(const TalvoFloat &x) { return TalvoFloat(0.5) * x; }

// |a - b| / (|a| + |b|) < tol
bool RelativelyClose(const TalvoFloat &a, const TalvoFloat &b, const TalvoFloat &tol)
{
    return fabs(b - a) / (fabs(a) + fabs(b)) < tol;
}

const char *const kBarrierStart = "the specified initial point must be between the specified barriers";

// Which point a bisection step is compared with to see that it vanished.
enum class Vanished {
    AtLowEnd,  // the safe form: the bisection landed on the bracket's low end
    Unchanged, // the hybrid form: the bisection left x where it was
};

// One safeguarded step inside the bracket [xl, xh] (f(xl) - y < 0): a Newton
// step when it stays inside and at least halves the step before last, a
// bisection otherwise.  Returns true when x is the root: the step moved it
// by less than tol, or it vanished at the working precision (a Newton step
// left x where it was; a bisection landed on the low end, or for the hybrid
// form left x where it was).  The hybrid form starts at the middle of its
// bracket, so a bisection as its first step lands on x again and ends the
// search there.  A zero derivative on a Newton step with f(x) - y = 0 also
// ends the search; with f(x) - y != 0 it raises failure.
bool SafeStep(TKernelVector kv, TalvoFloat &x, const TalvoFloat &fx, const TalvoFloat &dfx, const TalvoFloat &xl,
              const TalvoFloat &xh, TalvoFloat &dx, TalvoFloat &dxold, const TalvoFloat &tol, const char *failure,
              Vanished vanished)
{
    TalvoFloat previous = x;
    if (IsPositive(((x - xh) * dfx - fx) * ((x - xl) * dfx - fx)) || fabs(TalvoFloat(2.0) * fx) > fabs(dxold * dfx)) {
        dxold = dx;
        dx = Half(xh - xl);
        x = xl + dx;
        if (x == (vanished == Vanished::AtLowEnd ? xl : previous))
            return true;
    } else {
        if (IsZero(dfx)) {
            if (IsZero(fx))
                return true;
            TalvoRaiseError(kv, failure);
        }
        dxold = dx;
        dx = fx / dfx;
        x = x - dx;
        if (x == previous)
            return true;
    }
    return fabs(dx) < tol;
}

// Where a safeguarded search stands: x and f(x) - y, the bracket [xl, xh]
// with f(xl) - y < 0 <= f(xh) - y, the last step and the one before it.
struct SafeState {
    TalvoFloat x, fx, xl, xh, dx, dxold;
};

// Safeguarded steps from s.x for iterations `iteration` .. maxIterations - 1,
// narrowing the bracket after each: the root, or the last point with a hint
// once the iterations run out (both forms name the safeguarded method in
// that hint).
TalvoFloat SafeRefinement(TKernelVector kv, const TalvoFloat &y, STATS_TalvoCallbackAdapter_MP &f,
                          STATS_TalvoCallbackAdapter_MP &df, SafeState s, const TalvoFloat &tol, int iteration,
                          int maxIterations, const char *failure, Vanished vanished)
{
    TalvoFloat dfx = df.Call(s.x);
    for (; iteration < maxIterations; ++iteration) {
        if (SafeStep(kv, s.x, s.fx, dfx, s.xl, s.xh, s.dx, s.dxold, tol, failure, vanished))
            return s.x;
        s.fx = f.Call(s.x) - y;
        dfx = df.Call(s.x);
        if (IsNegative(s.fx))
            s.xl = s.x;
        else
            s.xh = s.x;
    }
    TalvoUserInfo(kv, 2, "hints", "NewtonRaphsonSafe completed the maximum number of iterations without converging");
    return s.x;
}

} // namespace

TalvoFloat STATS_NewtonRaphson_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                  STATS_TalvoCallbackAdapter_MP &df, TalvoFloat x0, int hasLower, TalvoFloat lower,
                                  int hasUpper, TalvoFloat upper, TalvoFloat tol, int maxIterations)
{
    const char *const failure = "NewtonRaphson root-finding method failed to converge.";
    if ((hasLower && x0 < lower) || (hasUpper && x0 > upper))
        TalvoRaiseError(kv, kBarrierStart);
    TalvoFloat x = x0, fx = f.Call(x) - y, dfx = df.Call(x), xnew(0.0);
    for (int iteration = 0; iteration < maxIterations; ++iteration) {
        if (IsZero(dfx)) {
            // A flat point: move halfway towards a barrier and try again.
            // The value there is taken as it is, without subtracting y.
            if (!hasLower && !hasUpper)
                TalvoRaiseError(kv, failure);
            if (hasLower) {
                x = Half(x + lower);
                dfx = df.Call(x);
            }
            if (IsZero(dfx) && hasUpper) {
                x = Half(x + upper);
                dfx = df.Call(x);
            }
            if (IsZero(dfx))
                TalvoRaiseError(kv, failure);
            fx = f.Call(x);
        }
        xnew = x - fx / dfx;
        if (hasLower && xnew < lower)
            xnew = Half(x + lower);
        if (hasUpper && xnew > upper)
            xnew = Half(x + upper);
        TalvoFloat fnew = f.Call(xnew) - y, dfnew = df.Call(xnew);
        if (RelativelyClose(x, xnew, tol)) {
            if (hasLower && RelativelyClose(lower, xnew, tol)) {
                TalvoUserInfo(kv, 2, "hints", "NewtonRaphson has converged to a barrier point");
                return lower;
            }
            if (hasUpper && RelativelyClose(upper, xnew, tol)) {
                TalvoUserInfo(kv, 2, "hints", "NewtonRaphson has converged to a barrier point");
                return upper;
            }
            return xnew;
        }
        x = xnew;
        fx = fnew;
        dfx = dfnew;
    }
    TalvoUserInfo(kv, 2, "hints", "NewtonRaphson completed the maximum number of iterations without converging");
    return xnew;
}

TalvoFloat STATS_NewtonRaphsonSafe_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                      STATS_TalvoCallbackAdapter_MP &df, TalvoFloat x0, TalvoFloat lower,
                                      TalvoFloat upper, TalvoFloat tol, int maxIterations)
{
    if (x0 < lower || x0 > upper)
        TalvoRaiseError(kv, kBarrierStart);
    TalvoFloat fl = f.Call(lower) - y, fh = f.Call(upper) - y;
    if ((IsPositive(fl) && IsPositive(fh)) || (IsNegative(fl) && IsNegative(fh)))
        TalvoRaiseError(kv, "root must be bracketed by lower and upper barriers");
    if (IsZero(fl))
        return lower;
    if (IsZero(fh))
        return upper;
    TalvoFloat xl = IsNegative(fl) ? lower : upper, xh = IsNegative(fl) ? upper : lower;
    TalvoFloat dxold = fabs(upper - lower), fx = f.Call(x0) - y;
    if (IsZero(fx))
        return x0;
    return SafeRefinement(kv, y, f, df, {x0, fx, xl, xh, dxold, dxold}, tol, 0, maxIterations,
                          "NewtonRaphsonSafe root-finding method failed to converge.", Vanished::AtLowEnd);
}

TalvoFloat STATS_NewtonRaphsonHybrid_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                        STATS_TalvoCallbackAdapter_MP &df, TalvoFloat x0, TalvoFloat lowerBound,
                                        TalvoFloat upperBound, int hasLower, TalvoFloat lower, int hasUpper,
                                        TalvoFloat upper, TalvoFloat tol, int maxIterations)
{
    const char *const failure = "NewtonRaphsonHybrid root-finding method failed to converge.";
    if ((hasLower && x0 < lower) || (hasUpper && x0 > upper))
        TalvoRaiseError(kv, kBarrierStart);
    if (y <= lowerBound || y >= upperBound)
        TalvoRaiseError(kv, "the specified approximation point must be strictly between the specified bounds");
    TalvoFloat x = x0, fx = f.Call(x0) - y;
    if (IsZero(fx))
        return x0;
    const bool rightward = IsNegative(fx);
    if (rightward && (!hasLower || x0 > lower)) {
        lower = x0;
        hasLower = 1;
    } else if (!rightward && (!hasUpper || x0 < upper)) {
        upper = x0;
        hasUpper = 1;
    }

    // Bracketing: Newton steps aimed at the value bound beyond the root, so
    // that the march overshoots it.
    int iteration = 0;
    for (; iteration < maxIterations && !(rightward ? hasUpper : hasLower); ++iteration) {
        TalvoFloat dfx = df.Call(x);
        if (IsZero(dfx))
            TalvoRaiseError(kv, failure);
        TalvoFloat xnew = x - fx / dfx;
        if (rightward ? xnew < x : xnew > x)
            TalvoRaiseError(kv, "specified function is not a nondecreasing function.");
        TalvoFloat fnew = f.Call(xnew);
        if (fnew == y)
            return xnew;
        if (rightward && fnew < y) {
            lower = xnew;
            fx = fnew - upperBound;
        } else if (!rightward && fnew > y) {
            upper = xnew;
            fx = fnew - lowerBound;
        } else if (rightward) {
            upper = xnew;
            hasUpper = 1;
        } else {
            lower = xnew;
            hasLower = 1;
        }
        x = xnew;
    }

    // Refinement inside [lower, upper], with f(lower) - y < 0 <= f(upper) - y.
    x = Half(lower + upper);
    TalvoFloat dxold = fabs(upper - lower);
    fx = f.Call(x) - y;
    return SafeRefinement(kv, y, f, df, {x, fx, lower, upper, dxold, dxold}, tol, iteration, maxIterations, failure,
                          Vanished::Unchanged);
}

// ---------------------------------------------------------------------------
// Host entries: y, f, f', the floats and flags of the inner function in its
// order, k (a float) and maxIterations.  Precision as for Brent's method.
// ---------------------------------------------------------------------------

STATS_ENTRY ALGEB STATS_TalvoNewtonRaphson_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 10);
    TalvoFloat y = f.real(1);
    STATS_TalvoProcAdapter_MP g(kv, f.procedure(2)), dg(kv, f.procedure(3));
    TalvoFloat x0 = f.real(4);
    T_BOOL hasLower = f.flag(5);
    TalvoFloat lower = f.real(6);
    T_BOOL hasUpper = f.flag(7);
    TalvoFloat upper = f.real(8), k = f.real(9);
    int32_t maxIterations = f.int32(10);
    stats::RaisedDigits precision(kv, k);
    return precision.Result(STATS_NewtonRaphson_MP(kv, y, g, dg, x0, hasLower, lower, hasUpper, upper,
                                                   precision.tolerance(), maxIterations));
}

STATS_ENTRY ALGEB STATS_TalvoNewtonRaphsonSafe_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 8);
    TalvoFloat y = f.real(1);
    STATS_TalvoProcAdapter_MP g(kv, f.procedure(2)), dg(kv, f.procedure(3));
    TalvoFloat x0 = f.real(4), lower = f.real(5), upper = f.real(6), k = f.real(7);
    int32_t maxIterations = f.int32(8);
    stats::RaisedDigits precision(kv, k);
    return precision.Result(
        STATS_NewtonRaphsonSafe_MP(kv, y, g, dg, x0, lower, upper, precision.tolerance(), maxIterations));
}

STATS_ENTRY ALGEB STATS_TalvoNewtonRaphsonHybrid_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 12);
    TalvoFloat y = f.real(1);
    STATS_TalvoProcAdapter_MP g(kv, f.procedure(2)), dg(kv, f.procedure(3));
    TalvoFloat x0 = f.real(4), lowerBound = f.real(5), upperBound = f.real(6);
    T_BOOL hasLower = f.flag(7);
    TalvoFloat lower = f.real(8);
    T_BOOL hasUpper = f.flag(9);
    TalvoFloat upper = f.real(10), k = f.real(11);
    int32_t maxIterations = f.int32(12);
    stats::RaisedDigits precision(kv, k);
    return precision.Result(STATS_NewtonRaphsonHybrid_MP(kv, y, g, dg, x0, lowerBound, upperBound, hasLower, lower,
                                                         hasUpper, upper, precision.tolerance(), maxIterations));
}
