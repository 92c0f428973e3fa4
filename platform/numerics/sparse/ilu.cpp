// ilu.cpp -- incomplete LU (f11daf, f11dnf) and incomplete Cholesky
// (f11jnf) factorisations, and the solves with their factors (f11dbf,
// f11dpf, f11jpf).
//
// The factorisation is right-looking Gaussian elimination on a sparse
// working copy of A (Saad, Iterative Methods for Sparse Linear Systems, 2nd
// ed., sec. 10.3-10.4): at step k a pivot (p, q) is chosen among the rows
// and columns not yet eliminated, row p divided by the pivot becomes row k
// of U, and each remaining row i with an entry in column q loses l = a_iq /
// a_pq times row p.  An update that falls on an existing entry is always
// made; one that would create fill is kept when
//   - lfill >= 0: its level, lev(i,q) + lev(p,c) + 1 with original entries
//     at level 0, is at most lfill (ILU(k) of Meijerink and van der Vorst);
//   - lfill < 0: its size is at least dtol times the 2-norm of row i of A.
// (ILUT, row by row with Saad's dual dropping or column by column with Li
// and Shao's, and the symmetric orderings of ordering.cpp applied first,
// are further options: see ilut() and ilut_by_columns() below.)
// A fill entry that is dropped is, with modified ILU (Gustafsson 1978),
// added to the pivot of its row, so that M and A have the same row sums.
// Pivots: 'N' the diagonal in the natural order; 'U' the caller's order;
// 'P' the largest entry of row k (partial pivoting by columns); 'C' the
// largest entry left (complete pivoting); 'M' the diagonal of the row with
// fewest entries (symmetric Markowitz).  A pivot whose size is at most
// eps times the 1-norm of its row of A (eps the working precision's) is
// replaced by that 1-norm (1 for a zero row) and counted in npivm; for the
// incomplete Cholesky factor a pivot whose real part is not positive is
// replaced the same way.  The working copy keeps each row in an ordered
// map and each column's rows in a set, so a step costs O(fill log n).
#include "common.hpp"
#include "few_limbs.hpp"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

namespace talvo::sparse {

namespace {

// Values of the working copy: a pool that only grows.
template <class K>
class Pool {
public:
    explicit Pool(mpfr_prec_t prec) : prec_(prec) {}
    long add()
    {
        if (used_ % kChunk == 0)
            chunks_.emplace_back(kChunk, prec_);
        return used_++;
    }
    mpfr_ptr operator[](long i) { return chunks_[size_t(i / kChunk)][i % kChunk]; }

private:
    static constexpr long kChunk = 1024;
    mpfr_prec_t prec_;
    long used_ = 0;
    std::vector<Vec<K>> chunks_;
};

struct Entry {
    long v;   // pool index
    long lev; // level of fill
};

// The right-looking elimination described at the top.
template <class K>
int eliminate(const Cs<K> &a, const IluOptions &o, const long *user_p, const long *user_q, IluFactor<K> &f,
              long &npivm)
{
    const long n = a.n;
    const mpfr_prec_t prec = a.a.precision();
    Tmp t(prec);
    Pool<K> pool(prec);
    std::vector<std::map<long, Entry>> rows{static_cast<size_t>(n)};
    std::vector<std::set<long>> colrows{static_cast<size_t>(n)};
    std::vector<char> row_done(static_cast<size_t>(n), 0), col_done(static_cast<size_t>(n), 0);
    Vec<K> rowdrop(n, prec);
    Vec<RealKind> norm1(n, prec), thr(n, prec);
    Real eps(prec), s(prec), s2(prec);
    mpfr_set_ui_2exp(eps, 1, 1 - prec, MPFR_RNDN);
    Real dscale(prec);
    mpfr_set_d(dscale, o.dscale, MPFR_RNDN);

    if (o.pstrat == 'U') {
        std::vector<char> sp(static_cast<size_t>(n), 0), sq(static_cast<size_t>(n), 0);
        for (long k = 0; k < n; ++k) {
            if (user_p[k] < 0 || user_p[k] >= n || user_q[k] < 0 || user_q[k] >= n || sp[size_t(user_p[k])] ||
                sq[size_t(user_q[k])])
                return kIluBadPivotOrder;
            sp[size_t(user_p[k])] = sq[size_t(user_q[k])] = 1;
        }
    }

    for (long k = 0; k < a.nnz(); ++k) {
        const long i = a.row[size_t(k)], j = a.col[size_t(k)];
        const long v = pool.add();
        K::set(pool[v], a.a[k]);
        if (i == j && o.dscale != 0) {
            K::scale(pool.operator[](v), a.a[k], dscale);
            K::add(pool[v], pool[v], a.a[k]);
        }
        rows[size_t(i)][j] = Entry{v, 0};
        colrows[size_t(j)].insert(i);
        K::abs(s, a.a[k], t);
        talvo::floatn::add_rn(norm1[i], norm1[i], s);
        mpfr_sqr(s, s, MPFR_RNDN);
        talvo::floatn::add_rn(thr[i], thr[i], s);
    }
    mpfr_set_d(s2, o.dtol, MPFR_RNDN);
    for (long i = 0; i < n; ++i) {
        mpfr_sqrt(thr[i], thr[i], MPFR_RNDN);
        talvo::floatn::mul_rn(thr[i], thr[i], s2);
        if (mpfr_zero_p(norm1[i]))
            mpfr_set_ui(norm1[i], 1, MPFR_RNDN);
    }

    struct Stored {
        long row, col; // original row index of the factor row / original column (U) or step (L)
        long v;
    };
    std::vector<Stored> lpart, upart;
    const size_t un = static_cast<size_t>(n);
    std::vector<long> pp(un), qq(un), pos_row(un), pos_col(un);
    Vec<K> rdiag(n, prec);
    Vec<K> l(1, prec), upd(1, prec), pv(1, prec);
    npivm = 0;

    for (long k = 0; k < n; ++k) {
        long p = -1, q = -1;
        switch (o.pstrat) {
        case 'U':
            p = user_p[k];
            q = user_q[k];
            break;
        case 'P': {
            p = k;
            for (auto &[c, e] : rows[size_t(p)])
                if (!col_done[size_t(c)] && (q < 0 || K::cmpabs(pool[e.v], pool[rows[size_t(p)][q].v], t) > 0))
                    q = c;
            if (q < 0)
                for (long c = 0; c < n && q < 0; ++c)
                    if (!col_done[size_t(c)])
                        q = c;
            break;
        }
        case 'C': {
            mpfr_srcptr best = nullptr;
            for (long i = 0; i < n; ++i) {
                if (row_done[size_t(i)])
                    continue;
                for (auto &[c, e] : rows[size_t(i)])
                    if (best == nullptr || K::cmpabs(pool[e.v], best, t) > 0) {
                        best = pool[e.v];
                        p = i;
                        q = c;
                    }
            }
            if (p < 0) { // the rest is structurally zero
                for (long i = 0; i < n && p < 0; ++i)
                    if (!row_done[size_t(i)])
                        p = i;
                for (long c = 0; c < n && q < 0; ++c)
                    if (!col_done[size_t(c)])
                        q = c;
            }
            break;
        }
        case 'M': {
            size_t fewest = 0;
            for (long i = 0; i < n; ++i)
                if (!row_done[size_t(i)] && (p < 0 || rows[size_t(i)].size() < fewest)) {
                    p = i;
                    fewest = rows[size_t(i)].size();
                }
            q = p;
            break;
        }
        default:
            p = q = k;
        }
        pp[size_t(k)] = p;
        qq[size_t(k)] = q;
        pos_row[size_t(p)] = k;
        pos_col[size_t(q)] = k;
        row_done[size_t(p)] = col_done[size_t(q)] = 1;

        auto &rp = rows[size_t(p)];
        auto pit = rp.find(q);
        if (pit != rp.end())
            K::set(pv[0], pool[pit->second.v]);
        else
            K::zero(pv[0]);
        if (o.milu)
            K::add(pv[0], pv[0], rowdrop[p]);
        K::abs(s, pv[0], t);
        talvo::floatn::mul_rn(s2, eps, norm1[p]);
        const bool tiny = mpfr_cmp(s, s2) <= 0;
        const bool not_positive = o.hermitian && mpfr_cmp(pv[0], s2) <= 0;
        if (tiny || not_positive) {
            K::set_real(pv[0], norm1[p]);
            ++npivm;
        }
        K::inv(rdiag[k], pv[0], t);
        if (pit != rp.end())
            rp.erase(pit);

        // row p / pivot -> row k of U
        for (auto &[c, e] : rp) {
            colrows[size_t(c)].erase(p);
            if (!o.hermitian) {
                const long v = pool.add();
                K::mul(pool[v], pool[e.v], rdiag[k], t);
                upart.push_back({p, c, v});
            }
        }
        colrows[size_t(q)].erase(p);

        // eliminate column q from the rows left
        const std::vector<long> targets(colrows[size_t(q)].begin(), colrows[size_t(q)].end());
        for (long i : targets) {
            auto &ri = rows[size_t(i)];
            auto it = ri.find(q);
            const long lev_iq = it->second.lev;
            K::mul(l[0], pool[it->second.v], rdiag[k], t);
            const long lv = pool.add();
            K::set(pool[lv], l[0]);
            lpart.push_back({i, k, lv});
            ri.erase(it);
            for (auto &[c, e] : rp) {
                K::mul(upd[0], l[0], pool[e.v], t);
                auto ic = ri.find(c);
                if (ic != ri.end()) {
                    K::sub(pool[ic->second.v], pool[ic->second.v], upd[0]);
                    ic->second.lev = std::min(ic->second.lev, lev_iq + e.lev + 1);
                    continue;
                }
                const long lev = lev_iq + e.lev + 1;
                bool keep;
                if (o.lfill >= 0) {
                    keep = lev <= o.lfill;
                } else {
                    K::abs(s, upd[0], t);
                    keep = mpfr_cmp(s, thr[i]) >= 0;
                }
                if (keep) {
                    const long v = pool.add();
                    K::neg(pool[v], upd[0]);
                    ri[c] = Entry{v, lev};
                    colrows[size_t(c)].insert(i);
                } else if (o.milu) {
                    K::sub(rowdrop[i], rowdrop[i], upd[0]);
                }
            }
        }
        colrows[size_t(q)].clear();
        rp.clear();
    }

    // Assemble the factor by pivot rows, columns as pivot positions.
    f.n = n;
    f.hermitian = o.hermitian;
    f.p = pp;
    f.q = o.hermitian ? pp : qq;
    std::vector<std::vector<std::pair<long, long>>> frow(un); // (column, pool index); -1 - k: diagonal
    for (auto &e : lpart)
        frow[size_t(pos_row[size_t(e.row)])].push_back({e.col, e.v});
    for (auto &e : upart)
        frow[size_t(pos_row[size_t(e.row)])].push_back({pos_col[size_t(e.col)], e.v});
    long total = 0;
    for (long k = 0; k < n; ++k) {
        frow[size_t(k)].push_back({k, -1});
        std::sort(frow[size_t(k)].begin(), frow[size_t(k)].end());
        total += long(frow[size_t(k)].size());
    }
    f.start.assign(size_t(n + 1), 0);
    f.diag.assign(size_t(n), 0);
    f.col.assign(size_t(total), 0);
    f.c = Vec<K>(total, prec);
    long at = 0;
    for (long k = 0; k < n; ++k) {
        f.start[size_t(k)] = at;
        for (auto &[c, v] : frow[size_t(k)]) {
            f.col[size_t(at)] = c;
            if (v < 0) {
                f.diag[size_t(k)] = at;
                K::set(f.c[at], rdiag[k]);
            } else {
                K::set(f.c[at], pool[v]);
            }
            ++at;
        }
    }
    f.start[size_t(n)] = at;
    return kIluOk;
}

// ILUT, the IKJ form of Gaussian elimination (Saad, Iterative Methods for
// Sparse Linear Systems, 2nd ed., alg. 10.8): row i of A is copied to a
// dense work row w, and for each k < i with w_k != 0, in increasing order (a
// heap of the columns), the multiplier l = w_k / u_kk is formed and w -= l
// u_k (row k of U, pivot included); the row's L part is the multipliers, its
// U part the entries of w after column i.  The pivot is replaced when its
// size is at most eps times the 1-norm of row i of A.  With tau_i = dtol
// times the largest entry of row i of A, two rules decide what is dropped:
//   - after_row false (Saad's ILUT, the rule 'S' of IluOptions): a
//     multiplier is dropped as it is met, before its update is made, when
//     |l u_kk| < tau_i (the size of the entry it removes; Saad's text
//     tests |l|, but a multiplier is a ratio and the threshold a size), and
//     an entry of the U part when it is below tau_i;
//   - after_row true (the rows of the factor of A^T made by ilut_by_columns
//     for the rule 'L'): every update is made, and the row's entries are
//     tested only once the row is complete: a multiplier is dropped when
//     |l u_kk| < tau_i, an entry of the U part when it is below dtol times
//     the row's pivot.
// Then the L part and the U part each keep their lfil largest, and, with a
// fill factor, both keep their largest within what is left of the running
// budget fill_factor * (entries of A's rows so far) - (entries of the
// factor's rows so far), split evenly: a running budget, not a per-row
// count, so the rows that meet much fill late in a fill-reducing order (the
// separators of minimum degree) can use what earlier rows left.  The
// diagonal is always kept.  The work per row is linear in the fill it meets,
// plus a log for the heap and a selection for the largest entries.
template <class K>
int ilut(const Cs<K> &a, const IluOptions &o, bool after_row, IluFactor<K> &f, long &npivm)
{
    const long n = a.n;
    const mpfr_prec_t prec = a.a.precision();
    const size_t un = static_cast<size_t>(n);
    Tmp t(prec);
    Pool<K> pool(prec);
    Vec<K> w(n, prec), l(1, prec), upd(1, prec);
    Vec<K> rdiag(n, prec);
    Real eps(prec), thr(prec), uthr(prec), nrm1(prec), s(prec), s2(prec), dtol(prec);
    mpfr_set_ui_2exp(eps, 1, 1 - prec, MPFR_RNDN);
    mpfr_set_d(dtol, o.dtol, MPFR_RNDN);
    // Columns carry labels, their columns in A; colpos[label] is the
    // label's pivot position and lab[position] its inverse.  Threshold
    // pivoting swaps two positions at or after the current row, so a row of
    // U made earlier keeps labels that are all after its own position.  The
    // work row is indexed by label.
    std::vector<long> pos(un, -1), nz, lab(un), colpos(un);
    for (long k = 0; k < n; ++k)
        lab[size_t(k)] = colpos[size_t(k)] = k;
    Real pbig(prec), pthr(prec);
    mpfr_set_d(pthr, o.pivot_thresh, MPFR_RNDN);
    // the rows of L (position, pool index) and of U (label, pool index)
    std::vector<std::vector<std::pair<long, long>>> lrow(un), urow(un);
    std::vector<long> upiv(un); // pool index of u_kk
    std::vector<long> heap, keep;
    long seen_a = 0, used = 0;
    npivm = 0;
    for (long i = 0; i < n; ++i) {
        nz.clear();
        heap.clear();
        mpfr_set_zero(thr, 1);
        mpfr_set_zero(nrm1, 1);
        for (long e = a.start[size_t(i)]; e < a.start[size_t(i + 1)]; ++e) {
            const long j = a.col[size_t(e)];
            K::set(w[j], a.a[e]);
            pos[size_t(j)] = long(nz.size());
            nz.push_back(j);
            if (colpos[size_t(j)] < i)
                heap.push_back(colpos[size_t(j)]);
            K::abs(s, a.a[e], t);
            talvo::floatn::add_rn(nrm1, nrm1, s);
            if (mpfr_cmp(s, thr) > 0)
                mpfr_set(thr, s, MPFR_RNDN);
        }
        talvo::floatn::mul_rn(thr, thr, dtol);
        if (mpfr_zero_p(nrm1))
            mpfr_set_ui(nrm1, 1, MPFR_RNDN);
        std::make_heap(heap.begin(), heap.end(), std::greater<long>());
        while (!heap.empty()) {
            std::pop_heap(heap.begin(), heap.end(), std::greater<long>());
            const long k = heap.back(), c = lab[size_t(k)];
            heap.pop_back();
            K::mul(l[0], w[c], rdiag[k], t);
            K::abs(s, w[c], t);
            if (K::is_zero(l[0]) || (!after_row && mpfr_cmp(s, thr) < 0)) {
                K::zero(w[c]);
                continue;
            }
            K::set(w[c], l[0]);
            for (auto &[j, v] : urow[size_t(k)]) {
                K::mul(upd[0], l[0], pool[v], t);
                if (pos[size_t(j)] < 0) {
                    K::neg(w[j], upd[0]);
                    pos[size_t(j)] = long(nz.size());
                    nz.push_back(j);
                    if (colpos[size_t(j)] < i) {
                        heap.push_back(colpos[size_t(j)]);
                        std::push_heap(heap.begin(), heap.end(), std::greater<long>());
                    }
                } else {
                    K::sub(w[j], w[j], upd[0]);
                }
            }
        }
        // threshold pivoting: the largest entry of the U part becomes the
        // pivot when the diagonal is below pivot_thresh times it
        long d = lab[size_t(i)];
        if (o.pstrat == 'P') {
            long big = -1;
            for (long j : nz)
                if (colpos[size_t(j)] > i && !K::is_zero(w[j]) && (big < 0 || K::cmpabs(w[j], w[big], t) > 0))
                    big = j;
            if (big >= 0) {
                K::abs(pbig, w[big], t);
                talvo::floatn::mul_rn(pbig, pbig, pthr);
                if (pos[size_t(d)] >= 0)
                    K::abs(s, w[d], t);
                else
                    mpfr_set_zero(s, 1);
                if (mpfr_cmp(s, pbig) < 0) {
                    const long pb = colpos[size_t(big)];
                    lab[size_t(i)] = big;
                    lab[size_t(pb)] = d;
                    colpos[size_t(big)] = i;
                    colpos[size_t(d)] = pb;
                    d = big;
                }
            }
        }
        // the pivot
        const long pv = pool.add();
        if (pos[size_t(d)] >= 0)
            K::set(pool[pv], w[d]);
        K::abs(s, pool[pv], t);
        talvo::floatn::mul_rn(l[0], eps, nrm1);
        if (mpfr_cmp(s, l[0]) <= 0) {
            K::set_real(pool[pv], nrm1);
            ++npivm;
        }
        upiv[size_t(i)] = pv;
        K::inv(rdiag[i], pool[pv], t);
        // the U part's threshold once the row is complete: dtol |pivot|
        if (after_row) {
            K::abs(uthr, pool[pv], t);
            talvo::floatn::mul_rn(uthr, uthr, dtol);
        } else {
            mpfr_set(uthr, thr, MPFR_RNDN);
        }
        // the row of the factor: dual dropping
        const long row_nnz = a.start[size_t(i + 1)] - a.start[size_t(i)];
        long cap = o.lfil > 0 ? o.lfil : n;
        seen_a += row_nnz;
        if (o.fill_factor > 0)
            cap = std::min(cap, std::max(0L, long((o.fill_factor * double(seen_a) - double(used) - 1) / 2)));
        auto larger = [&](long x, long y) { return K::cmpabs(w[x], w[y], t) > 0; };
        for (int part = 0; part < 2; ++part) {
            keep.clear();
            for (long j : nz) {
                const long cp = colpos[size_t(j)];
                if ((part == 0 && cp >= i) || (part == 1 && cp <= i) || K::is_zero(w[j]))
                    continue;
                K::abs(s, w[j], t);
                bool kept;
                if (part == 1) {
                    kept = mpfr_cmp(s, uthr) >= 0;
                } else if (after_row) { // |l u_kk|, the size of the entry the multiplier removed
                    K::abs(s2, pool[upiv[size_t(cp)]], t);
                    talvo::floatn::mul_rn(s, s, s2);
                    kept = mpfr_cmp(s, thr) >= 0;
                } else {
                    kept = true; // tested when made
                }
                if (kept)
                    keep.push_back(j);
            }
            if (long(keep.size()) > cap) {
                std::nth_element(keep.begin(), keep.begin() + cap, keep.end(), larger);
                keep.resize(size_t(cap));
            }
            auto &dst = part == 0 ? lrow[size_t(i)] : urow[size_t(i)];
            for (long j : keep) {
                const long v = pool.add();
                K::set(pool[v], w[j]);
                dst.push_back({part == 0 ? colpos[size_t(j)] : j, v});
            }
            if (part == 0)
                std::sort(dst.begin(), dst.end());
            used += long(keep.size());
        }
        used += 1;
        for (long j : nz) {
            K::zero(w[j]);
            pos[size_t(j)] = -1;
        }
    }

    // The factor: L, 1/D and the unit upper U = D^{-1} U by rows.
    f.n = n;
    f.hermitian = false;
    f.p.resize(un);
    f.q.resize(un);
    long total = 0;
    for (long k = 0; k < n; ++k) {
        f.p[size_t(k)] = k;
        f.q[size_t(k)] = lab[size_t(k)];
        for (auto &e : urow[size_t(k)]) // labels to their final positions
            e.first = colpos[size_t(e.first)];
        std::sort(urow[size_t(k)].begin(), urow[size_t(k)].end());
        total += long(lrow[size_t(k)].size() + urow[size_t(k)].size()) + 1;
    }
    f.start.assign(un + 1, 0);
    f.diag.assign(un, 0);
    f.col.assign(size_t(total), 0);
    f.c = Vec<K>(total, prec);
    long at = 0;
    for (long k = 0; k < n; ++k) {
        f.start[size_t(k)] = at;
        for (auto &[c, v] : lrow[size_t(k)]) {
            f.col[size_t(at)] = c;
            K::set(f.c[at++], pool[v]);
        }
        f.diag[size_t(k)] = at;
        f.col[size_t(at)] = k;
        K::set(f.c[at++], rdiag[k]);
        for (auto &[c, v] : urow[size_t(k)]) {
            f.col[size_t(at)] = c;
            K::mul(f.c[at++], pool[v], rdiag[k], t);
        }
    }
    f.start[un] = at;
    return kIluOk;
}

// ILUTP by columns with the dropping of Li and Shao's supernodal ILUTP (ACM
// TOMS 37(4), 2011; SuperLU's ILU), without its supernodes: the factor is
// made column by column, and column j is complete, every update by the
// columns before it made, before its entries are tested: an entry u_kj of U
// is dropped when |u_kj| < dtol times the largest entry of column j of A, a
// multiplier l_ij of L when |l_ij| < dtol.  Threshold pivoting ('P')
// exchanges rows: the largest entry below the diagonal becomes the pivot
// when the diagonal entry is below pivot_thresh times it.  lfil and the
// fill factor count columns: the factor's first j columns hold at most
// fill_factor times the entries of A's first j columns.  A column made
// complete before its tests is a row of the factor of A^T made the same
// way, so this is ilut() with after_row on A^T, its factor transposed: A^T
// = P' L' D U' Q' gives A = Q'^T U'^T D L'^T P'^T, whose unit lower factor
// is U'^T, its unit upper factor L'^T, its row order q' and its column
// order p'.  (ilut()'s threshold for a multiplier of A^T, dtol times the
// largest entry of its row of A^T, is that of U above; its threshold for
// the U part, dtol times the pivot, is that of the multipliers l = u / u_jj
// above.)
template <class K>
int ilut_by_columns(const Cs<K> &a, const IluOptions &o, IluFactor<K> &f, long &npivm)
{
    const long n = a.n;
    const size_t un = static_cast<size_t>(n);
    std::vector<std::pair<std::pair<long, long>, long>> ent; // ((column, row), entry)
    ent.reserve(size_t(a.nnz()));
    for (long e = 0; e < a.nnz(); ++e)
        ent.push_back({{a.col[size_t(e)], a.row[size_t(e)]}, e});
    std::sort(ent.begin(), ent.end());
    Cs<K> at;
    at.n = n;
    at.row.resize(ent.size());
    at.col.resize(ent.size());
    at.a = Vec<K>(a.nnz(), a.a.precision());
    for (size_t e = 0; e < ent.size(); ++e) {
        at.row[e] = ent[e].first.first;
        at.col[e] = ent[e].first.second;
        K::set(at.a[long(e)], a.a[ent[e].second]); // the transpose, not the conjugate transpose
    }
    index_rows(at);
    IluFactor<K> g;
    const int r = ilut(at, o, true, g, npivm);
    if (r != kIluOk)
        return r;
    // row k of the result: L(k, j < k) = U'(j, k), the pivot, U(k, j > k) = L'(j, k)
    std::vector<long> lcount(un, 0), ucount(un, 0);
    for (long j = 0; j < n; ++j) {
        for (long e = g.start[size_t(j)]; e < g.diag[size_t(j)]; ++e)
            ++ucount[size_t(g.col[size_t(e)])];
        for (long e = g.diag[size_t(j)] + 1; e < g.start[size_t(j + 1)]; ++e)
            ++lcount[size_t(g.col[size_t(e)])];
    }
    f.n = n;
    f.hermitian = false;
    f.p = g.q;
    f.q = g.p;
    f.start.assign(un + 1, 0);
    f.diag.assign(un, 0);
    f.col.assign(g.col.size(), 0);
    f.c = Vec<K>(long(g.col.size()), a.a.precision());
    std::vector<long> lnext(un), unext(un);
    for (long k = 0; k < n; ++k) {
        f.start[size_t(k + 1)] = f.start[size_t(k)] + lcount[size_t(k)] + 1 + ucount[size_t(k)];
        lnext[size_t(k)] = f.start[size_t(k)];
        f.diag[size_t(k)] = f.start[size_t(k)] + lcount[size_t(k)];
        unext[size_t(k)] = f.diag[size_t(k)] + 1;
        f.col[size_t(f.diag[size_t(k)])] = k;
        K::set(f.c[f.diag[size_t(k)]], g.c[g.diag[size_t(k)]]);
    }
    // rows of g in increasing order: each row of the result fills in increasing column order
    for (long j = 0; j < n; ++j) {
        for (long e = g.start[size_t(j)]; e < g.diag[size_t(j)]; ++e) {
            const long k = g.col[size_t(e)], at_k = unext[size_t(k)]++;
            f.col[size_t(at_k)] = j;
            K::set(f.c[at_k], g.c[e]);
        }
        for (long e = g.diag[size_t(j)] + 1; e < g.start[size_t(j + 1)]; ++e) {
            const long k = g.col[size_t(e)], at_k = lnext[size_t(k)]++;
            f.col[size_t(at_k)] = j;
            K::set(f.c[at_k], g.c[e]);
        }
    }
    return kIluOk;
}

} // namespace

template <class K>
Cs<K> permuted(const Cs<K> &a, const std::vector<long> &perm)
{
    const long n = a.n;
    std::vector<long> inv(static_cast<size_t>(n));
    for (long k = 0; k < n; ++k)
        inv[size_t(perm[size_t(k)])] = k;
    std::vector<std::pair<std::pair<long, long>, long>> ent; // ((new row, new column), entry)
    ent.reserve(size_t(a.nnz()));
    for (long e = 0; e < a.nnz(); ++e)
        ent.push_back({{inv[size_t(a.row[size_t(e)])], inv[size_t(a.col[size_t(e)])]}, e});
    std::sort(ent.begin(), ent.end());
    Cs<K> b;
    b.n = n;
    b.row.resize(ent.size());
    b.col.resize(ent.size());
    b.a = Vec<K>(a.nnz(), a.a.precision());
    for (size_t e = 0; e < ent.size(); ++e) {
        b.row[e] = ent[e].first.first;
        b.col[e] = ent[e].first.second;
        K::set(b.a[long(e)], a.a[ent[e].second]);
    }
    index_rows(b);
    return b;
}

template <class K>
int ilu_factor(const Cs<K> &a, const IluOptions &o, const long *user_p, const long *user_q, IluFactor<K> &f,
               long &npivm)
{
    if (o.ilut && (o.lfill >= 0 || !one_of(o.pstrat, "NP") || o.hermitian || o.milu || !(o.pivot_thresh > 0) ||
                   !one_of(o.ilut_rule, "SL")))
        return kIluBadOptions;
    if (o.order != 'N' && o.pstrat != 'U') {
        // factor P A P^T, then express its pivot order in A's indices
        const std::vector<long> perm = symmetric_order(a.n, a.row, a.col, o.order);
        IluOptions inner = o;
        inner.order = 'N';
        const int r = ilu_factor(permuted(a, perm), inner, user_p, user_q, f, npivm);
        if (r == kIluOk)
            for (long k = 0; k < a.n; ++k) {
                f.p[size_t(k)] = perm[size_t(f.p[size_t(k)])];
                f.q[size_t(k)] = perm[size_t(f.q[size_t(k)])];
            }
        return r;
    }
    if (o.ilut)
        return o.ilut_rule == 'L' ? ilut_by_columns(a, o, f, npivm) : ilut(a, o, false, f, npivm);
    return eliminate(a, o, user_p, user_q, f, npivm);
}

// The solves work in x itself: element k of the permuted vector of the
// triangular solves lives at x[q[k]] (M^{-1}) or x[p[k]] (M^{-T}, M^{-H} and
// the Cholesky factor), so no temporary vector is made; each entry of the
// factor costs one multiply-add (a multiplication for the pivots).
template <class K>
void ilu_solve(const IluFactor<K> &f, char trans, const Vec<K> &y, Vec<K> &x, Tmp &t)
{
    const long n = f.n;
    const long *st = f.start.data(), *dg = f.diag.data(), *col = f.col.data();
    if (f.hermitian || trans == 'N') {
        const long *p = f.p.data(), *q = f.hermitian ? f.p.data() : f.q.data();
        for (long k = 0; k < n; ++k)
            K::set(x[q[k]], y[p[k]]);
        for (long k = 0; k < n; ++k) {
            mpfr_ptr zk = x[q[k]];
            for (long e = st[k]; e < dg[k]; ++e)
                K::mulsub(zk, f.c[e], x[q[col[e]]], t);
        }
        for (long k = 0; k < n; ++k)
            K::mul(x[q[k]], x[q[k]], f.c[dg[k]], t);
        if (f.hermitian) {
            for (long k = n - 1; k >= 0; --k) {
                mpfr_srcptr zk = x[q[k]];
                for (long e = st[k]; e < dg[k]; ++e)
                    K::cmulsub(x[q[col[e]]], f.c[e], zk, t);
            }
            return;
        }
        for (long k = n - 1; k >= 0; --k) {
            mpfr_ptr zk = x[q[k]];
            for (long e = dg[k] + 1; e < st[k + 1]; ++e)
                K::mulsub(zk, f.c[e], x[q[col[e]]], t);
        }
        return;
    }
    // M^{-T} y or M^{-H} y: U^T (or U^H) forward, D, L^T (L^H) backward
    const bool cj = trans == 'C';
    const long *p = f.p.data(), *q = f.q.data();
    for (long k = 0; k < n; ++k)
        K::set(x[p[k]], y[q[k]]);
    for (long k = 0; k < n; ++k) {
        mpfr_srcptr zk = x[p[k]];
        for (long e = dg[k] + 1; e < st[k + 1]; ++e) {
            if (cj)
                K::cmulsub(x[p[col[e]]], f.c[e], zk, t);
            else
                K::mulsub(x[p[col[e]]], f.c[e], zk, t);
        }
    }
    for (long k = 0; k < n; ++k) {
        if (cj)
            K::cmul(x[p[k]], f.c[dg[k]], x[p[k]], t);
        else
            K::mul(x[p[k]], x[p[k]], f.c[dg[k]], t);
    }
    for (long k = n - 1; k >= 0; --k) {
        mpfr_srcptr zk = x[p[k]];
        for (long e = st[k]; e < dg[k]; ++e) {
            if (cj)
                K::cmulsub(x[p[col[e]]], f.c[e], zk, t);
            else
                K::mulsub(x[p[col[e]]], f.c[e], zk, t);
        }
    }
}

template TALVO_SPARSE_API int ilu_factor(const Cs<RealKind> &, const IluOptions &, const long *, const long *,
                                         IluFactor<RealKind> &, long &);
template TALVO_SPARSE_API int ilu_factor(const Cs<ComplexKind> &, const IluOptions &, const long *, const long *,
                                         IluFactor<ComplexKind> &, long &);
template TALVO_SPARSE_API Cs<RealKind> permuted(const Cs<RealKind> &, const std::vector<long> &);
template TALVO_SPARSE_API Cs<ComplexKind> permuted(const Cs<ComplexKind> &, const std::vector<long> &);
template TALVO_SPARSE_API void ilu_solve(const IluFactor<RealKind> &, char, const Vec<RealKind> &,
                                         Vec<RealKind> &, Tmp &);
template TALVO_SPARSE_API void ilu_solve(const IluFactor<ComplexKind> &, char, const Vec<ComplexKind> &,
                                         Vec<ComplexKind> &, Tmp &);

// Reads a factor stored after A in host arrays (1-based positions); returns
// false when check finds it inconsistent.
template <class K>
bool read_factor(Integer n, const typename Host<K>::T a[], Integer la, const Integer irow[], const Integer icol[],
                 const Integer ipivp[], const Integer ipivq[], const Integer istr[], const Integer idiag[],
                 bool check, bool hermitian, mpfr_prec_t prec, IluFactor<K> &f)
{
    const Integer first = istr[0], last = istr[n];
    if (check) {
        if (first < 1 || last < first || last - 1 > la)
            return false;
        std::vector<char> sp(static_cast<size_t>(n), 0), sq(static_cast<size_t>(n), 0);
        for (Integer k = 0; k < n; ++k) {
            const Integer pk = ipivp[k], qk = hermitian ? ipivp[k] : ipivq[k];
            if (pk < 1 || pk > n || qk < 1 || qk > n || sp[size_t(pk - 1)] || (!hermitian && sq[size_t(qk - 1)]))
                return false;
            sp[size_t(pk - 1)] = 1;
            if (!hermitian)
                sq[size_t(qk - 1)] = 1;
            if (istr[k + 1] <= istr[k])
                return false;
            const Integer d = hermitian ? istr[k + 1] - 1 : idiag[k];
            if (d < istr[k] || d >= istr[k + 1] || icol[d - 1] != k + 1)
                return false;
            for (Integer e = istr[k]; e < istr[k + 1]; ++e) {
                if (irow[e - 1] != k + 1 || icol[e - 1] < 1 || icol[e - 1] > n ||
                    (e > istr[k] && icol[e - 1] <= icol[e - 2]) || (hermitian && icol[e - 1] > k + 1))
                    return false;
            }
        }
    }
    const long total = last - first;
    f.n = n;
    f.hermitian = hermitian;
    f.p.resize(size_t(n));
    f.q.resize(size_t(n));
    f.start.resize(size_t(n + 1));
    f.diag.resize(size_t(n));
    f.col.resize(size_t(total));
    f.c = Vec<K>(total, prec);
    for (Integer k = 0; k < n; ++k) {
        f.p[size_t(k)] = ipivp[k] - 1;
        f.q[size_t(k)] = (hermitian ? ipivp[k] : ipivq[k]) - 1;
        f.start[size_t(k)] = istr[k] - first;
        f.diag[size_t(k)] = (hermitian ? istr[k + 1] - 1 : idiag[k]) - first;
    }
    f.start[size_t(n)] = total;
    for (long e = 0; e < total; ++e) {
        f.col[size_t(e)] = icol[first - 1 + e] - 1;
        Host<K>::get(f.c[e], a[first - 1 + e]);
    }
    return true;
}

template bool read_factor(Integer, const TalvoFloat[], Integer, const Integer[], const Integer[], const Integer[],
                          const Integer[], const Integer[], const Integer[], bool, bool, mpfr_prec_t,
                          IluFactor<RealKind> &);
template bool read_factor(Integer, const TalvoComplex[], Integer, const Integer[], const Integer[], const Integer[],
                          const Integer[], const Integer[], const Integer[], bool, bool, mpfr_prec_t,
                          IluFactor<ComplexKind> &);

namespace {

template <class K>
void factorise(const char *routine, Integer n, Integer nnz, typename Host<K>::T a[], Integer la, Integer irow[],
               Integer icol[], Integer lfill, TalvoFloat dtol, char pstrat, char milu, Integer ipivp[],
               Integer ipivq[], Integer istr[], Integer idiag[], Integer *nnzc, Integer *npivm, Integer liwork,
               Integer *ifail, bool hermitian, TalvoFloat dscale)
{
    const bool dtol_bad = lfill < 0 && !(mpfr_sgn(dtol.mpfr()) >= 0);
    const char *pivots = hermitian ? "NMU" : "NUPC";
    if (n < 1 || nnz < 1 || nnz > n * n || la < 2 * nnz || dtol_bad || !one_of(pstrat, pivots) ||
        !one_of(milu, "MN") || liwork < 7 * n + 2 || (hermitian && !(mpfr_sgn(dscale.mpfr()) >= 0))) {
        set_ifail(ifail, 1, routine, "an argument is out of range or not one of its letters");
        return;
    }
    if (const int code = check_storage(n, nnz, irow, icol, hermitian); code != 0) {
        set_ifail(ifail, 2, routine, "the matrix's entries are out of range, out of order or duplicated");
        return;
    }
    const mpfr_prec_t prec = working_precision();
    Cs<K> m = read_matrix<K>(n, nnz, a, irow, icol, prec);
    if (hermitian) { // the full matrix from its lower triangle
        Cs<K> full;
        full.n = n;
        std::vector<std::pair<std::pair<long, long>, std::pair<long, bool>>> ent;
        for (long k = 0; k < m.nnz(); ++k) {
            ent.push_back({{m.row[size_t(k)], m.col[size_t(k)]}, {k, false}});
            if (m.row[size_t(k)] != m.col[size_t(k)])
                ent.push_back({{m.col[size_t(k)], m.row[size_t(k)]}, {k, true}});
        }
        std::sort(ent.begin(), ent.end());
        full.a = Vec<K>(long(ent.size()), prec);
        for (size_t e = 0; e < ent.size(); ++e) {
            full.row.push_back(ent[e].first.first);
            full.col.push_back(ent[e].first.second);
            if (ent[e].second.second)
                K::conj(full.a[long(e)], m.a[ent[e].second.first]);
            else
                K::set(full.a[long(e)], m.a[ent[e].second.first]);
        }
        index_rows(full);
        m = std::move(full);
    }
    IluOptions o;
    o.lfill = lfill;
    o.dtol = lfill < 0 ? dtol.to_double() : 0;
    o.pstrat = pstrat;
    o.milu = milu == 'M';
    o.hermitian = hermitian;
    o.dscale = hermitian ? dscale.to_double() : 0;
    std::vector<long> up(static_cast<size_t>(n)), uq(static_cast<size_t>(n));
    if (pstrat == 'U')
        for (Integer k = 0; k < n; ++k) {
            up[size_t(k)] = ipivp[k] - 1;
            uq[size_t(k)] = hermitian ? ipivp[k] - 1 : ipivq[k] - 1;
        }
    IluFactor<K> f;
    long modified = 0;
    if (ilu_factor(m, o, up.data(), uq.data(), f, modified) != kIluOk) {
        set_ifail(ifail, 4, routine, "the pivot order given is not a permutation");
        return;
    }
    const Integer size = Integer(f.col.size());
    *nnzc = size;
    *npivm = modified;
    if (nnz + size > la) {
        set_ifail(ifail, 3, routine, "la is too small for the factor: nnzc holds the size it needs");
        return;
    }
    for (Integer k = 0; k < n; ++k) {
        ipivp[k] = f.p[size_t(k)] + 1;
        if (!hermitian)
            ipivq[k] = f.q[size_t(k)] + 1;
        istr[k] = nnz + f.start[size_t(k)] + 1;
        if (!hermitian)
            idiag[k] = nnz + f.diag[size_t(k)] + 1;
        for (long e = f.start[size_t(k)]; e < f.start[size_t(k + 1)]; ++e) {
            irow[nnz + e] = k + 1;
            icol[nnz + e] = f.col[size_t(e)] + 1;
            Host<K>::put(a[nnz + e], f.c[e]);
        }
    }
    istr[n] = nnz + size + 1;
    set_ifail(ifail, 0, routine, "");
}

template <class K>
void factor_solve(const char *routine, char trans, Integer n, const typename Host<K>::T a[], Integer la,
                  const Integer irow[], const Integer icol[], const Integer ipivp[], const Integer ipivq[],
                  const Integer istr[], const Integer idiag[], const char *check, const typename Host<K>::T y[],
                  typename Host<K>::T x[], Integer *ifail, bool hermitian)
{
    const char c = letter(check);
    const char *transes = K::complex ? "NTC" : "NT";
    if ((!hermitian && !one_of(trans, transes)) || !one_of(c, "CN") || n < 1 || la < 1) {
        set_ifail(ifail, 1, routine, "trans or check is not one of its letters, n < 1 or la < 1");
        return;
    }
    const mpfr_prec_t prec = working_precision();
    IluFactor<K> f;
    if (!read_factor<K>(n, a, la, irow, icol, ipivp, ipivq, istr, idiag, c == 'C', hermitian, prec, f)) {
        set_ifail(ifail, 2, routine, "the factor's storage is inconsistent");
        return;
    }
    Vec<K> vy(n, prec), vx(n, prec);
    from_host(vy, y);
    Tmp t(prec);
    ilu_solve(f, trans, vy, vx, t);
    to_host(x, vx);
    set_ifail(ifail, 0, routine, "");
}

} // namespace
} // namespace talvo::sparse

using namespace talvo::sparse;

void TalvoMP_f11daf_(Integer n, Integer nnz, TalvoFloat a[], Integer la, Integer irow[], Integer icol[],
                     Integer lfill, TalvoFloat dtol, const char *pstrat, const char *milu, Integer ipivp[],
                     Integer ipivq[], Integer istr[], Integer idiag[], Integer *nnzc, Integer *npivm, Integer *,
                     Integer liwork, Integer *ifail)
{
    factorise<RealKind>("f11daf", n, nnz, a, la, irow, icol, lfill, dtol, letter(pstrat), letter(milu), ipivp, ipivq,
                        istr, idiag, nnzc, npivm, liwork, ifail, false, TalvoFloat());
}

void TalvoMP_f11dnf_(Integer n, Integer nnz, TalvoComplex a[], Integer la, Integer irow[], Integer icol[],
                     Integer lfill, TalvoFloat dtol, const char *pstrat, const char *milu, Integer ipivp[],
                     Integer ipivq[], Integer istr[], Integer idiag[], Integer *nnzc, Integer *npivm, Integer *,
                     Integer liwork, Integer *ifail)
{
    factorise<ComplexKind>("f11dnf", n, nnz, a, la, irow, icol, lfill, dtol, letter(pstrat), letter(milu), ipivp,
                           ipivq, istr, idiag, nnzc, npivm, liwork, ifail, false, TalvoFloat());
}

void TalvoMP_f11jnf_(Integer n, Integer nnz, TalvoComplex a[], Integer la, Integer irow[], Integer icol[],
                     Integer lfill, TalvoFloat dtol, const char *mic, TalvoFloat dscale, const char *pstrat,
                     Integer ipiv[], Integer istr[], Integer *nnzc, Integer *npivm, Integer *, Integer liwork,
                     Integer *ifail)
{
    factorise<ComplexKind>("f11jnf", n, nnz, a, la, irow, icol, lfill, dtol, letter(pstrat), letter(mic), ipiv,
                           nullptr, istr, nullptr, nnzc, npivm, liwork, ifail, true, dscale);
}

void TalvoMP_f11dbf_(const char *trans, Integer n, const TalvoFloat a[], Integer la, const Integer irow[],
                     const Integer icol[], const Integer ipivp[], const Integer ipivq[], const Integer istr[],
                     const Integer idiag[], const char *check, const TalvoFloat y[], TalvoFloat x[], Integer *ifail)
{
    factor_solve<RealKind>("f11dbf", letter(trans), n, a, la, irow, icol, ipivp, ipivq, istr, idiag, check, y, x,
                           ifail, false);
}

void TalvoMP_f11dpf_(const char *trans, Integer n, const TalvoComplex a[], Integer la, const Integer irow[],
                     const Integer icol[], const Integer ipivp[], const Integer ipivq[], const Integer istr[],
                     const Integer idiag[], const char *check, const TalvoComplex y[], TalvoComplex x[],
                     Integer *ifail)
{
    factor_solve<ComplexKind>("f11dpf", letter(trans), n, a, la, irow, icol, ipivp, ipivq, istr, idiag, check, y, x,
                              ifail, false);
}

void TalvoMP_f11jpf_(Integer n, const TalvoComplex a[], Integer la, const Integer irow[], const Integer icol[],
                     const Integer ipiv[], const Integer istr[], const char *check, const TalvoComplex y[],
                     TalvoComplex x[], Integer *ifail)
{
    factor_solve<ComplexKind>("f11jpf", 'N', n, a, la, irow, icol, ipiv, ipiv, istr, nullptr, check, y, x, ifail,
                              true);
}
