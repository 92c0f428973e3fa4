// active_set.cpp -- the dense active-set engine (active_set.hpp).
//
// One loop serves both phases.  At the start of each iteration the
// constraints outside the working set that are violated by more than the
// feasibility tolerance decide the phase: while there are any, the
// objective is their sum of infeasibilities (phase 1, piecewise linear);
// once there are none, the problem's own objective (phase 2).  Each phase
// starts from a vertex: the free variables are temporarily fixed (istate 4)
// so that the working set has n rows, the null space Z is empty and the
// reduced Hessian trivially positive definite.  A constraint with a
// multiplier of the wrong sign (a temporary bound with any nonzero
// multiplier) is then deleted; the new column of Z either makes the reduced
// Hessian bigger and still positive definite (a Newton step in the larger
// subspace) or it does not (zero or negative curvature: the step goes along
// that direction to the nearest constraint, or the problem is unbounded).
// This is the inertia-controlling strategy of Gill, Murray, Saunders and
// Wright ("Inertia-controlling methods for general quadratic programming",
// SIAM Review 33, 1991): the reduced Hessian never has more than one
// nonpositive eigenvalue, and a nonconvex problem ends at a local minimiser.
//
// Factorisations.  The working set W (nw rows) is held as W Q = (0 T), Q
// orthogonal n x n, T reverse-triangular: row k of T (the k-th working
// constraint) is zero before global column n - 1 - k.  Z is the first
// nz = n - nw columns of Q.  A constraint enters by a sweep of plane
// rotations over the columns of Z that gathers a'Z into its last column; it
// leaves by a sweep over the columns of T that restores the triangle and
// frees one column for Z.  The reduced Hessian Z'HZ = R'R (R upper
// triangular) follows every rotation of Z: a column rotation of R is
// repaired by a row rotation, the column that leaves Z is dropped, and a new
// column is added by one triangular solve.  After a step along a direction
// of nonpositive curvature sigma, the factor of the smaller reduced Hessian
// comes from a rank-one Cholesky downdate (the rotations of LINPACK's
// dchdd, Dongarra et al. 1979).  Nothing is refactorised, except when that
// downdate breaks down in rounding (then the reduced Hessian is formed and
// factorised once).
//
// Pricing.  At a vertex the constraint to delete is chosen by steepest edge
// (Goldfarb and Reid 1977): the largest decrease of the objective per unit
// length of the edge it opens; elsewhere by the largest multiplier scaled by
// the constraint's norm.
//
// Degeneracy.  The ratio test is Harris's two-pass test (1973): the largest
// step that violates no constraint by more than the tolerance, and among the
// constraints that block before it, the one with the largest |a'p|.  After
// max("Expand Frequency", n) degenerate steps in a row the least-index rule
// of Bland (1977) chooses both the constraint that leaves and the one that
// enters until a step of positive length is made, so a cycling problem
// (Beale's) finishes.
//
// All vectors and matrices are MPFR numbers at matrix_precision() (the
// working precision plus 32 bits); the tolerances come from "Digits".
#include "active_set.hpp"
#include "few_limbs.hpp"

#include "dense.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

namespace talvo::opt::qp {

namespace {

using linalg::Matrix;
using linalg::Vector;

// An MPFR number that frees itself.
class Num {
public:
    explicit Num(mpfr_prec_t prec)
    {
        mpfr_init2(v_, prec);
        mpfr_set_zero(v_, 1);
    }
    Num(const Num &) = delete;
    Num &operator=(const Num &) = delete;
    ~Num() { mpfr_clear(v_); }
    operator mpfr_ptr() { return v_; }
    operator mpfr_srcptr() const { return v_; }
    mpfr_ptr get() { return v_; }

private:
    mpfr_t v_;
};

int sgn(mpfr_srcptr v) { return mpfr_sgn(v); }

enum Kind : int { kLowerB = 1, kUpperB = 2, kEqualB = 3, kTempB = 4 };

class Engine {
public:
    Engine(const Problem &p, const Options &o, Integer *istate)
        : p_(p), n_(p.n), nclin_(p.nclin), mt_(p.n + p.nclin), prec_(matrix_precision()), C_(std::max(1L, p.nclin), p.n, prec_),
          bl_(mt_, prec_), bu_(mt_, prec_), has_lo_(size_t(mt_)), has_up_(size_t(mt_)), cv_(p.n, prec_), x_(p.n, prec_),
          Q_(p.n, p.n, prec_), T_(p.n, p.n, prec_), R_(p.n + 1, p.n + 1, prec_), rcol_(p.n + 1, prec_), vrot_(p.n + 1, prec_),
          fixval_(p.n, prec_), anorm_(size_t(mt_)), tol_(size_t(mt_)), w_(p.n, prec_), g_(p.n, prec_), pdir_(p.n, prec_),
          ap_(mt_, prec_), resid_(mt_, prec_), lambda_(p.n, prec_), work_(p.n + 1, prec_), work2_(p.n + 1, prec_),
          hv_(p.n, prec_), sigma_(prec_), t1_(prec_), t2_(prec_), t3_(prec_), c_(prec_), s_(prec_), istate_(istate)
    {
        eps_ = eps();
        feas_ = o.feas_tol > TalvoFloat(0.0) ? o.feas_tol : eps_pow(0.5);
        opt_ = o.opt_tol > TalvoFloat(0.0) ? o.opt_tol : eps_pow(0.8);
        bigbnd_ = o.bigbnd > TalvoFloat(0.0) ? o.bigbnd : TalvoFloat(1e20);
        piv_ = eps_pow(2.0 / 3.0);
        rank_ = eps_pow(0.9);
        limit_ = o.iter_limit >= 0 ? o.iter_limit
                                   : std::max<long>(50, 5 * (n_ + nclin_)) * std::max<long>(1, (talvo_float_digits() + 14) / 15);
        // The least-index rule takes over after a run of degenerate steps
        // as long as "Expand Frequency" (default 5) or n, whichever is
        // longer: a degenerate vertex is usually left within a few steps of
        // steepest edge, which the least-index rule, slow to make progress,
        // would otherwise replace at once.
        expand_ = std::max<long>(o.expand_freq > 0 ? o.expand_freq : 5, n_);
        max_free_ = o.max_free > 0 ? o.max_free : n_;
        warm_ = o.warm;
        quadratic_ = p.type != Type::FP && p.type != Type::LP;
        Q_.set_identity();
    }

    Result run(TalvoFloat *x, TalvoFloat *ax, TalvoFloat *clamda);

private:
    // ---- data ----
    const Problem &p_;
    long n_, nclin_, mt_;
    mpfr_prec_t prec_;
    Matrix C_;
    Vector bl_, bu_;
    std::vector<char> has_lo_, has_up_;
    Vector cv_, x_;
    Matrix Q_, T_, R_;
    Vector rcol_, vrot_, fixval_;
    std::vector<long double> anorm_, tol_; // only for scaling decisions
    Vector w_, g_, pdir_, ap_, resid_, lambda_, work_, work2_, hv_;
    Num sigma_, t1_, t2_, t3_, c_, s_;
    Integer *istate_;
    Matrix H_, A_;
    Vector b_;

    std::vector<long> ws_;   // working set: constraint index per row of T
    std::vector<int> kind_;  // Kind per row
    std::vector<long> where_; // row of each constraint in the working set, -1
    long nz_ = 0, nr_ = 0;
    bool singular_ = false; // the last column of Z is not in R
    bool quadratic_ = false, use_h_ = false, warm_ = false;
    TalvoFloat eps_, feas_, opt_, bigbnd_, piv_, rank_;
    long limit_ = 0, expand_ = 5, max_free_ = 0;
    long iter_ = 0;

    // ---- helpers ----
    long nw() const { return long(ws_.size()); }
    void set(mpfr_ptr r, const TalvoFloat &v) { mpfr_set(r, v.mpfr(), MPFR_RNDN); }
    // Tolerance tests are made in long double, whose exponent range (to
    // 10^-4931) holds every tolerance of "Digits" up to 1000 (a double's
    // ends near 10^-308).
    using Real = long double;
    Real dbl(mpfr_srcptr v) const { return mpfr_get_ld(v, MPFR_RNDN); }
    static Real ld(const TalvoFloat &v) { return mpfr_get_ld(v.mpfr(), MPFR_RNDN); }
    // r += v for a long double v.
    void add_ld(mpfr_ptr r, Real v)
    {
        mpfr_set_ld(t3_, v, MPFR_RNDN);
        talvo::floatn::add_rn(r, r, t3_);
    }

    // out = a_i' v (v of length n).
    void a_dot(long i, mpfr_srcptr v, mpfr_ptr out)
    {
        if (i < n_) {
            mpfr_set(out, v + i, MPFR_RNDN);
            return;
        }
        mpfr_set_zero(out, 1);
        const long r = i - n_;
        for (long j = 0; j < n_; ++j)
            if (!mpfr_zero_p(C_(r, j)))
                mpfr_fma(out, C_(r, j), v + j, out, MPFR_RNDN);
    }

    // w = a_i' Q.
    void a_times_q(long i)
    {
        for (long c = 0; c < n_; ++c)
            a_dot(i, Q_.col(c), w_[c]);
    }

    // The plane rotation (c, s) that takes (a, b) to (0, hypot(a, b)):
    // (x1, x2) -> (c x1 - s x2, s x1 + c x2).
    void rotation(mpfr_srcptr a, mpfr_srcptr b)
    {
        mpfr_hypot(t1_, a, b, MPFR_RNDN);
        mpfr_div(c_, b, t1_, MPFR_RNDN);
        mpfr_div(s_, a, t1_, MPFR_RNDN);
    }
    void apply(mpfr_ptr x1, mpfr_ptr x2)
    {
        talvo::floatn::mul_rn(t2_, c_, x1);
        mpfr_fms(t2_, s_, x2, t2_, MPFR_RNDN); // s x2 - c x1
        mpfr_neg(t2_, t2_, MPFR_RNDN);         // c x1 - s x2
        talvo::floatn::mul_rn(t3_, s_, x1);
        mpfr_fma(x2, c_, x2, t3_, MPFR_RNDN); // c x2 + s x1
        mpfr_set(x1, t2_, MPFR_RNDN);
    }
    void rotate_q_cols(long c1, long c2)
    {
        for (long r = 0; r < n_; ++r)
            apply(Q_(r, c1), Q_(r, c2));
    }

    // Hessian product hv = H v (v, hv of length n); false for no Hessian.
    void hess(mpfr_srcptr v, mpfr_ptr hv);
    // g = the gradient of the phase's objective at x.
    void gradient(bool phase1);
    TalvoFloat objective();

    void add(long i, int kind);
    void remove(long row);
    bool new_r_column(); // after remove: the reduced Hessian gains a column
    void refactor_r();
    void multipliers();
    std::vector<double> edge_norms();
    void refine();
    void temp_fix_all();
    void residuals();
    bool dependent(long i);
};

void Engine::hess(mpfr_srcptr v, mpfr_ptr hv)
{
    switch (p_.type) {
    case Type::QP1:
    case Type::QP2:
        if (p_.hess) {
            std::vector<TalvoFloat> xv(static_cast<size_t>(n_)), hx(static_cast<size_t>(n_));
            for (long j = 0; j < n_; ++j)
                xv[size_t(j)] = from_mpfr(v + j);
            p_.hess(xv.data(), hx.data(), 0);
            for (long j = 0; j < n_; ++j)
                set(hv + j, hx[size_t(j)]);
            return;
        }
        for (long i = 0; i < n_; ++i) {
            mpfr_set_zero(hv + i, 1);
            for (long j = 0; j < n_; ++j)
                if (!mpfr_zero_p(H_(i, j)))
                    mpfr_fma(hv + i, H_(i, j), v + j, hv + i, MPFR_RNDN);
        }
        return;
    default: {
        if (p_.hess && (p_.type == Type::QP3 || p_.type == Type::QP4)) {
            std::vector<TalvoFloat> xv(static_cast<size_t>(n_)), hx(static_cast<size_t>(n_));
            for (long j = 0; j < n_; ++j)
                xv[size_t(j)] = from_mpfr(v + j);
            p_.hess(xv.data(), hx.data(), 0);
            for (long j = 0; j < n_; ++j)
                set(hv + j, hx[size_t(j)]);
            return;
        }
        // A'(A v)
        const long m = A_.rows();
        Vector av(std::max(1L, m), prec_);
        for (long i = 0; i < m; ++i)
            for (long j = 0; j < n_; ++j)
                if (!mpfr_zero_p(A_(i, j)))
                    mpfr_fma(av[i], A_(i, j), v + j, av[i], MPFR_RNDN);
        for (long j = 0; j < n_; ++j) {
            mpfr_set_zero(hv + j, 1);
            for (long i = 0; i < m; ++i)
                if (!mpfr_zero_p(A_(i, j)))
                    mpfr_fma(hv + j, A_(i, j), av[i], hv + j, MPFR_RNDN);
        }
    }
    }
}

void Engine::residuals()
{
    for (long i = 0; i < mt_; ++i)
        a_dot(i, x_.data(), resid_[i]);
}

void Engine::gradient(bool phase1)
{
    if (phase1) {
        for (long j = 0; j < n_; ++j)
            mpfr_set_zero(g_[j], 1);
        for (long i = 0; i < mt_; ++i) {
            if (where_[size_t(i)] >= 0)
                continue;
            int sign = 0;
            talvo::floatn::sub_rn(t1_, bl_[i], resid_[i]);
            if (has_lo_[size_t(i)] && dbl(t1_) > tol_[size_t(i)])
                sign = -1;
            talvo::floatn::sub_rn(t1_, resid_[i], bu_[i]);
            if (has_up_[size_t(i)] && dbl(t1_) > tol_[size_t(i)])
                sign = 1;
            if (sign == 0)
                continue;
            if (i < n_) {
                if (sign > 0)
                    mpfr_add_ui(g_[i], g_[i], 1, MPFR_RNDN);
                else
                    mpfr_sub_ui(g_[i], g_[i], 1, MPFR_RNDN);
            } else {
                for (long j = 0; j < n_; ++j) {
                    if (sign > 0)
                        talvo::floatn::add_rn(g_[j], g_[j], C_(i - n_, j));
                    else
                        talvo::floatn::sub_rn(g_[j], g_[j], C_(i - n_, j));
                }
            }
        }
        return;
    }
    for (long j = 0; j < n_; ++j)
        mpfr_set(g_[j], cv_[j], MPFR_RNDN);
    if (!quadratic_)
        return;
    hess(x_.data(), hv_.data());
    for (long j = 0; j < n_; ++j)
        talvo::floatn::add_rn(g_[j], g_[j], hv_[j]);
    if (p_.type >= Type::LS1) {
        // - A'b
        const long m = A_.rows();
        for (long j = 0; j < n_; ++j)
            for (long i = 0; i < m; ++i)
                if (!mpfr_zero_p(A_(i, j)))
                    mpfr_fms(g_[j], A_(i, j), b_[i], g_[j], MPFR_RNDN), mpfr_neg(g_[j], g_[j], MPFR_RNDN);
    }
}

TalvoFloat Engine::objective()
{
    Num s(prec_);
    for (long j = 0; j < n_; ++j)
        mpfr_fma(s, cv_[j], x_[j], s, MPFR_RNDN);
    if (quadratic_) {
        if (p_.type >= Type::LS1) {
            const long m = A_.rows();
            for (long i = 0; i < m; ++i) {
                mpfr_neg(t1_, b_[i], MPFR_RNDN);
                for (long j = 0; j < n_; ++j)
                    if (!mpfr_zero_p(A_(i, j)))
                        mpfr_fma(t1_, A_(i, j), x_[j], t1_, MPFR_RNDN);
                mpfr_sqr(t1_, t1_, MPFR_RNDN);
                mpfr_div_ui(t1_, t1_, 2, MPFR_RNDN);
                talvo::floatn::add_rn(s, s, t1_);
            }
        } else {
            hess(x_.data(), hv_.data());
            Num q(prec_);
            for (long j = 0; j < n_; ++j)
                mpfr_fma(q, hv_[j], x_[j], q, MPFR_RNDN);
            mpfr_div_ui(q, q, 2, MPFR_RNDN);
            talvo::floatn::add_rn(s, s, q);
        }
    }
    return from_mpfr(s);
}

// True when a_i lies (to the rank tolerance) in the span of the working set.
bool Engine::dependent(long i)
{
    a_times_q(i);
    Num s(prec_);
    for (long c = 0; c < nz_; ++c)
        mpfr_fma(s, w_[c], w_[c], s, MPFR_RNDN);
    mpfr_sqrt(s, s, MPFR_RNDN);
    return !(from_mpfr(s) > piv_ * TalvoFloat(anorm_[size_t(i)]));
}

// Adds constraint i (w_ = a_i' Q already computed by dependent() or by the
// caller) to the working set.
void Engine::add(long i, int kind)
{
    const long nzo = nz_;
    const bool r_on = use_h_;
    // The size of the triangle S that holds R (and, in the singular state,
    // the extra column r with a zero last row).
    const long ns = r_on ? (singular_ ? nzo : nr_) : 0;
    if (r_on && singular_) {
        for (long k = 0; k < nzo - 1; ++k)
            mpfr_set(R_(k, nzo - 1), rcol_[k], MPFR_RNDN);
        mpfr_set_zero(R_(nzo - 1, nzo - 1), 1);
        for (long k = 0; k < nzo; ++k)
            mpfr_set_zero(vrot_[k], 1);
        mpfr_set_ui(vrot_[nzo - 1], 1, MPFR_RNDN);
    }
    for (long c = 0; c + 1 < nzo; ++c) {
        if (mpfr_zero_p(w_[c]))
            continue;
        rotation(w_[c], w_[c + 1]);
        apply(w_[c], w_[c + 1]);
        mpfr_set_zero(w_[c], 1);
        rotate_q_cols(c, c + 1);
        if (ns > 0) {
            for (long r = 0; r <= std::min(c + 1, ns - 1); ++r)
                apply(R_(r, c), R_(r, c + 1));
            if (singular_)
                apply(vrot_[c], vrot_[c + 1]);
            // Repair the entry below the diagonal with a row rotation.
            if (c + 1 < ns && !mpfr_zero_p(R_(c + 1, c))) {
                // (R(c,c), R(c+1,c)) -> (h, 0): rows c and c+1.
                mpfr_hypot(t1_, R_(c, c), R_(c + 1, c), MPFR_RNDN);
                Num cc(prec_), ss(prec_);
                mpfr_div(cc, R_(c, c), t1_, MPFR_RNDN);
                mpfr_div(ss, R_(c + 1, c), t1_, MPFR_RNDN);
                for (long col = c; col < ns; ++col) {
                    talvo::floatn::mul_rn(t2_, cc, R_(c, col));
                    mpfr_fma(t2_, ss, R_(c + 1, col), t2_, MPFR_RNDN);
                    talvo::floatn::mul_rn(t3_, ss, R_(c, col));
                    mpfr_fms(t3_, cc, R_(c + 1, col), t3_, MPFR_RNDN);
                    mpfr_set(R_(c, col), t2_, MPFR_RNDN);
                    mpfr_set(R_(c + 1, col), t3_, MPFR_RNDN);
                }
                mpfr_set_zero(R_(c + 1, c), 1);
            }
        }
    }
    // The new row of T.
    const long row = nw();
    for (long c = 0; c < n_; ++c) {
        if (c < nzo - 1)
            mpfr_set_zero(T_(row, c), 1);
        else
            mpfr_set(T_(row, c), w_[c], MPFR_RNDN);
    }
    ws_.push_back(i);
    kind_.push_back(kind);
    where_[size_t(i)] = row;
    nz_ = nzo - 1;
    if (i < n_ && kind == kTempB)
        mpfr_set(fixval_[i], x_[i], MPFR_RNDN);
    if (!r_on) {
        nr_ = 0;
        singular_ = false;
        return;
    }
    if (!singular_) {
        // R lost its last column (the one that left Z).
        nr_ = std::min(nr_, nz_);
        return;
    }
    // Singular state: the leading block of S, then the downdate by
    // sigma v v' (sigma <= 0).
    singular_ = false;
    nr_ = nz_;
    if (sgn(sigma_) >= 0 || nr_ == 0)
        return;
    // q = R'^{-1} (sqrt(-sigma) v)
    mpfr_neg(t1_, sigma_, MPFR_RNDN);
    mpfr_sqrt(t1_, t1_, MPFR_RNDN);
    for (long k = 0; k < nr_; ++k) {
        talvo::floatn::mul_rn(work_[k], vrot_[k], t1_);
        for (long j = 0; j < k; ++j)
            mpfr_fms(work_[k], R_(j, k), work_[j], work_[k], MPFR_RNDN), mpfr_neg(work_[k], work_[k], MPFR_RNDN);
        mpfr_div(work_[k], work_[k], R_(k, k), MPFR_RNDN);
    }
    Num alpha(prec_);
    mpfr_set_ui(alpha, 1, MPFR_RNDN);
    for (long k = 0; k < nr_; ++k)
        mpfr_fms(alpha, work_[k], work_[k], alpha, MPFR_RNDN), mpfr_neg(alpha, alpha, MPFR_RNDN);
    if (!(sgn(alpha) > 0)) {
        refactor_r();
        return;
    }
    mpfr_sqrt(alpha, alpha, MPFR_RNDN);
    // Rotations (c_k, s_k) in work2_ (c) and work_ (s), from the last.
    Vector cs(nr_, prec_);
    for (long k = nr_ - 1; k >= 0; --k) {
        mpfr_hypot(t1_, alpha, work_[k], MPFR_RNDN);
        mpfr_div(cs[k], alpha, t1_, MPFR_RNDN);
        mpfr_div(work_[k], work_[k], t1_, MPFR_RNDN);
        mpfr_set(alpha, t1_, MPFR_RNDN);
    }
    for (long j = 0; j < nr_; ++j) {
        Num xx(prec_);
        for (long k = j; k >= 0; --k) {
            // t = c xx + s r; r = c r - s xx; xx = t
            talvo::floatn::mul_rn(t2_, cs[k], xx);
            mpfr_fma(t2_, work_[k], R_(k, j), t2_, MPFR_RNDN);
            talvo::floatn::mul_rn(t3_, work_[k], xx);
            mpfr_fms(R_(k, j), cs[k], R_(k, j), t3_, MPFR_RNDN);
            mpfr_set(xx, t2_, MPFR_RNDN);
        }
    }
    // The downdate may leave negative diagonals: flip their rows.
    for (long k = 0; k < nr_; ++k) {
        if (sgn(R_(k, k)) < 0)
            for (long j = k; j < nr_; ++j)
                mpfr_neg(R_(k, j), R_(k, j), MPFR_RNDN);
        if (!(sgn(R_(k, k)) > 0)) {
            refactor_r();
            return;
        }
    }
}

// The reduced Hessian formed and factorised (only when an update broke
// down in rounding).
void Engine::refactor_r()
{
    nr_ = nz_;
    singular_ = false;
    Matrix M(std::max(1L, nz_), std::max(1L, nz_), prec_);
    for (long c = 0; c < nz_; ++c) {
        hess(Q_.col(c), hv_.data());
        for (long r = 0; r < nz_; ++r) {
            mpfr_set_zero(M(r, c), 1);
            for (long j = 0; j < n_; ++j)
                mpfr_fma(M(r, c), Q_(j, r), hv_[j], M(r, c), MPFR_RNDN);
        }
    }
    for (long k = 0; k < nz_; ++k) {
        for (long j = 0; j < k; ++j)
            mpfr_fms(M(k, k), R_(j, k), R_(j, k), M(k, k), MPFR_RNDN), mpfr_neg(M(k, k), M(k, k), MPFR_RNDN);
        if (!(sgn(M(k, k)) > 0)) {
            // Not positive definite: keep the leading part only; the
            // caller's next deletion test will see nr < nz.
            nr_ = k;
            return;
        }
        mpfr_sqrt(R_(k, k), M(k, k), MPFR_RNDN);
        for (long c = k + 1; c < nz_; ++c) {
            mpfr_set(t1_, M(k, c), MPFR_RNDN);
            for (long j = 0; j < k; ++j)
                mpfr_fms(t1_, R_(j, k), R_(j, c), t1_, MPFR_RNDN), mpfr_neg(t1_, t1_, MPFR_RNDN);
            mpfr_div(R_(k, c), t1_, R_(k, k), MPFR_RNDN);
        }
    }
}

// Removes working row `row`.
void Engine::remove(long row)
{
    const long nwo = nw();
    where_[size_t(ws_[size_t(row)])] = -1;
    for (long k = row; k + 1 < nwo; ++k) {
        for (long c = 0; c < n_; ++c)
            mpfr_swap(T_(k, c), T_(k + 1, c));
        ws_[size_t(k)] = ws_[size_t(k + 1)];
        kind_[size_t(k)] = kind_[size_t(k + 1)];
        where_[size_t(ws_[size_t(k)])] = k;
    }
    ws_.pop_back();
    kind_.pop_back();
    for (long k = row; k + 1 < nwo; ++k) {
        const long c1 = n_ - 2 - k, c2 = n_ - 1 - k;
        if (mpfr_zero_p(T_(k, c1)))
            continue;
        rotation(T_(k, c1), T_(k, c2));
        for (long r = k; r + 1 < nwo; ++r)
            apply(T_(r, c1), T_(r, c2));
        mpfr_set_zero(T_(k, c1), 1);
        rotate_q_cols(c1, c2);
    }
    for (long c = 0; c < n_; ++c)
        mpfr_set_zero(T_(nwo - 1, c), 1);
    ++nz_;
}

// After remove(): the reduced Hessian gains the new column of Z.  Returns
// true when it stays positive definite (R grows); otherwise the state is
// singular with r in rcol_ and sigma = z'Hz - r'r <= 0 in sigma_.
bool Engine::new_r_column()
{
    const long k = nz_ - 1; // the new column of Z
    if (!use_h_) {
        singular_ = true;
        mpfr_set_zero(sigma_, 1);
        return false;
    }
    hess(Q_.col(k), hv_.data());
    // u = Z_old' H z, then R' r = u
    for (long c = 0; c < nr_; ++c) {
        mpfr_set_zero(rcol_[c], 1);
        for (long j = 0; j < n_; ++j)
            mpfr_fma(rcol_[c], Q_(j, c), hv_[j], rcol_[c], MPFR_RNDN);
    }
    for (long c = 0; c < nr_; ++c) {
        for (long j = 0; j < c; ++j)
            mpfr_fms(rcol_[c], R_(j, c), rcol_[j], rcol_[c], MPFR_RNDN), mpfr_neg(rcol_[c], rcol_[c], MPFR_RNDN);
        mpfr_div(rcol_[c], rcol_[c], R_(c, c), MPFR_RNDN);
    }
    Num delta(prec_);
    for (long j = 0; j < n_; ++j)
        mpfr_fma(delta, Q_(j, k), hv_[j], delta, MPFR_RNDN);
    mpfr_set(sigma_, delta, MPFR_RNDN);
    for (long c = 0; c < nr_; ++c)
        mpfr_fms(sigma_, rcol_[c], rcol_[c], sigma_, MPFR_RNDN), mpfr_neg(sigma_, sigma_, MPFR_RNDN);
    // Positive definite when sigma is more than the rank tolerance times
    // the size of the column.
    mpfr_abs(t1_, delta, MPFR_RNDN);
    for (long c = 0; c < nr_; ++c)
        mpfr_fma(t1_, rcol_[c], rcol_[c], t1_, MPFR_RNDN);
    Num thr(prec_);
    set(thr, rank_);
    talvo::floatn::mul_rn(thr, thr, t1_);
    if (mpfr_cmp(sigma_, thr) > 0 && nr_ == k) {
        for (long c = 0; c < nr_; ++c)
            mpfr_set(R_(c, k), rcol_[c], MPFR_RNDN);
        mpfr_sqrt(R_(k, k), sigma_, MPFR_RNDN);
        for (long r = k + 1; r <= n_; ++r)
            mpfr_set_zero(R_(r, k), 1);
        nr_ = k + 1;
        singular_ = false;
        return true;
    }
    if (sgn(sigma_) > 0)
        mpfr_set_zero(sigma_, 1);
    singular_ = true;
    return false;
}

// lambda (nw) from T' lambda = (Q' g) restricted to the columns of T.
void Engine::multipliers()
{
    const long m = nw();
    for (long j = 0; j < m; ++j)
        mpfr_set_zero(lambda_[j], 1);
    for (long jl = 0; jl < m; ++jl) {
        const long col = nz_ + jl;
        Num y(prec_);
        for (long r = 0; r < n_; ++r)
            mpfr_fma(y, Q_(r, col), g_[r], y, MPFR_RNDN);
        const long k0 = m - 1 - jl;
        for (long k = k0 + 1; k < m; ++k)
            mpfr_fms(y, T_(k, col), lambda_[k], y, MPFR_RNDN), mpfr_neg(y, y, MPFR_RNDN);
        mpfr_div(lambda_[k0], y, T_(k0, col), MPFR_RNDN);
    }
}

// At a vertex (nw = n, Z empty) deleting working constraint k moves x along
// p_k = Q T^-1 e_k, the edge on which only that constraint is released; the
// objective changes along it at the rate lambda_k.  Its length is
// ||T^-1 e_k|| (Q is orthogonal).  These lengths serve the steepest-edge
// choice of the constraint to delete (Goldfarb and Reid, Math. Programming
// 12, 1977: the largest decrease per unit length rather than per unit of the
// constraint's own measure); they only rank candidates, so they are worked
// out in double precision from T, by forward substitution: row r of T holds
// its diagonal in column n-1-r and is zero before it.
std::vector<double> Engine::edge_norms()
{
    const long n = n_;
    std::vector<double> t(size_t(n * n), 0.0), y(size_t(n), 0.0), norms(size_t(n), 0.0);
    for (long r = 0; r < n; ++r)
        for (long c = n - 1 - r; c < n; ++c)
            t[size_t(r * n + c)] = mpfr_get_d(T_(r, c), MPFR_RNDN);
    for (long k = 0; k < n; ++k) {
        // T y = e_k: rows before k give y = 0 in their diagonal columns.
        std::fill(y.begin(), y.end(), 0.0);
        double sum = 0.0;
        for (long r = k; r < n; ++r) {
            const long d = n - 1 - r;
            double v = r == k ? 1.0 : 0.0;
            for (long c = d + 1; c <= n - 1 - k; ++c)
                v -= t[size_t(r * n + c)] * y[size_t(c)];
            v /= t[size_t(r * n + d)];
            y[size_t(d)] = v;
            sum += v * v;
        }
        norms[size_t(k)] = std::sqrt(sum);
    }
    return norms;
}

// Puts x back on its working constraints: T dy = b_W - W x, x += Y dy.
void Engine::refine()
{
    const long m = nw();
    if (m == 0)
        return;
    Vector d(m, prec_), dy(m, prec_);
    for (int pass = 0; pass < 2; ++pass) {
        for (long k = 0; k < m; ++k) {
            const long i = ws_[size_t(k)];
            a_dot(i, x_.data(), t1_);
            mpfr_srcptr target = kind_[size_t(k)] == kTempB ? static_cast<mpfr_srcptr>(fixval_[i])
                                 : kind_[size_t(k)] == kUpperB ? bu_[i]
                                                               : bl_[i];
            talvo::floatn::sub_rn(d[k], target, t1_);
        }
        for (long k = 0; k < m; ++k) {
            const long jl = m - 1 - k; // the diagonal of row k sits in local column m-1-k
            mpfr_set(t1_, d[k], MPFR_RNDN);
            for (long j = jl + 1; j < m; ++j)
                mpfr_fms(t1_, T_(k, nz_ + j), dy[j], t1_, MPFR_RNDN), mpfr_neg(t1_, t1_, MPFR_RNDN);
            mpfr_div(dy[jl], t1_, T_(k, nz_ + jl), MPFR_RNDN);
        }
        for (long j = 0; j < m; ++j)
            for (long r = 0; r < n_; ++r)
                mpfr_fma(x_[r], Q_(r, nz_ + j), dy[j], x_[r], MPFR_RNDN);
        for (long k = 0; k < m; ++k) {
            const long i = ws_[size_t(k)];
            if (i < n_ && kind_[size_t(k)] != kTempB)
                mpfr_set(x_[i], kind_[size_t(k)] == kUpperB ? bu_[i] : bl_[i], MPFR_RNDN);
        }
    }
}

// Temporary bounds on free variables until the working set has n rows.
void Engine::temp_fix_all()
{
    for (long j = 0; j < n_ && nz_ > 0; ++j) {
        if (where_[size_t(j)] >= 0)
            continue;
        if (dependent(j))
            continue;
        add(j, kTempB);
    }
}

Result Engine::run(TalvoFloat *x, TalvoFloat *ax, TalvoFloat *clamda)
{
    Result res;
    // Copy the problem in.
    for (long r = 0; r < nclin_; ++r)
        for (long j = 0; j < n_; ++j)
            set(C_(r, j), p_.C[r + j * p_.ldc]);
    for (long i = 0; i < mt_; ++i) {
        has_lo_[size_t(i)] = p_.bl[i] > -bigbnd_;
        has_up_[size_t(i)] = p_.bu[i] < bigbnd_;
        set(bl_[i], p_.bl[i]);
        set(bu_[i], p_.bu[i]);
        Real an = 1.0L;
        if (i >= n_) {
            an = 0.0;
            for (long j = 0; j < n_; ++j)
                an = std::max(an, std::fabs(dbl(C_(i - n_, j))));
            an = std::max(an, 1e-300L);
        }
        anorm_[size_t(i)] = an;
        tol_[size_t(i)] = ld(feas_) * (1.0L + an);
    }
    if (p_.cvec != nullptr && p_.type != Type::QP1 && p_.type != Type::QP3 && p_.type != Type::LS1 &&
        p_.type != Type::LS3 && p_.type != Type::FP)
        for (long j = 0; j < n_; ++j)
            set(cv_[j], p_.cvec[j]);
    if (p_.type == Type::QP1 || p_.type == Type::QP2) {
        if (!p_.hess) {
            H_ = Matrix(n_, n_, prec_);
            // The upper triangle is read; H is symmetric.
            for (long j = 0; j < n_; ++j)
                for (long i = 0; i <= j; ++i) {
                    set(H_(i, j), p_.A[i + j * p_.lda]);
                    mpfr_set(H_(j, i), H_(i, j), MPFR_RNDN);
                }
        }
    } else if (quadratic_) {
        const bool trap = p_.type == Type::QP3 || p_.type == Type::QP4 || p_.type == Type::LS3 || p_.type == Type::LS4;
        if (!(p_.hess && (p_.type == Type::QP3 || p_.type == Type::QP4))) {
            A_ = Matrix(p_.m, n_, prec_);
            for (long i = 0; i < p_.m; ++i)
                for (long j = 0; j < n_; ++j)
                    if (!trap || j >= i)
                        set(A_(i, j), p_.A[i + j * p_.lda]);
        }
        if (p_.type >= Type::LS1) {
            b_ = Vector(std::max(1L, p_.m), prec_);
            for (long i = 0; i < p_.m; ++i)
                set(b_[i], p_.b[i]);
        }
    }
    for (long j = 0; j < n_; ++j)
        set(x_[j], x[j]);
    where_.assign(size_t(mt_), -1);
    nz_ = n_;
    nr_ = 0;

    // The starting working set.
    if (warm_) {
        for (long i = 0; i < mt_; ++i) {
            const Integer s = istate_[i];
            int kind = 0;
            if (s == 1 && has_lo_[size_t(i)])
                kind = kLowerB;
            else if (s == 2 && has_up_[size_t(i)])
                kind = kUpperB;
            else if (s == 3 && has_lo_[size_t(i)] && has_up_[size_t(i)] && mpfr_equal_p(bl_[i], bu_[i]))
                kind = kEqualB;
            else if (s == 4 && i < n_)
                kind = kTempB;
            if (kind == 0 || nz_ == 0 || dependent(i))
                continue;
            if (i < n_ && kind != kTempB)
                mpfr_set(x_[i], kind == kUpperB ? bu_[i] : bl_[i], MPFR_RNDN);
            add(i, kind);
        }
    } else {
        // Variables inside their bounds; equalities first, then the bounds
        // x lies on.
        for (long j = 0; j < n_; ++j) {
            if (has_lo_[size_t(j)] && mpfr_less_p(x_[j], bl_[j]))
                mpfr_set(x_[j], bl_[j], MPFR_RNDN);
            if (has_up_[size_t(j)] && mpfr_greater_p(x_[j], bu_[j]))
                mpfr_set(x_[j], bu_[j], MPFR_RNDN);
        }
        for (long i = 0; i < mt_ && nz_ > 0; ++i)
            if (has_lo_[size_t(i)] && has_up_[size_t(i)] && mpfr_equal_p(bl_[i], bu_[i]) && !dependent(i))
                add(i, kEqualB);
        for (long j = 0; j < n_ && nz_ > 0; ++j) {
            if (where_[size_t(j)] >= 0)
                continue;
            int kind = 0;
            if (has_lo_[size_t(j)] && mpfr_equal_p(x_[j], bl_[j]))
                kind = kLowerB;
            else if (has_up_[size_t(j)] && mpfr_equal_p(x_[j], bu_[j]))
                kind = kUpperB;
            if (kind != 0 && !dependent(j))
                add(j, kind);
        }
    }
    refine();
    temp_fix_all();

    int phase = 0;
    long degenerate = 0;
    Vector pz(n_ + 1, prec_);
    Num gp(prec_), alpha(prec_), step(prec_), best(prec_), pnorm(prec_);
    const Real feas_d = ld(feas_);
    for (;;) {
        residuals();
        // Phase: any violated constraint outside the working set?
        bool infeasible = false;
        for (long i = 0; i < mt_ && !infeasible; ++i) {
            if (where_[size_t(i)] >= 0)
                continue;
            talvo::floatn::sub_rn(t1_, bl_[i], resid_[i]);
            if (has_lo_[size_t(i)] && dbl(t1_) > tol_[size_t(i)])
                infeasible = true;
            talvo::floatn::sub_rn(t1_, resid_[i], bu_[i]);
            if (has_up_[size_t(i)] && dbl(t1_) > tol_[size_t(i)])
                infeasible = true;
        }
        const int now = infeasible ? 1 : 2;
        if (now != phase) {
            phase = now;
            use_h_ = quadratic_ && phase == 2;
            singular_ = false;
            nr_ = 0;
            if (use_h_)
                temp_fix_all();
        }
        gradient(phase == 1);
        const bool bland = degenerate >= expand_;

        // Direction.
        bool have_dir = false, newton = false;
        if (nz_ > 0 && use_h_ && nr_ == nz_) {
            // Newton step in the subspace if Z'g is not zero.
            Real gzmax = 0.0L, gmax = 1.0L;
            for (long c = 0; c < nz_; ++c) {
                mpfr_set_zero(work_[c], 1);
                for (long r = 0; r < n_; ++r)
                    mpfr_fma(work_[c], Q_(r, c), g_[r], work_[c], MPFR_RNDN);
                gzmax = std::max(gzmax, std::fabs(dbl(work_[c])));
            }
            for (long r = 0; r < n_; ++r)
                gmax = std::max(gmax, std::fabs(dbl(g_[r])));
            if (gzmax > ld(opt_) * gmax) {
                // R' y = gz; R pz = -y
                for (long c = 0; c < nz_; ++c) {
                    for (long j = 0; j < c; ++j)
                        mpfr_fms(work_[c], R_(j, c), work_[j], work_[c], MPFR_RNDN), mpfr_neg(work_[c], work_[c], MPFR_RNDN);
                    mpfr_div(work_[c], work_[c], R_(c, c), MPFR_RNDN);
                }
                for (long c = nz_ - 1; c >= 0; --c) {
                    mpfr_neg(pz[c], work_[c], MPFR_RNDN);
                    for (long j = c + 1; j < nz_; ++j)
                        mpfr_fms(pz[c], R_(c, j), pz[j], pz[c], MPFR_RNDN), mpfr_neg(pz[c], pz[c], MPFR_RNDN);
                    mpfr_div(pz[c], pz[c], R_(c, c), MPFR_RNDN);
                }
                have_dir = newton = true;
            }
        } else if (nz_ > 0 && !use_h_) {
            // Linear objective with a free direction (a warm start or a
            // phase switch): steepest descent in the subspace.
            Real gzmax = 0.0L, gmax = 1.0L;
            for (long c = 0; c < nz_; ++c) {
                mpfr_set_zero(pz[c], 1);
                for (long r = 0; r < n_; ++r)
                    mpfr_fma(pz[c], Q_(r, c), g_[r], pz[c], MPFR_RNDN);
                mpfr_neg(pz[c], pz[c], MPFR_RNDN);
                gzmax = std::max(gzmax, std::fabs(dbl(pz[c])));
            }
            for (long r = 0; r < n_; ++r)
                gmax = std::max(gmax, std::fabs(dbl(g_[r])));
            have_dir = gzmax > ld(opt_) * gmax;
        }
        if (!have_dir) {
            // A stationary point of the subspace: the multipliers.
            multipliers();
            Real gmax = 1.0L;
            for (long r = 0; r < n_; ++r)
                gmax = std::max(gmax, std::fabs(dbl(g_[r])));
            const Real otol = ld(opt_) * gmax;
            long del = -1;
            Real worst = 0.0L;
            // At a vertex the candidates are ranked by steepest edge, else
            // by their multipliers scaled by the constraints' norms.
            const bool steepest = !bland && nz_ == 0 && nw() == n_;
            std::vector<double> edges;
            for (long k = 0; k < nw(); ++k) {
                const Real l = dbl(lambda_[k]) * anorm_[size_t(ws_[size_t(k)])];
                Real bad = 0.0L;
                switch (kind_[size_t(k)]) {
                case kLowerB: bad = -l; break;
                case kUpperB: bad = l; break;
                case kTempB: bad = std::fabs(l); break;
                default: bad = 0.0L; break;
                }
                if (!(bad > otol))
                    continue;
                if (bland) {
                    if (del < 0 || ws_[size_t(k)] < ws_[size_t(del)])
                        del = k;
                    continue;
                }
                if (steepest) {
                    if (edges.empty())
                        edges = edge_norms();
                    const double len = edges[size_t(k)];
                    if (len > 0.0 && std::isfinite(len))
                        bad = bad / anorm_[size_t(ws_[size_t(k)])] / len;
                }
                if (bad > worst) {
                    worst = bad;
                    del = k;
                }
            }
            if (del < 0) {
                res.inform = phase == 1 ? 3 : 0;
                if (phase == 1)
                    break;
                // A temporary bound left with a zero multiplier: released
                // when the reduced Hessian stays positive definite without
                // it (the minimiser is then still unique), otherwise the
                // minimum is weak (not unique).
                long temp = -1;
                for (long k = 0; k < nw() && temp < 0; ++k)
                    if (kind_[size_t(k)] == kTempB)
                        temp = k;
                if (temp < 0)
                    break;
                if (!use_h_ || nr_ + 1 > max_free_) {
                    res.inform = 1;
                    break;
                }
                remove(temp);
                if (!new_r_column()) {
                    res.inform = 1;
                    break;
                }
                continue;
            }
            if (iter_ >= limit_) {
                res.inform = 4;
                break;
            }
            // The sign of the move off the deleted constraint: lambda a'p < 0.
            const long idel = ws_[size_t(del)];
            const int lsign = sgn(lambda_[del]);
            remove(del);
            if (use_h_ && !singular_ && nr_ + 1 > max_free_) {
                res.inform = 5;
                break;
            }
            if (use_h_ && nr_ < nz_ - 1) {
                // An earlier breakdown left R short: rebuild it.
                refactor_r();
            }
            const bool pd = new_r_column();
            if (pd) {
                // Newton step in the larger subspace: Z'g = (0, .., z'g).
                for (long c = 0; c < nz_; ++c) {
                    mpfr_set_zero(work_[c], 1);
                    for (long r = 0; r < n_; ++r)
                        mpfr_fma(work_[c], Q_(r, c), g_[r], work_[c], MPFR_RNDN);
                }
                for (long c = 0; c < nz_; ++c) {
                    for (long j = 0; j < c; ++j)
                        mpfr_fms(work_[c], R_(j, c), work_[j], work_[c], MPFR_RNDN), mpfr_neg(work_[c], work_[c], MPFR_RNDN);
                    mpfr_div(work_[c], work_[c], R_(c, c), MPFR_RNDN);
                }
                for (long c = nz_ - 1; c >= 0; --c) {
                    mpfr_neg(pz[c], work_[c], MPFR_RNDN);
                    for (long j = c + 1; j < nz_; ++j)
                        mpfr_fms(pz[c], R_(c, j), pz[j], pz[c], MPFR_RNDN), mpfr_neg(pz[c], pz[c], MPFR_RNDN);
                    mpfr_div(pz[c], pz[c], R_(c, c), MPFR_RNDN);
                }
                newton = true;
            } else {
                // pz = (-R^{-1} r, 1), the sign chosen for descent.
                const long k = nz_ - 1;
                mpfr_set_ui(pz[k], 1, MPFR_RNDN);
                for (long c = nr_ - 1; c >= 0; --c) {
                    mpfr_neg(pz[c], rcol_[c], MPFR_RNDN);
                    for (long j = c + 1; j < nr_; ++j)
                        mpfr_fms(pz[c], R_(c, j), pz[j], pz[c], MPFR_RNDN), mpfr_neg(pz[c], pz[c], MPFR_RNDN);
                    mpfr_div(pz[c], pz[c], R_(c, c), MPFR_RNDN);
                }
                // a'p of the deleted constraint, with p = Z pz.
                for (long r = 0; r < n_; ++r) {
                    mpfr_set_zero(pdir_[r], 1);
                    for (long c = 0; c < nz_; ++c)
                        mpfr_fma(pdir_[r], Q_(r, c), pz[c], pdir_[r], MPFR_RNDN);
                }
                a_dot(idel, pdir_.data(), t1_);
                if (sgn(t1_) * lsign > 0)
                    for (long c = 0; c < nz_; ++c)
                        mpfr_neg(pz[c], pz[c], MPFR_RNDN);
            }
            have_dir = true;
        }
        if (iter_ >= limit_) {
            res.inform = 4;
            break;
        }
        // p = Z pz
        for (long r = 0; r < n_; ++r) {
            mpfr_set_zero(pdir_[r], 1);
            for (long c = 0; c < nz_; ++c)
                mpfr_fma(pdir_[r], Q_(r, c), pz[c], pdir_[r], MPFR_RNDN);
        }
        mpfr_set_zero(pnorm, 1);
        for (long r = 0; r < n_; ++r) {
            mpfr_abs(t1_, pdir_[r], MPFR_RNDN);
            mpfr_max(pnorm, pnorm, t1_, MPFR_RNDN);
        }
        ++iter_;
        // Ratio test (Harris), pass 1: the largest step that keeps every
        // constraint within its tolerance.
        const Real pn = dbl(pnorm);
        bool have_max = newton;
        mpfr_set_ui(alpha, 1, MPFR_RNDN); // the natural step of a Newton direction
        Num amax(prec_);
        if (newton)
            mpfr_set_ui(amax, 1, MPFR_RNDN);
        std::vector<long> cand, brk;
        std::vector<char> far(size_t(mt_), 0);
        // Phase 1 steps past the points where violated constraints become
        // satisfied while the sum of infeasibilities still decreases (its
        // slope rises by |a'p| at each); the bounds of satisfied
        // constraints, and the far bound of a violated one, stay hard.
        const bool long_step = phase == 1 && !newton && !bland;
        for (long i = 0; i < mt_; ++i) {
            if (where_[size_t(i)] >= 0)
                continue;
            a_dot(i, pdir_.data(), ap_[i]);
            const Real api = dbl(ap_[i]);
            if (!(std::fabs(api) > ld(piv_) * anorm_[size_t(i)] * pn))
                continue;
            const Real tl = tol_[size_t(i)];
            // Relaxed step to the bound approached.
            mpfr_ptr step_r = step;
            bool blocks = false;
            talvo::floatn::sub_rn(t1_, bl_[i], resid_[i]);
            const Real below = dbl(t1_);
            talvo::floatn::sub_rn(t1_, resid_[i], bu_[i]);
            const Real above = dbl(t1_);
            if (long_step && ((api < 0 && has_up_[size_t(i)] && above > tl) ||
                              (api > 0 && has_lo_[size_t(i)] && below > tl))) {
                brk.push_back(i);
                far[size_t(i)] = 1;
                mpfr_srcptr fb = api < 0 ? static_cast<mpfr_srcptr>(bl_[i]) : static_cast<mpfr_srcptr>(bu_[i]);
                if (!(api < 0 ? has_lo_[size_t(i)] : has_up_[size_t(i)]))
                    continue;
                // (far bound - r + tol sign) / a'p
                talvo::floatn::sub_rn(step_r, fb, resid_[i]);
                add_ld(step_r, api < 0 ? -tl : tl);
                mpfr_div(step_r, step_r, ap_[i], MPFR_RNDN);
                cand.push_back(i);
                if (!have_max || mpfr_less_p(step_r, amax)) {
                    mpfr_set(amax, step_r, MPFR_RNDN);
                    have_max = true;
                }
                continue;
            }
            if (api < 0) {
                if (has_up_[size_t(i)] && above > tl) {
                    // violated above, moving down: feasible at u
                    talvo::floatn::sub_rn(step_r, resid_[i], bu_[i]);
                    add_ld(step_r, tl);
                    mpfr_div(step_r, step_r, ap_[i], MPFR_RNDN);
                    mpfr_neg(step_r, step_r, MPFR_RNDN);
                    blocks = true;
                } else if (has_lo_[size_t(i)] && !(below > tl)) {
                    // (r - l + tol) / -a'p
                    talvo::floatn::sub_rn(step_r, resid_[i], bl_[i]);
                    add_ld(step_r, tl);
                    mpfr_div(step_r, step_r, ap_[i], MPFR_RNDN);
                    mpfr_neg(step_r, step_r, MPFR_RNDN);
                    blocks = true;
                }
            } else {
                if (has_lo_[size_t(i)] && below > tl) {
                    // violated below, moving up: feasible at l
                    talvo::floatn::sub_rn(step_r, bl_[i], resid_[i]);
                    add_ld(step_r, tl);
                    mpfr_div(step_r, step_r, ap_[i], MPFR_RNDN);
                    blocks = true;
                } else if (has_up_[size_t(i)] && !(above > tl)) {
                    talvo::floatn::sub_rn(step_r, bu_[i], resid_[i]);
                    add_ld(step_r, tl);
                    mpfr_div(step_r, step_r, ap_[i], MPFR_RNDN);
                    blocks = true;
                }
            }
            if (!blocks)
                continue;
            cand.push_back(i);
            if (!have_max || mpfr_less_p(step_r, amax)) {
                mpfr_set(amax, step_r, MPFR_RNDN);
                have_max = true;
            }
        }
        // Pass 2: among the constraints whose exact step is at most amax,
        // the largest |a'p| (or the least index under the anti-cycling rule).
        long hit = -1;
        int hit_kind = 0;
        Real best_piv = 0.0L;
        for (long i : cand) {
            const Real api = dbl(ap_[i]);
            talvo::floatn::sub_rn(t1_, bl_[i], resid_[i]);
            const Real below = dbl(t1_);
            talvo::floatn::sub_rn(t1_, resid_[i], bu_[i]);
            const Real above = dbl(t1_);
            const Real tl = tol_[size_t(i)];
            int k = 0;
            if (far[size_t(i)])
                k = api < 0 ? kLowerB : kUpperB;
            else if (api < 0)
                k = (has_up_[size_t(i)] && above > tl) ? kUpperB : kLowerB;
            else
                k = (has_lo_[size_t(i)] && below > tl) ? kLowerB : kUpperB;
            mpfr_srcptr bound = k == kLowerB ? static_cast<mpfr_srcptr>(bl_[i]) : static_cast<mpfr_srcptr>(bu_[i]);
            talvo::floatn::sub_rn(step, bound, resid_[i]);
            mpfr_div(step, step, ap_[i], MPFR_RNDN);
            if (sgn(step) < 0)
                mpfr_set_zero(step, 1);
            if (mpfr_greater_p(step, amax))
                continue;
            if (newton && !mpfr_less_p(step, alpha) && hit < 0)
                continue; // does not block before the natural step
            const Real piv = std::fabs(api) / anorm_[size_t(i)];
            bool take;
            if (hit < 0)
                take = true;
            else if (bland)
                take = i < hit;
            else
                take = piv > best_piv;
            if (take) {
                hit = i;
                hit_kind = k;
                best_piv = piv;
                mpfr_set(best, step, MPFR_RNDN);
            }
        }
        if (long_step && !brk.empty()) {
            // The breakpoints in order, up to the first hard limit.
            Vector bstep(long(brk.size()), prec_);
            for (size_t k = 0; k < brk.size(); ++k) {
                const long i = brk[k];
                mpfr_srcptr bound = dbl(ap_[i]) < 0 ? static_cast<mpfr_srcptr>(bu_[i]) : static_cast<mpfr_srcptr>(bl_[i]);
                talvo::floatn::sub_rn(bstep[long(k)], bound, resid_[i]);
                mpfr_div(bstep[long(k)], bstep[long(k)], ap_[i], MPFR_RNDN);
                if (sgn(bstep[long(k)]) < 0)
                    mpfr_set_zero(bstep[long(k)], 1);
            }
            std::vector<long> order(brk.size());
            for (size_t k = 0; k < order.size(); ++k)
                order[k] = long(k);
            std::sort(order.begin(), order.end(),
                      [&](long u, long v) { return mpfr_less_p(bstep[u], bstep[v]) || (mpfr_equal_p(bstep[u], bstep[v]) && brk[size_t(u)] < brk[size_t(v)]); });
            Num slope(prec_);
            for (long r = 0; r < n_; ++r)
                mpfr_fma(slope, g_[r], pdir_[r], slope, MPFR_RNDN);
            long chosen = -1;
            for (long k : order) {
                if (hit >= 0 && !mpfr_less_p(bstep[k], best))
                    break;
                if (hit < 0 && have_max && mpfr_greater_p(bstep[k], amax))
                    break;
                chosen = k;
                mpfr_abs(t1_, ap_[brk[size_t(k)]], MPFR_RNDN);
                talvo::floatn::add_rn(slope, slope, t1_);
                if (sgn(slope) >= 0)
                    break;
            }
            if (chosen >= 0 && (sgn(slope) >= 0 || hit < 0)) {
                hit = brk[size_t(chosen)];
                hit_kind = dbl(ap_[hit]) < 0 ? kUpperB : kLowerB;
                mpfr_set(best, bstep[chosen], MPFR_RNDN);
            }
        }
        if (hit >= 0 && newton && !mpfr_less_p(best, alpha))
            hit = -1; // the full Newton step comes first
        if (hit < 0 && !newton) {
            // No constraint blocks a direction of nonpositive curvature.
            if (phase == 2) {
                res.inform = 2;
            } else {
                res.inform = 3;
            }
            break;
        }
        if (hit >= 0)
            mpfr_set(alpha, best, MPFR_RNDN);
        // Too long a step: unbounded.
        talvo::floatn::mul_rn(t1_, alpha, pnorm);
        if (phase == 2 && hit >= 0 && !newton && !(from_mpfr(t1_) < bigbnd_)) {
            res.inform = 2;
            break;
        }
        for (long r = 0; r < n_; ++r)
            mpfr_fma(x_[r], alpha, pdir_[r], x_[r], MPFR_RNDN);
        if (dbl(t1_) <= feas_d * 1e-3L * (1.0L + pn))
            ++degenerate;
        else
            degenerate = 0;
        if (hit >= 0) {
            int k = hit_kind;
            if (has_lo_[size_t(hit)] && has_up_[size_t(hit)] && mpfr_equal_p(bl_[hit], bu_[hit]))
                k = kEqualB;
            if (hit < n_)
                mpfr_set(x_[hit], k == kUpperB ? bu_[hit] : bl_[hit], MPFR_RNDN);
            a_times_q(hit);
            add(hit, k);
        } else if (singular_) {
            singular_ = false;
        }
    }

    refine();
    residuals();
    res.iter = iter_;
    if (res.inform == 3) {
        // The sum of infeasibilities.
        Num s(prec_);
        for (long i = 0; i < mt_; ++i) {
            talvo::floatn::sub_rn(t1_, bl_[i], resid_[i]);
            if (has_lo_[size_t(i)] && sgn(t1_) > 0)
                talvo::floatn::add_rn(s, s, t1_);
            talvo::floatn::sub_rn(t1_, resid_[i], bu_[i]);
            if (has_up_[size_t(i)] && sgn(t1_) > 0)
                talvo::floatn::add_rn(s, s, t1_);
        }
        res.obj = from_mpfr(s);
    } else {
        res.obj = p_.type == Type::FP ? TalvoFloat(0.0) : objective();
    }
    // Multipliers at the final point (of the phase's objective).
    gradient(res.inform == 3);
    multipliers();
    for (long j = 0; j < n_; ++j)
        x[j] = from_mpfr(x_[j]);
    if (ax != nullptr)
        for (long r = 0; r < nclin_; ++r)
            ax[r] = from_mpfr(resid_[n_ + r]);
    for (long i = 0; i < mt_; ++i) {
        const long row = where_[size_t(i)];
        if (clamda != nullptr)
            clamda[i] = row >= 0 ? from_mpfr(lambda_[row]) : TalvoFloat(0.0);
        Integer s = 0;
        if (row >= 0) {
            s = kind_[size_t(row)];
        } else {
            talvo::floatn::sub_rn(t1_, bl_[i], resid_[i]);
            if (has_lo_[size_t(i)] && dbl(t1_) > tol_[size_t(i)])
                s = -2;
            talvo::floatn::sub_rn(t1_, resid_[i], bu_[i]);
            if (has_up_[size_t(i)] && dbl(t1_) > tol_[size_t(i)])
                s = -1;
        }
        istate_[i] = s;
    }
    return res;
}

} // namespace

Result solve(const Problem &p, const Options &o, Integer *istate, TalvoFloat *x, TalvoFloat *ax, TalvoFloat *clamda)
{
    Result r;
    if (p.n < 1 || p.nclin < 0 || (p.nclin > 0 && (p.C == nullptr || p.ldc < std::max(1L, p.nclin))) || p.bl == nullptr ||
        p.bu == nullptr || x == nullptr || istate == nullptr) {
        r.inform = 6;
        return r;
    }
    const bool quad = p.type != Type::FP && p.type != Type::LP;
    if (quad && !p.hess && (p.A == nullptr || p.lda < 1))
        r.inform = 6;
    if ((p.type >= Type::QP3) && !p.hess && (p.m < 0 || p.lda < std::max(1L, p.m)))
        r.inform = 6;
    if ((p.type == Type::QP1 || p.type == Type::QP2) && !p.hess && p.lda < p.n)
        r.inform = 6;
    if (p.type >= Type::LS1 && p.m > 0 && p.b == nullptr)
        r.inform = 6;
    if (r.inform != 0)
        return r;
    Engine e(p, o, istate);
    return e.run(x, ax, clamda);
}

} // namespace talvo::opt::qp
