// integer_lp.cpp -- TalvoMP_h02wbf_ (the save arrays of the integer LP at
// their defaults) and TalvoMP_h02bbf_ (an integer or mixed-integer linear
// program by branch and bound).
//
// The method is Dakin's (1965) LP-based branch and bound (Land and Doig 1960
// for the idea; Taha 1987 and Mitra 1973 for the bookkeeping):
//
//   - every node is the linear program of the root with tighter bounds on
//     some integer variables, solved by the active-set engine
//     (active_set.hpp), warm-started from the working set and the point of
//     the node it was branched from;
//   - a node whose relaxation has no solution, or whose optimal value is not
//     below the best integer solution found so far (the incumbent), is
//     dropped: nothing below it can be better;
//   - otherwise, when an integer variable x_j has a fractional value v, the
//     node is split in two, x_j <= floor(v) and x_j >= floor(v) + 1, each
//     child remembering the parent's optimal value as the bound on what it
//     can reach;
//   - until the first integer solution the deepest waiting node is taken
//     next (depth first, the child on the side v is nearer first), which
//     finds an incumbent quickly; after it the waiting node with the lowest
//     bound (best bound), which proves optimality with the fewest nodes.
//
// The branching variable is the integer variable whose value is farthest
// from an integer (ties: the lowest index).  Everything is done at the
// working precision: the tolerances default from "Digits", and an integer
// solution is returned with its integer variables rounded exactly to their
// integers.
#include "active_set.hpp"
#include "options.hpp"

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

using namespace talvo::opt;
using namespace talvo::opt::saved;

namespace {

// One node waiting to be solved.
struct Node {
    Vec lower, upper;              // bounds on the n variables
    std::vector<Integer> istate;   // the parent's final working set (n + m)
    Vec x;                         // the parent's solution, the start point
    TalvoFloat bound;              // the parent's optimal value
    long depth = 0;
    long order = 0;                // creation order: ties go to the newest
};

// The codes of h02bbf (talvo_mp_optimization.h).
enum : Integer {
    kOk = 0,
    kNoInteger = 1,
    kUnbounded = 2,
    kLpIterations = 3,
    kNodeLimit = 4,
    kDepthLimit = 5,
    kWorkspace = 6,
    kInvalid = 7
};

bool Infinite(const TalvoFloat &v, const TalvoFloat &bigbnd) { return !(fabs(v) < bigbnd); }

} // namespace

void TalvoMP_h02wbf_(const char *rname, char * /*cwsav*/, Integer * /*lcwsav*/, Integer *lwsav, Integer *llwsav,
                     Integer *iwsav, Integer *liwsav, TalvoFloat *rwsav, Integer *lrwsav, Integer *ifail,
                     int rname_length, int /*cwsav_length*/)
{
    std::string name;
    for (int i = 0; i < rname_length && rname[i] != '\0'; ++i)
        name += char(std::tolower(static_cast<unsigned char>(rname[i])));
    while (!name.empty() && name.back() == ' ')
        name.pop_back();
    *ifail = 0;
    if (name != "h02bbf") {
        *ifail = 1;
        return;
    }
    if (*llwsav < kTalvoOptLwsav || *liwsav < kTalvoOptIwsav || *lrwsav < kTalvoOptRwsav) {
        *ifail = 2;
        return;
    }
    set_defaults(lwsav, iwsav, rwsav, H02BBF);
    iwsav[kMarker] = kMarkerValue;
    iwsav[kRoutine] = H02BBF;
}

void TalvoMP_h02bbf_(Integer *itmax, Integer * /*msglvl*/, Integer *n, Integer *m, const TalvoFloat *a,
                     Integer *lda, const TalvoFloat *bl, const TalvoFloat *bu, const Integer *intvar,
                     const TalvoFloat *cvec, Integer *maxnod, Integer *intfst, Integer *maxdpt, TalvoFloat *toliv,
                     TalvoFloat *tolfes, TalvoFloat *bigbnd, TalvoFloat *x, TalvoFloat *objmip, Integer *iwork,
                     Integer *liwork, TalvoFloat *rwork, Integer *lrwork, Integer * /*lwsav*/, Integer *iwsav,
                     TalvoFloat *rwsav, Integer *ifail)
{
    const long nv = long(*n), nc = long(*m), total = nv + nc;

    // Invalid input first (7), then the workspace (6).
    if (nv < 1 || nc < 0 || *lda < std::max<Integer>(1, *m) || *maxdpt < 2 || iwsav[kMarker] != kMarkerValue ||
        iwsav[kRoutine] != H02BBF) {
        *ifail = kInvalid;
        return;
    }
    for (long j = 0; j < nv; ++j)
        if (intvar[j] != 0 && intvar[j] != 1) {
            *ifail = kInvalid;
            return;
        }
    if (*liwork < 4 || *lrwork < nc + 1) {
        *ifail = kWorkspace;
        return;
    }

    // The tolerances: given values at or above eps, the defaults otherwise.
    if (!(*bigbnd > TalvoFloat(0.0)))
        *bigbnd = TalvoFloat(1e20);
    *tolfes = tol_or(*tolfes, eps_pow(0.5));
    *toliv = tol_or(*toliv, eps_pow(1.0 / 3.0));
    if (!(*toliv < TalvoFloat(0.5)))
        *toliv = eps_pow(1.0 / 3.0);
    if (*itmax <= 0)
        *itmax = std::max<long>(50, 5 * total);
    for (long k = 0; k < total; ++k)
        if (bl[k] > bu[k] + *tolfes) {
            *ifail = kInvalid;
            return;
        }

    const TalvoFloat big = *bigbnd;
    const TalvoFloat tiv = *toliv;
    const TalvoFloat zero(0.0), one(1.0);

    // The node LPs: the constraint bounds stay as given, the variable bounds
    // are the node's.
    Vec nodebl(bl, bl + total), nodebu(bu, bu + total);
    qp::Problem lp;
    lp.type = qp::Type::LP;
    lp.n = nv;
    lp.nclin = nc;
    lp.C = a;
    lp.ldc = long(*lda);
    lp.bl = nodebl.data();
    lp.bu = nodebu.data();
    lp.cvec = cvec;
    qp::Options opt;
    opt.iter_limit = long(*itmax);
    opt.feas_tol = *tolfes;
    opt.opt_tol = rwsav[kOptTol];
    opt.bigbnd = big;
    opt.expand_freq = iwsav[kExpandFreq] > 0 ? long(iwsav[kExpandFreq]) : -1;

    // The root: integer variables' bounds rounded inwards to integers.
    Node root;
    root.lower.assign(bl, bl + nv);
    root.upper.assign(bu, bu + nv);
    for (long j = 0; j < nv; ++j) {
        if (intvar[j] == 0)
            continue;
        if (!Infinite(root.lower[j], big))
            root.lower[j] = ceil(root.lower[j] - tiv);
        if (!Infinite(root.upper[j], big))
            root.upper[j] = floor(root.upper[j] + tiv);
        if (root.upper[j] < root.lower[j]) {
            // No integer between the bounds: no integer solution.
            for (long k = 0; k < 4; ++k)
                iwork[k] = 0;
            *ifail = kNoInteger;
            return;
        }
    }
    root.istate.assign(size_t(total), 0);
    root.x.assign(x, x + nv);
    root.bound = -big;

    std::vector<Node> waiting;
    waiting.push_back(std::move(root));
    long created = 1;

    bool have = false;
    TalvoFloat best(0.0);
    const size_t nsize = static_cast<size_t>(nv), csize = static_cast<size_t>(std::max(nc, 1L));
    Vec bestx(nsize), bestax(csize);
    long nodes = 0, deepest = 0, iterations = 0;
    Integer code = kOk;

    std::vector<Integer> istate(static_cast<size_t>(total));
    Vec xs(nsize), ax(csize), clamda(static_cast<size_t>(total));
    Vec lastx(x, x + nv);

    // A node can improve on the incumbent only when its bound is below it
    // by more than the accuracy of the LP values.
    auto improves = [&](const TalvoFloat &value) {
        if (!have)
            return true;
        const TalvoFloat slack = eps_pow(0.75) * (one + fabs(best));
        return value < best - slack;
    };

    while (!waiting.empty()) {
        if (*maxnod > 0 && nodes >= long(*maxnod)) {
            code = kNodeLimit;
            break;
        }
        // Depth first until an incumbent, best bound after it.
        size_t pick = waiting.size() - 1;
        if (have) {
            for (size_t k = 0; k < waiting.size(); ++k) {
                const Node &w = waiting[k], &p = waiting[pick];
                if (w.bound < p.bound || (w.bound == p.bound && w.order > p.order))
                    pick = k;
            }
        }
        Node node = std::move(waiting[pick]);
        waiting.erase(waiting.begin() + long(pick));
        if (!improves(node.bound))
            continue;

        for (long j = 0; j < nv; ++j) {
            nodebl[size_t(j)] = node.lower[size_t(j)];
            nodebu[size_t(j)] = node.upper[size_t(j)];
        }
        std::copy(node.istate.begin(), node.istate.end(), istate.begin());
        std::copy(node.x.begin(), node.x.end(), xs.begin());
        opt.warm = nodes > 0;
        const qp::Result r = qp::solve(lp, opt, istate.data(), xs.data(), nc > 0 ? ax.data() : nullptr,
                                       clamda.data());
        ++nodes;
        iterations += r.iter;
        deepest = std::max(deepest, node.depth);
        lastx = xs;

        if (r.inform == 3)
            continue; // infeasible: nothing below this node
        if (r.inform == 2) {
            code = kUnbounded;
            break;
        }
        if (r.inform == 4) {
            code = kLpIterations;
            break;
        }
        if (r.inform == 6) {
            code = kInvalid;
            break;
        }
        const TalvoFloat value = r.obj;
        if (!improves(value))
            continue;

        // The integer variable farthest from an integer.
        long branch = -1;
        TalvoFloat widest = tiv;
        for (long j = 0; j < nv; ++j) {
            if (intvar[j] == 0)
                continue;
            const TalvoFloat v = xs[size_t(j)];
            const TalvoFloat frac = fabs(v - floor(v + TalvoFloat(0.5)));
            if (frac > widest) {
                widest = frac;
                branch = j;
            }
        }
        if (branch < 0) {
            // An integer solution, better than the incumbent.
            have = true;
            for (long j = 0; j < nv; ++j)
                bestx[size_t(j)] = intvar[j] != 0 ? floor(xs[size_t(j)] + TalvoFloat(0.5)) : xs[size_t(j)];
            // The objective at the rounded point (the rounding moves the
            // integer variables by less than toliv).
            best = dot(cvec, bestx.data(), nv);
            for (long i = 0; i < nc; ++i) {
                TalvoFloat s(0.0);
                for (long j = 0; j < nv; ++j)
                    s += a[i + j * long(*lda)] * bestx[size_t(j)];
                bestax[size_t(i)] = s;
            }
            if (*intfst != 0)
                break;
            continue;
        }

        // Two children; the one on the side v is nearer to is solved first.
        if (long(waiting.size()) + 2 > long(*maxdpt)) {
            code = kDepthLimit;
            break;
        }
        const TalvoFloat v = xs[size_t(branch)];
        const TalvoFloat down = floor(v);
        Node lo, hi;
        for (Node *c : {&lo, &hi}) {
            c->lower = node.lower;
            c->upper = node.upper;
            c->istate = istate;
            c->x = xs;
            c->bound = value;
            c->depth = node.depth + 1;
        }
        lo.upper[size_t(branch)] = down;
        hi.lower[size_t(branch)] = down + one;
        const bool up_first = v - down > TalvoFloat(0.5);
        lo.order = up_first ? created : created + 1;
        hi.order = up_first ? created + 1 : created;
        created += 2;
        // A child whose new bound crosses the other one (v just outside its
        // bounds, within the feasibility tolerance) holds no point.
        const bool lo_ok = !(lo.upper[size_t(branch)] < lo.lower[size_t(branch)]);
        const bool hi_ok = !(hi.upper[size_t(branch)] < hi.lower[size_t(branch)]);
        if (up_first) {
            if (lo_ok)
                waiting.push_back(std::move(lo));
            if (hi_ok)
                waiting.push_back(std::move(hi));
        } else {
            if (hi_ok)
                waiting.push_back(std::move(hi));
            if (lo_ok)
                waiting.push_back(std::move(lo));
        }
    }

    // The best bound of the nodes left (the gap to the incumbent).
    TalvoFloat remaining = have ? best : big;
    for (const Node &w : waiting)
        if (w.bound < remaining)
            remaining = w.bound;

    iwork[0] = Integer(nodes);
    iwork[1] = Integer(deepest);
    iwork[2] = Integer(iterations);
    iwork[3] = have ? 1 : 0;
    rwork[0] = remaining;
    if (have) {
        for (long j = 0; j < nv; ++j)
            x[j] = bestx[size_t(j)];
        for (long i = 0; i < nc; ++i)
            rwork[1 + i] = bestax[size_t(i)];
        *objmip = best;
    } else {
        for (long j = 0; j < nv; ++j)
            x[j] = lastx[size_t(j)];
        *objmip = zero;
    }
    if (code == kOk && !have)
        code = kNoInteger;
    *ifail = code;
}
