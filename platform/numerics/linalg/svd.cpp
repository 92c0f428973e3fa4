// svd.cpp -- the singular value decomposition by one-sided Jacobi rotations.
//
// Hestenes' method: plane rotations applied to pairs of columns of A (and
// accumulated in V) until every pair is orthogonal to working precision;
// then the column norms are the singular values and the normalised columns
// the left singular vectors.  A pair (j, k) is rotated when
// |a_j . a_k| > tol ||a_j|| ||a_k|| with tol = 4 m 2^-prec (Demmel and
// Veselic 1992), with the rotation that annihilates the off-diagonal entry
// of the 2 x 2 Gram matrix (Rutishauser's formulas).  The method is accurate
// at any precision: the singular values come out with small relative error
// for a matrix whose columns are well conditioned after scaling.  A column
// whose norm falls below 4 m 2^-prec times the Frobenius norm is zero to
// working precision and takes no further part (its left singular vector is
// then not orthogonalised against the others).
//
// A tall matrix is reduced first: A P = Q R (pivoted QR), the rotations work
// on the n x n triangle R, and U = Q [U_R; 0], V = P V_R.
#include "../talvo_mp_linalg.h"
#include "few_limbs.hpp"
#include "temp.hpp"

#include <algorithm>
#include <vector>

namespace talvo::linalg {

namespace {

void swap_columns(Matrix &a, long j, long k)
{
    for (long i = 0; i < a.rows(); ++i)
        mpfr_swap(a(i, j), a(i, k));
}

// (x, y) := (c x - s y, s x + c y) over n numbers.
void rotate(mpfr_ptr x, mpfr_ptr y, mpfr_srcptr c, mpfr_srcptr s, long n, mpfr_ptr t1, mpfr_ptr t2)
{
    for (long i = 0; i < n; ++i) {
        talvo::floatn::mul_rn(t1, s, x + i);
        talvo::floatn::mul_rn(t2, s, y + i);
        talvo::floatn::mul_rn(x + i, x + i, c);
        talvo::floatn::sub_rn(x + i, x + i, t2);
        talvo::floatn::mul_rn(y + i, y + i, c);
        talvo::floatn::add_rn(y + i, y + i, t1);
    }
}

} // namespace

bool svd_jacobi(Matrix &a, Vector &s, Matrix &v, int max_sweeps)
{
    const long m = a.rows(), n = a.cols();
    const mpfr_prec_t prec = a.precision();
    v.set_identity();
    Temp alpha(prec), beta(prec), gamma(prec), zeta(prec), tt(prec), c(prec), sn(prec), t1(prec), t2(prec),
        bound(prec), tol(prec), negligible(prec);
    // tol = 4 m 2^-prec
    mpfr_set_ui_2exp(tol, 4 * static_cast<unsigned long>(std::max(m, 1L)), -prec, MPFR_RNDN);

    // Squared column norms, recomputed at the start of each sweep and
    // updated exactly as the rotations change them in between.
    Vector norms(n, prec);
    bool converged = n <= 1;
    for (int sweep = 0; sweep < max_sweeps && !converged; ++sweep) {
        // A column whose squared norm is below (4 m 2^-prec)^2 times the
        // squared Frobenius norm is zero to working precision: it is left
        // alone (rotating it against the others would only stir rounding
        // noise, and the sweeps might never end on a rank-deficient matrix).
        mpfr_set_zero(negligible, 1);
        for (long j = 0; j < n; ++j) {
            dot(norms[j], a.col(j), a.col(j), m, t1);
            talvo::floatn::add_rn(negligible, negligible, norms[j]);
        }
        talvo::floatn::mul_rn(negligible, negligible, tol);
        talvo::floatn::mul_rn(negligible, negligible, tol);
        bool rotated = false;
        for (long j = 0; j + 1 < n; ++j) {
            for (long k = j + 1; k < n; ++k) {
                if (mpfr_cmp(norms[j], negligible) <= 0 || mpfr_cmp(norms[k], negligible) <= 0)
                    continue;
                dot(gamma, a.col(j), a.col(k), m, t1);
                // |gamma| > tol sqrt(alpha beta)?
                talvo::floatn::mul_rn(bound, norms[j], norms[k]);
                mpfr_sqrt(bound, bound, MPFR_RNDN);
                talvo::floatn::mul_rn(bound, bound, tol);
                if (mpfr_cmpabs(gamma, bound) <= 0)
                    continue;
                rotated = true;
                // zeta = (beta - alpha) / (2 gamma); t = sign(zeta) / (|zeta| + sqrt(1 + zeta^2))
                mpfr_set(alpha, norms[j], MPFR_RNDN);
                mpfr_set(beta, norms[k], MPFR_RNDN);
                talvo::floatn::sub_rn(zeta, beta, alpha);
                mpfr_div(zeta, zeta, gamma, MPFR_RNDN);
                mpfr_div_2ui(zeta, zeta, 1, MPFR_RNDN);
                mpfr_sqr(t1, zeta, MPFR_RNDN);
                mpfr_add_ui(t1, t1, 1, MPFR_RNDN);
                mpfr_sqrt(t1, t1, MPFR_RNDN);
                mpfr_abs(t2, zeta, MPFR_RNDN);
                talvo::floatn::add_rn(t1, t1, t2);
                mpfr_ui_div(tt, 1, t1, MPFR_RNDN);
                if (mpfr_sgn(zeta) < 0)
                    mpfr_neg(tt, tt, MPFR_RNDN);
                // c = 1 / sqrt(1 + t^2), s = c t
                mpfr_sqr(t1, tt, MPFR_RNDN);
                mpfr_add_ui(t1, t1, 1, MPFR_RNDN);
                mpfr_rec_sqrt(c, t1, MPFR_RNDN);
                talvo::floatn::mul_rn(sn, c, tt);
                // The rotation (a_j, a_k) := (c a_j - s a_k, s a_j + c a_k) takes
                // alpha to alpha - t gamma and beta to beta + t gamma.
                rotate(a.col(j), a.col(k), c, sn, m, t1, t2);
                rotate(v.col(j), v.col(k), c, sn, n, t1, t2);
                talvo::floatn::mul_rn(t1, tt, gamma);
                talvo::floatn::sub_rn(norms[j], norms[j], t1);
                talvo::floatn::add_rn(norms[k], norms[k], t1);
                // An update that cancelled more than half the norm has lost
                // digits: take that norm afresh.
                mpfr_mul_2ui(t1, norms[j], 1, MPFR_RNDN);
                if (mpfr_cmp(t1, alpha) < 0)
                    dot(norms[j], a.col(j), a.col(j), m, t1);
                mpfr_mul_2ui(t1, norms[k], 1, MPFR_RNDN);
                if (mpfr_cmp(t1, beta) < 0)
                    dot(norms[k], a.col(k), a.col(k), m, t1);
            }
        }
        converged = !rotated;
    }

    // Singular values, the normalised columns, decreasing order.
    for (long j = 0; j < n; ++j) {
        dot(s[j], a.col(j), a.col(j), m, t1);
        mpfr_sqrt(s[j], s[j], MPFR_RNDN);
        if (mpfr_zero_p(s[j])) {
            for (long i = 0; i < m; ++i)
                mpfr_set_zero(a(i, j), 1);
        } else {
            mpfr_ui_div(t2, 1, s[j], MPFR_RNDN);
            for (long i = 0; i < m; ++i)
                talvo::floatn::mul_rn(a(i, j), a(i, j), t2);
        }
    }
    for (long j = 0; j + 1 < n; ++j) {
        long best = j;
        for (long k = j + 1; k < n; ++k)
            if (mpfr_cmp(s[k], s[best]) > 0)
                best = k;
        if (best != j) {
            mpfr_swap(s[j], s[best]);
            swap_columns(a, j, best);
            swap_columns(v, j, best);
        }
    }
    return converged;
}

bool svd(const Matrix &a, Matrix &u, Vector &s, Matrix &v, int max_sweeps)
{
    const long m = a.rows(), n = a.cols();
    const mpfr_prec_t prec = a.precision();
    if (m <= n) {
        for (long j = 0; j < n; ++j)
            for (long i = 0; i < m; ++i)
                mpfr_set(u(i, j), a(i, j), MPFR_RNDN);
        return svd_jacobi(u, s, v, max_sweeps);
    }
    Matrix qr(m, n, prec);
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < m; ++i)
            mpfr_set(qr(i, j), a(i, j), MPFR_RNDN);
    Vector tau(n, prec);
    std::vector<long> perm(n);
    qr_householder(qr, tau, perm.data());
    Matrix r(n, n, prec), vr(n, n, prec);
    for (long j = 0; j < n; ++j)
        for (long i = 0; i <= j; ++i)
            mpfr_set(r(i, j), qr(i, j), MPFR_RNDN);
    bool ok = svd_jacobi(r, s, vr, max_sweeps);
    // U = Q [U_R; 0]
    u.set_zero();
    for (long j = 0; j < n; ++j) {
        for (long i = 0; i < n; ++i)
            mpfr_set(u(i, j), r(i, j), MPFR_RNDN);
        qr_apply_q(qr, tau, u.col(j));
    }
    // V = P V_R: row j of V_R is row perm[j] of V.
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < n; ++i)
            mpfr_set(v(perm[i], j), vr(i, j), MPFR_RNDN);
    return ok;
}

} // namespace talvo::linalg
