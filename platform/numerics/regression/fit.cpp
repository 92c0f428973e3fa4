// fit.cpp -- TalvoMP_g02daf_f: the multiple linear regression fit.
//
// Method (docs/regression.md, "The fit"): the weighted design A = W^1/2 X
// (with a column of ones first for a mean) is reduced by Householder QR,
// A = Q R, and c = Q^T W^1/2 y.  The singular values of R (one-sided Jacobi)
// give the rank: those above tol times the largest count.
//   - Full rank: b = R^-1 c_1, (X^T W X)^-1 = R^-1 R^-T, h_i = ||R^-T a_i||^2.
//   - Rank r < ip: with R = U S V^T, the minimum-norm solution b = V_r S_r^-1
//     U_r^T c_1, the pseudo-inverse V_r S_r^-2 V_r^T, h_i = ||S_r^-1 V_r^T a_i||^2.
// Residuals are y_i - x_i b from the data themselves, rss = sum w_i r_i^2,
// s^2 = rss / idf, cov = s^2 times the (pseudo-)inverse.
//
// Precision: a first pass works at the output precision plus 64 bits.  The
// errors of a least-squares solution grow with kappa^2 (kappa = s_1 / s_r,
// the condition number of R on its rank), so when 2 log2(kappa) exceeds the
// guard bits the whole fit is done again at the output precision plus 64
// plus 2 log2(kappa) bits (at most 3 times the output precision plus 2048
// bits more).  Everything is then rounded once to the output precision.
#include "../core/support.hpp"
#include "../linalg/temp.hpp"
#include "../talvo_mp_linalg.h"
#include "../talvo_mp_regression.h"
#include "few_limbs.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using talvo::linalg::Matrix;
using talvo::linalg::Temp;
using talvo::linalg::Vector;

char upper_letter(const char *s, Integer len)
{
    if (s == nullptr || len < 1)
        return '\0';
    char c = s[0];
    return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c;
}

// Everything the fit reads, as the routine received it.
struct Problem {
    bool mean;
    bool weighted;
    Integer n, ldx, ip;
    const TalvoFloat *x, *y, *wt;
    std::vector<Integer> columns; // the variables put in, in order
    TalvoFloat tol;
};

// The fit at one working precision.
class Fit {
public:
    Fit(const Problem &pr, mpfr_prec_t wp)
        : pr_(pr), wp_(wp), n_(pr.n), p_(pr.ip), a_(n_, p_, wp), tau_(p_, wp), c_(n_, wp), r_(p_, p_, wp),
          v_(p_, p_, wp), s_(p_, wp), b_(p_, wp), inv_(p_, p_, wp), h_(n_, wp), res_(n_, wp), rss_(wp),
          sqrtw_(n_, wp)
    {
    }

    // The weighted design, its QR, the singular values of R and the rank.
    void run()
    {
        Temp t(wp_);
        neff_ = 0;
        for (Integer i = 0; i < n_; ++i) {
            if (pr_.weighted) {
                mpfr_sqrt(sqrtw_[i], pr_.wt[i].mpfr(), MPFR_RNDN);
                if (!mpfr_zero_p(sqrtw_[i]))
                    ++neff_;
            } else {
                mpfr_set_ui(sqrtw_[i], 1, MPFR_RNDN);
                ++neff_;
            }
        }
        // The weighted design and response.
        for (Integer i = 0; i < n_; ++i) {
            Integer k = 0;
            if (pr_.mean)
                mpfr_set(a_(i, k++), sqrtw_[i], MPFR_RNDN);
            for (Integer j : pr_.columns) {
                mpfr_set(a_(i, k), pr_.x[i + j * pr_.ldx].mpfr(), MPFR_RNDN);
                if (pr_.weighted)
                    talvo::floatn::mul_rn(a_(i, k), a_(i, k), sqrtw_[i]);
                ++k;
            }
            mpfr_set(c_[i], pr_.y[i].mpfr(), MPFR_RNDN);
            if (pr_.weighted)
                talvo::floatn::mul_rn(c_[i], c_[i], sqrtw_[i]);
        }
        talvo::linalg::qr_householder(a_, tau_);
        talvo::linalg::qr_apply_qt(a_, tau_, c_.data());

        // Singular values of R: r_ holds U on exit.
        for (Integer j = 0; j < p_; ++j)
            for (Integer i = 0; i < p_; ++i) {
                if (i <= j)
                    mpfr_set(r_(i, j), a_(i, j), MPFR_RNDN);
                else
                    mpfr_set_zero(r_(i, j), 1);
            }
        converged_ = talvo::linalg::svd_jacobi(r_, s_, v_);
        rank_ = 0;
        talvo::floatn::mul_rn(t, s_[0], pr_.tol.mpfr());
        for (Integer k = 0; k < p_; ++k)
            if (mpfr_cmp(s_[k], t) > 0)
                ++rank_;
        // Observations of zero weight are zero rows: the rank cannot exceed
        // the number of the others (with tol = 0 rounding could suggest so).
        rank_ = std::min(rank_, neff_);
    }

    Integer rank() const { return rank_; }
    bool converged() const { return converged_; }
    Integer neff() const { return neff_; }

    // 2 log2(s_1 / s_r): the bits a least-squares solution loses.
    long condition_bits() const
    {
        if (rank_ == 0)
            return 0;
        long e1 = mpfr_get_exp(s_[0]), er = mpfr_get_exp(s_[rank_ - 1]);
        return std::max(0L, 2 * (e1 - er + 1));
    }

    // Estimates, (pseudo-)inverse, leverages, residuals, rss.
    void solve()
    {
        Temp t(wp_), w(wp_);
        Vector z(p_, wp_);
        if (rank_ == p_) {
            // b = R^-1 c_1
            for (Integer k = 0; k < p_; ++k)
                mpfr_set(b_[k], c_[k], MPFR_RNDN);
            talvo::linalg::solve_upper(a_, b_.data());
            // R^-1, then inv = R^-1 R^-T
            Matrix rinv(p_, p_, wp_);
            rinv.set_identity();
            for (Integer j = 0; j < p_; ++j)
                talvo::linalg::solve_upper(a_, rinv.col(j));
            for (Integer j = 0; j < p_; ++j)
                for (Integer i = 0; i <= j; ++i) {
                    // sum_k rinv(i,k) rinv(j,k), k >= j
                    mpfr_set_zero(w, 1);
                    for (Integer k = j; k < p_; ++k) {
                        talvo::floatn::mul_rn(t, rinv(i, k), rinv(j, k));
                        talvo::floatn::add_rn(w, w, t);
                    }
                    mpfr_set(inv_(i, j), w, MPFR_RNDN);
                    mpfr_set(inv_(j, i), w, MPFR_RNDN);
                }
            // h_i = ||R^-T a_i||^2, a_i the weighted row
            for (Integer i = 0; i < n_; ++i) {
                design_row(i, z);
                talvo::linalg::solve_upper_transposed(a_, z.data());
                talvo::linalg::dot(h_[i], z.data(), z.data(), p_, t);
            }
        } else {
            // b = sum_{k < r} (u_k . c_1 / s_k) v_k
            for (Integer k = 0; k < p_; ++k)
                mpfr_set_zero(b_[k], 1);
            for (Integer k = 0; k < rank_; ++k) {
                talvo::linalg::dot(w, r_.col(k), c_.data(), p_, t);
                mpfr_div(w, w, s_[k], MPFR_RNDN);
                talvo::linalg::axpy(b_.data(), w, v_.col(k), p_, t);
            }
            // inv = V_r S_r^-2 V_r^T
            for (Integer j = 0; j < p_; ++j)
                for (Integer i = 0; i <= j; ++i) {
                    mpfr_set_zero(w, 1);
                    for (Integer k = 0; k < rank_; ++k) {
                        talvo::floatn::mul_rn(t, v_(i, k), v_(j, k));
                        mpfr_div(t, t, s_[k], MPFR_RNDN);
                        mpfr_div(t, t, s_[k], MPFR_RNDN);
                        talvo::floatn::add_rn(w, w, t);
                    }
                    mpfr_set(inv_(i, j), w, MPFR_RNDN);
                    mpfr_set(inv_(j, i), w, MPFR_RNDN);
                }
            // h_i = sum_{k < r} (v_k . a_i / s_k)^2
            for (Integer i = 0; i < n_; ++i) {
                design_row(i, z);
                mpfr_set_zero(h_[i], 1);
                for (Integer k = 0; k < rank_; ++k) {
                    talvo::linalg::dot(w, v_.col(k), z.data(), p_, t);
                    mpfr_div(w, w, s_[k], MPFR_RNDN);
                    mpfr_sqr(w, w, MPFR_RNDN);
                    talvo::floatn::add_rn(h_[i], h_[i], w);
                }
            }
        }
        residuals();
    }

    // With rank 0: b = 0, residuals y, rss = sum w y^2, leverages 0.
    void solve_zero_rank()
    {
        for (Integer k = 0; k < p_; ++k)
            mpfr_set_zero(b_[k], 1);
        inv_.set_zero();
        for (Integer i = 0; i < n_; ++i)
            mpfr_set_zero(h_[i], 1);
        residuals();
    }

    // Writes every output at the output precision; se and cov only when
    // with_errors (idf > 0).
    void store(TalvoFloat *rss, Integer *idf, TalvoFloat b[], TalvoFloat se[], TalvoFloat cov[], TalvoFloat res[],
               TalvoFloat h[], TalvoFloat q[], Integer ldq, Integer *svd, Integer *irank, TalvoFloat p[],
               Integer df) const
    {
        Temp s2(wp_), t(wp_);
        *rss = out(rss_);
        *idf = df;
        *svd = rank_ < p_ ? 1 : 0;
        *irank = rank_;
        if (df > 0)
            mpfr_div_si(s2, rss_, df, MPFR_RNDN);
        else
            mpfr_set_zero(s2, 1);
        for (Integer j = 0; j < p_; ++j) {
            b[j] = out(b_[j]);
            talvo::floatn::mul_rn(t, inv_(j, j), s2);
            mpfr_sqrt(t, t, MPFR_RNDN);
            se[j] = out(t);
            for (Integer i = 0; i <= j; ++i) {
                talvo::floatn::mul_rn(t, inv_(i, j), s2);
                cov[j * (j + 1) / 2 + i] = out(t);
            }
        }
        for (Integer i = 0; i < n_; ++i) {
            res[i] = out(res_[i]);
            h[i] = out(h_[i]);
        }
        for (Integer j = 0; j < p_; ++j)
            for (Integer i = 0; i < n_; ++i)
                q[i + j * ldq] = out(a_(i, j));
        for (Integer i = 0; i < n_; ++i)
            q[i + p_ * ldq] = out(c_[i]);
        for (Integer k = 0; k < p_; ++k) {
            p[k] = out(tau_[k]);
            p[p_ + k] = out(s_[k]);
        }
        for (Integer j = 0; j < p_; ++j)
            for (Integer i = 0; i < p_; ++i)
                p[2 * p_ + i + j * p_] = out(v_(i, j));
    }

private:
    static TalvoFloat out(mpfr_srcptr v) { return TalvoFloat::from_handle(talvo_float_from_mpfr(v, 0)); }

    // Row i of the weighted design, into z.
    void design_row(Integer i, Vector &z) const
    {
        Integer k = 0;
        if (pr_.mean)
            mpfr_set(z[k++], sqrtw_[i], MPFR_RNDN);
        for (Integer j : pr_.columns) {
            mpfr_set(z[k], pr_.x[i + j * pr_.ldx].mpfr(), MPFR_RNDN);
            if (pr_.weighted)
                talvo::floatn::mul_rn(z[k], z[k], sqrtw_[i]);
            ++k;
        }
    }

    // r_i = y_i - x_i b from the data; rss = sum w_i r_i^2.
    void residuals()
    {
        Temp t(wp_);
        mpfr_set_zero(rss_, 1);
        for (Integer i = 0; i < n_; ++i) {
            mpfr_set(res_[i], pr_.y[i].mpfr(), MPFR_RNDN);
            Integer k = 0;
            if (pr_.mean)
                talvo::floatn::sub_rn(res_[i], res_[i], b_[k++]);
            for (Integer j : pr_.columns) {
                talvo::floatn::mul_rn(t, pr_.x[i + j * pr_.ldx].mpfr(), b_[k++]);
                talvo::floatn::sub_rn(res_[i], res_[i], t);
            }
            mpfr_sqr(t, res_[i], MPFR_RNDN);
            if (pr_.weighted)
                talvo::floatn::mul_rn(t, t, pr_.wt[i].mpfr());
            talvo::floatn::add_rn(rss_, rss_, t);
        }
    }

    const Problem &pr_;
    mpfr_prec_t wp_;
    Integer n_, p_;
    Matrix a_;      // the design, then its QR
    Vector tau_;    // reflector scalars
    Vector c_;      // Q^T W^1/2 y
    Matrix r_;      // R, then the left singular vectors of R
    Matrix v_;      // right singular vectors of R
    Vector s_;      // singular values of R
    Vector b_;      // estimates
    Matrix inv_;    // (X^T W X)^-1 or its pseudo-inverse
    Vector h_;      // leverages
    Vector res_;    // residuals
    Temp rss_;
    Vector sqrtw_;  // square roots of the weights
    Integer rank_ = 0, neff_ = 0;
    bool converged_ = true;
};

// The failure indicator on exit, and its message when the caller asked for one.
void finish(Integer *ifail, Integer code, const std::string &message)
{
    const Integer entry = *ifail;
    *ifail = code;
    if (code != 0 && entry != 1)
        std::fprintf(stderr, "TalvoMP_g02daf_f: IFAIL = %ld: %s\n", long(code), message.c_str());
}

} // namespace

void TalvoMP_g02daf_f(const char *mean, const char *weight, Integer n, const TalvoFloat x[], Integer ldx, Integer m,
                      const Integer isx[], Integer ip, const TalvoFloat y[], const TalvoFloat wt[], TalvoFloat *rss,
                      Integer *idf, TalvoFloat b[], TalvoFloat se[], TalvoFloat cov[], TalvoFloat res[],
                      TalvoFloat h[], TalvoFloat q[], Integer ldq, Integer *svd, Integer *irank, TalvoFloat p[],
                      TalvoFloat tol, TalvoFloat wk[], Integer *ifail, Integer mean_len, Integer weight_len)
{
    (void)wk;
    const char mc = upper_letter(mean, mean_len), wc = upper_letter(weight, weight_len);
    auto arg = [](const char *name, long v) { return std::string(name) + " = " + std::to_string(v); };

    // Argument checks, in the order of the argument list.
    std::string bad;
    if (mc != 'M' && mc != 'Z')
        bad = "MEAN must be 'M' or 'Z'.";
    else if (wc != 'U' && wc != 'W')
        bad = "WEIGHT must be 'U' or 'W'.";
    else if (n < 2)
        bad = "on entry, " + arg("N", n) + "; N must be at least 2.";
    else if (ldx < n)
        bad = "on entry, " + arg("LDX", ldx) + " and " + arg("N", n) + "; LDX must be at least N.";
    else if (m < 1)
        bad = "on entry, " + arg("M", m) + "; M must be at least 1.";
    else if (ip < 1)
        bad = "on entry, " + arg("IP", ip) + "; IP must be at least 1.";
    else if (ip > n)
        bad = "on entry, " + arg("IP", ip) + " and " + arg("N", n) + "; IP must not exceed N.";
    else if (ldq < n)
        bad = "on entry, " + arg("LDQ", ldq) + " and " + arg("N", n) + "; LDQ must be at least N.";
    else if (!mpfr_number_p(tol.mpfr()) || mpfr_sgn(tol.mpfr()) < 0)
        bad = "on entry, TOL = " + talvo::mp::float_text(tol) + "; TOL must be at least 0.";
    if (!bad.empty())
        return finish(ifail, 1, bad);

    Problem pr{mc == 'M', wc == 'W', n, ldx, ip, x, y, wt, {}, tol};
    if (pr.weighted) {
        for (Integer i = 0; i < n; ++i) {
            mpfr_srcptr w = wt[i].mpfr();
            if (mpfr_nan_p(w) || mpfr_sgn(w) < 0)
                return finish(ifail, 2,
                              "on entry, WT(" + std::to_string(i + 1) + ") = " + talvo::mp::float_text(wt[i]) +
                                  "; the weights must be at least 0.");
        }
    }
    for (Integer j = 0; j < m; ++j) {
        if (isx[j] < 0)
            return finish(ifail, 3,
                          "on entry, ISX(" + std::to_string(j + 1) + ") = " + std::to_string(isx[j]) +
                              "; ISX must hold 0 or positive values.");
        if (isx[j] > 0)
            pr.columns.push_back(j);
    }
    const Integer expected = Integer(pr.columns.size()) + (pr.mean ? 1 : 0);
    if (expected != ip)
        return finish(ifail, 3,
                      "on entry, " + arg("IP", ip) + ", but ISX puts in " + std::to_string(pr.columns.size()) +
                          " variables" + (pr.mean ? " and the mean" : "") + ", so IP must be " +
                          std::to_string(expected) + ".");

    // First pass; again at a higher precision when the design is ill conditioned.
    const mpfr_prec_t out_prec = talvo_float_precision();
    const long guard = 64;
    mpfr_prec_t wp = out_prec + guard;
    std::unique_ptr<Fit> fit = std::make_unique<Fit>(pr, wp);
    fit->run();
    long extra = std::min<long>(fit->condition_bits(), 3L * out_prec + 2048);
    if (extra > guard / 2) {
        wp = out_prec + guard + extra;
        fit = std::make_unique<Fit>(pr, wp);
        fit->run();
    }

    const Integer rank = fit->rank();
    const Integer df = fit->neff() - rank;
    if (rank == 0) {
        fit->solve_zero_rank();
        fit->store(rss, idf, b, se, cov, res, h, q, ldq, svd, irank, p, 0);
        *idf = fit->neff();
        return finish(ifail, 5, "the rank of the design is 0: every singular value is at most TOL times the "
                                "largest (the design is zero, or TOL is at least 1).");
    }
    fit->solve();
    fit->store(rss, idf, b, se, cov, res, h, q, ldq, svd, irank, p, df);
    if (!fit->converged())
        return finish(ifail, 4, "the singular value decomposition did not converge.");
    if (df == 0)
        return finish(ifail, 6, "the residual degrees of freedom are 0: the fit is exact and the standard "
                                "errors cannot be estimated (they are set to 0).");
    finish(ifail, 0, "");
}
