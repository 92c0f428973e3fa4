// common.hpp -- what the minimisers share: tolerances derived from "Digits",
// small vector helpers on TalvoFloat, and the handling of user values.
#pragma once

#include "../talvo_mp_optimization.h"

#include <vector>

namespace talvo::opt {

using Vec = std::vector<TalvoFloat>;

// eps = 10^-D for the current "Digits" D, and its powers 10^(-D p).
TalvoFloat eps();
TalvoFloat eps_pow(double p);
// A tolerance argument: tol itself when it is at least eps, else the default.
TalvoFloat tol_or(const TalvoFloat &tol, const TalvoFloat &deflt);

inline TalvoFloat fmax(const TalvoFloat &a, const TalvoFloat &b) { return a < b ? b : a; }
inline TalvoFloat fmin(const TalvoFloat &a, const TalvoFloat &b) { return b < a ? b : a; }
inline bool is_nan(const TalvoFloat &x) { return IsTalvoFloatUndefined(x); }
inline bool is_finite(const TalvoFloat &x)
{
    return !IsTalvoFloatUndefined(x) && !IsTalvoFloatInfinity(x) && !IsTalvoFloatNegativeInfinity(x);
}

TalvoFloat dot(const TalvoFloat *a, const TalvoFloat *b, long n);
TalvoFloat norm2(const TalvoFloat *a, long n);
inline TalvoFloat dot(const Vec &a, const Vec &b) { return dot(a.data(), b.data(), long(a.size())); }
inline TalvoFloat norm2(const Vec &a) { return norm2(a.data(), long(a.size())); }

// A trial value for comparisons: +infinity stays (it compares above every
// number), -infinity and undefined are reported by the caller.
enum class Value { Finite, Infinite, Undefined };
Value classify(const TalvoFloat &f);

// The codes every routine shares (talvo_mp_optimization.h).
constexpr Integer kUserStop = -1;
constexpr Integer kUndefinedValue = 11;

} // namespace talvo::opt
