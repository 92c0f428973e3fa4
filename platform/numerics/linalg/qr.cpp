// qr.cpp -- Householder QR, with or without column pivoting.
//
// Each step k makes the reflector H_k = I - tau v v^T (v(k) = 1) that maps
// column k, rows k..m-1, onto beta e_k with beta = -sign(a_kk) ||x||, as
// LAPACK's dgeqr2/dlarfg do, and applies it to the columns on the right:
// w = v^T a_j, a_j -= tau w v.  With pivoting the column of largest remaining
// norm is brought forward first (Businger and Golub 1965); the norms are
// downdated after each step and recomputed when the downdate has cancelled
// more than half the digits (the safeguard of LAPACK's dlaqp2).
#include "../talvo_mp_linalg.h"
#include "few_limbs.hpp"
#include "temp.hpp"

#include <algorithm>
#include <utility>

namespace talvo::linalg {

namespace {

void swap_columns(Matrix &a, long j, long k)
{
    for (long i = 0; i < a.rows(); ++i)
        mpfr_swap(a(i, j), a(i, k));
}

// ||x|| over n numbers into r.
void norm2(mpfr_ptr r, mpfr_srcptr x, long n, mpfr_ptr t)
{
    dot(r, x, x, n, t);
    mpfr_sqrt(r, r, MPFR_RNDN);
}

} // namespace

void qr_householder(Matrix &a, Vector &tau, long *perm)
{
    const long m = a.rows(), n = a.cols(), kmax = std::min(m, n);
    const mpfr_prec_t prec = a.precision();
    Temp xnorm(prec), alpha(prec), beta(prec), scale(prec), w(prec), t(prec), ratio(prec);

    // Column norms for pivoting: current and at their last recomputation.
    Vector norms, norms_ref;
    if (perm != nullptr) {
        norms = Vector(n, prec);
        norms_ref = Vector(n, prec);
        for (long j = 0; j < n; ++j) {
            perm[j] = j;
            norm2(norms[j], a.col(j), m, t);
            mpfr_set(norms_ref[j], norms[j], MPFR_RNDN);
        }
    }
    // Recompute a norm once the downdate has lost half the precision.
    Temp threshold(64);
    mpfr_set_ui_2exp(threshold, 1, -(prec / 2), MPFR_RNDN);

    for (long k = 0; k < kmax; ++k) {
        if (perm != nullptr) {
            long p = k;
            for (long j = k + 1; j < n; ++j)
                if (mpfr_cmp(norms[j], norms[p]) > 0)
                    p = j;
            if (p != k) {
                swap_columns(a, k, p);
                std::swap(perm[k], perm[p]);
                mpfr_swap(norms[k], norms[p]);
                mpfr_swap(norms_ref[k], norms_ref[p]);
            }
        }

        // The reflector of column k, rows k..m-1.
        mpfr_ptr x = a.col(k) + k;
        const long len = m - k;
        dot(xnorm, x + 1, x + 1, len - 1, t);
        if (mpfr_zero_p(xnorm)) {
            mpfr_set_zero(tau[k], 1);
        } else {
            mpfr_set(alpha, x, MPFR_RNDN);
            mpfr_sqr(t, alpha, MPFR_RNDN);
            talvo::floatn::add_rn(beta, t, xnorm);
            mpfr_sqrt(beta, beta, MPFR_RNDN);
            if (mpfr_sgn(alpha) >= 0)
                mpfr_neg(beta, beta, MPFR_RNDN);
            talvo::floatn::sub_rn(t, beta, alpha);
            mpfr_div(tau[k], t, beta, MPFR_RNDN);
            talvo::floatn::sub_rn(scale, alpha, beta);
            mpfr_ui_div(scale, 1, scale, MPFR_RNDN);
            for (long i = 1; i < len; ++i)
                talvo::floatn::mul_rn(x + i, x + i, scale);
            mpfr_set(x, beta, MPFR_RNDN);
        }

        // Apply it to the columns on the right: a_j -= tau (v^T a_j) v.
        if (!mpfr_zero_p(tau[k])) {
            for (long j = k + 1; j < n; ++j) {
                mpfr_ptr y = a.col(j) + k;
                dot(w, x + 1, y + 1, len - 1, t);
                talvo::floatn::add_rn(w, w, y);
                talvo::floatn::mul_rn(w, w, tau[k]);
                mpfr_neg(w, w, MPFR_RNDN);
                talvo::floatn::add_rn(y, y, w);
                axpy(y + 1, w, x + 1, len - 1, t);
            }
        }

        if (perm != nullptr) {
            for (long j = k + 1; j < n; ++j) {
                if (mpfr_zero_p(norms[j]))
                    continue;
                // norm_j^2 -= a_kj^2, as a factor sqrt(1 - (a_kj/norm_j)^2).
                mpfr_div(ratio, a(k, j), norms[j], MPFR_RNDN);
                mpfr_sqr(ratio, ratio, MPFR_RNDN);
                mpfr_ui_sub(ratio, 1, ratio, MPFR_RNDN);
                if (mpfr_sgn(ratio) < 0)
                    mpfr_set_zero(ratio, 1);
                mpfr_div(t, norms[j], norms_ref[j], MPFR_RNDN);
                mpfr_sqr(t, t, MPFR_RNDN);
                talvo::floatn::mul_rn(t, t, ratio);
                if (mpfr_cmp(t, threshold) <= 0) {
                    norm2(norms[j], a.col(j) + k + 1, m - k - 1, t);
                    mpfr_set(norms_ref[j], norms[j], MPFR_RNDN);
                } else {
                    mpfr_sqrt(ratio, ratio, MPFR_RNDN);
                    talvo::floatn::mul_rn(norms[j], norms[j], ratio);
                }
            }
        }
    }
}

void qr_apply_qt(const Matrix &qr, const Vector &tau, mpfr_ptr y)
{
    const long m = qr.rows(), kmax = std::min(m, qr.cols());
    Temp w(qr.precision()), t(qr.precision());
    for (long k = 0; k < kmax; ++k) {
        if (mpfr_zero_p(tau[k]))
            continue;
        mpfr_srcptr v = qr.col(k) + k;
        dot(w, v + 1, y + k + 1, m - k - 1, t);
        talvo::floatn::add_rn(w, w, y + k);
        talvo::floatn::mul_rn(w, w, tau[k]);
        mpfr_neg(w, w, MPFR_RNDN);
        talvo::floatn::add_rn(y + k, y + k, w);
        axpy(y + k + 1, w, v + 1, m - k - 1, t);
    }
}

void qr_apply_q(const Matrix &qr, const Vector &tau, mpfr_ptr y)
{
    const long m = qr.rows(), kmax = std::min(m, qr.cols());
    Temp w(qr.precision()), t(qr.precision());
    for (long k = kmax - 1; k >= 0; --k) {
        if (mpfr_zero_p(tau[k]))
            continue;
        mpfr_srcptr v = qr.col(k) + k;
        dot(w, v + 1, y + k + 1, m - k - 1, t);
        talvo::floatn::add_rn(w, w, y + k);
        talvo::floatn::mul_rn(w, w, tau[k]);
        mpfr_neg(w, w, MPFR_RNDN);
        talvo::floatn::add_rn(y + k, y + k, w);
        axpy(y + k + 1, w, v + 1, m - k - 1, t);
    }
}

void qr_form_q(const Matrix &qr, const Vector &tau, Matrix &q)
{
    q.set_identity();
    for (long j = 0; j < q.cols(); ++j)
        qr_apply_q(qr, tau, q.col(j));
}

} // namespace talvo::linalg
