// simplex.cpp -- TalvoMP_e04cca_: unconstrained minimum by the Nelder-Mead
// simplex method (J. A. Nelder and R. Mead, Computer Journal 7, 1965), from
// values only.
//
// The simplex starts at x0 and x0 + h_j e_j (h_j = x0_j / 20, or 1/4000
// for a zero component).  Each iteration reflects the worst vertex through
// the centroid of the others (coefficient 1), expands (2) when the
// reflection is the new best, contracts outside or inside (1/2) when it is
// no better than the second worst, and shrinks every vertex half way to the
// best when the contraction fails too.  The search stops when the standard
// deviation of the n + 1 values falls below tol.  Vertex k is row k of the
// (n + 1) x n column-major array w6; the values are in w5.
#include "common.hpp"

#include <algorithm>

using namespace talvo::opt;

void TalvoMP_e04cca_(Integer *n_, TalvoFloat *x, TalvoFloat *f, TalvoFloat *tol_, Integer *iw, TalvoFloat *w1,
                     TalvoFloat *w2, TalvoFloat *w3, TalvoFloat * /*w4*/, TalvoFloat *w5, TalvoFloat *w6,
                     TalvoMP_e04cca_funct funct, TalvoMP_e04cca_monit monit, Integer *maxcal, Integer *iuser,
                     TalvoFloat *ruser, Integer *ifail)
{
    const Integer n = *n_;
    *ifail = 0;
    if (n < 1 || *iw != n + 1 || *maxcal < 1) {
        *ifail = 1;
        return;
    }
    const Integer rows = n + 1;
    const TalvoFloat tol = tol_or(*tol_, eps_pow(0.75));
    const TalvoFloat half(0.5), two(2.0), zero(0.0);
    auto at = [&](Integer k, Integer j) -> TalvoFloat & { return w6[k + j * rows]; };
    Integer calls = 0;
    Integer nn = n;

    // f at a point held in xc; false when the value is undefined.
    auto eval = [&](TalvoFloat *xc, TalvoFloat &value) {
        funct(&nn, xc, &value, iuser, ruser);
        ++calls;
        return classify(value) != Value::Undefined;
    };
    Vec point(size_t(n), zero);
    auto eval_vertex = [&](Integer k) {
        for (Integer j = 0; j < n; ++j)
            point[size_t(j)] = at(k, j);
        return eval(point.data(), w5[k]);
    };
    auto finish = [&](Integer best, Integer code) {
        for (Integer j = 0; j < n; ++j)
            x[j] = at(best, j);
        *f = w5[best];
        *ifail = code;
    };

    for (Integer k = 0; k < rows; ++k)
        for (Integer j = 0; j < n; ++j)
            at(k, j) = x[j];
    const TalvoFloat small(0.00025), step(0.05);
    for (Integer j = 0; j < n; ++j)
        at(j + 1, j) = x[j] == zero ? small : x[j] + step * x[j];

    for (Integer k = 0; k < rows; ++k) {
        if (calls >= *maxcal)
            return finish(0, 2);
        if (!eval_vertex(k) || (k == 0 && classify(w5[0]) != Value::Finite))
            return finish(0, kUndefinedValue);
    }

    std::vector<Integer> order(static_cast<size_t>(rows));
    for (;;) {
        for (Integer k = 0; k < rows; ++k)
            order[size_t(k)] = k;
        std::stable_sort(order.begin(), order.end(), [&](Integer p, Integer q) { return w5[p] < w5[q]; });
        const Integer best = order[0], worst = order[size_t(n)], second = order[size_t(n - 1)];

        // The spread of the values.
        TalvoFloat mean = zero;
        for (Integer k = 0; k < rows; ++k)
            mean += w5[k];
        mean /= TalvoFloat(double(rows));
        TalvoFloat var = zero;
        for (Integer k = 0; k < rows; ++k)
            var += (w5[k] - mean) * (w5[k] - mean);
        const TalvoFloat spread = sqrt(var / TalvoFloat(double(rows)));

        if (monit != nullptr) {
            TalvoFloat fmin = w5[best], fmax = w5[worst];
            Integer is = rows, ncall = calls;
            monit(&fmin, &fmax, w6, &nn, &is, &ncall, iuser, ruser);
        }
        if (is_finite(spread) && spread < tol)
            return finish(best, 0);
        if (calls >= *maxcal)
            return finish(best, 2);

        // Centroid of all vertices but the worst.
        for (Integer j = 0; j < n; ++j) {
            TalvoFloat s = zero;
            for (Integer k = 0; k < rows; ++k)
                if (k != worst)
                    s += at(k, j);
            w1[j] = s / TalvoFloat(double(n));
        }
        // Reflection.
        for (Integer j = 0; j < n; ++j)
            w2[j] = w1[j] + (w1[j] - at(worst, j));
        TalvoFloat fr;
        if (!eval(w2, fr))
            return finish(best, kUndefinedValue);
        auto accept = [&](const TalvoFloat *p, const TalvoFloat &fp) {
            for (Integer j = 0; j < n; ++j)
                at(worst, j) = p[j];
            w5[worst] = fp;
        };
        if (fr < w5[best]) {
            if (calls >= *maxcal) {
                accept(w2, fr);
                continue;
            }
            for (Integer j = 0; j < n; ++j)
                w3[j] = w1[j] + two * (w2[j] - w1[j]);
            TalvoFloat fe;
            if (!eval(w3, fe))
                return finish(best, kUndefinedValue);
            if (fe < fr)
                accept(w3, fe);
            else
                accept(w2, fr);
            continue;
        }
        if (fr < w5[second]) {
            accept(w2, fr);
            continue;
        }
        if (calls >= *maxcal)
            continue;
        // Contraction: outside when the reflection beat the worst, inside otherwise.
        const bool outside = fr < w5[worst];
        for (Integer j = 0; j < n; ++j)
            w3[j] = outside ? w1[j] + half * (w2[j] - w1[j]) : w1[j] + half * (at(worst, j) - w1[j]);
        TalvoFloat fc;
        if (!eval(w3, fc))
            return finish(best, kUndefinedValue);
        if (outside ? fc <= fr : fc < w5[worst]) {
            accept(w3, fc);
            continue;
        }
        // Shrink towards the best vertex.
        for (Integer k = 0; k < rows; ++k) {
            if (k == best)
                continue;
            for (Integer j = 0; j < n; ++j)
                at(k, j) = at(best, j) + half * (at(k, j) - at(best, j));
            if (calls >= *maxcal)
                return finish(best, 2);
            if (!eval_vertex(k))
                return finish(best, kUndefinedValue);
        }
    }
}
