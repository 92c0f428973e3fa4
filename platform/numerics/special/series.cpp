// series.cpp -- summation of rational-parameter hypergeometric series.
#include "series.hpp"

#include <arb_hypgeom.h>

namespace talvo::mp {

void sum_terms(arb_ptr s, const fmpq *alpha, slong na, const fmpq *beta, slong nb, arb_srcptr z, slong n, slong wp)
{
    if (n <= 0) {
        arb_zero(s);
        return;
    }
    arb_hypgeom_sum_fmpq_arb(s, alpha, na, beta, nb, z, 0, n, wp);
}

double log_rising(double x, double k)
{
    if (k <= 0)
        return 0.0;
    if (k <= 16) {
        double s = 0;
        for (int j = 0; j < static_cast<int>(k); ++j)
            s += std::log(x + j);
        return s;
    }
    return std::lgamma(x + k) - std::lgamma(x);
}

// A call plans each rung from the same point and shapes several times over
// (the index range, the rung's series, its first term), so the last few
// conversions are kept per thread and handed back for an equal argument: the
// value is the one computed, so nothing downstream changes.
DoubleLog double_log(arb_srcptr x)
{
    struct Entry {
        Arb x;
        DoubleLog v{0, 0};
        bool used = false;
    };
    thread_local Entry last[4];
    thread_local unsigned next = 0;
    for (const Entry &e : last)
        if (e.used && arb_equal(e.x, x))
            return e.v;
    Arb t;
    arb_log(t, x, 64);
    double l = arf_get_d(arb_midref(t), ARF_RND_NEAR);
    double v = arf_get_d(arb_midref(x), ARF_RND_NEAR);
    if (!(v >= 1e-300))
        v = 1e-300;
    if (!(v <= 1e300))
        v = 1e300;
    Entry &e = last[next++ % 4];
    e.used = false;
    arb_set(e.x, x);
    e.v = DoubleLog{v, l};
    e.used = true;
    return e.v;
}

double fmpq_to_double(const fmpq *q)
{
    const fmpz num = *fmpq_numref(q), den = *fmpq_denref(q);
    const bool small = !COEFF_IS_MPZ(num) && !COEFF_IS_MPZ(den);
    struct Entry {
        fmpz num = 0, den = 0; // den = 0: unused (a rational's denominator is at least 1)
        double v = 0;
    };
    thread_local Entry last[8];
    thread_local unsigned next = 0;
    if (small)
        for (const Entry &e : last)
            if (e.den == den && e.num == num)
                return e.v;
    Arb t;
    arb_set_fmpq(t, q, 64);
    const double v = arf_get_d(arb_midref(t), ARF_RND_NEAR);
    if (small)
        last[next++ % 8] = Entry{num, den, v};
    return v;
}

void mag_of(mag_ptr m, arb_srcptr x) { arb_get_mag(m, x); }

} // namespace talvo::mp
