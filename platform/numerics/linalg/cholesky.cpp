// cholesky.cpp -- Cholesky and modified Cholesky factorisations.
//
// cholesky: the column-by-column (left-looking) form, L(j,j) = sqrt(a_jj -
// sum_k L(j,k)^2), L(i,j) = (a_ij - sum_k L(i,k) L(j,k)) / L(j,j).
//
// modified_cholesky: Gill, Murray and Wright, Practical Optimization (1981),
// sec. 4.4.2.2, without the diagonal pivoting.  With gamma the largest
// |a_ii|, xi the largest off-diagonal |a_ij|, nu = max(1, sqrt(n^2 - 1)) and
// eps = 2^(1 - prec):
//     beta^2 = max(gamma, xi / nu, eps),   delta = eps max(gamma + xi, 1);
// column j forms c_jj = a_jj - sum_s d_s L(j,s)^2 and c_ij = a_ij - sum_s
// d_s L(i,s) L(j,s) (i > j), theta_j = max_i |c_ij|, and takes
//     d_j = max(delta, |c_jj|, theta_j^2 / beta^2),  e_j = d_j - c_jj,
//     L(i,j) = c_ij / d_j.
// The bound beta keeps every |L(i,j)| sqrt(d_j) <= beta, so the factors stay
// bounded whatever the inertia of a; e = 0 when a is safely positive definite.
#include "../talvo_mp_linalg.h"
#include "few_limbs.hpp"
#include "temp.hpp"

#include <cmath>

namespace talvo::linalg {

long cholesky(Matrix &a)
{
    const long n = a.cols();
    Temp t(a.precision()), acc(a.precision());
    for (long j = 0; j < n; ++j) {
        mpfr_set(acc, a(j, j), MPFR_RNDN);
        for (long k = 0; k < j; ++k) {
            mpfr_sqr(t, a(j, k), MPFR_RNDN);
            talvo::floatn::sub_rn(acc, acc, t);
        }
        if (!(mpfr_sgn(acc) > 0)) // also for NaN
            return j + 1;
        mpfr_sqrt(a(j, j), acc, MPFR_RNDN);
        for (long i = j + 1; i < n; ++i) {
            mpfr_set(acc, a(i, j), MPFR_RNDN);
            for (long k = 0; k < j; ++k) {
                talvo::floatn::mul_rn(t, a(i, k), a(j, k));
                talvo::floatn::sub_rn(acc, acc, t);
            }
            mpfr_div(a(i, j), acc, a(j, j), MPFR_RNDN);
        }
    }
    return 0;
}

void modified_cholesky(Matrix &a, Vector &d, Vector &e)
{
    const long n = a.cols();
    const mpfr_prec_t prec = a.precision();
    Temp gamma(prec), xi(prec), beta2(prec), delta(prec), eps(prec), t(prec), u(prec), theta(prec), acc(prec);

    mpfr_set_zero(gamma, 1);
    mpfr_set_zero(xi, 1);
    for (long j = 0; j < n; ++j) {
        if (mpfr_cmpabs(a(j, j), gamma) > 0)
            mpfr_abs(gamma, a(j, j), MPFR_RNDN);
        for (long i = j + 1; i < n; ++i)
            if (mpfr_cmpabs(a(i, j), xi) > 0)
                mpfr_abs(xi, a(i, j), MPFR_RNDN);
    }
    mpfr_set_ui_2exp(eps, 1, 1 - prec, MPFR_RNDN);
    // beta^2 = max(gamma, xi / nu, eps)
    double nu = n > 1 ? std::sqrt(double(n) * double(n) - 1.0) : 1.0;
    mpfr_div_d(t, xi, nu < 1 ? 1.0 : nu, MPFR_RNDN);
    mpfr_max(beta2, gamma, t, MPFR_RNDN);
    mpfr_max(beta2, beta2, eps, MPFR_RNDN);
    // delta = eps max(gamma + xi, 1)
    talvo::floatn::add_rn(t, gamma, xi);
    if (mpfr_cmp_ui(t, 1) < 0)
        mpfr_set_ui(t, 1, MPFR_RNDN);
    talvo::floatn::mul_rn(delta, eps, t);

    for (long j = 0; j < n; ++j) {
        // c_jj = a_jj - sum_s d_s L(j,s)^2
        mpfr_set(acc, a(j, j), MPFR_RNDN);
        for (long s = 0; s < j; ++s) {
            mpfr_sqr(t, a(j, s), MPFR_RNDN);
            talvo::floatn::mul_rn(t, t, d[s]);
            talvo::floatn::sub_rn(acc, acc, t);
        }
        // c_ij = a_ij - sum_s d_s L(i,s) L(j,s), kept in a(i,j) for now
        mpfr_set_zero(theta, 1);
        for (long i = j + 1; i < n; ++i) {
            for (long s = 0; s < j; ++s) {
                talvo::floatn::mul_rn(t, a(i, s), a(j, s));
                talvo::floatn::mul_rn(t, t, d[s]);
                talvo::floatn::sub_rn(a(i, j), a(i, j), t);
            }
            if (mpfr_cmpabs(a(i, j), theta) > 0)
                mpfr_abs(theta, a(i, j), MPFR_RNDN);
        }
        // d_j = max(delta, |c_jj|, theta^2 / beta^2)
        mpfr_sqr(u, theta, MPFR_RNDN);
        mpfr_div(u, u, beta2, MPFR_RNDN);
        mpfr_abs(t, acc, MPFR_RNDN);
        mpfr_max(d[j], t, u, MPFR_RNDN);
        mpfr_max(d[j], d[j], delta, MPFR_RNDN);
        talvo::floatn::sub_rn(e[j], d[j], acc);
        for (long i = j + 1; i < n; ++i)
            mpfr_div(a(i, j), a(i, j), d[j], MPFR_RNDN);
        mpfr_set(a(j, j), d[j], MPFR_RNDN);
    }
}

} // namespace talvo::linalg
