// univariate.cpp -- TalvoMP_e04aba_: the minimum of a function of one
// variable on an interval from values only.
//
// Brent's method (R. P. Brent, Algorithms for Minimization without
// Derivatives, 1973, ch. 5): golden-section steps, replaced by the minimum of
// the parabola through the three best points when that falls inside the
// bracket and shrinks the step enough.  The bracket [a, b] always holds the
// best point x; the search ends when x is within 2 tol of the middle of a
// bracket of width at most 4 tol, tol = e1 |x| + e2.
#include "common.hpp"

using namespace talvo::opt;

void TalvoMP_e04aba_(TalvoMP_e04aba_funct funct, TalvoFloat *e1, TalvoFloat *e2, TalvoFloat *a, TalvoFloat *b,
                     Integer *maxcal, TalvoFloat *x, TalvoFloat *f, Integer *iuser, TalvoFloat *ruser,
                     Integer *ifail)
{
    const TalvoFloat root_eps = eps_pow(0.5);
    const TalvoFloat rel = tol_or(*e1, root_eps);
    const TalvoFloat abs_tol = tol_or(*e2, root_eps);
    const Integer limit = *maxcal;
    *ifail = 0;
    if (limit < 3 || !(*a + abs_tol < *b)) {
        *ifail = 1;
        *maxcal = 0;
        return;
    }

    const TalvoFloat half(0.5), two(2.0), three(3.0);
    const TalvoFloat golden = (three - sqrt(TalvoFloat(5.0))) * half; // (3 - sqrt 5) / 2
    TalvoFloat lo = *a, hi = *b;
    TalvoFloat v = lo + golden * (hi - lo), w = v, xb = v;
    TalvoFloat d(0.0), e(0.0);
    Integer calls = 0;

    auto eval = [&](const TalvoFloat &at, TalvoFloat &value) {
        TalvoFloat xc = at;
        funct(&xc, &value, iuser, ruser);
        ++calls;
        return classify(value) != Value::Undefined;
    };

    TalvoFloat fx;
    if (!eval(xb, fx) || classify(fx) != Value::Finite) {
        *x = xb;
        *f = fx;
        *a = lo;
        *b = hi;
        *maxcal = calls;
        *ifail = kUndefinedValue;
        return;
    }
    TalvoFloat fv = fx, fw = fx;

    for (;;) {
        const TalvoFloat mid = half * (lo + hi);
        const TalvoFloat tol1 = rel * fabs(xb) + abs_tol;
        const TalvoFloat tol2 = two * tol1;
        if (fabs(xb - mid) <= tol2 - half * (hi - lo))
            break;
        if (calls >= limit) {
            *ifail = 2;
            break;
        }
        bool golden_step = true;
        if (fabs(e) > tol1) {
            // The parabola through (x, fx), (w, fw), (v, fv).
            TalvoFloat r = (xb - w) * (fx - fv);
            TalvoFloat q = (xb - v) * (fx - fw);
            TalvoFloat p = (xb - v) * q - (xb - w) * r;
            q = two * (q - r);
            if (q > 0L)
                p = -p;
            q = fabs(q);
            const TalvoFloat etemp = e;
            e = d;
            if (fabs(p) < fabs(half * q * etemp) && p > q * (lo - xb) && p < q * (hi - xb)) {
                d = p / q;
                const TalvoFloat u = xb + d;
                // Not too close to the ends of the bracket.
                if (u - lo < tol2 || hi - u < tol2)
                    d = xb < mid ? tol1 : -tol1;
                golden_step = false;
            }
        }
        if (golden_step) {
            e = xb < mid ? hi - xb : lo - xb;
            d = golden * e;
        }
        // Never a step shorter than tol1.
        const TalvoFloat u = fabs(d) >= tol1 ? xb + d : (d > 0L ? xb + tol1 : xb - tol1);
        TalvoFloat fu;
        if (!eval(u, fu)) {
            *ifail = kUndefinedValue;
            break;
        }
        if (fu <= fx) {
            if (u < xb)
                hi = xb;
            else
                lo = xb;
            v = w;
            fv = fw;
            w = xb;
            fw = fx;
            xb = u;
            fx = fu;
        } else {
            if (u < xb)
                lo = u;
            else
                hi = u;
            if (fu <= fw || w == xb) {
                v = w;
                fv = fw;
                w = u;
                fw = fu;
            } else if (fu <= fv || v == xb || v == w) {
                v = u;
                fv = fu;
            }
        }
    }
    *x = xb;
    *f = fx;
    *a = lo;
    *b = hi;
    *maxcal = calls;
}
