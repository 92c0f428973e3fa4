// quasi_newton.cpp -- TalvoMP_e04dga_: unconstrained minimum by a
// limited-memory quasi-Newton method with gradients.
//
// Directions: limited-memory BFGS (J. Nocedal, Math. Comp. 35, 1980), the
// two-loop recursion over the last 10 pairs (s, y), the initial matrix
// scaled by s'y / y'y.  The memory does not shrink with n: on a problem of a
// few variables ten pairs make the directions those of full BFGS updates of
// the scaled identity, which converge superlinearly, where keeping only n
// pairs discards curvature the last steps measured.  Steps: a line search
// meeting the strong Wolfe conditions f(x + a p) <= f + 1e-4 a g'p and
// |g(x + a p)'p| <= eta |g'p| (eta: "Linesearch Tolerance"), by bracketing
// and zooming (J. Nocedal and S. J. Wright, Numerical Optimization,
// algorithms 3.5 and 3.6), the zoom's trials chosen by the interpolation
// rules of More and Thuente (see ZoomStep).
//
// Convergence (after P. E. Gill, W. Murray and M. H. Wright, Practical
// Optimization, 1981, sec. 8.2.3.2), with r the optimality tolerance:
//   U1  F(k-1) - F(k) < r (1 + |F(k)|),
//   U2  |x(k-1) - x(k)| < sqrt(r) (1 + |x(k)|),
//   U3  |g(k)| <= sqrt(r) (1 + |F(k)|),
// all three, or |g(k)| below eps (1 + |F(k)|); U1 and U2 are also tested
// before each line search on the predicted decrease and step (see there).  The default r is eps =
// 10^-D itself, and U3 uses sqrt(r) where the double-precision test uses
// r^(1/3): a multiprecision user asks for every digit, and F(k) - F* is
// about |g|^2 / (the Hessian's scale), so |g| near sqrt(eps) is what puts the
// minimum value right to the last digits.  A line search that meets no lower
// point within the maximum step length ends with IFAIL 4; one that finds no
// lower point at all with 6 (or 0 when the gradient is within r^(1/3) of
// zero: the values no longer resolve the remaining decrease).
#include "options.hpp"

#include <algorithm>
#include <deque>

using namespace talvo::opt;
using namespace talvo::opt::saved;

namespace {

enum class Eval { Ok, Stop, Undefined };

struct Problem {
    TalvoMP_e04dga_objfun objfun;
    Integer n;
    Integer *iuser;
    TalvoFloat *ruser;
    Integer nstate = 1;

    Eval operator()(const Vec &x, TalvoFloat &f, Vec &g)
    {
        Integer mode = 2, nn = n;
        objfun(&mode, &nn, x.data(), &f, g.data(), &nstate, iuser, ruser);
        nstate = 0;
        if (mode < 0)
            return Eval::Stop;
        if (classify(f) == Value::Undefined)
            return Eval::Undefined;
        for (const TalvoFloat &gi : g)
            if (!is_finite(gi) && classify(f) == Value::Finite)
                return Eval::Undefined;
        return Eval::Ok;
    }
};

// The next trial of the zoom between lo (the lowest point so far meeting
// the sufficient decrease condition) and hi, chosen as More and Thuente
// do (ACM TOMS 20, 1994, the step of their routine for the cases of a
// bracketed minimiser): where hi has the higher value, the cubic
// interpolation minimiser when it is nearer lo than the minimiser of the
// quadratic through (flo, dlo, fhi), else the point halfway between the two;
// where the slopes at lo and hi differ in sign, the cubic minimiser or the
// secant step, whichever is farther from hi.  Either lies inside the bracket
// with no fixed margin from its ends: a value many orders above flo puts the
// minimiser close to lo, and the interpolant finds it in one trial where a
// step kept a tenth of the width from lo would need one trial per factor of
// ten.  Progress is kept by the caller (bisection when two trials do not
// shrink the bracket by a third); a trial outside the open bracket or not
// a number is replaced by the midpoint.
TalvoFloat ZoomStep(const TalvoFloat &lo, const TalvoFloat &flo, const TalvoFloat &dlo, const TalvoFloat &hi,
                    const TalvoFloat &fhi, const TalvoFloat &dhi)
{
    const TalvoFloat three(3.0), two(2.0), half(0.5);
    const TalvoFloat mid = half * (lo + hi);
    if (!is_finite(fhi) || !is_finite(dhi))
        return mid;
    TalvoFloat c = mid;
    bool have_cubic = false;
    const TalvoFloat d1 = dlo + dhi - three * (flo - fhi) / (lo - hi);
    const TalvoFloat disc = d1 * d1 - dlo * dhi;
    if (!(disc < TalvoFloat(0.0))) {
        const TalvoFloat d2 = Sign(sqrt(disc), hi - lo);
        const TalvoFloat t = hi - (hi - lo) * ((dhi + d2 - d1) / (dhi - dlo + two * d2));
        if (is_finite(t)) {
            c = t;
            have_cubic = true;
        }
    }
    TalvoFloat t = c;
    if (fhi > flo) {
        const TalvoFloat q = lo + half * (dlo / ((flo - fhi) / (hi - lo) + dlo)) * (hi - lo);
        if (is_finite(q))
            t = have_cubic && fabs(c - lo) < fabs(q - lo) ? c : have_cubic ? c + half * (q - c) : q;
    } else if (dlo * dhi < TalvoFloat(0.0)) {
        const TalvoFloat s = lo + dlo / (dlo - dhi) * (hi - lo);
        if (is_finite(s))
            t = have_cubic && fabs(c - hi) > fabs(s - hi) ? c : s;
    }
    const TalvoFloat a = fmin(lo, hi), b = fmax(lo, hi);
    if (!(t > a && t < b))
        t = mid;
    return t;
}

} // namespace

void TalvoMP_e04dga_(Integer *n_, TalvoMP_e04dga_objfun objfun, Integer *iter, TalvoFloat *objf, TalvoFloat *objgrd,
                     TalvoFloat *x, Integer * /*iwork*/, TalvoFloat * /*work*/, Integer *iuser, TalvoFloat *ruser,
                     Integer *lwsav, Integer *iwsav, TalvoFloat *rwsav, Integer *ifail)
{
    (void)lwsav;
    const Integer n = *n_;
    *ifail = 0;
    *iter = 0;
    if (n < 1 || iwsav[kMarker] != kMarkerValue || iwsav[kRoutine] != E04DGA) {
        *ifail = 9;
        return;
    }
    const size_t N = size_t(n);
    const TalvoFloat zero(0.0), one(1.0), c1(1e-4);
    const TalvoFloat e = eps();
    const TalvoFloat r = tol_or(rwsav[kOptTol], e);
    const TalvoFloat root_r = sqrt(r), cube_r = pow(r, TalvoFloat(1.0 / 3.0));
    TalvoFloat eta = rwsav[kLineTol];
    if (!(eta >= zero && eta < one))
        eta = TalvoFloat(0.9);
    const TalvoFloat stepmx = rwsav[kMaxStep] > zero ? rwsav[kMaxStep] : TalvoFloat(1e20);
    // The default limit grows with the digits asked for: a superlinearly
    // convergent method needs more iterations for 50 digits than for 15.
    const Integer digit_factor = std::max<Integer>(1, (talvo_float_digits() + 14) / 15);
    const Integer limit = iwsav[kIterLimit] >= 0 ? iwsav[kIterLimit] : std::max<Integer>(50, 5 * n) * digit_factor;

    Problem problem{objfun, n, iuser, ruser};
    Vec xk(x, x + n), g(N), xt(N), gt(N), p(N);
    TalvoFloat f;
    auto finish = [&](const Vec &xs, const TalvoFloat &fs, const Vec &gs, Integer code) {
        std::copy(xs.begin(), xs.end(), x);
        std::copy(gs.begin(), gs.end(), objgrd);
        *objf = fs;
        *ifail = code;
    };
    Eval ev = problem(xk, f, g);
    if (ev != Eval::Ok || classify(f) != Value::Finite)
        return finish(xk, f, g, ev == Eval::Stop ? kUserStop : kUndefinedValue);

    // The gradient check: central differences on the chosen variables.
    if (iwsav[kVerify] > 0) {
        const Integer first = std::max<Integer>(1, iwsav[kCheckStart]);
        const Integer last = iwsav[kCheckStop] > 0 ? std::min(n, iwsav[kCheckStop]) : n;
        const TalvoFloat h0 = eps_pow(1.0 / 3.0), tol = eps_pow(0.25), two(2.0);
        for (Integer j = first; j <= last; ++j) {
            const size_t k = size_t(j - 1);
            const TalvoFloat h = h0 * (one + fabs(xk[k]));
            TalvoFloat fp, fm;
            xt = xk;
            xt[k] = xk[k] + h;
            if ((ev = problem(xt, fp, gt)) != Eval::Ok)
                return finish(xk, f, g, ev == Eval::Stop ? kUserStop : kUndefinedValue);
            xt[k] = xk[k] - h;
            if ((ev = problem(xt, fm, gt)) != Eval::Ok)
                return finish(xk, f, g, ev == Eval::Stop ? kUserStop : kUndefinedValue);
            const TalvoFloat fd = (fp - fm) / (two * h);
            if (fabs(fd - g[k]) > tol * (one + fabs(g[k])))
                return finish(xk, f, g, 7);
        }
    }

    if (norm2(g) <= e * (one + fabs(f)))
        return finish(xk, f, g, 8);

    const size_t memory = 10;
    std::deque<Vec> S, Y;
    std::deque<TalvoFloat> rho;
    Vec alpha(memory);

    for (Integer k = 0;; ++k) {
        if (k >= limit)
            return finish(xk, f, g, 3);
        // p = -H g by the two-loop recursion.
        p = g;
        for (size_t i = S.size(); i-- > 0;) {
            alpha[i] = rho[i] * dot(S[i], p);
            for (size_t j = 0; j < N; ++j)
                p[j] -= alpha[i] * Y[i][j];
        }
        if (!S.empty()) {
            const TalvoFloat gamma = dot(S.back(), Y.back()) / dot(Y.back(), Y.back());
            for (auto &pj : p)
                pj *= gamma;
        }
        for (size_t i = 0; i < S.size(); ++i) {
            const TalvoFloat beta = rho[i] * dot(Y[i], p);
            for (size_t j = 0; j < N; ++j)
                p[j] += (alpha[i] - beta) * S[i][j];
        }
        for (auto &pj : p)
            pj = -pj;
        TalvoFloat d0 = dot(g, p);
        if (!(d0 < zero)) {
            // Not a descent direction (round-off in the pairs): steepest descent.
            S.clear();
            Y.clear();
            rho.clear();
            for (size_t j = 0; j < N; ++j)
                p[j] = -g[j];
            d0 = dot(g, p);
        }
        const TalvoFloat pnorm = norm2(p);
        if (!S.empty()) {
            // U1 and U2 for the step about to be taken: the quasi-Newton
            // model predicts the decrease -g'p / 2 from the unit step, and
            // when that is below r |F| (with the default r, below the
            // rounding of F itself) and the step below sqrt(r) (1 + |x|)
            // while U3 holds, the minimum is reached as far as the values
            // can show.  Testing before the line search spares the searches
            // among values that no longer differ (near a minimum F* != 0);
            // where F falls towards 0 its decrease stays visible, and U1 on
            // the steps taken decides as before.
            const TalvoFloat fscale = one + fabs(f);
            if (-d0 < r * fabs(f) && pnorm < root_r * (one + norm2(xk)) && norm2(g) <= root_r * fscale)
                return finish(xk, f, g, 0);
        }
        TalvoFloat amax = stepmx / pnorm;
        // The first trial: the unit step once the pairs give the direction
        // its scale, else a step of unit length (min(1, 1/|p|), as the
        // bound-constrained L-BFGS of Byrd, Lu, Nocedal and Zhu, SIAM J.
        // Sci. Comput. 16, 1995, takes on its first iteration).
        TalvoFloat a1 = S.empty() ? fmin(one, one / pnorm) : one;
        a1 = fmin(a1, amax);

        // Line search.
        auto trial = [&](const TalvoFloat &a, TalvoFloat &fa, Vec &ga, TalvoFloat &da) {
            for (size_t j = 0; j < N; ++j)
                xt[j] = xk[j] + a * p[j];
            Eval r2 = problem(xt, fa, ga);
            if (r2 == Eval::Ok)
                da = classify(fa) == Value::Finite ? dot(ga, p) : TalvoFloat(0.0);
            return r2;
        };
        TalvoFloat a_prev = zero, f_prev = f, d_prev = d0;
        TalvoFloat a = a1, fa, da;
        TalvoFloat best_a = zero, best_f = f;
        Vec best_g = g, ga(N);
        bool done = false;
        const TalvoFloat tiny = e * e;
        auto zoom = [&](TalvoFloat lo, TalvoFloat flo, TalvoFloat dlo, TalvoFloat hi, TalvoFloat fhi,
                        TalvoFloat dhi) -> Eval {
            // The bracket's width now and one trial ago: a bracket that two
            // trials have not shrunk to 0.66 of its width is bisected.
            TalvoFloat width = fabs(hi - lo), width_before = TalvoFloat(2.0) * width;
            bool bisect = false;
            for (int it = 0; it < 60; ++it) {
                if (fabs(hi - lo) * pnorm <= tiny * (one + norm2(xk)))
                    return Eval::Ok;
                const TalvoFloat aj = bisect ? TalvoFloat(0.5) * (lo + hi) : ZoomStep(lo, flo, dlo, hi, fhi, dhi);
                TalvoFloat fj, dj;
                Eval r2 = trial(aj, fj, ga, dj);
                if (r2 != Eval::Ok)
                    return r2;
                if (fj < best_f) {
                    best_a = aj;
                    best_f = fj;
                    best_g = ga;
                }
                if (!(fj <= f + c1 * aj * d0) || fj >= flo) {
                    hi = aj;
                    fhi = fj;
                    dhi = dj;
                } else {
                    if (fabs(dj) <= -eta * d0) {
                        done = true;
                        return Eval::Ok;
                    }
                    if (dj * (hi - lo) >= zero) {
                        hi = lo;
                        fhi = flo;
                        dhi = dlo;
                    }
                    lo = aj;
                    flo = fj;
                    dlo = dj;
                }
                bisect = fabs(hi - lo) >= TalvoFloat(0.66) * width_before;
                width_before = width;
                width = fabs(hi - lo);
            }
            return Eval::Ok;
        };
        Eval ls = Eval::Ok;
        for (int i = 0; i < 60 && !done; ++i) {
            ls = trial(a, fa, ga, da);
            if (ls != Eval::Ok)
                break;
            if (fa < best_f) {
                best_a = a;
                best_f = fa;
                best_g = ga;
            }
            if (!(fa <= f + c1 * a * d0) || (i > 0 && fa >= f_prev)) {
                ls = zoom(a_prev, f_prev, d_prev, a, fa, da);
                break;
            }
            if (fabs(da) <= -eta * d0) {
                done = true;
                break;
            }
            if (da >= zero) {
                ls = zoom(a, fa, da, a_prev, f_prev, d_prev);
                break;
            }
            if (a >= amax)
                break;
            a_prev = a;
            f_prev = fa;
            d_prev = da;
            a = fmin(a * TalvoFloat(4.0), amax);
        }
        if (ls != Eval::Ok)
            return finish(xk, f, g, ls == Eval::Stop ? kUserStop : kUndefinedValue);
        if (!(best_f < f) && a >= amax && amax < one)
            return finish(xk, f, g, 4);
        if (!(best_f < f)) {
            // No lower point along p: the optimality conditions hold as far
            // as the precision lets us see, or the search is stuck.
            const bool small_gradient = norm2(g) <= cube_r * (one + fabs(f));
            return finish(xk, f, g, small_gradient ? 0 : 6);
        }
        // Accept the best point found.
        Vec s(N), y(N);
        for (size_t j = 0; j < N; ++j) {
            const TalvoFloat xn = xk[j] + best_a * p[j];
            s[j] = xn - xk[j];
            y[j] = best_g[j] - g[j];
            xk[j] = xn;
        }
        const TalvoFloat f_old = f;
        f = best_f;
        g = best_g;
        *iter = k + 1;
        const TalvoFloat sy = dot(s, y);
        if (sy > e * norm2(s) * norm2(y)) {
            if (S.size() == memory) {
                S.pop_front();
                Y.pop_front();
                rho.pop_front();
            }
            S.push_back(s);
            Y.push_back(y);
            rho.push_back(one / sy);
        }
        const TalvoFloat gnorm = norm2(g), xnorm = norm2(xk);
        const bool u1 = f_old - f < r * (one + fabs(f));
        const bool u2 = norm2(s) < root_r * (one + xnorm);
        const bool u3 = gnorm <= root_r * (one + fabs(f));
        if ((u1 && u2 && u3) || gnorm < e * (one + fabs(f)))
            return finish(xk, f, g, 0);
    }
}
