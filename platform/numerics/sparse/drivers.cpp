// drivers.cpp -- the black-box solvers (f11dcf, f11def, f11dqf, f11dsf): a
// Krylov state machine of krylov.cpp served in place by the matrix-vector
// product of coordinate.cpp and a preconditioner (the incomplete LU factor
// of ilu.cpp, or Jacobi or SSOR of jacobi_ssor.cpp), all at the working
// precision, with no conversion to the host's floats inside the loop.
//
// Stopping test: ||r||_inf <= tol (||b||_inf + ||A||_inf ||x||_inf), with
// ||A||_inf the largest absolute row sum of the entries.
#include "common.hpp"
#include "few_limbs.hpp"

#include <string>

namespace talvo::sparse {

template <class K>
SolveResult solve(const Cs<K> &a, bool lower_hermitian, const Vec<K> &b, Vec<K> &x, const KrylovSetup &s, Precon pc,
                  const IluFactor<std::type_identity_t<K>> *ilu, const Vec<std::type_identity_t<K>> *rdiag,
                  mpfr_srcptr omega, mpfr_ptr rnorm)
{
    const mpfr_prec_t prec = x.precision();
    KrylovSetup su = s;
    su.precon = pc != Precon::None;
    Krylov<K> kr(su, prec);
    copy(kr.x(), x);
    copy(kr.b(), b);
    Tmp t(prec);
    for (;;) {
        const Request r = kr.resume();
        if (r == kDone)
            break;
        switch (r) {
        case kMatvec:
        case kMatvecH:
            if (lower_hermitian)
                matvec_lower_hermitian(a, kr.u(), kr.v(), t);
            else
                matvec(a, r == kMatvec ? 'N' : 'C', kr.u(), kr.v(), t);
            break;
        case kPrecon:
            if (pc == Precon::Ilu || pc == Precon::Ic)
                ilu_solve(*ilu, 'N', kr.u(), kr.v(), t);
            else if (pc == Precon::Jacobi)
                jacobi_solve(*rdiag, 'N', kr.u(), kr.v(), t);
            else
                ssor_solve(a, *rdiag, omega, 'N', kr.u(), kr.v(), t);
            break;
        default:
            break;
        }
    }
    copy(x, kr.x());
    if (rnorm)
        mpfr_set(rnorm, kr.stplhs(), MPFR_RNDN);
    return {kr.status(), kr.iterations()};
}

template TALVO_SPARSE_API SolveResult solve(const Cs<RealKind> &, bool, const Vec<RealKind> &, Vec<RealKind> &,
                                            const KrylovSetup &, Precon, const IluFactor<RealKind> *,
                                            const Vec<RealKind> *, mpfr_srcptr, mpfr_ptr);
template TALVO_SPARSE_API SolveResult solve(const Cs<ComplexKind> &, bool, const Vec<ComplexKind> &,
                                            Vec<ComplexKind> &, const KrylovSetup &, Precon,
                                            const IluFactor<ComplexKind> *, const Vec<ComplexKind> *, mpfr_srcptr,
                                            mpfr_ptr);

namespace {

bool method_of(const char *m, Method &out)
{
    std::string s;
    for (const char *p = m ? m : ""; *p; ++p)
        if (*p != ' ')
            s += char(std::toupper(static_cast<unsigned char>(*p)));
    if (s == "RGMRES")
        out = Method::RGMRES;
    else if (s == "CGS")
        out = Method::CGS;
    else if (s == "BICGSTAB")
        out = Method::BICGSTAB;
    else if (s == "TFQMR")
        out = Method::TFQMR;
    else
        return false;
    return true;
}

// The status of a solve as the drivers' IFAIL.
Integer driver_code(KrylovStatus s)
{
    switch (s) {
    case kConverged:
        return 0;
    case kAccuracy:
        return 4;
    case kIterationLimit:
        return 6;
    default:
        return 5;
    }
}
const char *driver_text(Integer code)
{
    return code == 4   ? "the requested accuracy could not be obtained"
           : code == 5 ? "the method broke down"
           : code == 6 ? "maxitn iterations were done without convergence"
                       : "";
}

template <class K>
void black_box(const char *routine, const char *method, char precon, Integer n, Integer nnz,
               const typename Host<K>::T a[], Integer la, const Integer irow[], const Integer icol[],
               const Integer ipivp[], const Integer ipivq[], const Integer istr[], const Integer idiag[],
               TalvoFloat omega, const typename Host<K>::T b[], Integer m, TalvoFloat tol, Integer maxitn,
               typename Host<K>::T x[], TalvoFloat *rnorm, Integer *itn, Integer *ifail)
{
    KrylovSetup s;
    const bool ilu = precon == 'P';
    const bool m_used = method_of(method, s.method) && (s.method == Method::RGMRES || s.method == Method::BICGSTAB);
    if (!method_of(method, s.method) || !one_of(precon, "PNJS") || n < 1 || nnz < 1 || nnz > n * n ||
        (ilu && la < 2 * nnz) || (m_used && (m < 1 || m > n)) || !(mpfr_cmp_ui(tol.mpfr(), 1) < 0) ||
        maxitn < 1 ||
        (precon == 'S' && !(mpfr_sgn(omega.mpfr()) > 0 && mpfr_cmp_ui(omega.mpfr(), 2) < 0))) {
        set_ifail(ifail, 1, routine, "an argument is out of range or not one of its letters");
        return;
    }
    if (check_storage(n, nnz, irow, icol) != 0) {
        set_ifail(ifail, 2, routine, "the matrix's entries are out of range, out of order or duplicated");
        return;
    }
    const mpfr_prec_t prec = working_precision();
    Cs<K> mat = read_matrix<K>(n, nnz, a, irow, icol, prec);
    IluFactor<K> f;
    Vec<K> rdiag(n, prec);
    Tmp t(prec);
    if (ilu) {
        if (!read_factor<K>(n, a, la, irow, icol, ipivp, ipivq, istr, idiag, true, false, prec, f)) {
            set_ifail(ifail, 3, routine, "the incomplete factor is inconsistent");
            return;
        }
    } else if (precon != 'N') {
        std::vector<char> has(static_cast<size_t>(n), 0);
        for (long k = 0; k < mat.nnz(); ++k)
            if (mat.row[size_t(k)] == mat.col[size_t(k)] && !K::is_zero(mat.a[k])) {
                K::inv(rdiag[mat.row[size_t(k)]], mat.a[k], t);
                has[size_t(mat.row[size_t(k)])] = 1;
            }
        for (Integer i = 0; i < n; ++i)
            if (!has[size_t(i)]) {
                set_ifail(ifail, 3, routine, "a diagonal entry is zero or missing");
                return;
            }
    }
    // ||A||_inf from the entries
    Real an(prec), e(prec);
    {
        Vec<RealKind> rows(n, prec);
        for (long k = 0; k < mat.nnz(); ++k) {
            K::abs(e, mat.a[k], t);
            talvo::floatn::add_rn(rows[mat.row[size_t(k)]], rows[mat.row[size_t(k)]], e);
        }
        norm(an, rows, 'I', t);
    }
    s.norm = 'I';
    s.iterm = 1;
    s.n = n;
    s.m = m_used ? m : 0;
    s.tol_mp = tol.mpfr();
    s.maxitn = maxitn;
    if (mpfr_zero_p(an))
        mpfr_set_ui(an, 1, MPFR_RNDN);
    s.anorm_mp = an;
    Vec<K> vb(n, prec), vx(n, prec);
    from_host(vb, b);
    from_host(vx, x);
    Real w(prec), rn(prec);
    mpfr_set(w, omega.mpfr(), MPFR_RNDN);
    const Precon pc = ilu ? Precon::Ilu : precon == 'J' ? Precon::Jacobi : precon == 'S' ? Precon::Ssor : Precon::None;
    const SolveResult res = solve(mat, false, vb, vx, s, pc, &f, &rdiag, w, rn);
    to_host(x, vx);
    *rnorm = TalvoFloat::from_handle(talvo_float_from_mpfr(rn, 0));
    *itn = res.itn;
    const Integer code = driver_code(res.status);
    set_ifail(ifail, code, routine, driver_text(code));
}

} // namespace
} // namespace talvo::sparse

using namespace talvo::sparse;

void TalvoMP_f11dcf_(const char *method, Integer n, Integer nnz, const TalvoFloat a[], Integer la,
                     const Integer irow[], const Integer icol[], const Integer ipivp[], const Integer ipivq[],
                     const Integer istr[], const Integer idiag[], const TalvoFloat b[], Integer m, TalvoFloat tol,
                     Integer maxitn, TalvoFloat x[], TalvoFloat *rnorm, Integer *itn, TalvoFloat *, Integer,
                     Integer *ifail)
{
    black_box<RealKind>("f11dcf", method, 'P', n, nnz, a, la, irow, icol, ipivp, ipivq, istr, idiag, TalvoFloat(),
                        b, m, tol, maxitn, x, rnorm, itn, ifail);
}

void TalvoMP_f11dqf_(const char *method, Integer n, Integer nnz, const TalvoComplex a[], Integer la,
                     const Integer irow[], const Integer icol[], const Integer ipivp[], const Integer ipivq[],
                     const Integer istr[], const Integer idiag[], const TalvoComplex b[], Integer m, TalvoFloat tol,
                     Integer maxitn, TalvoComplex x[], TalvoFloat *rnorm, Integer *itn, TalvoComplex *, Integer,
                     Integer *ifail)
{
    black_box<ComplexKind>("f11dqf", method, 'P', n, nnz, a, la, irow, icol, ipivp, ipivq, istr, idiag, TalvoFloat(),
                           b, m, tol, maxitn, x, rnorm, itn, ifail);
}

void TalvoMP_f11def_(const char *method, const char *precon, Integer n, Integer nnz, const TalvoFloat a[],
                     const Integer irow[], const Integer icol[], TalvoFloat omega, const TalvoFloat b[], Integer m,
                     TalvoFloat tol, Integer maxitn, TalvoFloat x[], TalvoFloat *rnorm, Integer *itn, TalvoFloat *,
                     Integer, Integer *, Integer *ifail)
{
    const char p = letter(precon);
    black_box<RealKind>("f11def", method, p == 'P' ? '?' : p, n, nnz, a, 0, irow, icol, nullptr, nullptr, nullptr,
                        nullptr, omega, b, m, tol, maxitn, x, rnorm, itn, ifail);
}

void TalvoMP_f11dsf_(const char *method, const char *precon, Integer n, Integer nnz, const TalvoComplex a[],
                     const Integer irow[], const Integer icol[], TalvoFloat omega, const TalvoComplex b[], Integer m,
                     TalvoFloat tol, Integer maxitn, TalvoComplex x[], TalvoFloat *rnorm, Integer *itn,
                     TalvoComplex *, Integer, Integer *, Integer *ifail)
{
    const char p = letter(precon);
    black_box<ComplexKind>("f11dsf", method, p == 'P' ? '?' : p, n, nnz, a, 0, irow, icol, nullptr, nullptr, nullptr,
                           nullptr, omega, b, m, tol, maxitn, x, rnorm, itn, ifail);
}
