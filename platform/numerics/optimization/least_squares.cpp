// least_squares.cpp -- TalvoMP_e04fcf_: unconstrained nonlinear least
// squares from residual values only.
//
// Each iteration forms the Jacobian J by differences of the residuals and
// its singular value decomposition J = U S V^T (one-sided Jacobi,
// talvo_mp_linalg.h).  The step is the Gauss-Newton step on the singular
// values above the noise level of the differences (their number is the
// grade of the Jacobian), damped as Levenberg and Marquardt do,
//     p(lambda) = -sum_i v_i s_i / (s_i^2 + lambda) (u_i' r),
// in the trust region form of J. J. More ("The Levenberg-Marquardt
// algorithm: implementation and theory", Lecture Notes in Math. 630, 1978):
// lambda = 0 (pure Gauss-Newton) while that step is within a bound delta on
// the step's length in the scaled variables, else the lambda whose step has
// length delta.  delta follows the rules of More's own implementation
// (MINPACK-1, Argonne report ANL-80-74, 1980): it is cut to the length of the
// first step; it becomes twice the step after an undamped step or one the
// model predicted well; after one it predicted poorly it becomes half of
// min(delta, 10 |step|), and after a step that brought no decrease mu times
// that, mu the minimiser of the quadratic interpolating the values along the
// step (within 0.1 to 0.5).  The bound thus tracks the steps actually taken,
// neither staying far above them after short Gauss-Newton steps nor falling
// below half a failed step at once: along a curved valley (Powell's badly
// scaled function) a bound that only shrinks to the failed step's length
// crawls, 249 evaluations where these rules take 53.  Retrying a step with
// another lambda needs no new Jacobian: the SVD gives every p(lambda) at once.
//
// Large residuals.  Gauss-Newton ignores the second-order part
// S = sum r_i Hess(r_i) of the Hessian of the sum of squares, and where the
// residuals at the minimum are large it converges only linearly.  So a
// quasi-Newton approximation B of S is kept beside it (Gill and Murray,
// "Algorithms for the solution of the nonlinear least-squares problem",
// SIAM J. Numer. Anal. 1978: the hybrid of Gauss-Newton and quasi-Newton),
// updated after every step s by the secant update of Dennis, Gay and Welsch
// (NL2SOL, ACM TOMS 1981): y# = (J+ - J)' r+ is the change S s, and
//     B+ = B + (w y' + y w') / (y's) - (w's) y y' / (y's)^2,
//     w = y# - B s,  y = J+' r+ - J' r,
// after B is sized down by min(1, |s'y#| / |s'Bs|); no update when
// y's <= 0.  Each iteration takes its step from the model that predicted the
// last step's reduction better: the Gauss-Newton model |r + J p|^2, or the
// augmented model |r + J p|^2 + p'Bp, whose step solves
// (J'J + B + lambda D^2) p = -J'r by Cholesky (the Gauss-Newton step when
// that matrix is not positive definite).  On small-residual problems B stays
// near zero and the Gauss-Newton model keeps being chosen.
//
// The columns of J are scaled by their norms before the SVD (More's scaling
// of the Levenberg-Marquardt method), so badly scaled variables are damped
// alike.  The differences are forward ones, h_j = 10^(-D/2) max(|x_j|, t_j) with t_j the typical size
// of x_j (|x_j| at the start, or 1 for a zero start),
// until an undamped step is shorter than 10^(-D/4) (1 + |x|) while the sum of
// squares no longer falls tenfold a step (the residuals tend to a nonzero
// limit) and the step is not a tenth of the last one or is below
// 10^(-0.45 D) (1 + |x|) (the Gauss-Newton iteration has lost the fast rate
// at which a forward step, n + 1 values, does more than a central one,
// 4n + 1), or no lower point is found; from then on the five-point central
// formula,
// h_j = 10^(-D/5) max(|x_j|, t_j), so the Jacobian (and with it the gradient
// J' r that vanishes at the minimum) carries about 4D/5 digits: on an
// ill-conditioned problem the error of J moves the computed minimiser by
// that error times the condition, so it must be far below the D/2 digits
// that would do for a well-conditioned one.  An undefined residual at a
// trial point counts as no decrease (the step is shortened); at the start
// point or in a difference it ends the solve with IFAIL 11.  It stops
// when a step in the central phase, taken or about to be taken, is shorter
// than xtol (1 + |x|) and its reduction below what the sum of squares
// resolves; when an undamped step of the forward phase that cut the sum of
// squares tenfold is shorter than xtol (1 + |x|) (the residuals tend to zero
// and convergence is quadratic); or when the sum of squares is zero.  No
// trial is spent on a step whose predicted reduction is below the
// resolution of the sum of squares.
#include "dense.hpp"

#include <algorithm>

using namespace talvo::opt;
namespace la = talvo::linalg;

void TalvoMP_e04fcf_(Integer *m_, Integer *n_, TalvoMP_e04fcf_lsqfun lsqfun, TalvoMP_e04fcf_lsqmon lsqmon,
                     Integer *iprint, Integer *maxcal, TalvoFloat *eta, TalvoFloat *xtol_, TalvoFloat *stepmx_,
                     TalvoFloat *x, TalvoFloat *fsumsq, TalvoFloat *fvec, TalvoFloat *fjac, Integer *ldfjac,
                     TalvoFloat *s, TalvoFloat *v, Integer *ldv, Integer *niter, Integer *nf, Integer *iw,
                     Integer *liw, TalvoFloat *w, Integer *lw, Integer *ifail)
{
    const Integer m = *m_, n = *n_;
    *ifail = 0;
    *niter = 0;
    *nf = 0;
    const TalvoFloat zero(0.0), one(1.0);
    if (n < 1 || m < n || *maxcal < 1 || *ldfjac < m || *ldv < n || *liw < 1 || *lw < 1 || *eta < zero ||
        !(*eta < one) || *xtol_ < zero) {
        *ifail = 1;
        return;
    }
    const size_t M = size_t(m), N = size_t(n);
    const TalvoFloat e = eps();
    const TalvoFloat xtol = tol_or(*xtol_, eps_pow(0.85));
    const TalvoFloat stepmx = *stepmx_ > zero ? *stepmx_ : TalvoFloat(100000.0);
    const TalvoFloat h_forward = eps_pow(0.5), h_central = eps_pow(0.2);
    const TalvoFloat switch_step = eps_pow(0.25), forward_floor = eps_pow(0.45);
    // The noise levels of the singular values (relative to the largest) of a
    // forward Jacobian (forward_floor: the relative noise forward differences
    // leave, which also ends their use for short steps) and of a central one,
    // and the level at which a step or a gradient is at the noise of the
    // values: constants of the solve, formed once (each is a power at the
    // working precision).
    const TalvoFloat noise_central = eps_pow(0.75), value_noise = eps_pow(0.4);
    TalvoFloat step_prev(0.0);
    bool first_step = true;
    const TalvoFloat two(2.0), three(3.0), ten(10.0);

    enum class Eval { Ok, Stop, Undefined, Limit };
    auto eval = [&](const Vec &at, Vec &r, TalvoFloat &ss) {
        if (*nf >= *maxcal)
            return Eval::Limit;
        Integer iflag = 2, mm = m, nn = n;
        lsqfun(&iflag, &mm, &nn, at.data(), r.data(), iw, liw, w, lw);
        ++*nf;
        if (iflag < 0)
            return Eval::Stop;
        ss = zero;
        for (const TalvoFloat &ri : r) {
            if (classify(ri) == Value::Undefined || IsTalvoFloatNegativeInfinity(ri))
                return Eval::Undefined;
            ss += ri * ri;
        }
        return Eval::Ok;
    };
    auto code_of = [](Eval r) {
        return r == Eval::Stop ? kUserStop : r == Eval::Limit ? Integer(2) : kUndefinedValue;
    };

    Vec xk(x, x + n), rk(M), xt(N), rt(M), rt2(M);
    TalvoFloat fk;
    const mpfr_prec_t prec = matrix_precision();
    la::Matrix J(m, n, prec), Js(m, n, prec), U(m, n, prec), V(n, n, prec);
    la::Vector S(n, prec), scale(n, prec);
    mpfr_t tmp;
    mpfr_init2(tmp, prec);
    struct Clear {
        mpfr_ptr t;
        ~Clear() { mpfr_clear(t); }
    } clear_tmp{tmp};
    bool have_jacobian = false;
    Integer grade = 0;

    auto finish = [&](Integer code) {
        // The outputs s and v are the SVD of the Jacobian itself.
        if (have_jacobian && !la::svd(J, U, S, V) && code == 0)
            code = 4;
        std::copy(xk.begin(), xk.end(), x);
        std::copy(rk.begin(), rk.end(), fvec);
        *fsumsq = fk;
        for (Integer j = 0; j < n; ++j) {
            for (Integer i = 0; i < m; ++i)
                fjac[i + j * *ldfjac] = have_jacobian ? from_mpfr(J(i, j)) : zero;
            s[j] = have_jacobian ? from_mpfr(S[j]) : zero;
            for (Integer i = 0; i < n; ++i)
                v[i + j * *ldv] = have_jacobian ? from_mpfr(V(i, j)) : zero;
        }
        iw[0] = grade;
        *ifail = code;
    };

    Eval r0 = eval(xk, rk, fk);
    if (r0 != Eval::Ok)
        return finish(code_of(r0));
    if (!is_finite(fk))
        return finish(kUndefinedValue);
    const TalvoFloat f0 = fk;
    // The typical size of each variable: its start value, or 1 for a zero start.
    Vec typical(N);
    for (size_t j = 0; j < N; ++j)
        typical[j] = xk[j] == zero ? one : fabs(xk[j]);

    bool central = false;
    // lambda: the damping of the last step; delta: the bound on the step's
    // length in the scaled variables (0 until the first step).
    TalvoFloat lambda = zero, delta = zero;
    bool have_delta = false;
    // The size of a step relative to x: max_j |p_j| / max(|x_j|, t_j) (J. E.
    // Dennis and R. B. Schnabel, sec. 7.2), so a step that is small beside
    // one large variable but not beside a small one counts as not small.
    auto relative_size = [&](const Vec &u) {
        TalvoFloat r = zero;
        for (size_t j = 0; j < N; ++j)
            r = fmax(r, fabs(u[j]) / fmax(fabs(xk[j]), typical[j]));
        return r;
    };
    Vec sv_last(N, zero);
    Vec ur(N), p(N);
    // The quasi-Newton part (see the head of this file): B (N x N, by
    // columns), the point, residuals, Jacobian and sum of squares of the last
    // iteration, and which model gives the steps.
    Vec B(N * N, zero), xprev, rprev;
    la::Matrix Jprev(m, n, prec);
    TalvoFloat fprev = zero;
    bool have_prev = false, augmented = false;
    // Whether the model choice and B have seen the last step (the
    // Jacobian is formed again at the same point when the phase changes).
    bool model_updated = false;
    auto jt_times = [&](const la::Matrix &A, const Vec &r) {
        Vec out(N, zero);
        for (size_t j = 0; j < N; ++j) {
            TalvoFloat t = zero;
            for (size_t i = 0; i < M; ++i)
                t += from_mpfr(A(long(i), long(j))) * r[i];
            out[j] = t;
        }
        return out;
    };
    auto quad = [&](const Vec &A, const Vec &u) { // u' A u
        TalvoFloat t = zero;
        for (size_t j = 0; j < N; ++j)
            for (size_t i = 0; i < N; ++i)
                t += u[i] * A[i + j * N] * u[j];
        return t;
    };
    la::Matrix H(n, n, prec);
    for (;;) {
        if (fk == zero)
            return finish(0);
        // The Jacobian by differences.
        for (size_t j = 0; j < N; ++j) {
            // Relative to |x_j|, but never below its typical size (a parameter
            // of 1e-6 needs a step far below 1e-6; one passing near 0 does not).
            const TalvoFloat h = (central ? h_central : h_forward) * fmax(fabs(xk[j]), typical[j]);
            xt = xk;
            xt[j] = xk[j] + h;
            TalvoFloat ss;
            Eval r = eval(xt, rt, ss);
            if (r != Eval::Ok)
                return finish(code_of(r));
            if (central) {
                // The five-point formula (8 (r(x+h) - r(x-h)) - (r(x+2h) - r(x-2h))) / 12h.
                xt[j] = xk[j] - h;
                r = eval(xt, rt2, ss);
                if (r != Eval::Ok)
                    return finish(code_of(r));
                for (size_t i = 0; i < M; ++i)
                    rt[i] = TalvoFloat(8.0) * (rt[i] - rt2[i]);
                xt[j] = xk[j] + two * h;
                r = eval(xt, rt2, ss);
                if (r != Eval::Ok)
                    return finish(code_of(r));
                for (size_t i = 0; i < M; ++i)
                    rt[i] -= rt2[i];
                xt[j] = xk[j] - two * h;
                r = eval(xt, rt2, ss);
                if (r != Eval::Ok)
                    return finish(code_of(r));
                for (size_t i = 0; i < M; ++i)
                    to_mpfr(J(long(i), long(j)), (rt[i] + rt2[i]) / (TalvoFloat(12.0) * h));
            } else {
                for (size_t i = 0; i < M; ++i)
                    to_mpfr(J(long(i), long(j)), (rt[i] - rk[i]) / h);
            }
        }
        have_jacobian = true;
        if (have_prev && !model_updated) {
            model_updated = true;
            // Choose the model by the last step, then update B with it.
            Vec sv(N);
            for (size_t j = 0; j < N; ++j)
                sv[j] = xk[j] - xprev[j];
            TalvoFloat lin = zero; // |r + J s|^2 at the last point
            for (size_t i = 0; i < M; ++i) {
                TalvoFloat t = rprev[i];
                for (size_t j = 0; j < N; ++j)
                    t += from_mpfr(Jprev(long(i), long(j))) * sv[j];
                lin += t * t;
            }
            const TalvoFloat actual = fprev - fk, pred_gn = fprev - lin, sbs = quad(B, sv);
            augmented = fabs(pred_gn - sbs - actual) < fabs(pred_gn - actual);
            Vec g_new = jt_times(J, rk), g_old = jt_times(Jprev, rprev), ysharp = jt_times(Jprev, rk);
            Vec y(N);
            for (size_t j = 0; j < N; ++j) {
                ysharp[j] = g_new[j] - ysharp[j];
                y[j] = g_new[j] - g_old[j];
            }
            const TalvoFloat ys = dot(y, sv);
            if (ys > zero) {
                if (sbs != zero) {
                    const TalvoFloat tau = fmin(one, fabs(dot(sv, ysharp)) / fabs(sbs));
                    for (auto &b : B)
                        b *= tau;
                }
                Vec wv(N);
                for (size_t i = 0; i < N; ++i) {
                    TalvoFloat t = ysharp[i];
                    for (size_t j = 0; j < N; ++j)
                        t -= B[i + j * N] * sv[j];
                    wv[i] = t;
                }
                const TalvoFloat ws = dot(wv, sv);
                for (size_t j = 0; j < N; ++j)
                    for (size_t i = 0; i < N; ++i)
                        B[i + j * N] += (wv[i] * y[j] + y[i] * wv[j]) / ys - ws * y[i] * y[j] / (ys * ys);
            }
        }
        // Columns scaled by their norms (the largest seen so far, as
        // J. J. More does in MINPACK), so the damping treats badly scaled
        // variables alike; the SVD is of the scaled Jacobian.
        for (long j = 0; j < long(N); ++j) {
            mpfr_set_zero(tmp, 1);
            for (long i = 0; i < long(M); ++i)
                mpfr_fma(tmp, J(i, j), J(i, j), tmp, MPFR_RNDN);
            mpfr_sqrt(tmp, tmp, MPFR_RNDN);
            if (mpfr_cmp(tmp, scale[j]) > 0)
                mpfr_set(scale[j], tmp, MPFR_RNDN);
            if (mpfr_zero_p(scale[j]))
                mpfr_set_ui(scale[j], 1, MPFR_RNDN);
            for (long i = 0; i < long(M); ++i)
                mpfr_div(Js(i, j), J(i, j), scale[j], MPFR_RNDN);
        }
        if (!la::svd(Js, U, S, V))
            return finish(4);
        // The grade: singular values above the noise of the differences.
        const TalvoFloat s1 = from_mpfr(S[0]);
        const TalvoFloat noise = s1 * (central ? noise_central : forward_floor);
        grade = 0;
        while (grade < n && from_mpfr(S[grade]) > noise)
            ++grade;
        for (Integer i = 0; i < grade; ++i) {
            TalvoFloat t = zero;
            for (size_t k = 0; k < M; ++k)
                t += from_mpfr(U(long(k), i)) * rk[k];
            ur[size_t(i)] = t;
        }
        // The reduction a full Gauss-Newton step would bring, by the linear model.
        TalvoFloat predicted_gn = zero;
        for (Integer i = 0; i < grade; ++i)
            predicted_gn += ur[size_t(i)] * ur[size_t(i)];
        // The full Gauss-Newton step.
        auto gn_step = [&] {
            Vec q(N, zero);
            for (size_t j = 0; j < N; ++j) {
                for (Integer i = 0; i < grade; ++i)
                    q[j] += from_mpfr(V(long(j), i)) * ur[size_t(i)] / from_mpfr(S[i]);
                q[j] /= from_mpfr(scale[long(j)]);
            }
            return q;
        };
        // The stopping test on the step about to be taken: with the central
        // Jacobian, a Gauss-Newton step that moves no variable by more than
        // xtol of its size, and whose predicted reduction the sum of squares
        // cannot resolve, says x is the minimum to the accuracy asked for;
        // the trial would only spend a value.
        if (central && (predicted_gn <= e * fk || fk <= e * f0) && relative_size(gn_step()) <= xtol)
            return finish(0);
        if (*iprint > 0 && lsqmon != nullptr && *niter % *iprint == 0) {
            Vec jac(M * N), sv(N);
            for (size_t j = 0; j < N; ++j) {
                sv[j] = from_mpfr(S[long(j)]);
                for (size_t i = 0; i < M; ++i)
                    jac[i + j * M] = from_mpfr(J(long(i), long(j)));
            }
            Integer mm = m, nn = n, ld = m, it = *niter, calls = *nf;
            lsqmon(&mm, &nn, xk.data(), rk.data(), jac.data(), &ld, sv.data(), &grade, &it, &calls, iw, liw, w, lw);
        }

        // The lambda >= lambda0 whose Gauss-Newton step has length delta in
        // the scaled variables, |pz(lambda)|^2 = sum (s_i (u_i'r) / (s_i^2 +
        // lambda))^2, by Hebden's Newton iteration on 1/|pz| - 1/delta
        // (More 1978), which converges from below without overshooting;
        // a length to within 10% is all the damping needs.
        auto lambda_for_length = [&](const TalvoFloat &delta, const TalvoFloat &lambda0) {
            TalvoFloat lam = lambda0;
            for (int it = 0; it < 100; ++it) {
                TalvoFloat q = zero, dq = zero;
                for (Integer i = 0; i < grade; ++i) {
                    const TalvoFloat si = from_mpfr(S[i]), d = si * si + lam;
                    const TalvoFloat c = si * ur[size_t(i)] / d;
                    q += c * c;
                    dq += c * c / d;
                }
                const TalvoFloat qn = sqrt(q);
                if (!(qn > delta * TalvoFloat(1.1)) || dq == zero)
                    break;
                // d|pz|/dlambda = -dq / |pz|.
                lam += (qn - delta) / delta * q / dq;
            }
            return lam;
        };
        auto scaled_norm = [&](const Vec &u) {
            TalvoFloat t2 = zero;
            for (size_t j = 0; j < N; ++j) {
                const TalvoFloat t = u[j] * from_mpfr(scale[long(j)]);
                t2 += t * t;
            }
            return sqrt(t2);
        };
        // Steps from this Jacobian until one reduces the sum of squares.
        bool accepted = false;
        TalvoFloat step_norm = zero;
        for (int tries = 0; tries < 40 && !accepted; ++tries) {
            // The damping: none when the Gauss-Newton step is within the
            // step bound delta (scaled variables), else the lambda whose
            // step has length delta.
            {
                TalvoFloat gz2 = zero;
                for (Integer i = 0; i < grade; ++i) {
                    const TalvoFloat c = ur[size_t(i)] / from_mpfr(S[i]);
                    gz2 += c * c;
                }
                const TalvoFloat gz = sqrt(gz2);
                if (!have_delta) {
                    have_delta = true;
                    // The first bound: 10 |D x0|, or 10 for a zero start
                    // (More's factor, which MINPACK-1 documents for the
                    // range 0.1 to 100, at 10 rather than the 100 it
                    // recommends: from BoxBOD's first NIST start a first
                    // step 100 |D x0| long overshoots into the valley where
                    // b2 grows without bound, and one ten times shorter does
                    // not; the MGH problems take the same steps with either).
                    TalvoFloat dx = zero;
                    for (size_t j = 0; j < N; ++j) {
                        const TalvoFloat t = xk[j] * from_mpfr(scale[long(j)]);
                        dx += t * t;
                    }
                    delta = TalvoFloat(10.0) * (dx > zero ? sqrt(dx) : one);
                }
                lambda = gz <= TalvoFloat(1.1) * delta ? zero : lambda_for_length(delta, zero);
            }
            std::fill(p.begin(), p.end(), zero);
            TalvoFloat predicted = zero;
            bool have_step = false;
            if (augmented) {
                // (J'J + B + lambda D^2) p = -J'r in the scaled variables
                // z = D x: (V S^2 V' + D^-1 B D^-1 + lambda I) pz = -V S U'r,
                // with the augmented model's own damping: none when its
                // undamped step is within delta, else the lambda whose step
                // has length delta, by the same Newton iteration on
                // 1/|pz| - 1/delta as above (More and Sorensen, "Computing a
                // trust region step", SIAM J. Sci. Stat. Comput. 1983), with
                // d|pz|/dlambda = -|L^-1 pz|^2 / |pz| from the Cholesky factor
                // L.  (The lambda of the Gauss-Newton model damps this step
                // twice over, B being positive: the steps then fall short of
                // delta and the trust region cannot grow.)
                Vec sc(N), gz(N, zero), pz(N);
                for (size_t j = 0; j < N; ++j)
                    sc[j] = from_mpfr(scale[long(j)]);
                for (size_t a = 0; a < N; ++a)
                    for (Integer i = 0; i < grade; ++i)
                        gz[a] += from_mpfr(V(long(a), i)) * from_mpfr(S[i]) * ur[size_t(i)];
                // V S^2 V' + D^-1 B D^-1, its lower triangle, formed once:
                // only the diagonal changes with lambda.
                Vec base(N * N, zero);
                for (size_t a = 0; a < N; ++a)
                    for (size_t b = 0; b <= a; ++b) {
                        TalvoFloat t = B[a + b * N] / (sc[a] * sc[b]);
                        for (Integer i = 0; i < grade; ++i) {
                            const TalvoFloat si = from_mpfr(S[i]);
                            t += from_mpfr(V(long(a), i)) * si * si * from_mpfr(V(long(b), i));
                        }
                        base[a + b * N] = t;
                    }
                // The step for one lambda; |L^-1 pz|^2 in q2.  False when the
                // matrix is not positive definite.
                auto augmented_step = [&](const TalvoFloat &lam, TalvoFloat &q2) {
                    for (size_t a = 0; a < N; ++a)
                        for (size_t b = 0; b <= a; ++b)
                            to_mpfr(H(long(a), long(b)), a == b ? base[a + b * N] + lam : base[a + b * N]);
                    if (la::cholesky(H) != 0)
                        return false;
                    la::Vector rhs(n, prec);
                    for (size_t j = 0; j < N; ++j)
                        to_mpfr(rhs[long(j)], -gz[j]);
                    la::solve_lower(H, rhs.data());
                    la::solve_lower_transposed(H, rhs.data());
                    for (size_t j = 0; j < N; ++j)
                        pz[j] = from_mpfr(rhs[long(j)]);
                    la::solve_lower(H, rhs.data());
                    q2 = zero;
                    for (size_t j = 0; j < N; ++j) {
                        const TalvoFloat t = from_mpfr(rhs[long(j)]);
                        q2 += t * t;
                    }
                    return true;
                };
                TalvoFloat lam = zero, q2;
                bool solved = augmented_step(lam, q2);
                for (int it = 0; solved && it < 100; ++it) {
                    const TalvoFloat pn2 = dot(pz, pz), pzn = sqrt(pn2);
                    if (!(pzn > delta * TalvoFloat(1.1)) || q2 == zero || !(delta > zero))
                        break;
                    lam += (pzn - delta) / delta * pn2 / q2;
                    solved = augmented_step(lam, q2);
                }
                if (solved) {
                    lambda = lam;
                    for (size_t j = 0; j < N; ++j)
                        p[j] = pz[j] / sc[j];
                    // The augmented model's reduction: -(2 g'p + p'(J'J + B)p).
                    TalvoFloat jp2 = zero;
                    for (Integer i = 0; i < grade; ++i) {
                        TalvoFloat t = zero;
                        for (size_t j = 0; j < N; ++j)
                            t += from_mpfr(V(long(j), i)) * pz[j];
                        t *= from_mpfr(S[i]);
                        jp2 += t * t;
                    }
                    predicted = -(two * dot(gz, pz) + jp2 + quad(B, p));
                    have_step = predicted > zero;
                    if (!have_step)
                        std::fill(p.begin(), p.end(), zero);
                }
            }
            for (Integer i = 0; i < grade && !have_step; ++i) {
                const TalvoFloat si = from_mpfr(S[i]);
                const TalvoFloat coef = -si / (si * si + lambda) * ur[size_t(i)];
                for (size_t j = 0; j < N; ++j)
                    p[j] += from_mpfr(V(long(j), i)) * coef / from_mpfr(scale[long(j)]);
                // Reduction the linear model predicts along this direction.
                const TalvoFloat t = si * coef;
                predicted -= t * t + two * t * ur[size_t(i)];
            }
            TalvoFloat pn = norm2(p);
            const TalvoFloat bound = stepmx * (one + norm2(xk));
            if (pn > bound) {
                for (auto &pj : p)
                    pj *= bound / pn;
                pn = bound;
            }
            if (first_step) { // the first bound, cut to the first step (a null one cuts nothing)
                first_step = false;
                const TalvoFloat first = scaled_norm(p);
                if (first > zero)
                    delta = fmin(delta, first);
            }
            if (relative_size(p) <= e)
                break; // x + p is x to the working precision
            // A reduction below the resolution of the sum of squares cannot
            // be seen: a trial would compare rounding errors.
            if (predicted <= e * fk)
                break;
            for (size_t j = 0; j < N; ++j)
                xt[j] = xk[j] + p[j];
            TalvoFloat ft;
            Eval r = eval(xt, rt, ft);
            if (r == Eval::Stop || r == Eval::Limit)
                return finish(code_of(r));
            // An undefined residual at a trial point (an overflow far out)
            // counts as no decrease: the step is shortened.
            const bool better = r == Eval::Ok && classify(ft) == Value::Finite && ft < fk;
            if (better) {
                // The bound after a success: half of min(delta, 10 |p|)
                // where the model predicted the reduction poorly
                // (rho < 1/4), twice the step where it predicted it well or
                // the step was the undamped one (More 1978, MINPACK-1).
                const TalvoFloat rho = predicted > zero ? (fk - ft) / predicted : one;
                const TalvoFloat pzn = scaled_norm(p);
                if (rho < TalvoFloat(0.25))
                    delta = TalvoFloat(0.5) * fmin(delta, ten * pzn);
                else if (lambda == zero || rho >= TalvoFloat(0.75))
                    delta = two * pzn;
                xprev = xk;
                rprev = rk;
                fprev = fk;
                for (long j = 0; j < long(N); ++j)
                    for (long i = 0; i < long(M); ++i)
                        mpfr_set(Jprev(i, j), J(i, j), MPFR_RNDN);
                have_prev = true;
                model_updated = false;
                xk = xt;
                rk = rt;
                fk = ft;
                step_norm = pn;
                for (size_t j = 0; j < N; ++j)
                    sv_last[j] = p[j];
                accepted = true;
            } else {
                // Shorter, as J. J. More's trust region form of the
                // Levenberg-Marquardt method does (Lecture Notes in Math.
                // 630, 1978): the bound becomes mu min(delta, 10 |p|) in the
                // scaled variables (MINPACK-1's form), mu the minimiser of the quadratic
                // through f(x), its slope along p and f(x + p) (J. E. Dennis
                // and R. B. Schnabel, Numerical Methods for Unconstrained
                // Optimization, 1983, A6.3.1), kept within [0.1, 0.5]; lambda
                // is then the one whose step has at most that length, found from the
                // singular values at no cost in values.  (Doubling lambda from
                // a small start instead spends a value on each of several
                // steps little shorter than the one that failed.)
                TalvoFloat mu(0.1);
                if (r == Eval::Ok && classify(ft) == Value::Finite) {
                    TalvoFloat slope = zero; // d f(x + t p)/dt at 0: 2 r'J p
                    for (size_t i = 0; i < M; ++i) {
                        TalvoFloat jp = zero;
                        for (size_t j = 0; j < N; ++j)
                            jp += from_mpfr(J(long(i), long(j))) * p[j];
                        slope += rk[i] * jp;
                    }
                    slope *= two;
                    const TalvoFloat curv = ft - fk - slope;
                    if (slope < zero && curv > zero)
                        mu = fmin(TalvoFloat(0.5), fmax(TalvoFloat(0.1), -slope / (two * curv)));
                }
                delta = mu * fmin(delta, ten * scaled_norm(p));
            }
        }
        if (!accepted) {
            if (!central) {
                central = true;
                continue;
            }
            // No lower point: the minimum as far as the precision shows when
            // the Gauss-Newton step itself is below the noise of the values
            // (10^(-0.4 D) (1 + |x|): the sum of squares cannot resolve it),
            // Or when the gradient J'r is at the noise level of the
            // differences, relative to |J| |r|.
            TalvoFloat gnorm = zero;
            for (Integer i = 0; i < grade; ++i) {
                const TalvoFloat t = from_mpfr(S[i]) * ur[size_t(i)];
                gnorm += t * t;
            }
            gnorm = sqrt(gnorm);
            const bool at_noise = norm2(gn_step()) <= value_noise * (one + norm2(xk)) ||
                                  gnorm <= value_noise * s1 * sqrt(fk);
            return finish(at_noise ? 0 : 3);
        }
        ++*niter;
        const TalvoFloat xn = one + norm2(xk);
        // The residuals tend to zero while each undamped step removes most
        // of the sum of squares (the Gauss-Newton steps converge
        // quadratically, the Jacobian's error only adding a linear rate of
        // its own size, 10^(-D/2)): there the forward differences do to the
        // end, and a step below xtol (1 + |x|) leaves x within about its
        // square of the minimum.  Otherwise the residuals tend to a nonzero
        // limit, where the Jacobian's error moves the minimiser found, and
        // the central differences take over once the steps are small.
        const bool to_zero = fk < TalvoFloat(0.1) * fprev;
        if (!central && lambda == zero && to_zero && relative_size(sv_last) <= xtol)
            return finish(0);
        // The forward differences still serve while the undamped steps
        // shrink at least tenfold each (the Gauss-Newton iteration is
        // converging faster than the Jacobian's error can stall it); the
        // central ones take over when that rate is lost, or when the step
        // reaches the noise the forward differences leave in x.
        const bool fast = step_norm <= TalvoFloat(0.1) * step_prev;
        step_prev = step_norm;
        if (!central && lambda == zero && step_norm < switch_step * xn && !to_zero &&
            (!fast || step_norm < forward_floor * xn))
            central = true;
        else if (central && step_norm <= xtol * xn &&
                 (predicted_gn <= e * fk || fk <= e * f0))
            return finish(0);
    }
}
