// double_double.hpp -- double-word ("double-double") arithmetic: a value
// hi + lo held as two doubles with |lo| <= ulp(hi) / 2, about 106 bits.
//
// The algorithms and their proven relative error bounds (u = 2^-53, each
// bound relative to the exact result of the operation on the exact inputs)
// are those of Joldes, Muller and Popescu, "Tight and rigorous error bounds
// for basic building blocks of double-word arithmetic", ACM TOMS 44 (2017):
//   add    (their Algorithm 6, "AccurateDWPlusDW")   3 u^2 / (1 - 4u)
//   mul    (Algorithm 12, "DWTimesDW3", with FMA)     5 u^2
//   mul_d  (Algorithm 9, "DWTimesFP3", with FMA)      2 u^2
// Callers add up these bounds to bound a whole evaluation.  Every operation
// needs round-to-nearest doubles and a fused multiply-add, and results that
// stay in the normal range (no overflow, no subnormal low word).
#pragma once

#include <cmath>

namespace talvo::mp::dd {

struct DD {
    double hi, lo;
};

// s + e = a + b exactly (Knuth's TwoSum).
inline DD two_sum(double a, double b)
{
    double s = a + b;
    double bb = s - a;
    double e = (a - (s - bb)) + (b - bb);
    return {s, e};
}

// s + e = a + b exactly, for |a| >= |b| or a = 0 (Dekker's Fast2Sum).
inline DD fast_two_sum(double a, double b)
{
    double s = a + b;
    double e = b - (s - a);
    return {s, e};
}

// p + e = a b exactly.
inline DD two_prod(double a, double b)
{
    double p = a * b;
    double e = std::fma(a, b, -p);
    return {p, e};
}

inline DD add(DD x, DD y)
{
    DD s = two_sum(x.hi, y.hi);
    DD t = two_sum(x.lo, y.lo);
    s.lo += t.hi;
    s = fast_two_sum(s.hi, s.lo);
    s.lo += t.lo;
    return fast_two_sum(s.hi, s.lo);
}

inline DD neg(DD x) { return {-x.hi, -x.lo}; }

inline DD mul(DD x, DD y)
{
    DD c = two_prod(x.hi, y.hi);
    double t = x.lo * y.lo;
    t = std::fma(x.hi, y.lo, t);
    t = std::fma(x.lo, y.hi, t);
    c.lo += t;
    return fast_two_sum(c.hi, c.lo);
}

inline DD mul_d(DD x, double y)
{
    DD c = two_prod(x.hi, y);
    c.lo = std::fma(x.lo, y, c.lo);
    return fast_two_sum(c.hi, c.lo);
}

// x 2^k, exact while both words stay normal.
inline DD ldexp(DD x, int k) { return {std::ldexp(x.hi, k), std::ldexp(x.lo, k)}; }

} // namespace talvo::mp::dd
