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
#include <cstdint>
#include <cstring>

// A function whose double-double work is its cost: compiled twice, once for
// processors with fused multiply-add instructions and once without, the
// loader picking one (std::fma is otherwise a library call per use).
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define TALVO_FMA_CLONES __attribute__((target_clones("fma", "default")))
#else
#define TALVO_FMA_CLONES
#endif
// The operations are inlined into such a function whatever their size.
#define TALVO_DD_INLINE inline __attribute__((always_inline))

namespace talvo::mp::dd {

struct DD {
    double hi, lo;
};

// s + e = a + b exactly (Knuth's TwoSum).
TALVO_DD_INLINE DD two_sum(double a, double b)
{
    double s = a + b;
    double bb = s - a;
    double e = (a - (s - bb)) + (b - bb);
    return {s, e};
}

// s + e = a + b exactly, for |a| >= |b| or a = 0 (Dekker's Fast2Sum).
TALVO_DD_INLINE DD fast_two_sum(double a, double b)
{
    double s = a + b;
    double e = b - (s - a);
    return {s, e};
}

// p + e = a b exactly.
TALVO_DD_INLINE DD two_prod(double a, double b)
{
    double p = a * b;
    double e = std::fma(a, b, -p);
    return {p, e};
}

TALVO_DD_INLINE DD add(DD x, DD y)
{
    DD s = two_sum(x.hi, y.hi);
    DD t = two_sum(x.lo, y.lo);
    s.lo += t.hi;
    s = fast_two_sum(s.hi, s.lo);
    s.lo += t.lo;
    return fast_two_sum(s.hi, s.lo);
}

TALVO_DD_INLINE DD neg(DD x) { return {-x.hi, -x.lo}; }

TALVO_DD_INLINE DD mul(DD x, DD y)
{
    DD c = two_prod(x.hi, y.hi);
    double t = x.lo * y.lo;
    t = std::fma(x.hi, y.lo, t);
    t = std::fma(x.lo, y.hi, t);
    c.lo += t;
    return fast_two_sum(c.hi, c.lo);
}

TALVO_DD_INLINE DD mul_d(DD x, double y)
{
    DD c = two_prod(x.hi, y);
    c.lo = std::fma(x.lo, y, c.lo);
    return fast_two_sum(c.hi, c.lo);
}

// 2^k as a double, for -1022 <= k <= 1023.
TALVO_DD_INLINE double power_of_two(int k)
{
    const uint64_t bits = static_cast<uint64_t>(k + 1023) << 52;
    double r;
    std::memcpy(&r, &bits, sizeof r);
    return r;
}

// x 2^k, exact while both words stay normal (|k| <= 1022).
TALVO_DD_INLINE DD ldexp(DD x, int k)
{
    const double p = power_of_two(k);
    return {x.hi * p, x.lo * p};
}

} // namespace talvo::mp::dd
