// jacobi_ssor.cpp -- the Jacobi and SSOR preconditioners (f11ddf, f11drf).
//
// SSOR (Young, Iterative Solution of Large Linear Systems, 1971):
// A = L + D + U, M = (D + w L) D^{-1} (D + w U) / (w (2 - w)), so
//   x = w (2 - w) (D + w U)^{-1} D (D + w L)^{-1} y,
// one forward and one backward sweep over the rows; the transposed solve
// runs the sweeps over the columns of the transposed factors.
#include "common.hpp"
#include "few_limbs.hpp"

namespace talvo::sparse {

template <class K>
void jacobi_solve(const Vec<K> &rdiag, char trans, const Vec<K> &y, Vec<K> &x, Tmp &t)
{
    Vec<K> c(1, y.precision());
    for (long i = 0; i < y.size(); ++i) {
        if (trans == 'C')
            K::conj(c[0], rdiag[i]);
        else
            K::set(c[0], rdiag[i]);
        K::mul(x[i], y[i], c[0], t);
    }
}

template <class K>
void ssor_solve(const Cs<K> &a, const Vec<K> &rdiag, mpfr_srcptr omega, char trans, const Vec<K> &y, Vec<K> &x,
                Tmp &t)
{
    const long n = a.n;
    const mpfr_prec_t prec = y.precision();
    Vec<K> z(n, prec), c(1, prec), w(1, prec);
    Real f(prec);
    const bool cj = trans == 'C';
    auto entry = [&](long e) -> mpfr_srcptr { // a(e) (conjugated for 'C'), times omega
        if (cj)
            K::conj(c[0], a.a[e]);
        else
            K::set(c[0], a.a[e]);
        K::scale(c[0], c[0], omega);
        return c[0];
    };
    auto rd = [&](long i) -> mpfr_srcptr {
        if (cj)
            K::conj(w[0], rdiag[i]);
        else
            K::set(w[0], rdiag[i]);
        return w[0];
    };
    if (trans == 'N') {
        // (D + w L) z = y
        for (long i = 0; i < n; ++i) {
            K::set(z[i], y[i]);
            for (long e = a.start[size_t(i)]; e < a.start[size_t(i + 1)] && a.col[size_t(e)] < i; ++e)
                K::mulsub(z[i], entry(e), z[a.col[size_t(e)]], t);
            K::mul(z[i], z[i], rd(i), t);
        }
        // (D + w U) x = D z:  x_i = z_i - rd_i w sum_{j > i} a_ij x_j
        for (long i = n - 1; i >= 0; --i) {
            K::zero(x[i]);
            for (long e = a.start[size_t(i + 1)] - 1; e >= a.start[size_t(i)] && a.col[size_t(e)] > i; --e)
                K::muladd(x[i], entry(e), x[a.col[size_t(e)]], t);
            K::mul(x[i], x[i], rd(i), t);
            K::sub(x[i], z[i], x[i]);
        }
    } else {
        // (D + w U^T) z = y, column sweep over the rows' upper parts
        copy(z, y);
        for (long i = 0; i < n; ++i) {
            K::mul(z[i], z[i], rd(i), t);
            for (long e = a.start[size_t(i + 1)] - 1; e >= a.start[size_t(i)] && a.col[size_t(e)] > i; --e)
                K::mulsub(z[a.col[size_t(e)]], entry(e), z[i], t);
        }
        // (D + w L^T) x = D z: x_i = rd_i (d_i z_i - w sum_{j > i} a_ji x_j)
        Vec<K> s(n, prec); // the sums, accumulated from the rows below
        for (long i = n - 1; i >= 0; --i) {
            K::mul(x[i], s[i], rd(i), t);
            K::sub(x[i], z[i], x[i]);
            for (long e = a.start[size_t(i)]; e < a.start[size_t(i + 1)] && a.col[size_t(e)] < i; ++e)
                K::muladd(s[a.col[size_t(e)]], entry(e), x[i], t);
        }
    }
    // times w (2 - w)
    mpfr_ui_sub(f, 2, omega, MPFR_RNDN);
    talvo::floatn::mul_rn(f, f, omega);
    for (long i = 0; i < n; ++i)
        K::scale(x[i], x[i], f);
}

template TALVO_SPARSE_API void jacobi_solve(const Vec<RealKind> &, char, const Vec<RealKind> &, Vec<RealKind> &,
                                            Tmp &);
template TALVO_SPARSE_API void jacobi_solve(const Vec<ComplexKind> &, char, const Vec<ComplexKind> &,
                                            Vec<ComplexKind> &, Tmp &);
template TALVO_SPARSE_API void ssor_solve(const Cs<RealKind> &, const Vec<RealKind> &, mpfr_srcptr, char,
                                          const Vec<RealKind> &, Vec<RealKind> &, Tmp &);
template TALVO_SPARSE_API void ssor_solve(const Cs<ComplexKind> &, const Vec<ComplexKind> &, mpfr_srcptr, char,
                                          const Vec<ComplexKind> &, Vec<ComplexKind> &, Tmp &);

namespace {

template <class K>
void ssor(const char *routine, char trans, Integer n, Integer nnz, const typename Host<K>::T a[],
          const Integer irow[], const Integer icol[], const typename Host<K>::T rdiag[], TalvoFloat omega,
          const char *check, const typename Host<K>::T y[], typename Host<K>::T x[], Integer *ifail)
{
    const char c = letter(check);
    const char *transes = K::complex ? "NTC" : "NT";
    if (!one_of(trans, transes) || !one_of(c, "CN") || n < 1 || nnz < 1 || nnz > n * n ||
        !(mpfr_sgn(omega.mpfr()) > 0 && mpfr_cmp_ui(omega.mpfr(), 2) < 0)) {
        set_ifail(ifail, 1, routine, "an argument is out of range or not one of its letters");
        return;
    }
    if (c == 'C') {
        if (check_storage(n, nnz, irow, icol) != 0) {
            set_ifail(ifail, 2, routine, "the matrix's entries are out of range, out of order or duplicated");
            return;
        }
        std::vector<char> has(size_t(n), 0);
        for (Integer k = 0; k < nnz; ++k)
            if (irow[k] == icol[k])
                has[size_t(irow[k] - 1)] = 1;
        for (Integer i = 0; i < n; ++i)
            if (!has[size_t(i)]) {
                set_ifail(ifail, 3, routine, "a diagonal entry is missing");
                return;
            }
    }
    const mpfr_prec_t prec = working_precision();
    Cs<K> m = read_matrix<K>(n, nnz, a, irow, icol, prec);
    Vec<K> rd(n, prec), vy(n, prec), vx(n, prec);
    from_host(rd, rdiag);
    from_host(vy, y);
    Real w(prec);
    mpfr_set(w, omega.mpfr(), MPFR_RNDN);
    Tmp t(prec);
    ssor_solve(m, rd, w, trans, vy, vx, t);
    to_host(x, vx);
    set_ifail(ifail, 0, routine, "");
}

} // namespace
} // namespace talvo::sparse

using namespace talvo::sparse;

void TalvoMP_f11ddf_(const char *trans, Integer n, Integer nnz, const TalvoFloat a[], const Integer irow[],
                     const Integer icol[], const TalvoFloat rdiag[], TalvoFloat omega, const char *check,
                     const TalvoFloat y[], TalvoFloat x[], Integer *, Integer *ifail)
{
    ssor<RealKind>("f11ddf", letter(trans), n, nnz, a, irow, icol, rdiag, omega, check, y, x, ifail);
}

void TalvoMP_f11drf_(const char *trans, Integer n, Integer nnz, const TalvoComplex a[], const Integer irow[],
                     const Integer icol[], const TalvoComplex rdiag[], TalvoFloat omega, const char *check,
                     const TalvoComplex y[], TalvoComplex x[], Integer *, Integer *ifail)
{
    ssor<ComplexKind>("f11drf", letter(trans), n, nnz, a, irow, icol, rdiag, omega, check, y, x, ifail);
}
