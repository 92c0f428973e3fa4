// coordinate.cpp -- coordinate storage: sorting and cleaning (f11zaf,
// f11znf, f11zpf) and the matrix-vector products (f11xaf, f11xnf, f11xsf).
//
// Sorting is a stable sort of the entry positions by (row, column), so the
// "first" of duplicated entries is the first in the caller's order; sums of
// duplicates are rounded once per addition at the current precision.
#include "common.hpp"

#include <algorithm>
#include <numeric>

namespace talvo::sparse {

template <class K>
void index_rows(Cs<K> &a)
{
    a.start.assign(size_t(a.n + 1), 0);
    for (long r : a.row)
        ++a.start[size_t(r + 1)];
    for (long i = 0; i < a.n; ++i)
        a.start[size_t(i + 1)] += a.start[size_t(i)];
}

template <class K>
void matvec(const Cs<K> &a, char trans, const Vec<K> &x, Vec<K> &y, Tmp &t)
{
    const long nnz = a.nnz();
    if (trans == 'N') { // row by row, the first product written straight into y_i
        for (long i = 0; i < a.n; ++i) {
            const long b = a.start[size_t(i)], e = a.start[size_t(i + 1)];
            if (b == e) {
                K::zero(y[i]);
                continue;
            }
            K::mul(y[i], a.a[b], x[a.col[size_t(b)]], t);
            for (long k = b + 1; k < e; ++k)
                K::muladd(y[i], a.a[k], x[a.col[size_t(k)]], t);
        }
        return;
    }
    set_zero(y);
    if (trans == 'C') {
        for (long k = 0; k < nnz; ++k)
            K::cmuladd(y[a.col[size_t(k)]], a.a[k], x[a.row[size_t(k)]], t);
    } else {
        for (long k = 0; k < nnz; ++k)
            K::muladd(y[a.col[size_t(k)]], a.a[k], x[a.row[size_t(k)]], t);
    }
}

template <class K>
void matvec_lower_hermitian(const Cs<K> &a, const Vec<K> &x, Vec<K> &y, Tmp &t)
{
    set_zero(y);
    for (long k = 0; k < a.nnz(); ++k) {
        const long i = a.row[size_t(k)], j = a.col[size_t(k)];
        K::muladd(y[i], a.a[k], x[j], t);
        if (i != j)
            K::cmuladd(y[j], a.a[k], x[i], t);
    }
}

template TALVO_SPARSE_API void index_rows(Cs<RealKind> &);
template TALVO_SPARSE_API void index_rows(Cs<ComplexKind> &);
template TALVO_SPARSE_API void matvec(const Cs<RealKind> &, char, const Vec<RealKind> &, Vec<RealKind> &, Tmp &);
template TALVO_SPARSE_API void matvec(const Cs<ComplexKind> &, char, const Vec<ComplexKind> &, Vec<ComplexKind> &,
                                      Tmp &);
template TALVO_SPARSE_API void matvec_lower_hermitian(const Cs<RealKind> &, const Vec<RealKind> &,
                                                      Vec<RealKind> &, Tmp &);
template TALVO_SPARSE_API void matvec_lower_hermitian(const Cs<ComplexKind> &, const Vec<ComplexKind> &,
                                                      Vec<ComplexKind> &, Tmp &);

namespace {

bool is_zero(const TalvoFloat &x) { return mpfr_zero_p(x.mpfr()); }
bool is_zero(const TalvoComplex &x) { return mpfr_zero_p(x.re.mpfr()) && mpfr_zero_p(x.im.mpfr()); }
void add_to(TalvoFloat &s, const TalvoFloat &x) { s += x; }
void add_to(TalvoComplex &s, const TalvoComplex &x)
{
    s.re += x.re;
    s.im += x.im;
}

template <class T>
void sort_clean(const char *routine, Integer n, Integer *nnz, T a[], Integer irow[], Integer icol[],
                const char *dup, const char *zer, Integer istr[], Integer *ifail, bool lower)
{
    const char d = letter(dup), z = letter(zer);
    if (n < 1 || nnz == nullptr || *nnz < 0 || !one_of(d, "RSF") || !one_of(z, "RKF")) {
        set_ifail(ifail, 1, routine, "n < 1, nnz < 0, or dup or zer is not one of its letters");
        return;
    }
    const Integer m = *nnz;
    for (Integer k = 0; k < m; ++k) {
        if (irow[k] < 1 || irow[k] > n || icol[k] < 1 || icol[k] > n || (lower && icol[k] > irow[k])) {
            set_ifail(ifail, 2, routine,
                      lower ? "a row or column index is out of range or above the diagonal"
                            : "a row or column index is out of range");
            return;
        }
    }
    std::vector<Integer> order(static_cast<size_t>(m));
    std::iota(order.begin(), order.end(), Integer(0));
    std::stable_sort(order.begin(), order.end(), [&](Integer p, Integer q) {
        return irow[p] != irow[q] ? irow[p] < irow[q] : icol[p] < icol[q];
    });
    std::vector<T> va;
    std::vector<Integer> vr, vc;
    va.reserve(size_t(m));
    vr.reserve(size_t(m));
    vc.reserve(size_t(m));
    for (Integer k = 0; k < m; ++k) {
        const Integer p = order[size_t(k)];
        if (!vr.empty() && vr.back() == irow[p] && vc.back() == icol[p]) {
            if (d == 'F') {
                set_ifail(ifail, 3, routine, "a duplicate entry was found and dup is 'F'");
                return;
            }
            if (d == 'S')
                add_to(va.back(), a[p]);
            continue;
        }
        va.push_back(a[p]);
        vr.push_back(irow[p]);
        vc.push_back(icol[p]);
    }
    // zeros, after duplicates are merged
    std::vector<T> wa;
    std::vector<Integer> wr, wc;
    for (size_t k = 0; k < va.size(); ++k) {
        if (is_zero(va[k])) {
            if (z == 'F') {
                set_ifail(ifail, 4, routine, "a zero entry was found and zer is 'F'");
                return;
            }
            if (z == 'R')
                continue;
        }
        wa.push_back(va[k]);
        wr.push_back(vr[k]);
        wc.push_back(vc[k]);
    }
    const Integer kept = Integer(wa.size());
    for (Integer k = 0; k < kept; ++k) {
        a[k] = wa[size_t(k)];
        irow[k] = wr[size_t(k)];
        icol[k] = wc[size_t(k)];
    }
    *nnz = kept;
    if (istr != nullptr) {
        for (Integer i = 0; i <= n; ++i)
            istr[i] = 0;
        for (Integer k = 0; k < kept; ++k)
            ++istr[irow[k]];
        istr[0] = 1;
        for (Integer i = 1; i <= n; ++i)
            istr[i] += istr[i - 1];
    }
    set_ifail(ifail, 0, routine, "");
}

template <class K>
void product(const char *routine, char tr, Integer n, Integer nnz, const typename Host<K>::T a[],
             const Integer irow[], const Integer icol[], const char *check, const typename Host<K>::T x[],
             typename Host<K>::T y[], Integer *ifail, bool hermitian)
{
    const char c = letter(check);
    const bool bad_trans = hermitian ? false : !(tr == 'N' || tr == 'T' || (K::complex && tr == 'C'));
    if (bad_trans || !one_of(c, "CN") || n < 1 || nnz < 0 || nnz > n * n) {
        set_ifail(ifail, 1, routine, "trans or check is not one of its letters, n < 1, or nnz is out of range");
        return;
    }
    if (c == 'C') {
        const int code = check_storage(n, nnz, irow, icol, hermitian);
        if (code != 0) {
            set_ifail(ifail, code, routine,
                      code == 2 ? "a row or column index is out of range" : "the entries are out of order or duplicated");
            return;
        }
    }
    const mpfr_prec_t prec = working_precision();
    Cs<K> m = read_matrix<K>(n, nnz, a, irow, icol, prec);
    Vec<K> vx(n, prec), vy(n, prec);
    from_host(vx, x);
    Tmp t(prec);
    if (hermitian)
        matvec_lower_hermitian(m, vx, vy, t);
    else
        matvec(m, tr, vx, vy, t);
    to_host(y, vy);
    set_ifail(ifail, 0, routine, "");
}

} // namespace
} // namespace talvo::sparse

using namespace talvo::sparse;

void TalvoMP_f11zaf_(Integer n, Integer *nnz, TalvoFloat a[], Integer irow[], Integer icol[], const char *dup,
                     const char *zer, Integer istr[], Integer *, Integer *ifail)
{
    sort_clean("f11zaf", n, nnz, a, irow, icol, dup, zer, istr, ifail, false);
}

void TalvoMP_f11znf_(Integer n, Integer *nnz, TalvoComplex a[], Integer irow[], Integer icol[], const char *dup,
                     const char *zer, Integer istr[], Integer *, Integer *ifail)
{
    sort_clean("f11znf", n, nnz, a, irow, icol, dup, zer, istr, ifail, false);
}

void TalvoMP_f11zpf_(Integer n, Integer *nnz, TalvoComplex a[], Integer irow[], Integer icol[], const char *dup,
                     const char *zer, Integer istr[], Integer *, Integer *ifail)
{
    sort_clean("f11zpf", n, nnz, a, irow, icol, dup, zer, istr, ifail, true);
}

void TalvoMP_f11xaf_(const char *trans, Integer n, Integer nnz, const TalvoFloat a[], const Integer irow[],
                     const Integer icol[], const char *check, const TalvoFloat x[], TalvoFloat y[], Integer *ifail)
{
    product<RealKind>("f11xaf", letter(trans), n, nnz, a, irow, icol, check, x, y, ifail, false);
}

void TalvoMP_f11xnf_(const char *trans, Integer n, Integer nnz, const TalvoComplex a[], const Integer irow[],
                     const Integer icol[], const char *check, const TalvoComplex x[], TalvoComplex y[],
                     Integer *ifail)
{
    product<ComplexKind>("f11xnf", letter(trans), n, nnz, a, irow, icol, check, x, y, ifail, false);
}

void TalvoMP_f11xsf_(Integer n, Integer nnz, const TalvoComplex a[], const Integer irow[], const Integer icol[],
                     const char *check, const TalvoComplex x[], TalvoComplex y[], Integer *ifail)
{
    product<ComplexKind>("f11xsf", 'N', n, nnz, a, irow, icol, check, x, y, ifail, true);
}
