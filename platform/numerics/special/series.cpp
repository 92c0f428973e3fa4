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

DoubleLog double_log(arb_srcptr x)
{
    Arb t;
    arb_log(t, x, 64);
    double l = arf_get_d(arb_midref(t), ARF_RND_NEAR);
    double v = arf_get_d(arb_midref(x), ARF_RND_NEAR);
    if (!(v >= 1e-300))
        v = 1e-300;
    if (!(v <= 1e300))
        v = 1e300;
    return DoubleLog{v, l};
}

double fmpq_to_double(const fmpq *q)
{
    Arb t;
    arb_set_fmpq(t, q, 64);
    return arf_get_d(arb_midref(t), ARF_RND_NEAR);
}

void mag_of(mag_ptr m, arb_srcptr x) { arb_get_mag(m, x); }

} // namespace talvo::mp
