// common.cpp -- tolerances and vector helpers of the minimisers.
#include "common.hpp"

#include <cmath>

namespace talvo::opt {

TalvoFloat eps() { return eps_pow(1.0); }

TalvoFloat eps_pow(double p)
{
    // 10^(-D p), computed at the working precision (not in double, whose
    // range ends near 10^-308 while D goes to 1000).
    return pow(TalvoFloat(10.0), TalvoFloat(-double(talvo_float_digits()) * p));
}

TalvoFloat tol_or(const TalvoFloat &tol, const TalvoFloat &deflt)
{
    if (is_nan(tol) || tol < eps())
        return deflt;
    return tol;
}

TalvoFloat dot(const TalvoFloat *a, const TalvoFloat *b, long n)
{
    TalvoFloat s(0.0);
    for (long i = 0; i < n; ++i)
        s += a[i] * b[i];
    return s;
}

TalvoFloat norm2(const TalvoFloat *a, long n) { return sqrt(dot(a, a, n)); }

Value classify(const TalvoFloat &f)
{
    if (IsTalvoFloatUndefined(f) || IsTalvoFloatNegativeInfinity(f))
        return Value::Undefined;
    if (IsTalvoFloatInfinity(f))
        return Value::Infinite;
    return Value::Finite;
}

} // namespace talvo::opt
