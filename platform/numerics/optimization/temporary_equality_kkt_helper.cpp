// temporary_equality_kkt_helper.cpp -- TEMPORARY, deleted when the active-set
// engine arrives: a qp::solve that only handles QP3 / FP subproblems whose
// general constraints are equalities or free and whose variables have no
// finite bounds, by solving the KKT system directly.  Anything else gives
// inform 6.  Lets the SQP major iteration be exercised on equality-constrained
// problems before the engine exists.
#include "active_set.hpp"

namespace talvo::opt::qp {

Result solve(const Problem &p, const Options &o, Integer *istate, TalvoFloat *x, TalvoFloat *ax, TalvoFloat *clamda)
{
    Result res;
    const long n = p.n;
    const TalvoFloat big = o.bigbnd > TalvoFloat(0.0) ? o.bigbnd : TalvoFloat(1e20);
    for (long j = 0; j < n; ++j)
        if (p.bl[j] > -big || p.bu[j] < big) {
            res.inform = 6;
            return res;
        }
    std::vector<long> eq;
    for (long i = 0; i < p.nclin; ++i) {
        const long k = n + i;
        const bool lo = p.bl[k] > -big, hi = p.bu[k] < big;
        if (lo && hi && p.bl[k] == p.bu[k])
            eq.push_back(i);
        else if (lo || hi) {
            res.inform = 6;
            return res;
        }
    }
    const long m = long(eq.size()), K = n + m;
    Vec M(size_t(K * K), TalvoFloat(0.0)), rhs(size_t(K), TalvoFloat(0.0));
    auto at = [&](long i, long j) -> TalvoFloat & { return M[size_t(i + j * K)]; };
    if (p.type == Type::FP) {
        for (long j = 0; j < n; ++j) {
            at(j, j) = TalvoFloat(1.0);
            rhs[size_t(j)] = x[j];
        }
    } else if (p.type == Type::QP3) {
        for (long i = 0; i < n; ++i)
            for (long j = 0; j < n; ++j) {
                TalvoFloat h(0.0);
                for (long k = 0; k < p.m; ++k)
                    h += p.A[k + i * p.lda] * p.A[k + j * p.lda];
                at(i, j) = h;
            }
        for (long j = 0; j < n; ++j)
            rhs[size_t(j)] = p.cvec ? -p.cvec[j] : TalvoFloat(0.0);
    } else {
        res.inform = 6;
        return res;
    }
    for (long r = 0; r < m; ++r) {
        const long i = eq[size_t(r)];
        for (long j = 0; j < n; ++j) {
            at(n + r, j) = p.C[i + j * p.ldc];
            at(j, n + r) = -p.C[i + j * p.ldc];
        }
        rhs[size_t(n + r)] = p.bl[n + i];
    }
    // Gaussian elimination with partial pivoting.

    for (long k = 0; k < K; ++k) {
        long piv = k;
        for (long i = k + 1; i < K; ++i)
            if (fabs(at(i, k)) > fabs(at(piv, k)))
                piv = i;
        if (at(piv, k) == TalvoFloat(0.0)) {
            res.inform = 6;
            return res;
        }
        if (piv != k) {
            for (long j = 0; j < K; ++j)
                std::swap(at(k, j), at(piv, j));
            std::swap(rhs[size_t(k)], rhs[size_t(piv)]);
        }
        for (long i = k + 1; i < K; ++i) {
            const TalvoFloat f = at(i, k) / at(k, k);
            for (long j = k; j < K; ++j)
                at(i, j) -= f * at(k, j);
            rhs[size_t(i)] -= f * rhs[size_t(k)];
        }
    }
    Vec sol(static_cast<size_t>(K));
    for (long k = K - 1; k >= 0; --k) {
        TalvoFloat v = rhs[size_t(k)];
        for (long j = k + 1; j < K; ++j)
            v -= at(k, j) * sol[size_t(j)];
        sol[size_t(k)] = v / at(k, k);
    }
    for (long j = 0; j < n; ++j)
        x[j] = sol[size_t(j)];
    for (long k = 0; k < n + p.nclin; ++k) {
        istate[k] = 0;
        if (clamda)
            clamda[k] = TalvoFloat(0.0);
    }
    for (long r = 0; r < m; ++r) {
        istate[n + eq[size_t(r)]] = 3;
        if (clamda)
            clamda[n + eq[size_t(r)]] = sol[size_t(n + r)];
    }
    if (ax)
        for (long i = 0; i < p.nclin; ++i) {
            TalvoFloat v(0.0);
            for (long j = 0; j < n; ++j)
                v += p.C[i + j * p.ldc] * x[j];
            ax[i] = v;
        }
    return res;
}

} // namespace talvo::opt::qp
