// krylov.cpp -- the Krylov solvers as explicit state machines, and the
// reverse-communication routines over them (f11bdf/bef/bff and their
// complex twins f11brf/bsf/btf; f11grf/gsf/gtf for Hermitian matrices).
//
// Each solver is one function, run(), whose position is kept in pc_: a
// request (a product with A or A^H, a preconditioner solve, a monitoring
// pause) stores the line it stops at and returns; the next resume() jumps
// back there (the labels are the case labels of the switch around the
// body).  Every variable that lives across a request is a member, so the
// state is complete between calls.  Methods:
//   - restarted GMRES (Saad and Schultz 1986): Arnoldi with modified
//     Gram-Schmidt, Givens rotations on the Hessenberg matrix, the residual
//     norm of the least-squares problem as the inner estimate, the true
//     residual at each restart;
//   - CGS (Sonneveld 1989), preconditioned as in Barrett et al., Templates
//     for the Solution of Linear Systems (1994);
//   - Bi-CGSTAB(l) (Sleijpen and Fokkema 1993), l BiCG steps then a minimal
//     residual polynomial of degree l; x is updated once per cycle from the
//     accumulated update of y (one more solve with M), except for l = 1,
//     where both updates of x come from the two solves of the step;
//   - TFQMR (Freund 1993), in the form of Saad's Iterative Methods for
//     Sparse Linear Systems, alg. 7.8, with the quasi-residual bound
//     tau sqrt(m + 1) deciding when the true residual is checked;
//   - CG (Hestenes and Stiefel 1952) and SYMMLQ (Paige and Saunders 1975)
//     for Hermitian A with a Hermitian positive definite preconditioner;
//     SYMMLQ returns the CG point of its last step (whose residual the
//     Lanczos vectors give exactly).
// The nonsymmetric methods precondition on the right (A M^{-1} y = b,
// x = M^{-1} y), so the residual they test is that of the original system.
// ||A|| is estimated when not given by Hager's 1-norm estimator (Hager
// 1984, with Higham's 1988 safeguard), through products with A and A^H.
#include "common.hpp"
#include "few_limbs.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>

namespace talvo::sparse {

template <class K>
struct Krylov<K>::State {
    State(const KrylovSetup &s, mpfr_prec_t prec)
    {
        const long n = s.n;
        auto vec = [&](int count) {
            std::vector<Vec<K>> v;
            for (int i = 0; i < count; ++i)
                v.emplace_back(n, prec);
            return v;
        };
        acc = Vec<K>(1, prec);
        sc = Vec<K>(8, prec);
        re = Vec<RealKind>(16, prec);
        ex = vec(3);
        switch (s.method) {
        case Method::RGMRES:
            V = vec(int(s.m + 1));
            H = Vec<K>((s.m + 1) * s.m, prec);
            g = Vec<K>(s.m + 1, prec);
            sn = Vec<K>(s.m, prec);
            cs = Vec<RealKind>(s.m, prec);
            y = Vec<K>(s.m, prec);
            break;
        case Method::BICGSTAB:
            uh = vec(int(s.m + 1));
            rh = vec(int(s.m + 1));
            tau = Vec<K>((s.m + 1) * (s.m + 1), prec);
            sig = Vec<RealKind>(s.m + 1, prec);
            gam = Vec<K>(s.m + 1, prec);
            gp = Vec<K>(s.m + 1, prec);
            gpp = Vec<K>(s.m + 1, prec);
            w = vec(3);
            break;
        default:
            w = vec(8);
        }
    }
    std::vector<Vec<K>> V, uh, rh, w, ex;
    Vec<K> H, g, sn, y, tau, gam, gp, gpp, acc, sc;
    Vec<RealKind> cs, sig, re;
    long j = 0, i = 0, k = 0, it = 0, pass = 0;
    bool first = true;
    const Vec<K> *src = nullptr;
};

template <class K>
Krylov<K>::Krylov(const KrylovSetup &s, mpfr_prec_t prec)
    : s_(s), prec_(prec), t_(prec), x_(s.n, prec), b_(s.n, prec), wgt_(s.weighted ? s.n : 0, prec),
      r_(s.n, prec), w_(s.n, prec), z_(s.n, prec), st_(std::make_unique<State>(s, prec))
{
    for (mpfr_ptr p : {stplhs_, stprhs_, anorm_, sigmax_, tol_, bnorm_}) {
        mpfr_init2(p, prec);
        mpfr_set_zero(p, 1);
    }
    if (s.tol_mp)
        mpfr_set(tol_, s.tol_mp, MPFR_RNDN);
    else
        mpfr_set_d(tol_, s.tol, MPFR_RNDN);
    if (mpfr_sgn(tol_) <= 0) { // the square root of the working epsilon
        mpfr_set_ui_2exp(tol_, 1, (1 - prec) / 2, MPFR_RNDN);
    }
    if (s.anorm_mp)
        mpfr_set(anorm_, s.anorm_mp, MPFR_RNDN);
    else
        mpfr_set_d(anorm_, s.anorm, MPFR_RNDN);
    mpfr_set_d(sigmax_, s.sigmax, MPFR_RNDN);
    if (s_.iterm == 2) {
        s_.norm = '2';
        need_estimate_ = mpfr_sgn(sigmax_) <= 0;
    } else {
        need_estimate_ = mpfr_sgn(anorm_) <= 0;
    }
}

template <class K>
Krylov<K>::~Krylov()
{
    for (mpfr_ptr p : {stplhs_, stprhs_, anorm_, sigmax_, tol_, bnorm_})
        mpfr_clear(p);
}

template <class K>
void Krylov<K>::wnorm(mpfr_ptr out, const Vec<K> &v, char which)
{
    if (!s_.weighted) {
        norm(out, v, which, t_);
        return;
    }
    Real a(prec_);
    mpfr_set_zero(out, 1);
    for (long k = 0; k < v.size(); ++k) {
        K::abs(a, v[k], t_);
        talvo::floatn::mul_rn(a, a, wgt_[k]);
        if (which == '2') {
            mpfr_sqr(a, a, MPFR_RNDN);
            talvo::floatn::add_rn(out, out, a);
        } else if (which == '1') {
            talvo::floatn::add_rn(out, out, a);
        } else if (mpfr_cmp(a, out) > 0) {
            mpfr_set(out, a, MPFR_RNDN);
        }
    }
    if (which == '2')
        mpfr_sqrt(out, out, MPFR_RNDN);
}

template <class K>
void Krylov<K>::threshold(const Vec<K> &x)
{
    Real xn(prec_);
    wnorm(xn, x, s_.norm);
    talvo::floatn::mul_rn(xn, xn, s_.iterm == 2 ? sigmax_ : anorm_);
    talvo::floatn::add_rn(xn, xn, bnorm_);
    talvo::floatn::mul_rn(stprhs_, xn, tol_);
}

template <class K>
bool Krylov<K>::test(const Vec<K> &r, const Vec<K> &x)
{
    wnorm(stplhs_, r, s_.norm);
    threshold(x);
    return mpfr_number_p(stplhs_) && mpfr_number_p(stprhs_) && mpfr_cmp(stplhs_, stprhs_) <= 0;
}

template <class K>
Request Krylov<K>::resume(bool terminate)
{
    if (done_)
        return kDone;
    if (terminate) {
        status_ = kTerminated;
        done_ = true;
        u_ = &x_;
        return kDone;
    }
    return run();
}

// A request: remember where to come back, and return.
#define KRYLOV_REQUEST(req)                                                                                         \
    do {                                                                                                            \
        pc_ = __LINE__;                                                                                             \
        return (req);                                                                                               \
    case __LINE__:;                                                                                                 \
    } while (0)
#define KRYLOV_MATVEC(src, dst)                                                                                     \
    do {                                                                                                            \
        u_ = &(src);                                                                                                \
        v_ = &(dst);                                                                                                \
    } while (0);                                                                                                    \
    KRYLOV_REQUEST(kMatvec)
// dst = M^{-1} src (a copy without a preconditioner)
#define KRYLOV_PRECON(src, dst)                                                                                     \
    do {                                                                                                            \
        u_ = &(src);                                                                                                \
        v_ = &(dst);                                                                                                \
        if (!s_.precon)                                                                                             \
            copy(*v_, *u_);                                                                                         \
    } while (0);                                                                                                    \
    if (s_.precon)                                                                                                  \
    KRYLOV_REQUEST(kPrecon)
#define KRYLOV_FINISH(code)                                                                                         \
    do {                                                                                                            \
        status_ = (code);                                                                                           \
        done_ = true;                                                                                               \
        u_ = &x_;                                                                                                   \
        pc_ = -1;                                                                                                   \
        return kDone;                                                                                               \
    } while (0)
#define KRYLOV_MONITOR()                                                                                            \
    if (s_.monit > 0 && itn_ % s_.monit == 0)                                                                       \
    KRYLOV_REQUEST(kMonitor)

namespace {

// y = a + s b
template <class K>
void lincomb(Vec<K> &y, const Vec<K> &a, mpfr_srcptr s, const Vec<K> &b, Tmp &t)
{
    for (long k = 0; k < y.size(); ++k) {
        K::mul(t[0] + 0, s, b[k], t); // t[0..3] used by mul; result into y below
        K::add(y[k], a[k], t[0]);
    }
}

} // namespace

template <class K>
Request Krylov<K>::run()
{
    State &S = *st_;
    const long n = s_.n;
    Tmp &t = t_;
    mpfr_ptr acc = S.acc[0];
    // scalars by role
    mpfr_ptr alpha = S.sc[0], beta = S.sc[1], rho = S.sc[2], rho1 = S.sc[3], sigma = S.sc[4], omega = S.sc[5],
             c0 = S.sc[6], c1 = S.sc[7];
    mpfr_ptr r0 = S.re[0], r1 = S.re[1], r2 = S.re[2], r3 = S.re[3], r4 = S.re[4];

    switch (pc_) {
    case 0:
        // ---- estimate ||A||_1 (pass 0: Op = A) and ||A^H||_1 = ||A||_inf (pass 1: Op = A^H)
        if (need_estimate_) {
            mpfr_set_zero(S.re[10], 1);
            mpfr_set_zero(S.re[11], 1);
            for (S.pass = 0; S.pass < 2; ++S.pass) {
                if ((s_.norm == '1' && s_.iterm == 1 && S.pass == 1) ||
                    (s_.norm == 'I' && s_.iterm == 1 && S.pass == 0))
                    continue;
                mpfr_set_si(r0, n, MPFR_RNDN);
                mpfr_ui_div(r0, 1, r0, MPFR_RNDN);
                for (long k = 0; k < n; ++k)
                    K::set_real(S.ex[0][k], r0);
                mpfr_set_zero(S.re[12 + S.pass], 1); // the estimate
                for (S.it = 0; S.it < 5; ++S.it) {
                    u_ = &S.ex[0];
                    v_ = &S.ex[1];
                    KRYLOV_REQUEST(S.pass == 0 ? kMatvec : kMatvecH);
                    norm(r1, S.ex[1], '1', t);
                    if (S.it > 0 && mpfr_cmp(r1, S.re[12 + S.pass]) <= 0)
                        break;
                    mpfr_set(S.re[12 + S.pass], r1, MPFR_RNDN);
                    for (long k = 0; k < n; ++k) { // the signs of y
                        K::abs(r2, S.ex[1][k], t);
                        if (mpfr_zero_p(r2))
                            K::set_si(S.ex[1][k], 1);
                        else
                            for (int h = 0; h < K::W; ++h)
                                mpfr_div(S.ex[1][k] + h, S.ex[1][k] + h, r2, MPFR_RNDN);
                    }
                    u_ = &S.ex[1];
                    v_ = &S.ex[2];
                    KRYLOV_REQUEST(S.pass == 0 ? kMatvecH : kMatvec);
                    S.j = 0;
                    norm(r1, S.ex[2], 'I', t);
                    for (long k = 0; k < n; ++k) {
                        K::abs(r2, S.ex[2][k], t);
                        if (mpfr_equal_p(r2, r1)) {
                            S.j = k;
                            break;
                        }
                    }
                    dot(c0, S.ex[2], S.ex[0], t, acc);
                    K::abs(r2, c0, t);
                    if (S.it > 0 && mpfr_cmp(r1, r2) <= 0)
                        break;
                    set_zero(S.ex[0]);
                    K::set_si(S.ex[0][S.j], 1);
                }
                // Higham's safeguard: x_i = (-1)^i (1 + i / (n - 1))
                for (long k = 0; k < n; ++k) {
                    mpfr_set_si(r1, k, MPFR_RNDN);
                    if (n > 1)
                        mpfr_div_si(r1, r1, n - 1, MPFR_RNDN);
                    mpfr_add_ui(r1, r1, 1, MPFR_RNDN);
                    if (k % 2)
                        mpfr_neg(r1, r1, MPFR_RNDN);
                    K::set_real(S.ex[0][k], r1);
                }
                u_ = &S.ex[0];
                v_ = &S.ex[1];
                KRYLOV_REQUEST(S.pass == 0 ? kMatvec : kMatvecH);
                norm(r1, S.ex[1], '1', t);
                mpfr_mul_ui(r1, r1, 2, MPFR_RNDN);
                mpfr_div_si(r1, r1, 3 * n, MPFR_RNDN);
                if (mpfr_cmp(r1, S.re[12 + S.pass]) > 0)
                    mpfr_set(S.re[12 + S.pass], r1, MPFR_RNDN);
            }
            if (s_.iterm == 1 && s_.norm == '1')
                mpfr_set(anorm_, S.re[12], MPFR_RNDN);
            else if (s_.iterm == 1 && s_.norm == 'I')
                mpfr_set(anorm_, S.re[13], MPFR_RNDN);
            else {
                talvo::floatn::mul_rn(anorm_, S.re[12], S.re[13]);
                mpfr_sqrt(anorm_, anorm_, MPFR_RNDN);
                if (s_.iterm == 2)
                    mpfr_set(sigmax_, anorm_, MPFR_RNDN);
            }
        }
        wnorm(bnorm_, b_, s_.norm);

        // ---- r = b - A x
        KRYLOV_MATVEC(x_, w_);
        for (long k = 0; k < n; ++k)
            K::sub(r_[k], b_[k], w_[k]);
        if (test(r_, x_))
            KRYLOV_FINISH(kConverged);
        mpfr_set(S.re[9], stplhs_, MPFR_RNDN); // the last true residual norm

        if (s_.method == Method::RGMRES) {
            for (;;) {
                norm(r0, r_, '2', t); // beta
                threshold(x_);
                for (long k = 0; k < n; ++k)
                    K::set(S.V[0][k], r_[k]);
                mpfr_ui_div(r1, 1, r0, MPFR_RNDN);
                for (long k = 0; k < n; ++k)
                    K::scale(S.V[0][k], S.V[0][k], r1);
                for (long k = 0; k <= s_.m; ++k)
                    K::zero(S.g[k]);
                K::set_real(S.g[0], r0);
                for (S.j = 0; S.j < s_.m;) {
                    KRYLOV_PRECON(S.V[S.j], z_);
                    KRYLOV_MATVEC(z_, S.V[S.j + 1]);
                    {
                        const long j = S.j, m1 = s_.m + 1;
                        Vec<K> &wv = S.V[j + 1];
                        // Modified Gram-Schmidt, one pass over w per basis
                        // vector: the update of w by V_i and the inner product
                        // of V_{i+1} with the updated w (the next h) go
                        // together, and the last pass also sums |w|^2; the
                        // operations and their order are those of the plain
                        // loop (h_i = V_i^H w, w -= h_i V_i, then ||w||), so
                        // the results are the same to the bit, with fewer
                        // reads of w.
                        dot(S.H[j * m1], S.V[0], wv, t, acc);
                        mpfr_set_zero(r2, 1);
                        for (long i = 0; i <= j; ++i) {
                            mpfr_srcptr h = S.H[i + j * m1];
                            const Vec<K> &vi = S.V[i];
                            if (i < j) {
                                const Vec<K> &vn = S.V[i + 1];
                                K::zero(acc);
                                for (long k = 0; k < n; ++k) {
                                    K::mulsub(wv[k], h, vi[k], t);
                                    K::cmuladd(acc, vn[k], wv[k], t);
                                }
                                K::set(S.H[i + 1 + j * m1], acc);
                            } else {
                                for (long k = 0; k < n; ++k) {
                                    K::mulsub(wv[k], h, vi[k], t);
                                    K::abs2(r3, wv[k], t);
                                    talvo::floatn::add_rn(r2, r2, r3);
                                }
                            }
                        }
                        mpfr_sqrt(r2, r2, MPFR_RNDN);
                        K::set_real(S.H[j + 1 + j * m1], r2);
                        if (!mpfr_zero_p(r2)) {
                            mpfr_ui_div(r3, 1, r2, MPFR_RNDN);
                            for (long k = 0; k < n; ++k)
                                K::scale(wv[k], wv[k], r3);
                        }
                        for (long i = 0; i < j; ++i) { // earlier rotations
                            mpfr_ptr hi = S.H[i + j * m1], hi1 = S.H[i + 1 + j * m1];
                            // hi' = c hi + s hi1; hi1' = -conj(s) hi + c hi1
                            K::mul(c0, S.sn[i], hi1, t);
                            K::scale(c1, hi, S.cs[i]);
                            K::add(c0, c0, c1); // new hi
                            K::cmul(c1, S.sn[i], hi, t);
                            K::neg(c1, c1);
                            K::scale(alpha, hi1, S.cs[i]);
                            K::add(hi1, c1, alpha);
                            K::set(hi, c0);
                        }
                        // the rotation that zeroes H(j+1, j)
                        mpfr_ptr a = S.H[j + j * m1], b = S.H[j + 1 + j * m1];
                        if (K::is_zero(b)) {
                            mpfr_set_ui(S.cs[j], 1, MPFR_RNDN);
                            K::zero(S.sn[j]);
                        } else if (K::is_zero(a)) {
                            mpfr_set_zero(S.cs[j], 1);
                            K::set_si(S.sn[j], 1);
                            K::set(a, b);
                        } else {
                            K::abs(r3, a, t);
                            K::abs2(r4, a, t);
                            K::abs2(r2, b, t);
                            talvo::floatn::add_rn(r4, r4, r2);
                            mpfr_sqrt(r4, r4, MPFR_RNDN); // the norm
                            mpfr_div(S.cs[j], r3, r4, MPFR_RNDN);
                            mpfr_ui_div(r2, 1, r3, MPFR_RNDN);
                            K::scale(c0, a, r2); // a / |a|
                            K::conj(c1, b);
                            K::mul(S.sn[j], c0, c1, t);
                            mpfr_ui_div(r2, 1, r4, MPFR_RNDN);
                            K::scale(S.sn[j], S.sn[j], r2);
                            K::scale(a, c0, r4);
                        }
                        K::zero(b);
                        // g(j+1) = -conj(s) g(j); g(j) = c g(j)
                        K::cmul(S.g[j + 1], S.sn[j], S.g[j], t);
                        K::neg(S.g[j + 1], S.g[j + 1]);
                        K::scale(S.g[j], S.g[j], S.cs[j]);
                        K::abs(stplhs_, S.g[j + 1], t);
                        ++itn_;
                        ++S.j;
                        S.first = mpfr_zero_p(r2); // breakdown: the Krylov space is invariant
                    }
                    KRYLOV_MONITOR();
                    if (mpfr_cmp(stplhs_, stprhs_) <= 0 || S.first || itn_ >= s_.maxitn)
                        break;
                }
                {
                    const long kk = S.j, m1 = s_.m + 1;
                    for (long i = kk - 1; i >= 0; --i) { // H y = g
                        K::set(S.y[i], S.g[i]);
                        for (long l = i + 1; l < kk; ++l)
                            K::mulsub(S.y[i], S.H[i + l * m1], S.y[l], t);
                        if (K::is_zero(S.H[i + i * m1])) // singular: no component along this direction
                            K::zero(S.y[i]);
                        else
                            K::div(S.y[i], S.y[i], S.H[i + i * m1], t);
                    }
                    set_zero(w_);
                    for (long i = 0; i < kk; ++i)
                        axpy(w_, S.y[i], S.V[i], t);
                }
                KRYLOV_PRECON(w_, z_);
                for (long k = 0; k < n; ++k)
                    K::add(x_[k], x_[k], z_[k]);
                KRYLOV_MATVEC(x_, w_);
                for (long k = 0; k < n; ++k)
                    K::sub(r_[k], b_[k], w_[k]);
                if (test(r_, x_))
                    KRYLOV_FINISH(kConverged);
                if (!mpfr_number_p(stplhs_))
                    KRYLOV_FINISH(kBreakdown);
                if (itn_ >= s_.maxitn)
                    KRYLOV_FINISH(kIterationLimit);
                if (mpfr_cmp(stplhs_, S.re[9]) >= 0)
                    KRYLOV_FINISH(kAccuracy);
                mpfr_set(S.re[9], stplhs_, MPFR_RNDN);
            }
        }

        if (s_.method == Method::CGS) {
            // w[0] rt, w[1] u, w[2] p, w[3] q, w[4] vhat
            copy(S.w[0], r_);
            S.first = true;
            for (;;) {
                dot(rho, S.w[0], r_, t, acc);
                if (K::is_zero(rho) || !K::is_finite(rho))
                    KRYLOV_FINISH(kBreakdown);
                if (S.first) {
                    copy(S.w[1], r_);
                    copy(S.w[2], S.w[1]);
                    S.first = false;
                } else {
                    K::div(beta, rho, rho1, t);
                    lincomb(S.w[1], r_, beta, S.w[3], t);       // u = r + beta q
                    lincomb(S.w[2], S.w[3], beta, S.w[2], t);   // p = q + beta p
                    lincomb(S.w[2], S.w[1], beta, S.w[2], t);   // p = u + beta (q + beta p)
                }
                KRYLOV_PRECON(S.w[2], z_);
                KRYLOV_MATVEC(z_, S.w[4]);
                dot(sigma, S.w[0], S.w[4], t, acc);
                if (K::is_zero(sigma) || !K::is_finite(sigma))
                    KRYLOV_FINISH(kBreakdown);
                K::div(alpha, rho, sigma, t);
                K::neg(c0, alpha);
                lincomb(S.w[3], S.w[1], c0, S.w[4], t); // q = u - alpha vhat
                for (long k = 0; k < n; ++k)
                    K::add(w_[k], S.w[1][k], S.w[3][k]);
                KRYLOV_PRECON(w_, z_);
                axpy(x_, alpha, z_, t);
                KRYLOV_MATVEC(z_, w_);
                axmy(r_, alpha, w_, t);
                K::set(rho1, rho);
                ++itn_;
                if (test(r_, x_))
                    KRYLOV_FINISH(kConverged);
                if (!mpfr_number_p(stplhs_))
                    KRYLOV_FINISH(kBreakdown);
                KRYLOV_MONITOR();
                if (itn_ >= s_.maxitn)
                    KRYLOV_FINISH(kIterationLimit);
            }
        }

        if (s_.method == Method::BICGSTAB) {
            // rh[0] is the residual; w[0] rt, w[1] xh (the update of y), w[2] spare
            copy(S.w[0], r_);
            copy(S.rh[0], r_);
            set_zero(S.uh[0]);
            K::set_si(rho, 1);
            K::zero(alpha);
            K::set_si(omega, 1);
            for (;;) {
                set_zero(S.w[1]);
                K::mul(rho, omega, rho, t);
                K::neg(rho, rho);
                S.i = 0; // set when the BiCG part cannot go on (a breakdown, or the exact solution)
                for (S.j = 0; S.j < s_.m; ++S.j) {
                    dot(rho1, S.w[0], S.rh[S.j], t, acc);
                    if (K::is_zero(rho) || K::is_zero(rho1) || !K::is_finite(rho1)) {
                        S.i = 1;
                        break;
                    }
                    K::div(beta, rho1, rho, t);
                    K::mul(beta, beta, alpha, t);
                    K::set(rho, rho1);
                    K::neg(c0, beta);
                    for (long i = 0; i <= S.j; ++i)
                        lincomb(S.uh[i], S.rh[i], c0, S.uh[i], t);
                    KRYLOV_PRECON(S.uh[S.j], z_);
                    KRYLOV_MATVEC(z_, S.uh[S.j + 1]);
                    dot(sigma, S.w[0], S.uh[S.j + 1], t, acc);
                    if (K::is_zero(sigma) || !K::is_finite(sigma)) {
                        S.i = 1;
                        break;
                    }
                    K::div(alpha, rho, sigma, t);
                    for (long i = 0; i <= S.j; ++i)
                        axmy(S.rh[i], alpha, S.uh[i + 1], t);
                    if (s_.m == 1) // x += alpha M^{-1} uh[0], which z holds
                        axpy(x_, alpha, z_, t);
                    KRYLOV_PRECON(S.rh[S.j], z_);
                    KRYLOV_MATVEC(z_, S.rh[S.j + 1]);
                    if (s_.m > 1)
                        axpy(S.w[1], alpha, S.uh[0], t);
                    ++itn_;
                }
                if (S.i == 0) {
                    const long l = s_.m, l1 = s_.m + 1;
                    auto T = [&](long i, long j) { return S.tau[i + j * l1]; };
                    for (long j = 1; j <= l; ++j) {
                        for (long i = 1; i < j; ++i) {
                            if (mpfr_zero_p(S.sig[i])) {
                                K::zero(T(i, j));
                                continue;
                            }
                            dot(T(i, j), S.rh[i], S.rh[j], t, acc);
                            for (int h = 0; h < K::W; ++h)
                                mpfr_div(T(i, j) + h, T(i, j) + h, S.sig[i], MPFR_RNDN);
                            axmy(S.rh[j], T(i, j), S.rh[i], t);
                        }
                        dot(c0, S.rh[j], S.rh[j], t, acc);
                        mpfr_set(S.sig[j], c0, MPFR_RNDN);
                        if (mpfr_zero_p(S.sig[j])) {
                            K::zero(S.gp[j]);
                        } else {
                            dot(S.gp[j], S.rh[j], S.rh[0], t, acc);
                            for (int h = 0; h < K::W; ++h)
                                mpfr_div(S.gp[j] + h, S.gp[j] + h, S.sig[j], MPFR_RNDN);
                        }
                    }
                    K::set(S.gam[l], S.gp[l]);
                    K::set(omega, S.gam[l]);
                    for (long j = l - 1; j >= 1; --j) {
                        K::set(S.gam[j], S.gp[j]);
                        for (long i = j + 1; i <= l; ++i)
                            K::mulsub(S.gam[j], T(j, i), S.gam[i], t);
                    }
                    for (long j = 1; j <= l - 1; ++j) {
                        K::set(S.gpp[j], S.gam[j + 1]);
                        for (long i = j + 1; i <= l - 1; ++i)
                            K::muladd(S.gpp[j], T(j, i), S.gam[i + 1], t);
                    }
                    if (l == 1) // x += gamma_1 M^{-1} rh[0], which z holds
                        axpy(x_, S.gam[1], z_, t);
                    else
                        axpy(S.w[1], S.gam[1], S.rh[0], t);
                    axmy(S.rh[0], S.gp[l], S.rh[l], t);
                    axmy(S.uh[0], S.gam[l], S.uh[l], t);
                    for (long j = 1; j <= l - 1; ++j) {
                        axmy(S.uh[0], S.gam[j], S.uh[j], t);
                        axpy(S.w[1], S.gpp[j], S.rh[j], t);
                        axmy(S.rh[0], S.gp[j], S.rh[j], t);
                    }
                    if (K::is_zero(omega) && !mpfr_zero_p(S.sig[l]))
                        KRYLOV_FINISH(kBreakdown);
                }
                if (s_.m > 1) { // l > 1: x += M^{-1} (the cycle's update of y)
                    KRYLOV_PRECON(S.w[1], z_);
                    for (long k = 0; k < n; ++k)
                        K::add(x_[k], x_[k], z_[k]);
                }
                if (test(S.rh[0], x_))
                    KRYLOV_FINISH(kConverged);
                if (!mpfr_number_p(stplhs_) || S.i != 0)
                    KRYLOV_FINISH(kBreakdown);
                KRYLOV_MONITOR();
                if (itn_ >= s_.maxitn)
                    KRYLOV_FINISH(kIterationLimit);
            }
        }

        if (s_.method == Method::TFQMR) {
            // w[0] rt, w[1] w, w[2] u, w[3] u_next, w[4] v, w[5] B u, w[6] d, w[7] yh
            copy(S.w[0], r_);
            copy(S.w[1], r_);
            copy(S.w[2], r_);
            KRYLOV_PRECON(S.w[2], z_);
            KRYLOV_MATVEC(z_, S.w[5]);
            copy(S.w[4], S.w[5]);
            set_zero(S.w[6]);
            set_zero(S.w[7]);
            norm(S.re[5], r_, '2', t); // tau
            mpfr_set_zero(S.re[6], 1); // theta
            K::zero(S.sc[6]);           // eta (c0)
            dot(rho, S.w[0], r_, t, acc);
            mpfr_set_ui(S.re[7], 1, MPFR_RNDN); // the scale of the bound test
            S.k = 0;
            threshold(x_);
            for (;;) {
                if (S.k % 2 == 0) {
                    dot(sigma, S.w[0], S.w[4], t, acc);
                    if (K::is_zero(sigma) || !K::is_finite(sigma))
                        KRYLOV_FINISH(kBreakdown);
                    K::div(alpha, rho, sigma, t);
                    K::neg(c1, alpha);
                    lincomb(S.w[3], S.w[2], c1, S.w[4], t);
                }
                axmy(S.w[1], alpha, S.w[5], t);
                // d = u + (theta^2 eta / alpha) d
                mpfr_sqr(r1, S.re[6], MPFR_RNDN);
                K::scale(beta, c0, r1);
                K::div(beta, beta, alpha, t);
                lincomb(S.w[6], S.w[2], beta, S.w[6], t);
                norm(r2, S.w[1], '2', t);
                mpfr_div(S.re[6], r2, S.re[5], MPFR_RNDN); // theta
                mpfr_sqr(r3, S.re[6], MPFR_RNDN);
                mpfr_add_ui(r3, r3, 1, MPFR_RNDN);
                mpfr_rec_sqrt(r3, r3, MPFR_RNDN); // c
                talvo::floatn::mul_rn(S.re[5], S.re[5], S.re[6]);
                talvo::floatn::mul_rn(S.re[5], S.re[5], r3); // tau
                mpfr_sqr(r3, r3, MPFR_RNDN);
                K::scale(c0, alpha, r3); // eta
                axpy(S.w[7], c0, S.w[6], t);
                if (S.k % 2 == 0) {
                    std::swap(S.w[2], S.w[3]);
                    KRYLOV_PRECON(S.w[2], z_);
                    KRYLOV_MATVEC(z_, S.w[5]);
                } else {
                    dot(rho1, S.w[0], S.w[1], t, acc);
                    if (K::is_zero(rho) || !K::is_finite(rho1))
                        KRYLOV_FINISH(kBreakdown);
                    K::div(beta, rho1, rho, t);
                    K::set(rho, rho1);
                    lincomb(S.w[2], S.w[1], beta, S.w[2], t); // u = w + beta u
                    lincomb(S.w[4], S.w[5], beta, S.w[4], t); // v = B u_old + beta v
                    KRYLOV_PRECON(S.w[2], z_);
                    KRYLOV_MATVEC(z_, S.w[5]);
                    lincomb(S.w[4], S.w[5], beta, S.w[4], t); // v = B u + beta (...)
                }
                ++S.k;
                ++itn_;
                mpfr_set_si(r1, S.k + 1, MPFR_RNDN);
                mpfr_sqrt(r1, r1, MPFR_RNDN);
                talvo::floatn::mul_rn(r1, r1, S.re[5]);
                talvo::floatn::mul_rn(r1, r1, S.re[7]);
                mpfr_set(stplhs_, r1, MPFR_RNDN);
                S.first = mpfr_cmp(r1, stprhs_) <= 0 || itn_ >= s_.maxitn ||
                          (s_.monit > 0 && itn_ % s_.monit == 0);
                if (S.first) {
                    KRYLOV_PRECON(S.w[7], z_);
                    for (long k = 0; k < n; ++k)
                        K::add(x_[k], x_[k], z_[k]);
                    set_zero(S.w[7]);
                    KRYLOV_MATVEC(x_, w_);
                    for (long k = 0; k < n; ++k)
                        K::sub(r_[k], b_[k], w_[k]);
                    if (test(r_, x_))
                        KRYLOV_FINISH(kConverged);
                    if (!mpfr_number_p(stplhs_))
                        KRYLOV_FINISH(kBreakdown);
                    mpfr_div_ui(S.re[7], S.re[7], 2, MPFR_RNDN);
                    KRYLOV_MONITOR();
                    if (itn_ >= s_.maxitn)
                        KRYLOV_FINISH(kIterationLimit);
                }
            }
        }

        if (s_.method == Method::CG) {
            // w[0] p, w[1] q
            KRYLOV_PRECON(r_, z_);
            copy(S.w[0], z_);
            dot(rho, r_, z_, t, acc);
            if (mpfr_sgn(rho) < 0)
                KRYLOV_FINISH(kNotPositive);
            for (;;) {
                KRYLOV_MATVEC(S.w[0], S.w[1]);
                dot(sigma, S.w[0], S.w[1], t, acc);
                if (mpfr_sgn(sigma) <= 0 || !mpfr_number_p(sigma))
                    KRYLOV_FINISH(kBreakdown);
                mpfr_div(r1, rho, sigma, MPFR_RNDN);
                K::set_real(alpha, r1);
                axpy(x_, alpha, S.w[0], t);
                axmy(r_, alpha, S.w[1], t);
                ++itn_;
                if (test(r_, x_))
                    KRYLOV_FINISH(kConverged);
                KRYLOV_MONITOR();
                if (itn_ >= s_.maxitn)
                    KRYLOV_FINISH(kIterationLimit);
                KRYLOV_PRECON(r_, z_);
                dot(rho1, r_, z_, t, acc);
                if (mpfr_sgn(rho1) <= 0)
                    KRYLOV_FINISH(mpfr_zero_p(rho1) ? kAccuracy : kNotPositive);
                mpfr_div(r1, rho1, rho, MPFR_RNDN);
                K::set_real(beta, r1);
                K::set(rho, rho1);
                lincomb(S.w[0], z_, beta, S.w[0], t);
            }
        }

        if (s_.method == Method::SYMMLQ) {
            // w[0] r1, w[1] r2, w[2] y (= M^{-1} r2), w[3] v, w[4] A v, w[5] wbar, w[6] xL, w[7] x_C
            // re: 5 beta1, 6 beta (current), 7 oldb, 8 alpha_k, 10 c_{k-1}, 11 s_{k-1}, 12 c_{k-2},
            //     13 s_{k-2}, 14 z_{k-1}, 15 z_{k-2};  sc[6..7] unused here
            copy(S.w[0], r_);
            copy(S.w[1], r_);
            KRYLOV_PRECON(S.w[1], S.w[2]);
            dot(c0, S.w[1], S.w[2], t, acc);
            if (mpfr_sgn(c0) < 0)
                KRYLOV_FINISH(kNotPositive);
            mpfr_sqrt(S.re[5], c0, MPFR_RNDN);
            mpfr_set(S.re[6], S.re[5], MPFR_RNDN);
            mpfr_set_zero(S.re[7], 1);
            copy(S.w[6], x_);
            mpfr_set_si(S.re[10], -1, MPFR_RNDN);
            mpfr_set_zero(S.re[11], 1);
            mpfr_set_si(S.re[12], -1, MPFR_RNDN);
            mpfr_set_zero(S.re[13], 1);
            mpfr_set_zero(S.re[14], 1);
            mpfr_set_zero(S.re[15], 1);
            S.k = 1;
            // v_1 = y / beta_1, wbar_1 = v_1
            mpfr_ui_div(r1, 1, S.re[6], MPFR_RNDN);
            for (long k = 0; k < n; ++k)
                K::scale(S.w[3][k], S.w[2][k], r1);
            copy(S.w[5], S.w[3]);
            for (;;) {
                KRYLOV_MATVEC(S.w[3], S.w[4]);
                if (S.k >= 2) {
                    mpfr_div(r1, S.re[6], S.re[7], MPFR_RNDN);
                    K::set_real(c0, r1);
                    axmy(S.w[4], c0, S.w[0], t);
                }
                dot(c0, S.w[3], S.w[4], t, acc);
                mpfr_set(S.re[8], c0, MPFR_RNDN); // alpha_k (real)
                mpfr_div(r1, S.re[8], S.re[6], MPFR_RNDN);
                K::set_real(c0, r1);
                axmy(S.w[4], c0, S.w[1], t);
                std::swap(S.w[0], S.w[1]);
                std::swap(S.w[1], S.w[4]); // r1 <- r2, r2 <- y
                KRYLOV_PRECON(S.w[1], S.w[2]);
                mpfr_set(S.re[7], S.re[6], MPFR_RNDN); // oldb = beta_k
                dot(c0, S.w[1], S.w[2], t, acc);
                if (mpfr_sgn(c0) < 0)
                    KRYLOV_FINISH(kNotPositive);
                mpfr_sqrt(S.re[6], c0, MPFR_RNDN); // beta_{k+1}
                ++itn_;
                {
                    // row k of T after rotations k-2, k-1
                    Real eps(prec_), delta(prec_), gbar(prec_), dbar(prec_), numer(prec_), zbar(prec_),
                        ycoef(prec_), gamma(prec_), c(prec_), s(prec_), zk(prec_), rn(prec_);
                    if (S.k == 1) {
                        mpfr_set(gbar, S.re[8], MPFR_RNDN);
                    } else {
                        talvo::floatn::mul_rn(eps, S.re[13], S.re[7]);
                        talvo::floatn::mul_rn(dbar, S.re[12], S.re[7]);
                        mpfr_neg(dbar, dbar, MPFR_RNDN);
                        talvo::floatn::mul_rn(delta, S.re[10], dbar);
                        mpfr_fma(delta, S.re[11], S.re[8], delta, MPFR_RNDN);
                        talvo::floatn::mul_rn(gbar, S.re[11], dbar);
                        talvo::floatn::mul_rn(rn, S.re[10], S.re[8]);
                        talvo::floatn::sub_rn(gbar, gbar, rn);
                    }
                    if (S.k == 1)
                        mpfr_set(numer, S.re[5], MPFR_RNDN);
                    talvo::floatn::mul_rn(rn, eps, S.re[15]);
                    talvo::floatn::sub_rn(numer, numer, rn);
                    talvo::floatn::mul_rn(rn, delta, S.re[14]);
                    talvo::floatn::sub_rn(numer, numer, rn);
                    // the CG point x_C = xL + zbar wbar_k, its residual -(y_k)_k r2
                    if (!mpfr_zero_p(gbar)) {
                        mpfr_div(zbar, numer, gbar, MPFR_RNDN);
                        talvo::floatn::mul_rn(ycoef, S.re[14], S.re[11]);
                        talvo::floatn::mul_rn(rn, zbar, S.re[10]);
                        talvo::floatn::sub_rn(ycoef, ycoef, rn);
                        copy(S.w[7], S.w[6]);
                        K::set_real(c0, zbar);
                        axpy(S.w[7], c0, S.w[5], t);
                        wnorm(stplhs_, S.w[1], s_.norm);
                        mpfr_abs(ycoef, ycoef, MPFR_RNDN);
                        talvo::floatn::mul_rn(stplhs_, stplhs_, ycoef);
                        threshold(S.w[7]);
                        S.first = true; // a CG point exists
                        if (mpfr_cmp(stplhs_, stprhs_) <= 0 || mpfr_zero_p(S.re[6])) {
                            copy(x_, S.w[7]);
                            KRYLOV_FINISH(mpfr_cmp(stplhs_, stprhs_) <= 0 ? kConverged : kAccuracy);
                        }
                    } else {
                        S.first = false;
                    }
                    if (mpfr_zero_p(S.re[6])) {
                        copy(x_, S.w[6]);
                        KRYLOV_FINISH(kAccuracy);
                    }
                    // rotation k
                    mpfr_hypot(gamma, gbar, S.re[6], MPFR_RNDN);
                    mpfr_div(c, gbar, gamma, MPFR_RNDN);
                    mpfr_div(s, S.re[6], gamma, MPFR_RNDN);
                    mpfr_div(zk, numer, gamma, MPFR_RNDN);
                    // v_{k+1} = y / beta_{k+1} (into w[3]); w_k = c wbar + s v; wbar = s wbar - c v
                    mpfr_ui_div(rn, 1, S.re[6], MPFR_RNDN);
                    for (long k = 0; k < n; ++k)
                        K::scale(S.w[3][k], S.w[2][k], rn);
                    for (long k = 0; k < n; ++k) {
                        K::scale(S.w[4][k], S.w[5][k], c); // w_k (w[4] is free until the next product)
                        K::scale(c1, S.w[3][k], s);
                        K::add(S.w[4][k], S.w[4][k], c1);
                        K::scale(S.w[5][k], S.w[5][k], s);
                        K::scale(c1, S.w[3][k], c);
                        K::sub(S.w[5][k], S.w[5][k], c1);
                    }
                    K::set_real(c0, zk);
                    axpy(S.w[6], c0, S.w[4], t);
                    mpfr_set(S.re[12], S.re[10], MPFR_RNDN);
                    mpfr_set(S.re[13], S.re[11], MPFR_RNDN);
                    mpfr_set(S.re[10], c, MPFR_RNDN);
                    mpfr_set(S.re[11], s, MPFR_RNDN);
                    mpfr_set(S.re[15], S.re[14], MPFR_RNDN);
                    mpfr_set(S.re[14], zk, MPFR_RNDN);
                    ++S.k;
                }
                if (S.first)
                    copy(x_, S.w[7]); // the monitor sees the CG point
                KRYLOV_MONITOR();
                if (itn_ >= s_.maxitn) {
                    if (!S.first)
                        copy(x_, S.w[6]);
                    KRYLOV_FINISH(kIterationLimit);
                }
            }
        }
        KRYLOV_FINISH(kOutOfTurn);
    default:
        break;
    }
    return kDone;
}

template class TALVO_SPARSE_API Krylov<RealKind>;
template class TALVO_SPARSE_API Krylov<ComplexKind>;

// ---------------------------------------------------------------------------
// The reverse-communication routines
// ---------------------------------------------------------------------------
//
// A set-up makes a solver and files it under a serial number written to
// work[0]; the solver routine finds it there.  A new set-up on the same
// work array replaces it; at most kKept solvers are kept (the oldest goes).

namespace {

struct AnySolver {
    std::unique_ptr<Krylov<RealKind>> real;
    std::unique_ptr<Krylov<ComplexKind>> complex;
    bool hermitian = false;
    bool started = false;
    mpfr_prec_t prec = 0;
};

constexpr size_t kKept = 64;
std::mutex registry_lock;
std::map<long, AnySolver> registry;
long next_serial = 1;

long file_solver(AnySolver s, long old)
{
    std::lock_guard<std::mutex> g(registry_lock);
    registry.erase(old);
    while (registry.size() >= kKept)
        registry.erase(registry.begin());
    const long id = next_serial++;
    registry.emplace(id, std::move(s));
    return id;
}

AnySolver *find_solver(long id)
{
    std::lock_guard<std::mutex> g(registry_lock);
    auto it = registry.find(id);
    return it == registry.end() ? nullptr : &it->second;
}

long serial_of(const TalvoFloat &w)
{
    if (!mpfr_number_p(w.mpfr()) || !mpfr_integer_p(w.mpfr()))
        return 0;
    return mpfr_get_si(w.mpfr(), MPFR_RNDN);
}
TalvoFloat &stamp(TalvoFloat *w) { return w[0]; }
TalvoFloat &stamp(TalvoComplex *w) { return w[0].re; }
const TalvoFloat &stamp(const TalvoFloat *w) { return w[0]; }
const TalvoFloat &stamp(const TalvoComplex *w) { return w[0].re; }

bool parse_method(const char *m, bool hermitian, Method &out)
{
    std::string s;
    for (const char *p = m ? m : ""; *p; ++p)
        if (*p != ' ')
            s += char(std::toupper(static_cast<unsigned char>(*p)));
    if (hermitian) {
        if (s == "CG")
            out = Method::CG;
        else if (s == "SYMMLQ")
            out = Method::SYMMLQ;
        else
            return false;
        return true;
    }
    if (s == "RGMRES")
        out = Method::RGMRES;
    else if (s == "CGS")
        out = Method::CGS;
    else if (s == "BICGSTAB")
        out = Method::BICGSTAB;
    else if (s == "TFQMR")
        out = Method::TFQMR;
    else
        return false;
    return true;
}

template <class W>
void setup(const char *routine, bool complex, bool hermitian, const char *method, const char *precon,
           const char *sigcmp, const char *norm, const char *weight, Integer iterm, Integer n, Integer m,
           TalvoFloat tol, Integer maxitn, TalvoFloat anorm, TalvoFloat sigmax, Integer monit, Integer *lwreq,
           W work[], Integer lwork, Integer *ifail, int shift)
{
    // argument numbers of the published lists: shift = 1 for the Hermitian
    // set-up, whose sigcmp comes third
    KrylovSetup s;
    const char pc = letter(precon), nm = letter(norm), wt = letter(weight);
    int bad = 0;
    if (!parse_method(method, hermitian, s.method))
        bad = 1;
    else if (pc != 'P' && pc != 'N')
        bad = 2;
    else if (hermitian && !one_of(letter(sigcmp), "SN"))
        bad = 3;
    else if (!one_of(nm, "12I"))
        bad = 3 + shift;
    else if (wt != 'W' && wt != 'N')
        bad = 4 + shift;
    else if (iterm != 1 && iterm != 2)
        bad = 5 + shift;
    else if (iterm == 2 && nm != '2')
        bad = 3 + shift;
    else if (n < 1)
        bad = 6 + shift;
    else if (!hermitian && (s.method == Method::RGMRES || s.method == Method::BICGSTAB) && (m < 1 || m > n))
        bad = 7;
    else if (!(mpfr_cmp_ui(tol.mpfr(), 1) < 0) || !mpfr_number_p(tol.mpfr()))
        bad = hermitian ? 8 : 8;
    else if (maxitn < 1)
        bad = 9;
    if (bad != 0) {
        set_ifail(ifail, -bad, routine, "an argument is invalid (IFAIL = -its position)");
        return;
    }
    *lwreq = 2;
    if (lwork < *lwreq || work == nullptr) {
        set_ifail(ifail, 1, routine, "lwork is less than lwreq");
        return;
    }
    s.precon = pc == 'P';
    s.norm = nm;
    s.weighted = wt == 'W';
    s.iterm = int(iterm);
    s.n = n;
    s.m = hermitian ? 0 : (s.method == Method::RGMRES || s.method == Method::BICGSTAB ? m : 0);
    s.tol_mp = tol.mpfr();
    s.maxitn = maxitn;
    s.anorm_mp = anorm.mpfr();
    s.sigmax = sigmax.to_double();
    s.monit = monit;
    const mpfr_prec_t prec = working_precision();
    AnySolver a;
    a.hermitian = hermitian;
    a.prec = prec;
    if (complex)
        a.complex = std::make_unique<Krylov<ComplexKind>>(s, prec);
    else
        a.real = std::make_unique<Krylov<RealKind>>(s, prec);
    const long id = file_solver(std::move(a), serial_of(stamp(work)));
    stamp(work) = TalvoFloat(double(id));
    if constexpr (sizeof(W) == sizeof(TalvoComplex))
        work[0].im = TalvoFloat(double(n));
    else
        work[1] = TalvoFloat(double(n));
    set_ifail(ifail, 0, routine, "");
}

template <class K>
void step(const char *routine, AnySolver &a, Krylov<K> &kr, Integer *irevcm, typename Host<K>::T u[],
          typename Host<K>::T v[], const TalvoFloat wgt[], Integer *ifail)
{
    const long n = kr.setup().n;
    if (*irevcm == 0) {
        if (a.started) {
            set_ifail(ifail, 1, routine, "irevcm is 0 but the solver has already started");
            *irevcm = 4;
            return;
        }
        a.started = true;
        from_host(kr.x(), u);
        from_host(kr.b(), v);
        if (kr.setup().weighted)
            for (long k = 0; k < n; ++k)
                mpfr_set(kr.wgt()[k], wgt[k].mpfr(), MPFR_RNDN);
    } else if (!a.started || kr.done() || !(*irevcm == 1 || *irevcm == -1 || *irevcm == 2 || *irevcm == 3 ||
                                            *irevcm == 6)) {
        set_ifail(ifail, 1, routine, "called out of turn: no set-up, after completion, or a bad irevcm");
        *irevcm = 4;
        return;
    } else if (*irevcm == 1 || *irevcm == -1 || *irevcm == 2) {
        from_host(kr.v(), v);
    }
    const Request r = kr.resume(*irevcm == 6);
    if (r == kDone) {
        to_host(u, kr.x());
        *irevcm = 4;
        const int st = kr.status();
        set_ifail(ifail, st, routine,
                  st == 2   ? "the requested accuracy could not be obtained"
                  : st == 3 ? "the preconditioner appears not to be positive definite"
                  : st == 4 ? "the method broke down"
                  : st == 5 ? "maxitn iterations were done without convergence"
                  : st == 6 ? "the caller asked the solver to stop"
                            : "");
        return;
    }
    if (r != kMonitor)
        to_host(u, kr.u());
    *irevcm = r;
    set_ifail(ifail, 0, routine, "");
}

const TalvoFloat &length_of(const TalvoFloat *w) { return w[1]; }
const TalvoFloat &length_of(const TalvoComplex *w) { return w[0].im; }

// The solver filed under work's handle, when work still holds the n it was
// set up with (a caller's tables are sized by that n).
template <class W>
AnySolver *lookup(const W work[], Integer lwork)
{
    if (work == nullptr || lwork < 2)
        return nullptr;
    AnySolver *a = find_solver(serial_of(stamp(work)));
    if (a == nullptr)
        return nullptr;
    const long n = a->real ? a->real->setup().n : a->complex->setup().n;
    return serial_of(length_of(work)) == n ? a : nullptr;
}

template <class K>
void diagnostics(const char *routine, Krylov<K> *kr, Integer *itn, TalvoFloat *stplhs, TalvoFloat *stprhs,
                 TalvoFloat *anorm, TalvoFloat *sigmax, Integer *ifail)
{
    // callable during a monitoring pause or after completion
    if (kr == nullptr || (!kr->done() && kr->iterations() == 0 && false)) {
        set_ifail(ifail, 1, routine, "no solver has been set up with this work array");
        return;
    }
    *itn = kr->iterations();
    auto put = [](TalvoFloat *o, mpfr_srcptr x) {
        if (o)
            *o = TalvoFloat::from_handle(talvo_float_from_mpfr(x, 0));
    };
    put(stplhs, kr->stplhs());
    put(stprhs, kr->stprhs());
    put(anorm, kr->anorm());
    put(sigmax, kr->sigmax());
    set_ifail(ifail, 0, routine, "");
}

} // namespace
} // namespace talvo::sparse

using namespace talvo::sparse;

void TalvoMP_f11bdf_(const char *method, const char *precon, const char *norm, const char *weight, Integer iterm,
                     Integer n, Integer m, TalvoFloat tol, Integer maxitn, TalvoFloat anorm, TalvoFloat sigmax,
                     Integer monit, Integer *lwreq, TalvoFloat work[], Integer lwork, Integer *ifail)
{
    setup("f11bdf", false, false, method, precon, nullptr, norm, weight, iterm, n, m, tol, maxitn, anorm, sigmax,
          monit, lwreq, work, lwork, ifail, 0);
}

void TalvoMP_f11brf_(const char *method, const char *precon, const char *norm, const char *weight, Integer iterm,
                     Integer n, Integer m, TalvoFloat tol, Integer maxitn, TalvoFloat anorm, TalvoFloat sigmax,
                     Integer monit, Integer *lwreq, TalvoComplex work[], Integer lwork, Integer *ifail)
{
    setup("f11brf", true, false, method, precon, nullptr, norm, weight, iterm, n, m, tol, maxitn, anorm, sigmax,
          monit, lwreq, work, lwork, ifail, 0);
}

void TalvoMP_f11grf_(const char *method, const char *precon, const char *sigcmp, const char *norm,
                     const char *weight, Integer iterm, Integer n, TalvoFloat tol, Integer maxitn, TalvoFloat anorm,
                     TalvoFloat sigmax, TalvoFloat, Integer, Integer monit, Integer *lwreq, TalvoComplex work[],
                     Integer lwork, Integer *ifail)
{
    setup("f11grf", true, true, method, precon, sigcmp, norm, weight, iterm, n, 0, tol, maxitn, anorm, sigmax, monit,
          lwreq, work, lwork, ifail, 1);
}

void TalvoMP_f11bef_(Integer *irevcm, TalvoFloat u[], TalvoFloat v[], const TalvoFloat wgt[], TalvoFloat work[],
                     Integer lwork, Integer *ifail)
{
    AnySolver *a = lookup(work, lwork);
    if (a == nullptr || !a->real) {
        set_ifail(ifail, 1, "f11bef", "no solver has been set up with this work array");
        *irevcm = 4;
        return;
    }
    step("f11bef", *a, *a->real, irevcm, u, v, wgt, ifail);
}

void TalvoMP_f11bsf_(Integer *irevcm, TalvoComplex u[], TalvoComplex v[], const TalvoFloat wgt[],
                     TalvoComplex work[], Integer lwork, Integer *ifail)
{
    AnySolver *a = lookup(work, lwork);
    if (a == nullptr || !a->complex || a->hermitian) {
        set_ifail(ifail, 1, "f11bsf", "no solver has been set up with this work array");
        *irevcm = 4;
        return;
    }
    step("f11bsf", *a, *a->complex, irevcm, u, v, wgt, ifail);
}

void TalvoMP_f11gsf_(Integer *irevcm, TalvoComplex u[], TalvoComplex v[], const TalvoFloat wgt[],
                     TalvoComplex work[], Integer lwork, Integer *ifail)
{
    AnySolver *a = lookup(work, lwork);
    if (a == nullptr || !a->complex || !a->hermitian) {
        set_ifail(ifail, 1, "f11gsf", "no solver has been set up with this work array");
        *irevcm = 4;
        return;
    }
    step("f11gsf", *a, *a->complex, irevcm, u, v, wgt, ifail);
}

void TalvoMP_f11bff_(Integer *itn, TalvoFloat *stplhs, TalvoFloat *stprhs, TalvoFloat *anorm, TalvoFloat *sigmax,
                     const TalvoFloat work[], Integer lwork, Integer *ifail)
{
    AnySolver *a = lookup(work, lwork);
    diagnostics("f11bff", a && a->real && a->started ? a->real.get() : nullptr, itn, stplhs, stprhs, anorm, sigmax,
                ifail);
}

void TalvoMP_f11btf_(Integer *itn, TalvoFloat *stplhs, TalvoFloat *stprhs, TalvoFloat *anorm, TalvoFloat *sigmax,
                     const TalvoComplex work[], Integer lwork, Integer *ifail)
{
    AnySolver *a = lookup(work, lwork);
    diagnostics("f11btf", a && a->complex && !a->hermitian && a->started ? a->complex.get() : nullptr, itn, stplhs,
                stprhs, anorm, sigmax, ifail);
}

void TalvoMP_f11gtf_(Integer *itn, TalvoFloat *stplhs, TalvoFloat *stprhs, TalvoFloat *anorm, TalvoFloat *sigmax,
                     Integer *its, TalvoFloat *sigerr, const TalvoComplex work[], Integer lwork, Integer *ifail)
{
    AnySolver *a = lookup(work, lwork);
    diagnostics("f11gtf", a && a->complex && a->hermitian && a->started ? a->complex.get() : nullptr, itn, stplhs,
                stprhs, anorm, sigmax, ifail);
    if (its)
        *its = 0;
    if (sigerr)
        *sigerr = TalvoFloat(0.0);
}
