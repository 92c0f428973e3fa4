// programming.cpp -- TalvoMP_e04mfa_ (linear program or feasible point),
// TalvoMP_e04nca_ (convex quadratic program or linearly constrained least
// squares) and TalvoMP_e04nfa_ (quadratic program with a Hessian product),
// each a front end to the active-set engine (active_set.hpp): the argument
// checks, the options from the save arrays, the engine's inform as IFAIL.
#include "active_set.hpp"
#include "options.hpp"

#include <algorithm>

using namespace talvo::opt;
using namespace talvo::opt::saved;

namespace {

constexpr Integer kInvalid = 6;

bool Initialised(const Integer *iwsav, RoutineId routine)
{
    return iwsav != nullptr && iwsav[kMarker] == kMarkerValue && iwsav[kRoutine] == routine;
}

// The engine's options from the save arrays.
qp::Options OptionsFrom(const Integer *iwsav, const TalvoFloat *rwsav)
{
    qp::Options o;
    o.iter_limit = iwsav[kIterLimit];
    o.feas_tol = rwsav[kFeasTol];
    o.opt_tol = rwsav[kOptTol];
    o.bigbnd = rwsav[kInfBound];
    o.warm = iwsav[kWarmStart] == 1;
    o.expand_freq = iwsav[kExpandFreq];
    o.max_free = iwsav[kMaxDegFree];
    return o;
}

// Bounds consistent (bl <= bu, neither undefined) and, on a warm start,
// istate within its range.
bool BoundsValid(long n, const TalvoFloat *bl, const TalvoFloat *bu, const Integer *istate, bool warm,
                 const TalvoFloat &bigbnd)
{
    for (long i = 0; i < n; ++i) {
        if (is_nan(bl[i]) || is_nan(bu[i]))
            return false;
        if (bl[i] > bu[i])
            return false;
        if (!(bl[i] < bigbnd) || !(bu[i] > -bigbnd))
            return false; // a lower bound of +infinity or an upper of -infinity
        if (warm && (istate[i] < -2 || istate[i] > 4))
            return false;
    }
    return true;
}

qp::Type TypeOf(Integer code)
{
    switch (code) {
    case kFP: return qp::Type::FP;
    case kQP1: return qp::Type::QP1;
    case kQP2: return qp::Type::QP2;
    case kQP3: return qp::Type::QP3;
    case kQP4: return qp::Type::QP4;
    case kLS1: return qp::Type::LS1;
    case kLS2: return qp::Type::LS2;
    case kLS3: return qp::Type::LS3;
    case kLS4: return qp::Type::LS4;
    default: return qp::Type::LP;
    }
}

TalvoFloat BigBound(const TalvoFloat *rwsav)
{
    return rwsav[kInfBound] > TalvoFloat(0.0) ? rwsav[kInfBound] : TalvoFloat(1e20);
}

} // namespace

void TalvoMP_e04mfa_(Integer *n_, Integer *nclin_, const TalvoFloat *a, Integer *lda, const TalvoFloat *bl,
                     const TalvoFloat *bu, const TalvoFloat *cvec, Integer *istate, TalvoFloat *x, Integer *iter,
                     TalvoFloat *obj, TalvoFloat *ax, TalvoFloat *clamda, Integer * /*iwork*/, Integer *liwork,
                     TalvoFloat * /*work*/, Integer *lwork, Integer * /*lwsav*/, Integer *iwsav, TalvoFloat *rwsav,
                     Integer *ifail)
{
    *ifail = kInvalid;
    *iter = 0;
    if (!Initialised(iwsav, E04MFA))
        return;
    const long n = *n_, nclin = *nclin_;
    if (n < 1 || nclin < 0 || *lda < std::max(1L, nclin))
        return;
    long need = 7 * n + 1;
    if (nclin > 0 && nclin < n)
        need = 2 * (nclin + 1) * (nclin + 1) + 7 * n + 5 * nclin;
    else if (nclin >= n)
        need = 2 * n * n + 7 * n + 5 * nclin;
    if (*liwork < 2 * n + 3 || *lwork < need)
        return;
    const qp::Options o = OptionsFrom(iwsav, rwsav);
    if (!BoundsValid(n + nclin, bl, bu, istate, o.warm, BigBound(rwsav)))
        return;
    qp::Problem p;
    p.type = iwsav[kProblemType] == kFP ? qp::Type::FP : qp::Type::LP;
    p.n = n;
    p.nclin = nclin;
    p.C = a;
    p.ldc = *lda;
    p.bl = bl;
    p.bu = bu;
    p.cvec = cvec;
    const qp::Result r = qp::solve(p, o, istate, x, nclin > 0 ? ax : nullptr, clamda);
    *iter = r.iter;
    *obj = r.obj;
    *ifail = r.inform;
}

void TalvoMP_e04nca_(Integer *m_, Integer *n_, Integer *nclin_, Integer *ldc, Integer *lda, const TalvoFloat *c,
                     const TalvoFloat *bl, const TalvoFloat *bu, const TalvoFloat *cvec, Integer *istate, Integer *kx,
                     TalvoFloat *x, TalvoFloat *a, TalvoFloat *b, Integer *iter, TalvoFloat *obj, TalvoFloat *clamda,
                     Integer * /*iwork*/, Integer *liwork, TalvoFloat * /*work*/, Integer *lwork, Integer * /*lwsav*/,
                     Integer *iwsav, TalvoFloat *rwsav, Integer *ifail)
{
    *ifail = kInvalid;
    *iter = 0;
    if (!Initialised(iwsav, E04NCA))
        return;
    const long m = *m_, n = *n_, nclin = *nclin_;
    const qp::Type type = TypeOf(iwsav[kProblemType]);
    const bool quad = type != qp::Type::FP && type != qp::Type::LP;
    if (n < 1 || nclin < 0 || *ldc < std::max(1L, nclin) || m < 0)
        return;
    if ((type == qp::Type::QP1 || type == qp::Type::QP2) && *lda < n)
        return;
    if (quad && type != qp::Type::QP1 && type != qp::Type::QP2 && (m < 1 || *lda < m))
        return;
    if (*liwork < n || *lwork < 10 * n)
        return;
    const qp::Options o = OptionsFrom(iwsav, rwsav);
    if (!BoundsValid(n + nclin, bl, bu, istate, o.warm, BigBound(rwsav)))
        return;
    qp::Problem p;
    p.type = type;
    p.n = n;
    p.nclin = nclin;
    p.C = c;
    p.ldc = *ldc;
    p.bl = bl;
    p.bu = bu;
    p.cvec = cvec;
    p.A = a;
    p.lda = *lda;
    p.m = (type == qp::Type::QP1 || type == qp::Type::QP2) ? n : m;
    p.b = b;
    const qp::Result r = qp::solve(p, o, istate, x, nullptr, clamda);
    for (long j = 0; j < n; ++j)
        kx[j] = j + 1;
    *iter = r.iter;
    *obj = r.obj;
    *ifail = r.inform;
}

void TalvoMP_e04nfa_(Integer *n_, Integer *nclin_, const TalvoFloat *a, Integer *lda, const TalvoFloat *bl,
                     const TalvoFloat *bu, const TalvoFloat *cvec, const TalvoFloat *h, Integer *ldh,
                     TalvoMP_e04nfa_qphess qphess, Integer *istate, TalvoFloat *x, Integer *iter, TalvoFloat *obj,
                     TalvoFloat *ax, TalvoFloat *clamda, Integer * /*iwork*/, Integer *liwork, TalvoFloat * /*work*/,
                     Integer *lwork, Integer *iuser, TalvoFloat *ruser, Integer * /*lwsav*/, Integer *iwsav,
                     TalvoFloat *rwsav, Integer *ifail)
{
    *ifail = kInvalid;
    *iter = 0;
    if (!Initialised(iwsav, E04NFA))
        return;
    const long n = *n_, nclin = *nclin_;
    if (n < 1 || nclin < 0 || *lda < std::max(1L, nclin))
        return;
    if (qphess == nullptr && (h == nullptr || *ldh < n))
        return;
    const long need = nclin > 0 ? 2 * n * n + 8 * n + 5 * nclin : n * n + 8 * n;
    if (*liwork < 2 * n + 3 || *lwork < need)
        return;
    const qp::Options o = OptionsFrom(iwsav, rwsav);
    if (!BoundsValid(n + nclin, bl, bu, istate, o.warm, BigBound(rwsav)))
        return;
    qp::Problem p;
    p.type = TypeOf(iwsav[kProblemType]);
    if (p.type != qp::Type::QP1 && p.type != qp::Type::QP2 && p.type != qp::Type::QP3 && p.type != qp::Type::QP4)
        p.type = qp::Type::QP2;
    p.n = n;
    p.nclin = nclin;
    p.C = a;
    p.ldc = *lda;
    p.bl = bl;
    p.bu = bu;
    p.cvec = cvec;
    p.A = h;
    p.lda = *ldh;
    p.m = n;
    if (qphess != nullptr) {
        Integer nn = n, ld = *ldh;
        p.hess = [=](const TalvoFloat *xv, TalvoFloat *hx, long jthcol) mutable {
            Integer j = jthcol;
            qphess(&nn, &j, h, &ld, xv, hx, iuser, ruser);
        };
    }
    const qp::Result r = qp::solve(p, o, istate, x, nclin > 0 ? ax : nullptr, clamda);
    *iter = r.iter;
    *obj = r.obj;
    *ifail = r.inform;
}
