// sqp.cpp -- TalvoMP_e04uca_ and the sequential quadratic programming core
// it shares with e04usa (sqp.hpp).
//
// The method follows the published description of the dense SQP code of
// P. E. Gill, W. Murray, M. A. Saunders and M. H. Wright (User's guide for
// NPSOL, report SOL 86-2, 1986; "Some theoretical properties of an augmented
// Lagrangian merit function", 1986):
//
//   * Each major iteration solves the quadratic program
//         minimise g'p + 1/2 p'R'Rp
//         subject to  bl - x <= p <= bu - x,  bl - Ax <= A p <= bu - Ax,
//                     bl - c <= J p <= bu - c
//     by the active-set engine (active_set.hpp, type QP4 with the factor
//     R), warm-started from the working set of the previous iteration.
//   * When the linearised nonlinear constraints have no feasible point the
//     subproblem is solved in elastic form: J p - v + w in the bounds,
//     v, w >= 0, with gamma (v + w) added to the objective, so the step
//     reduces the infeasibility (the elastic treatment of later SQP codes).
//   * The step is taken along (p, mu - lambda, q) in the variables, the
//     multiplier estimates and the slacks s of the nonlinear constraints,
//     with the augmented Lagrangian merit function
//         phi = F - lambda'(c - s) + 1/2 sum rho_i (c_i - s_i)^2,
//     the slacks first reset to minimise phi, the penalties rho raised by the
//     published rule (the least 2-norm rho giving phi'(0) <= -1/2 p'Hp,
//     doubled).  The penalties are never lowered (a lowering rule of the
//     later SQP codes, rho_i -> sqrt(rho_i (rho*_i + d)) when rho_i exceeds
//     4 (rho*_i + d), d doubling at each use, changed no iteration count of
//     the benchmark problems).
//   * At a trial point the slack of a constraint that has no multiplier
//     (lambda_i = mu_i = 0) is set to the point of its bounds nearest c_i,
//     which minimises phi over that slack, instead of following the linear
//     path s + alpha (c + J p - s).  Along the linear path such a constraint
//     charges its own curvature, c(x + alpha p) - c - alpha J p, to phi
//     although it is inactive, and a long step can be refused for it alone
//     (HS18: 27 iterations, 49 evaluations with the linear path; 9 and 10
//     without).  phi at a trial point is then no larger than along the
//     linear path and the same at alpha = 0, so the sufficient-decrease test
//     passes wherever it passed along the linear path; the slacks are reset
//     at the start of each iteration whatever the search did.
//   * The line search backtracks by safeguarded quadratic interpolation
//     until phi has decreased by a tenth of what its directional derivative
//     predicts (the sufficient-decrease constant of D. Kraft's SLSQP, 1988,
//     rather than the 1e-4 usual for unconstrained searches).  A step that
//     reaches less is one along which the quadratic model is poor; the
//     interpolated step then lands near the minimum along p, and the BFGS
//     update taken there carries better curvature (on a quadratic the
//     interpolation is exact, and BFGS with exact searches ends in n steps).
//   * The Hessian of the Lagrangian is kept as its Cholesky factor R and
//     updated by BFGS with Powell's modification (y replaced by
//     theta y + (1 - theta) H s when s'y < 0.2 s'Hs); the updated matrix is
//     factorised again (n is small for a dense solver, and the
//     refactorisation cannot lose definiteness by rounding as a product
//     update can).
//
// Options the setters accept that this method does not use: "Hessian"
// (R on exit is always the factor of the quasi-Newton Hessian of the full
// Lagrangian), "Function Precision", "Linesearch Tolerance" (the search
// asks for sufficient decrease only), "Difference Interval" (differences are
// central, whose error suits a multiprecision result), the print levels.
// "Verify Level" 0 makes no check (levels 1, 2, 3 compare element by
// element); "Derivative Level" below 3 replaces the whole gradient or
// Jacobian the user does not give by central differences.
//
// Convergence.  With r the optimality tolerance (default eps = 10^-D), the
// iteration stops after the step that follows a subproblem whose solution
// p has |p| <= r^(3/4) (1 + |x|) while the nonlinear constraints are
// feasible to their tolerance, or |p| <= sqrt(r) (1 + |x|) and that step
// changed the merit function by less than r (1 + |phi|), or |p| <= sqrt(r)
// (1 + |x|) and no lower merit value exists along p (the values resolve
// nothing more): F is then right to the working precision.
#include "sqp.hpp"

#include "active_set.hpp"
#include "options.hpp"

#include <algorithm>
#include <cmath>

using namespace talvo::opt;
using namespace talvo::opt::saved;

namespace talvo::opt::sqp {

namespace {

TalvoFloat Clamp(const TalvoFloat &v, const TalvoFloat &lo, const TalvoFloat &hi)
{
    if (v < lo)
        return lo;
    if (v > hi)
        return hi;
    return v;
}

// R v (R n x n upper triangular, column-major).
Vec TimesR(const Vec &R, long n, const Vec &v)
{
    Vec out(size_t(n), TalvoFloat(0.0));
    for (long i = 0; i < n; ++i) {
        TalvoFloat sum(0.0);
        for (long j = i; j < n; ++j)
            sum += R[size_t(i + j * n)] * v[size_t(j)];
        out[size_t(i)] = sum;
    }
    return out;
}

// R' v.
Vec TimesRt(const Vec &R, long n, const Vec &v)
{
    Vec out(size_t(n), TalvoFloat(0.0));
    for (long j = 0; j < n; ++j) {
        TalvoFloat sum(0.0);
        for (long i = 0; i <= j; ++i)
            sum += R[size_t(i + j * n)] * v[size_t(i)];
        out[size_t(j)] = sum;
    }
    return out;
}

} // namespace

bool Cholesky(const Vec &H, long n, Vec &R)
{
    Vec out(size_t(n * n), TalvoFloat(0.0));
    for (long j = 0; j < n; ++j) {
        TalvoFloat d = H[size_t(j + j * n)];
        for (long k = 0; k < j; ++k)
            d -= out[size_t(k + j * n)] * out[size_t(k + j * n)];
        if (!(d > TalvoFloat(0.0)) || !is_finite(d))
            return false;
        const TalvoFloat rjj = sqrt(d);
        out[size_t(j + j * n)] = rjj;
        for (long i = j + 1; i < n; ++i) {
            TalvoFloat v = H[size_t(j + i * n)];
            for (long k = 0; k < j; ++k)
                v -= out[size_t(k + j * n)] * out[size_t(k + i * n)];
            out[size_t(j + i * n)] = v / rjj;
        }
    }
    R.swap(out);
    return true;
}

Settings ReadSettings(const Integer *iwsav, const TalvoFloat *rwsav, long n, long nclin, long ncnln)
{
    Settings st;
    const TalvoFloat zero(0.0);
    const TalvoFloat e = eps();
    // The default limit grows with the digits asked for, as the quasi-Newton
    // iteration is superlinear: twice the digits need more iterations.
    const long digit_factor = std::max<long>(1, (talvo_float_digits() + 14) / 15);
    st.major_limit = iwsav[kIterLimit] >= 0 ? long(iwsav[kIterLimit])
                                            : std::max<long>(50, 3 * (n + nclin) + 10 * ncnln) * digit_factor;
    st.minor_limit = iwsav[kMinorIterLimit] > 0 ? long(iwsav[kMinorIterLimit]) : -1;
    st.verify = long(iwsav[kVerify]);
    st.warm = iwsav[kWarmStart] != 0;
    st.scale_first = !st.warm;
    st.opt_tol = tol_or(rwsav[kOptTol], e);
    st.nonlin_feas_tol = tol_or(rwsav[kNonlinFeasTol], sqrt(e));
    st.feas_tol = rwsav[kFeasTol] > zero ? rwsav[kFeasTol] : zero;
    st.minor_opt_tol = rwsav[kMinorOptTol] > zero ? rwsav[kMinorOptTol] : zero;
    st.bigbnd = rwsav[kInfBound] > zero ? rwsav[kInfBound] : TalvoFloat(1e20);
    st.step_limit = rwsav[kStepLimit] > zero ? rwsav[kStepLimit] : TalvoFloat(2.0);
    return st;
}

Integer Solve(const Problem &p, Model &model, const Settings &set, State &s)
{
    const long n = p.n, nl = p.nclin, nn = p.ncnln, rows = nl + nn, nt = n + rows;
    const size_t N = size_t(n);
    const TalvoFloat zero(0.0), one(1.0), half(0.5), two(2.0);
    const TalvoFloat e = eps();
    const TalvoFloat &big = set.bigbnd;
    const TalvoFloat root_r = sqrt(set.opt_tol);
    const TalvoFloat cube_r = pow(set.opt_tol, TalvoFloat(1.0 / 3.0));
    const TalvoFloat tight_r = pow(set.opt_tol, TalvoFloat(0.75));
    Vec &x = s.x;
    const bool trial_derivs = model.derivatives_given();

    auto has_lower = [&](long k) { return p.bl[k] > -big; };
    auto has_upper = [&](long k) { return p.bu[k] < big; };
    // The slack of nonlinear constraint i nearest v within its bounds.
    auto within_bounds = [&](long i, const TalvoFloat &v) {
        const long k = n + nl + i;
        return Clamp(v, has_lower(k) ? p.bl[k] : -big, has_upper(k) ? p.bu[k] : big);
    };
    auto linear_row = [&](long i, const Vec &v) {
        TalvoFloat sum(0.0);
        for (long j = 0; j < n; ++j)
            sum += p.a[i + j * p.lda] * v[size_t(j)];
        return sum;
    };

    qp::Options qopt;
    qopt.iter_limit = set.minor_limit;
    qopt.feas_tol = set.feas_tol;
    qopt.opt_tol = set.minor_opt_tol;
    qopt.bigbnd = big;

    if (s.clamda.size() != size_t(nt))
        s.clamda.assign(size_t(nt), zero);

    // 1. A point that satisfies the bounds and the linear constraints: the
    // user routines are only called at such points.
    for (long j = 0; j < n; ++j) {
        if (has_lower(j) && x[size_t(j)] < p.bl[j])
            x[size_t(j)] = p.bl[j];
        if (has_upper(j) && x[size_t(j)] > p.bu[j])
            x[size_t(j)] = p.bu[j];
    }
    if (nl > 0) {
        qp::Problem fp;
        fp.type = qp::Type::FP;
        fp.n = n;
        fp.nclin = nl;
        fp.C = p.a;
        fp.ldc = p.lda;
        fp.bl = p.bl;
        fp.bu = p.bu;
        std::vector<Integer> ist(size_t(n + nl), 0);
        const qp::Result r = qp::solve(fp, qopt, ist.data(), x.data(), nullptr, nullptr);
        if (r.inform == 3)
            return 2;
        if (r.inform == 6)
            return 9;
    }

    // 2. The functions and derivatives at the start.
    Eval ev = model.evaluate(x, true, s.f, s.g, s.c, s.J);
    if (ev == Eval::Stop)
        return kUserStop;
    if (ev != Eval::Ok)
        return kUndefinedValue;
    if (set.verify >= 0 && !model.verify(x, set.verify))
        return 7;

    Vec lambda(size_t(nn), zero), rho(size_t(nn), zero), slack(static_cast<size_t>(nn));
    if (set.warm)
        for (long i = 0; i < nn; ++i)
            lambda[size_t(i)] = s.clamda[size_t(n + nl + i)];
    std::vector<Integer> qist(size_t(nt), 0);
    bool qwarm = false;
    if (set.warm)
        for (long k = 0; k < nt; ++k) {
            const Integer v = s.istate.size() == size_t(nt) ? s.istate[size_t(k)] : 0;
            qist[size_t(k)] = v >= 0 && v <= 3 ? v : 0;
        }
    if (set.warm)
        qwarm = true;
    s.istate = qist;

    // The violation of nonlinear constraint i, relative to its size.
    auto violation = [&](const Vec &c) {
        TalvoFloat worst(0.0);
        for (long i = 0; i < nn; ++i) {
            const long k = n + nl + i;
            const TalvoFloat ci = c[size_t(i)];
            TalvoFloat v(0.0);
            if (has_lower(k) && ci < p.bl[k])
                v = p.bl[k] - ci;
            if (has_upper(k) && ci > p.bu[k])
                v = ci - p.bu[k];
            v = v / (one + fabs(ci));
            worst = fmax(worst, v);
        }
        return worst;
    };

    Vec Cmat(size_t(std::max<long>(1, rows) * n), zero);
    Vec qbl(static_cast<size_t>(nt)), qbu(static_cast<size_t>(nt)), mult(size_t(nt), zero);
    Integer code = 4;
    long &iter = s.iter;
    iter = 0;
    long elastic_runs = 0;
    for (;;) {
        if (iter >= set.major_limit) {
            code = 4;
            break;
        }
        const TalvoFloat xnorm = norm2(x);
        // The subproblem's constraint matrix and its bounds on the step.
        const long ldc = std::max<long>(1, rows);
        for (long j = 0; j < n; ++j) {
            for (long i = 0; i < nl; ++i)
                Cmat[size_t(i + j * ldc)] = p.a[i + j * p.lda];
            for (long i = 0; i < nn; ++i)
                Cmat[size_t(nl + i + j * ldc)] = s.J[size_t(i + j * nn)];
        }
        for (long k = 0; k < nt; ++k) {
            TalvoFloat value;
            if (k < n)
                value = x[size_t(k)];
            else if (k < n + nl)
                value = linear_row(k - n, x);
            else
                value = s.c[size_t(k - n - nl)];
            qbl[size_t(k)] = has_lower(k) ? p.bl[k] - value : -big;
            qbu[size_t(k)] = has_upper(k) ? p.bu[k] - value : big;
        }

        qp::Problem sub;
        sub.type = qp::Type::QP4;
        sub.n = n;
        sub.nclin = rows;
        sub.C = Cmat.data();
        sub.ldc = ldc;
        sub.bl = qbl.data();
        sub.bu = qbu.data();
        sub.cvec = s.g.data();
        sub.A = s.R.data();
        sub.lda = n;
        sub.m = n;
        Vec step(N, zero), vw(size_t(2 * nn), zero);
        qp::Options o = qopt;
        o.warm = qwarm;
        std::vector<Integer> trial_ist = qist;
        qp::Result res = qp::solve(sub, o, trial_ist.data(), step.data(), nullptr, mult.data());
        bool elastic = false;
        if (res.inform == 3 && nn > 0) {
            // The elastic subproblem: variables (p, v, w).
            elastic = true;
            ++elastic_runs;
            const long nv = n + 2 * nn, nte = nv + rows;
            Vec Ce(size_t(ldc * nv), zero), ble(static_cast<size_t>(nte)), bue(static_cast<size_t>(nte)), ce(size_t(nv), zero);
            Vec Re(size_t(n * nv), zero), pe(size_t(nv), zero), me(size_t(nte), zero);
            for (long j = 0; j < n; ++j) {
                for (long i = 0; i < rows; ++i)
                    Ce[size_t(i + j * ldc)] = Cmat[size_t(i + j * ldc)];
                for (long i = 0; i < n; ++i)
                    Re[size_t(i + j * n)] = s.R[size_t(i + j * n)];
                ce[size_t(j)] = s.g[size_t(j)];
                ble[size_t(j)] = qbl[size_t(j)];
                bue[size_t(j)] = qbu[size_t(j)];
            }
            TalvoFloat scale = one + norm2(s.g);
            for (long i = 0; i < nn; ++i)
                scale = fmax(scale, fabs(lambda[size_t(i)]));
            const TalvoFloat gamma = TalvoFloat(100.0) * scale;
            for (long i = 0; i < nn; ++i) {
                Ce[size_t(nl + i + (n + i) * ldc)] = -one;
                Ce[size_t(nl + i + (n + nn + i) * ldc)] = one;
                ce[size_t(n + i)] = gamma;
                ce[size_t(n + nn + i)] = gamma;
            }
            for (long j = n; j < nv; ++j) {
                ble[size_t(j)] = zero;
                bue[size_t(j)] = big;
            }
            for (long i = 0; i < rows; ++i) {
                ble[size_t(nv + i)] = qbl[size_t(n + i)];
                bue[size_t(nv + i)] = qbu[size_t(n + i)];
            }
            qp::Problem el = sub;
            el.n = nv;
            el.C = Ce.data();
            el.bl = ble.data();
            el.bu = bue.data();
            el.cvec = ce.data();
            el.A = Re.data();
            std::vector<Integer> eist(size_t(nte), 0);
            qp::Options eo = qopt;
            eo.warm = false;
            res = qp::solve(el, eo, eist.data(), pe.data(), nullptr, me.data());
            for (long j = 0; j < n; ++j) {
                step[size_t(j)] = pe[size_t(j)];
                mult[size_t(j)] = me[size_t(j)];
                trial_ist[size_t(j)] = eist[size_t(j)];
            }
            for (long i = 0; i < rows; ++i) {
                mult[size_t(n + i)] = me[size_t(nv + i)];
                trial_ist[size_t(n + i)] = eist[size_t(nv + i)];
            }
            for (long i = 0; i < 2 * nn; ++i)
                vw[size_t(i)] = pe[size_t(n + i)];
        }
        if (res.inform == 3) {
            // Only the linear constraints can make even the elastic problem
            // infeasible, and x satisfies them.
            code = 2;
            break;
        }
        if (res.inform == 2 || res.inform == 6) {
            code = 6;
            break;
        }
        qist = trial_ist;
        qwarm = true;
        s.istate = trial_ist;
        s.clamda = mult;

        const TalvoFloat pnorm = norm2(step);
        const TalvoFloat viol = violation(s.c);
        const bool feasible = viol <= set.nonlin_feas_tol;
        // Converged: a step below r^(3/4) (F then moves by O(r^(3/2))); near:
        // below sqrt(r), where a step that no longer changes the merit
        // function beyond r, or a line search that finds nothing lower, means
        // the values resolve nothing more.
        const bool near = !elastic && feasible && pnorm <= root_r * (one + xnorm);
        bool converged = near && pnorm <= tight_r * (one + xnorm);
        if (elastic && pnorm <= root_r * (one + xnorm)) {
            code = 3; // the infeasibility cannot be reduced further
            break;
        }

        // The merit function along (p, mu - lambda, q).
        Vec mu(static_cast<size_t>(nn)), r(static_cast<size_t>(nn)), ds(static_cast<size_t>(nn));
        for (long i = 0; i < nn; ++i) {
            const long k = n + nl + i;
            mu[size_t(i)] = mult[size_t(k)];
            TalvoFloat t = s.c[size_t(i)];
            if (rho[size_t(i)] > zero)
                t -= lambda[size_t(i)] / rho[size_t(i)];
            slack[size_t(i)] = within_bounds(i, t);
            r[size_t(i)] = s.c[size_t(i)] - slack[size_t(i)];
            TalvoFloat jp(0.0);
            for (long j = 0; j < n; ++j)
                jp += s.J[size_t(i + j * nn)] * step[size_t(j)];
            ds[size_t(i)] = s.c[size_t(i)] + jp - vw[size_t(i)] + vw[size_t(nn + i)] - slack[size_t(i)];
        }
        const Vec Rp = TimesR(s.R, n, step);
        const TalvoFloat pHp = dot(Rp, Rp);
        auto derivative = [&]() {
            TalvoFloat d = dot(s.g, step);
            for (long i = 0; i < nn; ++i)
                d += (two * lambda[size_t(i)] - mu[size_t(i)]) * r[size_t(i)] -
                     rho[size_t(i)] * r[size_t(i)] * r[size_t(i)];
            return d;
        };
        TalvoFloat dphi = derivative();
        if (nn > 0 && dphi > -half * pHp) {
            TalvoFloat beta = dot(s.g, step) + half * pHp, r4(0.0);
            for (long i = 0; i < nn; ++i) {
                beta += (two * lambda[size_t(i)] - mu[size_t(i)]) * r[size_t(i)];
                r4 += r[size_t(i)] * r[size_t(i)] * r[size_t(i)] * r[size_t(i)];
            }
            if (r4 > zero)
                for (long i = 0; i < nn; ++i) {
                    const TalvoFloat rhat = two * beta * r[size_t(i)] * r[size_t(i)] / r4;
                    rho[size_t(i)] = fmax(rho[size_t(i)], rhat);
                }
            dphi = derivative();
        }
        auto merit = [&](const TalvoFloat &f, const Vec &c, const Vec &lam, const Vec &sl) {
            TalvoFloat m = f;
            for (long i = 0; i < nn; ++i) {
                const TalvoFloat ri = c[size_t(i)] - sl[size_t(i)];
                m += -lam[size_t(i)] * ri + half * rho[size_t(i)] * ri * ri;
            }
            return m;
        };
        const TalvoFloat phi0 = merit(s.f, s.c, lambda, slack);

        // The line search.
        TalvoFloat alpha = one;
        if (pnorm > zero && alpha * pnorm > set.step_limit * (one + xnorm))
            alpha = set.step_limit * (one + xnorm) / pnorm;
        Vec xt(N), gt, ct, Jt, lt(static_cast<size_t>(nn)), st(static_cast<size_t>(nn));
        TalvoFloat ft;
        bool accepted = false;
        for (int tries = 0; tries < 200 && pnorm > zero; ++tries) {
            for (long j = 0; j < n; ++j)
                xt[size_t(j)] = x[size_t(j)] + alpha * step[size_t(j)];
            // With the user's derivatives a trial point is evaluated with
            // them (one call per point: the accepted point needs no second
            // call); with differences the values alone, the differences
            // once the point is accepted.
            ev = model.evaluate(xt, trial_derivs, ft, gt, ct, Jt);
            if (ev == Eval::Stop)
                return kUserStop;
            if (ev == Eval::Undefined)
                return kUndefinedValue;
            TalvoFloat next = alpha / TalvoFloat(10.0);
            if (ev == Eval::Ok) {
                for (long i = 0; i < nn; ++i) {
                    lt[size_t(i)] = lambda[size_t(i)] + alpha * (mu[size_t(i)] - lambda[size_t(i)]);
                    // A constraint without a multiplier enters phi by its
                    // penalty term alone; its slack is the one minimising
                    // that term at the trial point (see the header) rather
                    // than a step along the linear path.
                    if (lambda[size_t(i)] == zero && mu[size_t(i)] == zero)
                        st[size_t(i)] = within_bounds(i, ct[size_t(i)]);
                    else
                        st[size_t(i)] = slack[size_t(i)] + alpha * ds[size_t(i)];
                }
                const TalvoFloat phit = merit(ft, ct, lt, st);
                const TalvoFloat decrease = phit - phi0;
                const bool negligible = near && fabs(decrease) <= set.opt_tol * (one + fabs(phi0));
                if (decrease <= TalvoFloat(0.1) * alpha * dphi || (negligible && tries == 0)) {
                    // Near a solution the merit function changes by rounding
                    // only: the full step is taken (it puts x on the
                    // linearised constraints) and the iteration ends.
                    accepted = true;
                    if (negligible)
                        converged = true;
                    break;
                }
                const TalvoFloat curv = decrease - dphi * alpha;
                if (curv > zero && is_finite(curv)) {
                    const TalvoFloat q = -dphi * alpha * alpha / (two * curv);
                    next = Clamp(q, alpha / TalvoFloat(10.0), alpha / two);
                } else {
                    next = alpha / two;
                }
            }
            alpha = next;
            if (alpha * pnorm <= e * (one + xnorm))
                break;
        }
        if (!accepted) {
            if (near || pnorm == zero)
                code = 0;
            else if (elastic)
                code = 3;
            else
                code = feasible && pnorm <= cube_r * (one + xnorm) ? 1 : 6;
            break;
        }

        // The step, and the derivatives at the new point.
        const Vec gold = s.g, Jold = s.J;
        x = xt;
        lambda = lt;
        if (trial_derivs) {
            s.f = ft;
            s.g = gt;
            s.c = ct;
            s.J = Jt;
        } else {
            ev = model.evaluate(x, true, s.f, s.g, s.c, s.J);
            if (ev == Eval::Stop)
                return kUserStop;
            if (ev != Eval::Ok)
                return kUndefinedValue;
        }
        ++iter;

        // BFGS of the Lagrangian with Powell's modification.  The change of
        // the Lagrangian's gradient is taken with the multipliers mu of the
        // subproblem, the newest estimate whatever the step length (Powell
        // 1978): y = grad L(x+, mu) - grad L(x, mu).  The merit function's
        // multipliers lambda + alpha (mu - lambda) differ from mu only by an
        // artefact of a shortened step.
        Vec sv(N), y(N);
        for (long j = 0; j < n; ++j) {
            sv[size_t(j)] = alpha * step[size_t(j)];
            TalvoFloat yj = s.g[size_t(j)] - gold[size_t(j)];
            for (long i = 0; i < nn; ++i)
                yj -= (s.J[size_t(i + j * nn)] - Jold[size_t(i + j * nn)]) * mu[size_t(i)];
            y[size_t(j)] = yj;
        }
        if (iter == 1 && set.scale_first) {
            // The identity of a cold start scaled, before the first update,
            // to the mean curvature y's / s's seen along the first step when
            // that is below 1, and kept when it is above.  BFGS corrects a
            // curvature that is too small in the direction of each update,
            // one that is too large only slowly, over many short steps
            // (M. J. D. Powell, "How bad are the BFGS and DFP methods when
            // the objective function is quadratic?", Math. Programming 34,
            // 1986); the first step, often a steepest-descent step, sees the
            // largest curvatures and would set every other direction too
            // high.  Scaling down serves badly scaled problems, whose
            // curvatures are far below 1.
            const TalvoFloat ss = dot(sv, sv), ys = dot(sv, y);
            if (ss > zero && ys > zero && ys < ss) {
                const TalvoFloat d = sqrt(ys / ss);
                for (long j = 0; j < n; ++j)
                    for (long i = 0; i < n; ++i)
                        s.R[size_t(i + j * n)] = i == j ? d : zero;
            }
        }
        const Vec Hs = TimesRt(s.R, n, TimesR(s.R, n, sv));
        const TalvoFloat sHs = dot(sv, Hs);
        TalvoFloat sy = dot(sv, y);
        if (sHs > zero && is_finite(sHs)) {
            if (sy < TalvoFloat(0.2) * sHs) {
                const TalvoFloat theta = TalvoFloat(0.8) * sHs / (sHs - sy);
                for (size_t j = 0; j < N; ++j)
                    y[j] = theta * y[j] + (one - theta) * Hs[j];
                sy = dot(sv, y);
            }
            if (sy > e * sHs) {
                Vec H(N * N, zero);
                for (long i = 0; i < n; ++i)
                    for (long j = 0; j < n; ++j) {
                        TalvoFloat h(0.0);
                        for (long k = 0; k <= std::min(i, j); ++k)
                            h += s.R[size_t(k + i * n)] * s.R[size_t(k + j * n)];
                        h += -Hs[size_t(i)] * Hs[size_t(j)] / sHs + y[size_t(i)] * y[size_t(j)] / sy;
                        H[size_t(i + j * n)] = h;
                    }
                Vec Rn;
                if (Cholesky(H, n, Rn))
                    s.R.swap(Rn);
            }
        }
        if (converged) {
            code = 0;
            break;
        }
    }
    (void)elastic_runs;
    return code;
}

} // namespace talvo::opt::sqp

// ---------------------------------------------------------------------------
// e04uca
// ---------------------------------------------------------------------------

namespace {

using talvo::opt::sqp::Eval;

// The difference interval of central differences: eps^(1/3) (1 + |x_j|),
// whose truncation and rounding errors are both about eps^(2/3).
TalvoFloat CentralStep(const TalvoFloat &xj, const TalvoFloat &interval)
{
    return interval * (TalvoFloat(1.0) + fabs(xj));
}

class GeneralModel : public talvo::opt::sqp::Model {
public:
    TalvoMP_e04uca_confun confun;
    TalvoMP_e04uca_objfun objfun;
    Integer n, ncnln, ldcj;
    Integer *iuser;
    TalvoFloat *ruser;
    bool obj_derivs = true, con_derivs = true;
    TalvoFloat interval;
    long check_start = 1, check_stop = -1, con_start = 1, con_stop = -1;
    Integer nstate = 1;
    long objective_calls = 0;

    // One call of objfun (mode 0 or 2).
    Eval objective(const Vec &x, bool grad, TalvoFloat &f, Vec &g)
    {
        Integer mode = grad ? 2 : 0, nn = n;
        g.resize(size_t(n));
        objfun(&mode, &nn, x.data(), &f, g.data(), &nstate, iuser, ruser);
        nstate = 0;
        ++objective_calls;
        if (mode < 0)
            return Eval::Stop;
        const Value v = classify(f);
        if (v == Value::Undefined)
            return Eval::Undefined;
        if (grad)
            for (const TalvoFloat &gi : g)
                if (!is_finite(gi))
                    return v == Value::Infinite ? Eval::Infinite : Eval::Undefined;
        return v == Value::Infinite ? Eval::Infinite : Eval::Ok;
    }

    // One call of confun; J ncnln x n (leading dimension ncnln).
    Eval constraints(const Vec &x, bool jac, Vec &c, Vec &J)
    {
        c.assign(size_t(ncnln), TalvoFloat(0.0));
        J.assign(size_t(ncnln * n), TalvoFloat(0.0));
        if (ncnln == 0)
            return Eval::Ok;
        Integer mode = jac ? 2 : 0, nn = n, nc = ncnln, ld = ldcj;
        std::vector<Integer> needc(size_t(ncnln), 1);
        Vec cj(size_t(ldcj * n), TalvoFloat(0.0));
        confun(&mode, &nc, &nn, &ld, needc.data(), x.data(), c.data(), cj.data(), &nstate, iuser, ruser);
        nstate = 0;
        if (mode < 0)
            return Eval::Stop;
        Eval result = Eval::Ok;
        for (const TalvoFloat &ci : c) {
            const Value v = classify(ci);
            if (v == Value::Undefined || IsTalvoFloatNegativeInfinity(ci))
                return Eval::Undefined;
            if (v == Value::Infinite)
                result = Eval::Infinite;
        }
        if (jac)
            for (Integer i = 0; i < ncnln; ++i)
                for (Integer j = 0; j < n; ++j) {
                    const TalvoFloat &v = cj[size_t(i + j * ldcj)];
                    if (!is_finite(v))
                        return Eval::Undefined;
                    J[size_t(i + j * ncnln)] = v;
                }
        return result;
    }

    Eval evaluate(const Vec &x, bool derivs, TalvoFloat &f, Vec &g, Vec &c, Vec &J) override
    {
        Eval e = objective(x, derivs && obj_derivs, f, g);
        if (e == Eval::Stop || e == Eval::Undefined)
            return e;
        Eval ec = constraints(x, derivs && con_derivs, c, J);
        if (ec == Eval::Stop || ec == Eval::Undefined)
            return ec;
        if (e == Eval::Infinite || ec == Eval::Infinite)
            return Eval::Infinite;
        if (derivs && (!obj_derivs || !con_derivs)) {
            // Central differences of what the user does not give.
            Vec xt = x, gt, ct, Jt;
            for (Integer j = 0; j < n; ++j) {
                const TalvoFloat h = CentralStep(x[size_t(j)], interval);
                TalvoFloat fp, fm;
                Vec cp, cm;
                xt[size_t(j)] = x[size_t(j)] + h;
                Eval a = objective(xt, false, fp, gt);
                Eval b = constraints(xt, false, cp, Jt);
                xt[size_t(j)] = x[size_t(j)] - h;
                Eval a2 = objective(xt, false, fm, gt);
                Eval b2 = constraints(xt, false, cm, Jt);
                xt[size_t(j)] = x[size_t(j)];
                for (Eval v : {a, b, a2, b2}) {
                    if (v == Eval::Stop)
                        return v;
                    if (v != Eval::Ok)
                        return Eval::Undefined;
                }
                const TalvoFloat width = TalvoFloat(2.0) * h;
                if (!obj_derivs)
                    g[size_t(j)] = (fp - fm) / width;
                if (!con_derivs)
                    for (Integer i = 0; i < ncnln; ++i)
                        J[size_t(i + j * ncnln)] = (cp[size_t(i)] - cm[size_t(i)]) / width;
            }
        }
        return Eval::Ok;
    }

    bool derivatives_given() const override { return obj_derivs && con_derivs; }

    bool verify(const Vec &x, long level) override
    {
        if (level < 1 || (!obj_derivs && !con_derivs))
            return true;
        TalvoFloat f;
        Vec g, c, J, gt, ct, Jt;
        if (objective(x, obj_derivs, f, g) != Eval::Ok || constraints(x, con_derivs, c, J) != Eval::Ok)
            return true; // reported by the first evaluation of the iteration
        const TalvoFloat tol = pow(eps(), TalvoFloat(1.0 / 3.0));
        Vec xt = x;
        for (Integer j = 0; j < n; ++j) {
            const bool check_obj = obj_derivs && level != 2 && j + 1 >= check_start && (check_stop < 0 || j + 1 <= check_stop);
            const bool check_con = con_derivs && level >= 2 && ncnln > 0 && j + 1 >= con_start && (con_stop < 0 || j + 1 <= con_stop);
            if (!check_obj && !check_con)
                continue;
            const TalvoFloat h = CentralStep(x[size_t(j)], interval);
            TalvoFloat fp, fm;
            Vec cp, cm;
            xt[size_t(j)] = x[size_t(j)] + h;
            const bool okp = objective(xt, false, fp, gt) == Eval::Ok && constraints(xt, false, cp, Jt) == Eval::Ok;
            xt[size_t(j)] = x[size_t(j)] - h;
            const bool okm = objective(xt, false, fm, gt) == Eval::Ok && constraints(xt, false, cm, Jt) == Eval::Ok;
            xt[size_t(j)] = x[size_t(j)];
            if (!okp || !okm)
                continue;
            const TalvoFloat width = TalvoFloat(2.0) * h;
            if (check_obj) {
                const TalvoFloat d = (fp - fm) / width;
                if (fabs(d - g[size_t(j)]) > tol * (TalvoFloat(1.0) + fabs(d) + fabs(f)))
                    return false;
            }
            if (check_con)
                for (Integer i = 0; i < ncnln; ++i) {
                    const TalvoFloat d = (cp[size_t(i)] - cm[size_t(i)]) / width;
                    if (fabs(d - J[size_t(i + j * ncnln)]) > tol * (TalvoFloat(1.0) + fabs(d) + fabs(c[size_t(i)])))
                        return false;
                }
        }
        return true;
    }
};

} // namespace

namespace talvo::opt::sqp {

void ReadDerivativeOptions(const Integer *iwsav, const TalvoFloat *rwsav, bool &obj_derivs, bool &con_derivs,
                           TalvoFloat &interval, long &check_start, long &check_stop, long &con_start,
                           long &con_stop)
{
    const Integer level = iwsav[kDerivLevel] < 0 || iwsav[kDerivLevel] > 3 ? 3 : iwsav[kDerivLevel];
    obj_derivs = level == 1 || level == 3;
    con_derivs = level == 2 || level == 3;
    interval = tol_or(rwsav[kCentralInterval], pow(eps(), TalvoFloat(1.0 / 3.0)));
    check_start = iwsav[kCheckStart] > 0 ? long(iwsav[kCheckStart]) : 1;
    check_stop = iwsav[kCheckStop] > 0 ? long(iwsav[kCheckStop]) : -1;
    con_start = iwsav[kConCheckStart] > 0 ? long(iwsav[kConCheckStart]) : 1;
    con_stop = iwsav[kConCheckStop] > 0 ? long(iwsav[kConCheckStop]) : -1;
}

} // namespace talvo::opt::sqp

void TalvoMP_e04uca_(Integer *n_, Integer *nclin_, Integer *ncnln_, Integer *lda_, Integer *ldcj_, Integer *ldr_,
                     const TalvoFloat *a, const TalvoFloat *bl, const TalvoFloat *bu, TalvoMP_e04uca_confun confun,
                     TalvoMP_e04uca_objfun objfun, Integer *iter, Integer *istate, TalvoFloat *c, TalvoFloat *cjac,
                     TalvoFloat *clamda, TalvoFloat *objf, TalvoFloat *objgrd, TalvoFloat *r, TalvoFloat *x,
                     Integer * /*iwork*/, Integer *liwork, TalvoFloat * /*work*/, Integer *lwork, Integer *iuser,
                     TalvoFloat *ruser, Integer * /*lwsav*/, Integer *iwsav, TalvoFloat *rwsav, Integer *ifail)
{
    namespace sqp = talvo::opt::sqp;
    const Integer n = *n_, nclin = *nclin_, ncnln = *ncnln_, lda = *lda_, ldcj = *ldcj_, ldr = *ldr_;
    *ifail = 0;
    *iter = 0;
    if (n < 1 || nclin < 0 || ncnln < 0 || lda < std::max<Integer>(1, nclin) || ldcj < std::max<Integer>(1, ncnln) ||
        ldr < n || iwsav[kMarker] != kMarkerValue || iwsav[kRoutine] != E04UCA ||
        *liwork < sqp::RequiredIwork(n, nclin, ncnln) || *lwork < sqp::RequiredWork(n, nclin, ncnln) ||
        (ncnln > 0 && confun == nullptr) || objfun == nullptr) {
        *ifail = 9;
        return;
    }
    const long nt = long(n + nclin + ncnln);
    for (long k = 0; k < nt; ++k)
        if (!(bl[k] <= bu[k])) {
            *ifail = 9;
            return;
        }

    GeneralModel model;
    model.confun = confun;
    model.objfun = objfun;
    model.n = n;
    model.ncnln = ncnln;
    model.ldcj = ldcj;
    model.iuser = iuser;
    model.ruser = ruser;
    sqp::ReadDerivativeOptions(iwsav, rwsav, model.obj_derivs, model.con_derivs, model.interval, model.check_start,
                               model.check_stop, model.con_start, model.con_stop);

    const sqp::Settings set = sqp::ReadSettings(iwsav, rwsav, long(n), long(nclin), long(ncnln));
    sqp::Problem p;
    p.n = n;
    p.nclin = nclin;
    p.ncnln = ncnln;
    p.a = a;
    p.lda = lda;
    p.bl = bl;
    p.bu = bu;

    sqp::State s;
    s.x.assign(x, x + n);
    s.R.assign(size_t(n * n), TalvoFloat(0.0));
    if (set.warm) {
        s.istate.assign(istate, istate + nt);
        s.clamda.assign(clamda, clamda + nt);
        for (Integer j = 0; j < n; ++j)
            for (Integer i = 0; i <= j; ++i)
                s.R[size_t(i + j * n)] = r[i + j * ldr];
    } else {
        for (Integer j = 0; j < n; ++j)
            s.R[size_t(j + j * n)] = TalvoFloat(1.0);
    }
    const Integer code = sqp::Solve(p, model, set, s);
    *ifail = code;
    *iter = Integer(s.iter);
    if (code == 9)
        return;
    std::copy(s.x.begin(), s.x.end(), x);
    if (s.g.size() == size_t(n) && s.c.size() == size_t(ncnln) && s.J.size() == size_t(ncnln * n)) {
        *objf = s.f;
        std::copy(s.g.begin(), s.g.end(), objgrd);
        for (Integer i = 0; i < ncnln; ++i) {
            c[i] = s.c[size_t(i)];
            for (Integer j = 0; j < n; ++j)
                cjac[i + j * ldcj] = s.J[size_t(i + j * ncnln)];
        }
    }
    if (s.istate.size() == size_t(nt))
        std::copy(s.istate.begin(), s.istate.end(), istate);
    if (s.clamda.size() == size_t(nt))
        std::copy(s.clamda.begin(), s.clamda.end(), clamda);
    for (Integer j = 0; j < n; ++j)
        for (Integer i = 0; i < n; ++i)
            r[i + j * ldr] = i <= j ? s.R[size_t(i + j * n)] : TalvoFloat(0.0);
}
