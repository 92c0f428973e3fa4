// bounded_newton.cpp -- TalvoMP_e04kdf_: minimum of a smooth function on
// simple bounds by a modified Newton method with first derivatives.
//
// Each iteration (P. E. Gill and W. Murray, "Newton-type methods for
// unconstrained and linearly constrained optimization", Math. Prog. 7, 1974;
// the projection arc of D. P. Bertsekas, SIAM J. Control Optim. 20, 1982):
//   1. the free variables: those not held at a bound by a gradient pointing
//      out of the box (and not fixed by bl = bu);
//   2. the Hessian on the free variables by forward differences of the
//      gradient, h_j = delta (1 + |x_j|), stepping inwards at a bound, and
//      symmetrised;
//   3. its modified Cholesky factorisation L D L^T = H + E (Gill, Murray
//      and Wright), so the Newton direction is a descent direction even
//      where H is indefinite;
//   4. a backtracking search along the projection of x + a p on the box,
//      from a = 1, accepting the first point with f below
//      f + 1e-4 g'(x(a) - x) -- or, once f no longer changes at the working
//      precision, with a smaller projected gradient.
// It stops when a step is shorter than xtol (1 + |x|), or the projected
// gradient is below eps (1 + |f|).
#include "dense.hpp"
#include "few_limbs.hpp"

#include <algorithm>

using namespace talvo::opt;
namespace la = talvo::linalg;

void TalvoMP_e04kdf_(Integer *n_, TalvoMP_e04kdf_funct funct, TalvoMP_e04kdf_monit monit, Integer *iprint,
                     Integer *maxcal, TalvoFloat *eta, TalvoFloat *xtol_, TalvoFloat *delta_, TalvoFloat *stepmx_,
                     Integer *ibound, TalvoFloat *bl, TalvoFloat *bu, TalvoFloat *x, TalvoFloat *hesl, Integer *lh,
                     TalvoFloat *hesd, Integer *istate, TalvoFloat *f, TalvoFloat *g, Integer *iw, Integer *liw,
                     TalvoFloat *w, Integer *lw, Integer *ifail)
{
    const Integer n = *n_;
    *ifail = 0;
    const Integer lower_count = n * (n - 1) / 2;
    if (n < 1 || *maxcal < 1 || *ibound < 0 || *ibound > 3 || *lh < std::max<Integer>(lower_count, 1) ||
        *liw < 3 || *lw < 7 * n + lower_count) {
        *ifail = 1;
        return;
    }
    (void)eta;
    const size_t N = size_t(n);
    const TalvoFloat zero(0.0), one(1.0), c1(1e-4), half(0.5);
    const TalvoFloat e = eps();
    const TalvoFloat xtol = tol_or(*xtol_, eps_pow(0.75));
    const TalvoFloat delta = tol_or(*delta_, eps_pow(0.5));
    const TalvoFloat stepmx = *stepmx_ > zero ? *stepmx_ : TalvoFloat(100000.0);

    // The box.
    Vec lo(N), hi(N);
    const TalvoFloat inf = TalvoFloat(1.0) / zero;
    for (size_t j = 0; j < N; ++j) {
        switch (*ibound) {
        case 0:
            lo[j] = bl[j];
            hi[j] = bu[j];
            break;
        case 1:
            lo[j] = -inf;
            hi[j] = inf;
            break;
        case 2:
            lo[j] = zero;
            hi[j] = inf;
            break;
        default:
            lo[j] = bl[0];
            hi[j] = bu[0];
            break;
        }
        if (!(lo[j] <= hi[j])) {
            *ifail = 1;
            return;
        }
    }
    Vec xk(N), gk(N), xt(N), gt(N);
    for (size_t j = 0; j < N; ++j)
        xk[j] = fmin(fmax(x[j], lo[j]), hi[j]);

    Integer nf = 0, niter = 0;
    enum class Eval { Ok, Stop, Undefined, Limit };
    auto eval = [&](const Vec &at, TalvoFloat &fv, Vec &gv, Integer flag) {
        if (nf >= *maxcal)
            return Eval::Limit;
        Integer iflag = flag, nn = n;
        fv = flag == 2 ? TalvoFloat(0.0) : fv;
        funct(&iflag, &nn, at.data(), &fv, gv.data(), iw, liw, w, lw);
        ++nf;
        if (iflag < 0)
            return Eval::Stop;
        if (flag == 2 && classify(fv) == Value::Undefined)
            return Eval::Undefined;
        if (flag == 1 || classify(fv) == Value::Finite)
            for (const TalvoFloat &v : gv)
                if (!is_finite(v))
                    return Eval::Undefined;
        return Eval::Ok;
    };

    TalvoFloat fk;
    std::vector<Integer> state(N, 0);
    std::vector<size_t> free_vars;
    auto update_state = [&]() {
        free_vars.clear();
        for (size_t j = 0; j < N; ++j) {
            if (lo[j] == hi[j])
                state[j] = -3;
            else if (xk[j] <= lo[j] && gk[j] > zero)
                state[j] = -2;
            else if (xk[j] >= hi[j] && gk[j] < zero)
                state[j] = -1;
            else {
                state[j] = 0;
                free_vars.push_back(j);
            }
        }
    };
    auto projected_norm = [&]() {
        TalvoFloat s = zero;
        for (size_t j : free_vars)
            s += gk[j] * gk[j];
        return sqrt(s);
    };
    TalvoFloat gpjnrm = zero, cond = one;
    Integer posdef = 1;
    la::Matrix H;
    la::Vector d, ediag;
    auto finish = [&](Integer code) {
        std::copy(xk.begin(), xk.end(), x);
        std::copy(gk.begin(), gk.end(), g);
        *f = fk;
        for (size_t j = 0; j < N; ++j)
            istate[j] = state[j];
        for (Integer k = 0; k < *lh; ++k)
            hesl[k] = zero;
        for (size_t j = 0; j < N; ++j)
            hesd[j] = zero;
        const long nfree = H.rows();
        for (long i = 0; i < nfree; ++i) {
            hesd[i] = from_mpfr(d[i]);
            for (long j = 0; j < i; ++j)
                hesl[i * (i - 1) / 2 + j] = from_mpfr(H(i, j));
        }
        iw[0] = niter;
        iw[1] = nf;
        iw[2] = posdef;
        w[0] = gpjnrm;
        w[1] = cond;
        *ifail = code;
    };
    auto stop_code = [](Eval r) {
        return r == Eval::Stop ? kUserStop : r == Eval::Limit ? Integer(2) : kUndefinedValue;
    };

    Eval r = eval(xk, fk, gk, 2);
    update_state();
    if (r != Eval::Ok || classify(fk) != Value::Finite)
        return finish(r == Eval::Ok ? kUndefinedValue : stop_code(r));

    for (;;) {
        update_state();
        gpjnrm = projected_norm();
        if (*iprint > 0 && monit != nullptr && niter % *iprint == 0) {
            Integer nn = n;
            monit(&nn, xk.data(), &fk, gk.data(), state.data(), &gpjnrm, &cond, &posdef, &niter, &nf, iw, liw, w,
                  lw);
        }
        if (gpjnrm <= e * (one + fabs(fk)))
            return finish(0);
        const long m = long(free_vars.size());

        // The Hessian of the free variables by differences of the gradient.
        const mpfr_prec_t prec = matrix_precision();
        H = la::Matrix(m, m, prec);
        d = la::Vector(m, prec);
        ediag = la::Vector(m, prec);
        for (long c = 0; c < m; ++c) {
            const size_t j = free_vars[size_t(c)];
            TalvoFloat h = delta * (one + fabs(xk[j]));
            if (xk[j] + h > hi[j])
                h = -h;
            xt = xk;
            xt[j] = xk[j] + h;
            TalvoFloat ft = fk;
            Eval rr = eval(xt, ft, gt, 1);
            if (rr != Eval::Ok)
                return finish(stop_code(rr));
            for (long i = 0; i < m; ++i)
                to_mpfr(H(i, c), (gt[free_vars[size_t(i)]] - gk[free_vars[size_t(i)]]) / h);
        }
        for (long i = 0; i < m; ++i)
            for (long c = 0; c < i; ++c) {
                talvo::floatn::add_rn(H(i, c), H(i, c), H(c, i));
                mpfr_div_2ui(H(i, c), H(i, c), 1, MPFR_RNDN);
            }
        la::modified_cholesky(H, d, ediag);
        posdef = 1;
        TalvoFloat dmax = zero, dmin = inf;
        for (long i = 0; i < m; ++i) {
            if (mpfr_sgn(ediag[i]) != 0)
                posdef = 0;
            const TalvoFloat di = from_mpfr(d[i]);
            dmax = fmax(dmax, di);
            dmin = fmin(dmin, di);
        }
        cond = m > 0 ? dmax / dmin : one;
        // p = -(L D L^T)^-1 g on the free variables.
        la::Vector rhs(m, prec);
        for (long i = 0; i < m; ++i) {
            to_mpfr(rhs[i], gk[free_vars[size_t(i)]]);
            mpfr_neg(rhs[i], rhs[i], MPFR_RNDN);
        }
        la::solve_lower(H, rhs.data(), true);
        for (long i = 0; i < m; ++i)
            mpfr_div(rhs[i], rhs[i], d[i], MPFR_RNDN);
        la::solve_lower_transposed(H, rhs.data(), true);
        Vec p(N, zero);
        for (long i = 0; i < m; ++i)
            p[free_vars[size_t(i)]] = from_mpfr(rhs[i]);
        const TalvoFloat pnorm = norm2(p), xnorm = norm2(xk);
        TalvoFloat a = one;
        if (pnorm > stepmx * (one + xnorm))
            a = stepmx * (one + xnorm) / pnorm;

        // The projection arc.
        bool accepted = false;
        TalvoFloat fnew;
        Vec xnew(N), gnew(N);
        for (int tries = 0; tries < 60; ++tries) {
            for (size_t j = 0; j < N; ++j)
                xnew[j] = fmin(fmax(xk[j] + a * p[j], lo[j]), hi[j]);
            TalvoFloat decrease = zero;
            for (size_t j = 0; j < N; ++j)
                decrease += gk[j] * (xnew[j] - xk[j]);
            Eval rr = eval(xnew, fnew, gnew, 2);
            if (rr != Eval::Ok)
                return finish(stop_code(rr));
            if (rr == Eval::Ok && classify(fnew) == Value::Finite) {
                if (fnew <= fk + c1 * decrease) {
                    accepted = true;
                    break;
                }
                // At the precision floor: f no longer tells, the gradient does.
                if (fabs(fnew - fk) <= TalvoFloat(10.0) * e * (one + fabs(fk))) {
                    TalvoFloat s = zero;
                    for (size_t j : free_vars)
                        s += gnew[j] * gnew[j];
                    if (sqrt(s) < gpjnrm) {
                        accepted = true;
                        break;
                    }
                }
            }
            a *= half;
            if (a * pnorm <= e * (one + xnorm))
                break;
        }
        if (!accepted)
            return finish(gpjnrm <= sqrt(e) * (one + fabs(fk)) ? 0 : 3);
        TalvoFloat step = zero;
        for (size_t j = 0; j < N; ++j)
            step += (xnew[j] - xk[j]) * (xnew[j] - xk[j]);
        step = sqrt(step);
        xk = xnew;
        gk = gnew;
        fk = fnew;
        ++niter;
        if (step <= xtol * (one + norm2(xk))) {
            update_state();
            return finish(0);
        }
    }
}
