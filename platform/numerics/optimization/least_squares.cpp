// least_squares.cpp -- TalvoMP_e04fcf_: unconstrained nonlinear least
// squares from residual values only.
//
// Each iteration forms the Jacobian J by differences of the residuals and
// its singular value decomposition J = U S V^T (one-sided Jacobi,
// talvo_mp_linalg.h).  The step is the Gauss-Newton step on the singular
// values above the noise level of the differences (their number is the
// grade of the Jacobian), damped as Levenberg and Marquardt do,
//     p(lambda) = -sum_i v_i s_i / (s_i^2 + lambda) (u_i' r),
// with lambda = 0 (pure Gauss-Newton) while that step reduces the sum of
// squares, and otherwise raised and lowered by the ratio of actual to
// predicted reduction (H. B. Nielsen's rule, IMM report 1999).  Retrying a
// step with another lambda needs no new Jacobian: the SVD gives every
// p(lambda) at once.
//
// The columns of J are scaled by their norms before the SVD (More's scaling
// of the Levenberg-Marquardt method), so badly scaled variables are damped
// alike.  The differences are forward ones, h_j = 10^(-D/2) max(|x_j|, t_j) with t_j the typical size
// of x_j (|x_j| at the start, or 1 for a zero start),
// until an undamped step is shorter than 10^(-D/4) (1 + |x|), or no lower
// point is found; from then on the five-point central formula,
// h_j = 10^(-D/5) max(|x_j|, t_j), so the Jacobian (and with it the gradient
// J' r that vanishes at the minimum) carries about 4D/5 digits: on an
// ill-conditioned problem the error of J moves the computed minimiser by
// that error times the condition, so it must be far below the D/2 digits
// that would do for a well-conditioned one.  An undefined residual at a
// trial point counts as no decrease (the step is shortened); at the start
// point or in a difference it ends the solve with IFAIL 11.  It stops
// when a step in the central phase is shorter than xtol (1 + |x|), or the
// sum of squares is zero.
#include "dense.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

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
    const TalvoFloat switch_step = eps_pow(0.25);
    const TalvoFloat two(2.0), three(3.0);

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
    TalvoFloat lambda = zero, nu = two;
    Vec ur(N), p(N);
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
        const TalvoFloat noise = s1 * (central ? eps_pow(0.75) : eps_pow(0.45));
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

        // Steps from this Jacobian until one reduces the sum of squares.
        bool accepted = false;
        TalvoFloat step_norm = zero;
        for (int tries = 0; tries < 40 && !accepted; ++tries) {
            std::fill(p.begin(), p.end(), zero);
            TalvoFloat predicted = zero;
            for (Integer i = 0; i < grade; ++i) {
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
            if (pn <= e * (one + norm2(xk)))
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
                const TalvoFloat rho = predicted > zero ? (fk - ft) / predicted : one;
                if (lambda > zero) {
                    // A good model lowers lambda fast, so the steps become
                    // Gauss-Newton steps again and convergence fast.
                    const TalvoFloat q = two * rho - one;
                    if (rho > TalvoFloat(0.75))
                        lambda /= TalvoFloat(10.0);
                    else
                        lambda *= fmax(one / three, one - q * q * q);
                    nu = two;
                    const TalvoFloat smallest = from_mpfr(S[grade - 1]);
                    if (lambda < TalvoFloat(0.01) * smallest * smallest)
                        lambda = zero;
                }
                xk = xt;
                rk = rt;
                fk = ft;
                step_norm = pn;
                accepted = true;
            } else {
                if (lambda == zero) {
                    lambda = TalvoFloat(1e-3) * s1 * s1;
                    nu = two;
                } else {
                    lambda *= nu;
                    nu *= two;
                }
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
            TalvoFloat gn = zero;
            for (size_t j = 0; j < N; ++j) {
                TalvoFloat pj = zero;
                for (Integer i = 0; i < grade; ++i)
                    pj += from_mpfr(V(long(j), i)) * ur[size_t(i)] / from_mpfr(S[i]);
                pj /= from_mpfr(scale[long(j)]);
                gn += pj * pj;
            }
            // Or when the gradient J'r is at the noise level of the
            // differences, relative to |J| |r|.
            TalvoFloat gnorm = zero;
            for (Integer i = 0; i < grade; ++i) {
                const TalvoFloat t = from_mpfr(S[i]) * ur[size_t(i)];
                gnorm += t * t;
            }
            gnorm = sqrt(gnorm);
            if (getenv("OPT_DEBUG")) fprintf(stderr, "stuck: gn %g ratio %g\n", sqrt(gn).to_double(), (gnorm / (s1 * sqrt(fk))).to_double());
            const bool at_noise = sqrt(gn) <= eps_pow(0.4) * (one + norm2(xk)) ||
                                  gnorm <= eps_pow(0.4) * s1 * sqrt(fk);
            return finish(at_noise ? 0 : 3);
        }
        ++*niter;
        if (getenv("OPT_DEBUG")) fprintf(stderr, "it %ld nf %ld f %g step %g central %d lambda %g grade %ld\n", long(*niter), long(*nf), fk.to_double(), step_norm.to_double(), int(central), lambda.to_double(), long(grade));
        const TalvoFloat xn = one + norm2(xk);
        if (!central && lambda == zero && step_norm < switch_step * xn)
            central = true;
        else if (central && step_norm <= xtol * xn &&
                 (predicted_gn <= e * fk || fk <= e * f0))
            return finish(0);
    }
}
