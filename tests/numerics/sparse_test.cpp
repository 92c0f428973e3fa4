// sparse_test.cpp -- the sparse iterative solvers (platform/numerics/sparse/):
// coordinate utilities, the products, incomplete LU and Cholesky, Jacobi
// and SSOR, each Krylov solver with each preconditioner on generated 2-D
// Poisson, convection-diffusion and complex shifted Laplacian systems and
// on Matrix Market matrices, against a dense direct solve (Householder QR)
// at Digits 50 to Digits - 5 digits; the reverse-communication protocol
// step by step; and ill-posed input (zero pivots, a singular matrix,
// breakdowns, the iteration limit).
#include "checks.hpp"
#include "sparse/sparse.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

namespace {

using namespace talvo::sparse;
using talvo::linalg::Matrix;

struct DigitsScope {
    long old;
    explicit DigitsScope(long d) : old(talvo_float_digits()) { talvo_float_set_digits(d); }
    ~DigitsScope() { talvo_float_set_digits(old); }
};

mpfr_prec_t prec_for(long digits) { return talvo_float_precision_bits(digits) + 24; }

struct Trip {
    long i, j;
    double re, im;
};

template <class K>
Cs<K> from_triplets(long n, std::vector<Trip> t, mpfr_prec_t prec)
{
    std::sort(t.begin(), t.end(), [](const Trip &a, const Trip &b) { return std::tie(a.i, a.j) < std::tie(b.i, b.j); });
    Cs<K> m;
    m.n = n;
    m.a = Vec<K>(long(t.size()), prec);
    for (size_t k = 0; k < t.size(); ++k) {
        m.row.push_back(t[k].i);
        m.col.push_back(t[k].j);
        mpfr_set_d(m.a[long(k)], t[k].re, MPFR_RNDN);
        if constexpr (K::complex)
            mpfr_set_d(m.a[long(k)] + 1, t[k].im, MPFR_RNDN);
    }
    index_rows(m);
    return m;
}

// The 5-point stencil on a g x g grid: diag d, east/west/north/south couplings.
std::vector<Trip> stencil(long g, double dre, double dim, double east, double west, double north, double south,
                          double offim = 0, bool hermitian_phase = false)
{
    std::vector<Trip> t;
    for (long y = 0; y < g; ++y)
        for (long x = 0; x < g; ++x) {
            const long i = y * g + x;
            t.push_back({i, i, dre, dim});
            if (x + 1 < g)
                t.push_back({i, i + 1, east, hermitian_phase ? offim : 0});
            if (x > 0)
                t.push_back({i, i - 1, west, hermitian_phase ? -offim : 0});
            if (y + 1 < g)
                t.push_back({i, i + g, north, 0});
            if (y > 0)
                t.push_back({i, i - g, south, 0});
        }
    return t;
}

// Poisson: 4 on the diagonal, -1 off it.
Cs<RealKind> poisson(long g, mpfr_prec_t p) { return from_triplets<RealKind>(g * g, stencil(g, 4, 0, -1, -1, -1, -1), p); }
// Convection-diffusion with central differences, cell Peclet number 0.6 along x and 0.2 along y.
Cs<RealKind> convdiff(long g, mpfr_prec_t p)
{
    return from_triplets<RealKind>(g * g, stencil(g, 4, 0, -1 + 0.6, -1 - 0.6, -1 + 0.2, -1 - 0.2), p);
}
// Complex shifted Laplacian: Poisson - (0.5 - 0.4 i) I (non-Hermitian, indefinite real part near the bottom).
Cs<ComplexKind> shifted(long g, mpfr_prec_t p)
{
    return from_triplets<ComplexKind>(g * g, stencil(g, 3.5, 0.4, -1, -1, -1, -1), p);
}
// A Hermitian positive definite "magnetic" Laplacian: couplings -(0.8 +- 0.6 i) along x.
Cs<ComplexKind> magnetic(long g, mpfr_prec_t p)
{
    return from_triplets<ComplexKind>(g * g, stencil(g, 4.2, 0, -0.8, -0.8, -1, -1, 0.6, true), p);
}

template <class K>
Vec<K> rhs(long n, mpfr_prec_t p)
{
    Vec<K> b(n, p);
    for (long i = 0; i < n; ++i) {
        mpfr_set_si(b[i], (i * 7 + 3) % 11 - 5, MPFR_RNDN);
        mpfr_div_ui(b[i], b[i], 3, MPFR_RNDN);
        if constexpr (K::complex)
            mpfr_set_si(b[i] + 1, (i * 5 + 1) % 7 - 3, MPFR_RNDN);
    }
    return b;
}

// Dense direct solve by Householder QR (a complex system through its real
// 2n x 2n form).
template <class K>
Vec<K> dense_solve(const Cs<K> &a, const Vec<K> &b, mpfr_prec_t p)
{
    const long n = a.n, N = K::W * n;
    Matrix m(N, N, p);
    for (long k = 0; k < a.nnz(); ++k) {
        const long i = a.row[size_t(k)], j = a.col[size_t(k)];
        mpfr_set(m(i, j), a.a[k], MPFR_RNDN);
        if constexpr (K::complex) {
            mpfr_set(m(i + n, j + n), a.a[k], MPFR_RNDN);
            mpfr_set(m(i + n, j), a.a[k] + 1, MPFR_RNDN);
            mpfr_neg(m(i, j + n), a.a[k] + 1, MPFR_RNDN);
        }
    }
    talvo::linalg::Vector tau(N, p), y(N, p);
    for (long i = 0; i < n; ++i) {
        mpfr_set(y[i], b[i], MPFR_RNDN);
        if constexpr (K::complex)
            mpfr_set(y[i + n], b[i] + 1, MPFR_RNDN);
    }
    talvo::linalg::qr_householder(m, tau);
    talvo::linalg::qr_apply_qt(m, tau, y.data());
    talvo::linalg::solve_upper(m, y.data());
    Vec<K> x(n, p);
    for (long i = 0; i < n; ++i) {
        mpfr_set(x[i], y[i], MPFR_RNDN);
        if constexpr (K::complex)
            mpfr_set(x[i] + 1, y[i + n], MPFR_RNDN);
    }
    return x;
}

// log10 of max |x - y| / max |y|.
template <class K>
double rel_error(const Vec<K> &x, const Vec<K> &y)
{
    const mpfr_prec_t p = x.precision();
    Tmp t(p);
    Vec<K> d(x.size(), p);
    for (long i = 0; i < x.size(); ++i)
        K::sub(d[i], x[i], y[i]);
    Real a(p), b(p);
    norm(a, d, 'I', t);
    norm(b, y, 'I', t);
    if (mpfr_zero_p(a))
        return -100000;
    mpfr_div(a, a, b, MPFR_RNDN);
    long e;
    const double m = mpfr_get_d_2exp(&e, a, MPFR_RNDN);
    return std::log10(std::fabs(m)) + double(e) * std::log10(2.0);
}

// log10 of ||b - A x||_2 / ||b||_2.
template <class K>
double log10_rel_residual(const Cs<K> &a, bool lower_h, const Vec<K> &b, const Vec<K> &x)
{
    const mpfr_prec_t p = x.precision();
    Tmp t(p);
    Vec<K> ax(a.n, p), r(a.n, p);
    if (lower_h)
        matvec_lower_hermitian(a, x, ax, t);
    else
        matvec(a, 'N', x, ax, t);
    for (long i = 0; i < a.n; ++i)
        K::sub(r[i], b[i], ax[i]);
    Real nb(p), nr(p);
    norm(nb, b, '2', t);
    norm(nr, r, '2', t);
    if (mpfr_zero_p(nr))
        return -100000;
    mpfr_div(nr, nr, nb, MPFR_RNDN);
    long e;
    const double m = mpfr_get_d_2exp(&e, nr, MPFR_RNDN);
    return std::log10(std::fabs(m)) + double(e) * std::log10(2.0);
}

// 1/diag(A)
template <class K>
Vec<K> reciprocal_diagonal(const Cs<K> &a)
{
    Vec<K> d(a.n, a.a.precision());
    Tmp t(a.a.precision());
    for (long k = 0; k < a.nnz(); ++k)
        if (a.row[size_t(k)] == a.col[size_t(k)])
            K::inv(d[a.row[size_t(k)]], a.a[k], t);
    return d;
}

const char *method_name(Method m)
{
    switch (m) {
    case Method::RGMRES: return "RGMRES";
    case Method::CGS: return "CGS";
    case Method::BICGSTAB: return "BICGSTAB";
    case Method::TFQMR: return "TFQMR";
    case Method::CG: return "CG";
    case Method::SYMMLQ: return "SYMMLQ";
    }
    return "?";
}
const char *precon_name(Precon p)
{
    switch (p) {
    case Precon::None: return "none";
    case Precon::Jacobi: return "Jacobi";
    case Precon::Ssor: return "SSOR";
    case Precon::Ilu: return "ILU";
    case Precon::Ic: return "IC";
    }
    return "?";
}

// Solves with one method and preconditioner at Digits 50 and checks the
// solution against the dense solve to Digits - 5 digits and the residual.
template <class K>
void check_solve(const Cs<K> &a, bool lower_h, const Cs<std::type_identity_t<K>> *full, Method method, long m, Precon pc, long digits,
                 long maxitn = 2000, double residual_slack = 0, const IluOptions *ilu_options = nullptr)
{
    const mpfr_prec_t p = a.a.precision();
    const Cs<K> &dense_src = full ? *full : a;
    const Vec<K> b = rhs<K>(a.n, p);
    const Vec<K> exact = dense_solve(dense_src, b, p + 64);
    IluFactor<K> f;
    long npivm = 0;
    if (pc == Precon::Ilu || pc == Precon::Ic) {
        IluOptions o = ilu_options ? *ilu_options : IluOptions();
        o.hermitian = pc == Precon::Ic;
        ASSERT_EQ(ilu_factor(dense_src, o, nullptr, nullptr, f, npivm), kIluOk);
        EXPECT_EQ(npivm, 0);
    }
    const Vec<K> rd = reciprocal_diagonal(dense_src);
    Real omega(p), tol(p), rnorm(p);
    mpfr_set_d(omega, 1.2, MPFR_RNDN);
    mpfr_set_ui(tol, 10, MPFR_RNDN);
    mpfr_pow_si(tol, tol, -(digits - 2), MPFR_RNDN);
    KrylovSetup s;
    s.method = method;
    s.n = a.n;
    s.m = m;
    s.norm = '2';
    s.iterm = 1;
    s.tol_mp = tol;
    s.maxitn = maxitn;
    Vec<K> x(a.n, p);
    const SolveResult r = solve(a, lower_h, b, x, s, pc, &f, &rd, omega, rnorm);
    SCOPED_TRACE(std::string(method_name(method)) + " with " + precon_name(pc));
    EXPECT_EQ(r.status, kConverged) << "after " << r.itn << " iterations";
    EXPECT_GT(r.itn, 0);
    EXPECT_LE(rel_error(x, exact), -double(digits - 5));
    EXPECT_LE(log10_rel_residual(a, lower_h, b, x), -double(digits - 4) + residual_slack);
}

// ---------------------------------------------------------------------------
// Coordinate storage and products
// ---------------------------------------------------------------------------

TEST(SparseCoordinate, SortMergeAndDropZeros)
{
    DigitsScope d(30);
    // entries of a 3 x 3 matrix, shuffled, (2,1) twice and a zero at (3,3)
    Integer irow[] = {3, 1, 2, 2, 1, 3, 2};
    Integer icol[] = {3, 2, 1, 1, 1, 1, 2};
    TalvoFloat a[] = {TalvoFloat(0.0), TalvoFloat(2.0), TalvoFloat(1.5), TalvoFloat(2.5), TalvoFloat(1.0),
                      TalvoFloat(-4.0), TalvoFloat(7.0)};
    Integer nnz = 7, istr[4], iwork[3], ifail = 1;
    TalvoMP_f11zaf_(3, &nnz, a, irow, icol, "S", "R", istr, iwork, &ifail);
    ASSERT_EQ(ifail, 0);
    ASSERT_EQ(nnz, 5);
    const Integer er[] = {1, 1, 2, 2, 3}, ec[] = {1, 2, 1, 2, 1};
    const double ev[] = {1.0, 2.0, 4.0, 7.0, -4.0};
    for (int k = 0; k < 5; ++k) {
        EXPECT_EQ(irow[k], er[k]);
        EXPECT_EQ(icol[k], ec[k]);
        EXPECT_EQ(a[k].to_double(), ev[k]) << k;
    }
    const Integer es[] = {1, 3, 5, 6};
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(istr[k], es[k]);
}

TEST(SparseCoordinate, DuplicatesKeepFirstAndZerosKept)
{
    DigitsScope d(20);
    Integer irow[] = {2, 2, 1}, icol[] = {1, 1, 1};
    TalvoFloat a[] = {TalvoFloat(3.0), TalvoFloat(5.0), TalvoFloat(0.0)};
    Integer nnz = 3, istr[3], ifail = 1;
    TalvoMP_f11zaf_(2, &nnz, a, irow, icol, "R", "K", istr, nullptr, &ifail);
    ASSERT_EQ(ifail, 0);
    ASSERT_EQ(nnz, 2);
    EXPECT_EQ(a[0].to_double(), 0.0);
    EXPECT_EQ(a[1].to_double(), 3.0); // the first of the two
}

TEST(SparseCoordinate, Failures)
{
    DigitsScope d(20);
    Integer istr[4], ifail;
    {
        Integer irow[] = {1, 1}, icol[] = {2, 2}, nnz = 2;
        TalvoFloat a[] = {TalvoFloat(1.0), TalvoFloat(2.0)};
        ifail = 1;
        TalvoMP_f11zaf_(2, &nnz, a, irow, icol, "F", "R", istr, nullptr, &ifail);
        EXPECT_EQ(ifail, 3);
        EXPECT_EQ(nnz, 2);
        EXPECT_EQ(a[1].to_double(), 2.0); // untouched
    }
    {
        Integer irow[] = {1, 2}, icol[] = {2, 2}, nnz = 2;
        TalvoFloat a[] = {TalvoFloat(0.0), TalvoFloat(2.0)};
        ifail = 1;
        TalvoMP_f11zaf_(2, &nnz, a, irow, icol, "S", "F", istr, nullptr, &ifail);
        EXPECT_EQ(ifail, 4);
    }
    {
        Integer irow[] = {1, 3}, icol[] = {2, 2}, nnz = 2;
        TalvoFloat a[] = {TalvoFloat(1.0), TalvoFloat(2.0)};
        ifail = 1;
        TalvoMP_f11zaf_(2, &nnz, a, irow, icol, "S", "R", istr, nullptr, &ifail);
        EXPECT_EQ(ifail, 2);
        ifail = 1;
        TalvoMP_f11zaf_(2, &nnz, a, irow, icol, "X", "R", istr, nullptr, &ifail);
        EXPECT_EQ(ifail, 1);
    }
    {
        // an entry above the diagonal of Hermitian storage
        Integer irow[] = {1}, icol[] = {2}, nnz = 1;
        TalvoComplex a[] = {{TalvoFloat(1.0), TalvoFloat(1.0)}};
        ifail = 1;
        TalvoMP_f11zpf_(2, &nnz, a, irow, icol, "S", "R", istr, nullptr, &ifail);
        EXPECT_EQ(ifail, 2);
    }
}

TEST(SparseCoordinate, ComplexSumAndHermitianProduct)
{
    DigitsScope d(30);
    // lower triangle of [[2, 1-i], [1+i, 3]], given with (2,1) split in two
    Integer irow[] = {2, 1, 2, 2}, icol[] = {1, 1, 2, 1}, nnz = 4, istr[3], ifail = 1;
    TalvoComplex a[] = {{TalvoFloat(0.5), TalvoFloat(1.0)},
                        {TalvoFloat(2.0), TalvoFloat(0.0)},
                        {TalvoFloat(3.0), TalvoFloat(0.0)},
                        {TalvoFloat(0.5), TalvoFloat(0.0)}};
    TalvoMP_f11zpf_(2, &nnz, a, irow, icol, "S", "R", istr, nullptr, &ifail);
    ASSERT_EQ(ifail, 0);
    ASSERT_EQ(nnz, 3);
    EXPECT_EQ(a[1].re.to_double(), 1.0);
    EXPECT_EQ(a[1].im.to_double(), 1.0);
    // y = A x with x = (1, i): y1 = 2 + (1-i) i = 3 + i; y2 = (1+i) + 3i = 1 + 4i
    TalvoComplex x[] = {{TalvoFloat(1.0), TalvoFloat(0.0)}, {TalvoFloat(0.0), TalvoFloat(1.0)}}, y[2];
    ifail = 1;
    TalvoMP_f11xsf_(2, nnz, a, irow, icol, "C", x, y, &ifail);
    ASSERT_EQ(ifail, 0);
    EXPECT_EQ(y[0].re.to_double(), 3.0);
    EXPECT_EQ(y[0].im.to_double(), 1.0);
    EXPECT_EQ(y[1].re.to_double(), 1.0);
    EXPECT_EQ(y[1].im.to_double(), 4.0);
}

TEST(SparseCoordinate, RealProductAndTranspose)
{
    DigitsScope d(40);
    // [[1, 2, 0], [0, 3, 4], [5, 0, 6]]
    Integer irow[] = {1, 1, 2, 2, 3, 3}, icol[] = {1, 2, 2, 3, 1, 3}, ifail = 1;
    TalvoFloat a[] = {TalvoFloat(1.0), TalvoFloat(2.0), TalvoFloat(3.0),
                      TalvoFloat(4.0), TalvoFloat(5.0), TalvoFloat(6.0)};
    TalvoFloat x[] = {TalvoFloat(1.0), TalvoFloat(-1.0), TalvoFloat(2.0)}, y[3];
    TalvoMP_f11xaf_("N", 3, 6, a, irow, icol, "C", x, y, &ifail);
    ASSERT_EQ(ifail, 0);
    EXPECT_EQ(y[0].to_double(), -1.0);
    EXPECT_EQ(y[1].to_double(), 5.0);
    EXPECT_EQ(y[2].to_double(), 17.0);
    TalvoMP_f11xaf_("T", 3, 6, a, irow, icol, "C", x, y, &ifail);
    ASSERT_EQ(ifail, 0);
    EXPECT_EQ(y[0].to_double(), 11.0);
    EXPECT_EQ(y[1].to_double(), -1.0);
    EXPECT_EQ(y[2].to_double(), 8.0);
    // out of order with check 'C'
    Integer bad[] = {1, 1, 2, 2, 3, 3}, badc[] = {2, 1, 2, 3, 1, 3};
    ifail = 1;
    TalvoMP_f11xaf_("N", 3, 6, a, bad, badc, "C", x, y, &ifail);
    EXPECT_EQ(ifail, 3);
    ifail = 1;
    TalvoMP_f11xaf_("Q", 3, 6, a, irow, icol, "C", x, y, &ifail);
    EXPECT_EQ(ifail, 1);
}

// ---------------------------------------------------------------------------
// Incomplete factorisations, Jacobi and SSOR
// ---------------------------------------------------------------------------

// With enough fill the incomplete factor is the exact LU: M^{-1} A x = x.
TEST(SparseIlu, FullFillIsExactWithEveryPivoting)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    Cs<RealKind> a = convdiff(4, p);
    Tmp t(p);
    for (char ps : {'N', 'P', 'C'}) {
        IluOptions o;
        o.lfill = 100;
        o.pstrat = ps;
        IluFactor<RealKind> f;
        long npivm = -1;
        ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f, npivm), kIluOk);
        EXPECT_EQ(npivm, 0);
        const Vec<RealKind> x = rhs<RealKind>(a.n, p);
        Vec<RealKind> ax(a.n, p), y(a.n, p), aty(a.n, p);
        matvec(a, 'N', x, ax, t);
        ilu_solve(f, 'N', ax, y, t);
        EXPECT_LE(rel_error(y, x), -48.0) << ps;
        // transposed: x = M^{-T} (A^T x)
        matvec(a, 'T', x, ax, t);
        ilu_solve(f, 'T', ax, aty, t);
        EXPECT_LE(rel_error(aty, x), -48.0) << ps;
    }
}

// ILU(0) keeps the pattern of A; ILU(1) adds the first level of fill; the
// drop tolerance keeps fewer entries as it grows.
TEST(SparseIlu, LevelsAndDropTolerance)
{
    DigitsScope d(30);
    const mpfr_prec_t p = prec_for(30);
    Cs<RealKind> a = poisson(6, p);
    long npivm;
    IluOptions o;
    IluFactor<RealKind> f0, f1, fd1, fd2;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f0, npivm), kIluOk);
    EXPECT_EQ(long(f0.col.size()), a.nnz());
    o.lfill = 1;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f1, npivm), kIluOk);
    EXPECT_GT(long(f1.col.size()), a.nnz());
    o.lfill = -1;
    o.dtol = 1e-3;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, fd1, npivm), kIluOk);
    o.dtol = 1e-1;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, fd2, npivm), kIluOk);
    EXPECT_GT(fd1.col.size(), fd2.col.size());
    EXPECT_GE(long(fd2.col.size()), a.nnz());
}

// Modified ILU keeps the row sums: M 1 = A 1, so M^{-1} (A 1) = 1.
TEST(SparseIlu, ModifiedKeepsRowSums)
{
    DigitsScope d(40);
    const mpfr_prec_t p = prec_for(40);
    Cs<RealKind> a = convdiff(5, p);
    Tmp t(p);
    IluOptions o;
    o.milu = true;
    IluFactor<RealKind> f;
    long npivm;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f, npivm), kIluOk);
    Vec<RealKind> ones(a.n, p), a1(a.n, p), y(a.n, p);
    for (long i = 0; i < a.n; ++i)
        mpfr_set_ui(ones[i], 1, MPFR_RNDN);
    matvec(a, 'N', ones, a1, t);
    ilu_solve(f, 'N', a1, y, t);
    EXPECT_LE(rel_error(y, ones), -38.0);
    // the plain ILU(0) does not
    IluFactor<RealKind> g;
    o.milu = false;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, g, npivm), kIluOk);
    ilu_solve(g, 'N', a1, y, t);
    EXPECT_GT(rel_error(y, ones), -10.0);
}

TEST(SparseIlu, ZeroPivotIsReplacedOrPivotedAway)
{
    DigitsScope d(30);
    const mpfr_prec_t p = prec_for(30);
    // [[0, 1], [1, 2]]
    Cs<RealKind> a = from_triplets<RealKind>(2, {{0, 1, 1, 0}, {1, 0, 1, 0}, {1, 1, 2, 0}}, p);
    IluOptions o;
    IluFactor<RealKind> f;
    long npivm = 0;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f, npivm), kIluOk);
    EXPECT_EQ(npivm, 1);
    o.pstrat = 'P';
    IluFactor<RealKind> g;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, g, npivm), kIluOk);
    EXPECT_EQ(npivm, 0);
    Tmp t(p);
    const Vec<RealKind> x = rhs<RealKind>(2, p);
    Vec<RealKind> ax(2, p), y(2, p);
    matvec(a, 'N', x, ax, t);
    ilu_solve(g, 'N', ax, y, t);
    EXPECT_LE(rel_error(y, x), -28.0);
    // through the routine: npivm reported, IFAIL 0
    Integer irow[8] = {1, 2, 2}, icol[8] = {2, 1, 2}, ipivp[2], ipivq[2], istr[3], idiag[2], nnzc, npm, iwork[16],
            ifail = 1;
    TalvoFloat av[8] = {TalvoFloat(1.0), TalvoFloat(1.0), TalvoFloat(2.0)};
    TalvoMP_f11daf_(2, 3, av, 8, irow, icol, 0, TalvoFloat(0.0), "N", "N", ipivp, ipivq, istr, idiag, &nnzc, &npm,
                    iwork, 16, &ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_EQ(npm, 1);
    // user pivot order that is not a permutation
    ipivp[0] = ipivp[1] = 1;
    ipivq[0] = 1;
    ipivq[1] = 2;
    ifail = 1;
    TalvoMP_f11daf_(2, 3, av, 8, irow, icol, 0, TalvoFloat(0.0), "U", "N", ipivp, ipivq, istr, idiag, &nnzc, &npm,
                    iwork, 16, &ifail);
    EXPECT_EQ(ifail, 4);
    // la too small
    ifail = 1;
    TalvoMP_f11daf_(2, 3, av, 6, irow, icol, 0, TalvoFloat(0.0), "N", "N", ipivp, ipivq, istr, idiag, &nnzc, &npm,
                    iwork, 16, &ifail);
    EXPECT_EQ(ifail, 3);
    EXPECT_EQ(nnzc, 4);
}

// The factor through the routines: f11daf then f11dbf equals the C++ solve,
// and a spoiled factor is refused with check 'C'.
TEST(SparseIlu, RoutinesRoundTrip)
{
    DigitsScope d(30);
    const long g = 4, n = g * g;
    const mpfr_prec_t p = prec_for(30);
    Cs<RealKind> m = convdiff(g, p);
    const long nnz = m.nnz(), la = 3 * nnz;
    std::vector<TalvoFloat> a(static_cast<size_t>(la));
    std::vector<Integer> irow(static_cast<size_t>(la)), icol(static_cast<size_t>(la)), ipivp(n), ipivq(n), istr(n + 1), idiag(n), iwork(8 * n);
    for (long k = 0; k < nnz; ++k) {
        a[size_t(k)] = TalvoFloat::from_handle(talvo_float_from_mpfr(m.a[k], 0));
        irow[size_t(k)] = m.row[size_t(k)] + 1;
        icol[size_t(k)] = m.col[size_t(k)] + 1;
    }
    Integer nnzc, npivm, ifail = 1;
    TalvoMP_f11daf_(n, nnz, a.data(), la, irow.data(), icol.data(), 1, TalvoFloat(0.0), "P", "N", ipivp.data(),
                    ipivq.data(), istr.data(), idiag.data(), &nnzc, &npivm, iwork.data(), 8 * n, &ifail);
    ASSERT_EQ(ifail, 0);
    EXPECT_EQ(istr[0], nnz + 1);
    EXPECT_EQ(istr[size_t(n)], nnz + nnzc + 1);
    std::vector<TalvoFloat> y(static_cast<size_t>(n)), x(static_cast<size_t>(n));
    for (long i = 0; i < n; ++i)
        y[size_t(i)] = TalvoFloat(double(i % 5) - 2.0);
    ifail = 1;
    TalvoMP_f11dbf_("N", n, a.data(), la, irow.data(), icol.data(), ipivp.data(), ipivq.data(), istr.data(),
                    idiag.data(), "C", y.data(), x.data(), &ifail);
    ASSERT_EQ(ifail, 0);
    // the C++ factor gives the same x
    IluOptions o;
    o.lfill = 1;
    o.pstrat = 'P';
    IluFactor<RealKind> f;
    long np;
    ASSERT_EQ(ilu_factor(m, o, nullptr, nullptr, f, np), kIluOk);
    Vec<RealKind> vy(n, p), vx(n, p), hx(n, p);
    Tmp t(p);
    for (long i = 0; i < n; ++i) {
        mpfr_set(vy[i], y[size_t(i)].mpfr(), MPFR_RNDN);
        mpfr_set(hx[i], x[size_t(i)].mpfr(), MPFR_RNDN);
    }
    ilu_solve(f, 'N', vy, vx, t);
    EXPECT_LE(rel_error(hx, vx), -28.0);
    // spoil the factor: a column index out of its row's order
    std::swap(icol[size_t(istr[3] - 1)], icol[size_t(istr[3])]);
    ifail = 1;
    TalvoMP_f11dbf_("N", n, a.data(), la, irow.data(), icol.data(), ipivp.data(), ipivq.data(), istr.data(),
                    idiag.data(), "C", y.data(), x.data(), &ifail);
    EXPECT_EQ(ifail, 2);
}

// SSOR: M x = y where M = (D + w L) D^{-1} (D + w U) / (w (2 - w)), checked by
// multiplying back; and its transpose.
TEST(SparseSsor, SolveThenMultiplyBack)
{
    DigitsScope d(40);
    const mpfr_prec_t p = prec_for(40);
    Cs<RealKind> a = convdiff(4, p);
    const long n = a.n;
    Tmp t(p);
    const Vec<RealKind> rd = reciprocal_diagonal(a);
    Real w(p), f(p);
    mpfr_set_d(w, 1.3, MPFR_RNDN);
    const Vec<RealKind> y = rhs<RealKind>(n, p);
    for (char tr : {'N', 'T'}) {
        Vec<RealKind> x(n, p), u(n, p), v(n, p);
        ssor_solve(a, rd, w, tr, y, x, t);
        // M x for tr 'N'; M^T x for 'T'
        // u = (D + w U) x  ('N') or (D + w L^T) x ('T')
        for (long i = 0; i < n; ++i)
            mpfr_div(u[i], x[i], rd[i], MPFR_RNDN);
        for (long k = 0; k < a.nnz(); ++k) {
            const long i = a.row[size_t(k)], j = a.col[size_t(k)];
            mpfr_mul(f, a.a[k], w, MPFR_RNDN);
            if (tr == 'N' && j > i)
                mpfr_fma(u[i], f, x[j], u[i], MPFR_RNDN);
            if (tr == 'T' && j < i)
                mpfr_fma(u[j], f, x[i], u[j], MPFR_RNDN);
        }
        // v = D^{-1} u, then (D + w L) v ('N') or (D + w U^T) v ('T')
        Vec<RealKind> z(n, p);
        for (long i = 0; i < n; ++i) {
            mpfr_mul(v[i], u[i], rd[i], MPFR_RNDN);
            mpfr_div(z[i], v[i], rd[i], MPFR_RNDN);
        }
        for (long k = 0; k < a.nnz(); ++k) {
            const long i = a.row[size_t(k)], j = a.col[size_t(k)];
            mpfr_mul(f, a.a[k], w, MPFR_RNDN);
            if (tr == 'N' && j < i)
                mpfr_fma(z[i], f, v[j], z[i], MPFR_RNDN);
            if (tr == 'T' && j > i)
                mpfr_fma(z[j], f, v[i], z[j], MPFR_RNDN);
        }
        mpfr_ui_sub(f, 2, w, MPFR_RNDN);
        mpfr_mul(f, f, w, MPFR_RNDN);
        for (long i = 0; i < n; ++i)
            mpfr_div(z[i], z[i], f, MPFR_RNDN);
        EXPECT_LE(rel_error(z, y), -38.0) << tr;
    }
}

// ---------------------------------------------------------------------------
// Every solver with every preconditioner, against the dense solve
// ---------------------------------------------------------------------------

TEST(SparseSolvers, NonsymmetricRealPoissonAndConvectionDiffusion)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    const Cs<RealKind> systems[] = {poisson(6, p), convdiff(6, p)};
    for (const auto &a : systems)
        for (Method m : {Method::RGMRES, Method::CGS, Method::BICGSTAB, Method::TFQMR})
            for (Precon pc : {Precon::None, Precon::Jacobi, Precon::Ssor, Precon::Ilu})
                check_solve(a, false, nullptr, m, m == Method::RGMRES ? 10 : 2, pc, 50);
}

TEST(SparseSolvers, ComplexShiftedLaplacian)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    const Cs<ComplexKind> a = shifted(5, p);
    for (Method m : {Method::RGMRES, Method::CGS, Method::BICGSTAB, Method::TFQMR})
        for (Precon pc : {Precon::None, Precon::Jacobi, Precon::Ssor, Precon::Ilu})
            check_solve(a, false, nullptr, m, m == Method::RGMRES ? 8 : 3, pc, 50);
}

TEST(SparseSolvers, HermitianCgAndSymmlq)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    const Cs<ComplexKind> a = magnetic(5, p);
    const Cs<RealKind> r = poisson(5, p);
    for (Method m : {Method::CG, Method::SYMMLQ})
        for (Precon pc : {Precon::None, Precon::Jacobi, Precon::Ssor, Precon::Ic}) {
            check_solve(a, false, nullptr, m, 0, pc, 50);
            check_solve(r, false, nullptr, m, 0, pc, 50);
        }
}

// SYMMLQ on a Hermitian indefinite matrix (CG is not meant for it).
TEST(SparseSolvers, SymmlqIndefinite)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    const Cs<ComplexKind> a = from_triplets<ComplexKind>(25, stencil(5, 1.5, 0, -0.8, -0.8, -1, -1, 0.6, true), p);
    check_solve(a, false, nullptr, Method::SYMMLQ, 0, Precon::None, 50);
}

// At Digits 100 the solvers still reach Digits - 5 digits.
TEST(SparseSolvers, HigherPrecision)
{
    DigitsScope d(100);
    const mpfr_prec_t p = prec_for(100);
    check_solve(convdiff(5, p), false, nullptr, Method::RGMRES, 25, Precon::Ilu, 100);
    check_solve(convdiff(5, p), false, nullptr, Method::BICGSTAB, 2, Precon::Ilu, 100);
}

// ---------------------------------------------------------------------------
// Matrix Market matrices
// ---------------------------------------------------------------------------

Cs<RealKind> read_mtx(const std::string &name, mpfr_prec_t p, bool &symmetric)
{
    std::ifstream in(std::string(TALVO_NUMERICS_DATA) + "/sparse/" + name);
    std::string line;
    std::getline(in, line);
    symmetric = line.find("symmetric") != std::string::npos;
    while (std::getline(in, line) && line[0] == '%') {
    }
    std::istringstream head(line);
    long rows, cols, nnz;
    head >> rows >> cols >> nnz;
    std::vector<std::tuple<long, long, std::string>> e;
    for (long k = 0; k < nnz && std::getline(in, line); ++k) {
        std::istringstream s(line);
        long i, j;
        std::string v;
        s >> i >> j >> v;
        e.emplace_back(i - 1, j - 1, v);
    }
    std::sort(e.begin(), e.end());
    Cs<RealKind> m;
    m.n = rows;
    m.a = Vec<RealKind>(long(e.size()), p);
    for (size_t k = 0; k < e.size(); ++k) {
        m.row.push_back(std::get<0>(e[k]));
        m.col.push_back(std::get<1>(e[k]));
        mpfr_set_str(m.a[long(k)], std::get<2>(e[k]).c_str(), 10, MPFR_RNDN);
    }
    index_rows(m);
    return m;
}

// The full matrix of one held by its lower triangle.
Cs<RealKind> symmetric_full(const Cs<RealKind> &l)
{
    std::vector<std::tuple<long, long, long>> e;
    for (long k = 0; k < l.nnz(); ++k) {
        e.emplace_back(l.row[size_t(k)], l.col[size_t(k)], k);
        if (l.row[size_t(k)] != l.col[size_t(k)])
            e.emplace_back(l.col[size_t(k)], l.row[size_t(k)], k);
    }
    std::sort(e.begin(), e.end());
    Cs<RealKind> m;
    m.n = l.n;
    m.a = Vec<RealKind>(long(e.size()), l.a.precision());
    for (size_t k = 0; k < e.size(); ++k) {
        m.row.push_back(std::get<0>(e[k]));
        m.col.push_back(std::get<1>(e[k]));
        mpfr_set(m.a[long(k)], l.a[std::get<2>(e[k])], MPFR_RNDN);
    }
    index_rows(m);
    return m;
}

TEST(SparseMatrixMarket, Cage5AllNonsymmetricSolvers)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    bool sym;
    const Cs<RealKind> a = read_mtx("cage5.mtx", p, sym);
    ASSERT_EQ(a.n, 37);
    ASSERT_EQ(a.nnz(), 233);
    for (Method m : {Method::RGMRES, Method::CGS, Method::BICGSTAB, Method::TFQMR})
        check_solve(a, false, nullptr, m, m == Method::RGMRES ? 15 : 2, Precon::Ilu, 50);
}

TEST(SparseMatrixMarket, West0067NeedsPivoting)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    bool sym;
    const Cs<RealKind> a = read_mtx("west0067.mtx", p, sym);
    ASSERT_EQ(a.n, 67);
    // zero diagonal entries: without pivoting pivots are replaced
    IluOptions o;
    IluFactor<RealKind> f;
    long npivm = 0;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f, npivm), kIluOk);
    EXPECT_GT(npivm, 0);
    // with complete pivoting and fill the factor is a strong preconditioner
    o.pstrat = 'C';
    o.lfill = 3;
    IluFactor<RealKind> g;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, g, npivm), kIluOk);
    EXPECT_EQ(npivm, 0);
    const Vec<RealKind> b = rhs<RealKind>(a.n, p);
    const Vec<RealKind> exact = dense_solve(a, b, p + 64);
    Real tol(p), rn(p);
    mpfr_set_str(tol, "1e-48", 10, MPFR_RNDN);
    KrylovSetup s;
    s.method = Method::RGMRES;
    s.n = a.n;
    s.m = 30;
    s.tol_mp = tol;
    s.maxitn = 500;
    Vec<RealKind> x(a.n, p);
    const SolveResult r = solve(a, false, b, x, s, Precon::Ilu, &g, nullptr, nullptr, rn);
    EXPECT_EQ(r.status, kConverged);
    EXPECT_LE(rel_error(x, exact), -45.0);
}

TEST(SparseMatrixMarket, Bcsstk01ConjugateGradients)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    bool sym;
    const Cs<RealKind> lower = read_mtx("bcsstk01.mtx", p, sym);
    ASSERT_TRUE(sym);
    const Cs<RealKind> full = symmetric_full(lower);
    // the lower triangle through the Hermitian product, the full matrix for
    // the factor.  The stopping test is relative to ||b|| + ||A|| ||x||, and
    // ||A|| ||x|| / ||b|| is about 10^3 here: the residual relative to ||b||
    // is allowed those three digits.
    for (Method m : {Method::CG, Method::SYMMLQ})
        for (Precon pc : {Precon::Jacobi, Precon::Ic})
            check_solve(lower, true, &full, m, 0, pc, 50, 4000, 3.0);
}

// ---------------------------------------------------------------------------
// Reverse communication, step by step
// ---------------------------------------------------------------------------

struct Rc {
    std::vector<TalvoFloat> u, v, work;
    std::vector<int> seq;
};

// Runs f11bef on the 3 x 3 matrix [[4, 1, 0], [1, 3, 1], [0, 1, 2]] with the
// Jacobi preconditioner, recording every request.
Rc drive(const char *method, Integer m, const char *norm, double anorm, Integer monit, Integer maxitn = 100)
{
    const double A[3][3] = {{4, 1, 0}, {1, 3, 1}, {0, 1, 2}};
    Rc rc;
    rc.u.assign(3, TalvoFloat(0.0));
    rc.v = {TalvoFloat(1.0), TalvoFloat(2.0), TalvoFloat(3.0)};
    rc.work.assign(10, TalvoFloat(0.0));
    Integer lwreq, ifail = 1;
    TalvoMP_f11bdf_(method, "P", norm, "N", 1, 3, m, TalvoFloat(1e-20), maxitn, TalvoFloat(anorm), TalvoFloat(0.0),
                    monit, &lwreq, rc.work.data(), 10, &ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_EQ(lwreq, 2);
    Integer irevcm = 0;
    for (int guard = 0; guard < 10000; ++guard) {
        ifail = 1;
        TalvoMP_f11bef_(&irevcm, rc.u.data(), rc.v.data(), nullptr, rc.work.data(), 10, &ifail);
        rc.seq.push_back(int(irevcm));
        if (irevcm == 4) {
            rc.seq.push_back(100 + int(ifail));
            break;
        }
        if (irevcm == 1 || irevcm == -1)
            for (int i = 0; i < 3; ++i) {
                TalvoFloat s(0.0);
                for (int j = 0; j < 3; ++j)
                    s += TalvoFloat(irevcm == 1 ? A[i][j] : A[j][i]) * rc.u[size_t(j)];
                rc.v[size_t(i)] = s;
            }
        else if (irevcm == 2)
            for (int i = 0; i < 3; ++i)
                rc.v[size_t(i)] = rc.u[size_t(i)] / TalvoFloat(A[i][i]);
    }
    return rc;
}

TEST(SparseReverseCommunication, GmresRequestSequence)
{
    DigitsScope d(30);
    const Rc rc = drive("RGMRES", 2, "2", 5.0, 0);
    // A x0; then per cycle (2, 1) per Arnoldi step, 2 for the update, 1 for
    // the true residual; finished with IFAIL 0
    ASSERT_GE(rc.seq.size(), 8u);
    EXPECT_EQ(rc.seq[0], 1);
    EXPECT_EQ(rc.seq[1], 2);
    EXPECT_EQ(rc.seq[2], 1);
    EXPECT_EQ(rc.seq[3], 2);
    EXPECT_EQ(rc.seq[4], 1);
    EXPECT_EQ(rc.seq[5], 2); // M^{-1} of the combination of the basis
    EXPECT_EQ(rc.seq[6], 1); // the true residual
    EXPECT_EQ(rc.seq[rc.seq.size() - 2], 4);
    EXPECT_EQ(rc.seq.back(), 100);
    // the solution of A x = (1, 2, 3): x = (2/9, 1/9, 13/9)
    EXPECT_NEAR(rc.u[0].to_double(), 2.0 / 9, 1e-15);
    EXPECT_NEAR(rc.u[1].to_double(), 1.0 / 9, 1e-15);
    EXPECT_NEAR(rc.u[2].to_double(), 13.0 / 9, 1e-15);
    for (size_t k = 0; k + 2 < rc.seq.size(); ++k)
        EXPECT_TRUE(rc.seq[k] == 1 || rc.seq[k] == 2) << k;
}

TEST(SparseReverseCommunication, NormEstimateAndMonitoring)
{
    DigitsScope d(30);
    // anorm 0 with the 1-norm: the estimator alternates A and A^T first
    const Rc rc = drive("CGS", 0, "1", 0.0, 1);
    ASSERT_GE(rc.seq.size(), 4u);
    EXPECT_EQ(rc.seq[0], 1);
    EXPECT_EQ(rc.seq[1], -1);
    bool monitored = false;
    for (int r : rc.seq)
        monitored |= r == 3;
    EXPECT_TRUE(monitored);
    EXPECT_EQ(rc.seq.back(), 100);
    // diagnostics after completion: the estimate of ||A||_1 = 5 (exact here)
    Integer itn, ifail = 1;
    TalvoFloat lhs, rhs_, an, sg;
    TalvoMP_f11bff_(&itn, &lhs, &rhs_, &an, &sg, rc.work.data(), 10, &ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_GT(itn, 0);
    EXPECT_EQ(an.to_double(), 5.0);
    EXPECT_LE(lhs.to_double(), rhs_.to_double());
}

TEST(SparseReverseCommunication, OutOfTurnAndTermination)
{
    DigitsScope d(20);
    std::vector<TalvoFloat> work(4, TalvoFloat(0.0)), u(3, TalvoFloat(0.0)), v(3, TalvoFloat(1.0));
    Integer irevcm = 0, ifail = 1;
    // no set-up
    TalvoMP_f11bef_(&irevcm, u.data(), v.data(), nullptr, work.data(), 4, &ifail);
    EXPECT_EQ(ifail, 1);
    EXPECT_EQ(irevcm, 4);
    // bad set-up arguments: IFAIL = -(position)
    Integer lwreq;
    ifail = 1;
    TalvoMP_f11bdf_("NOPE", "P", "2", "N", 1, 3, 2, TalvoFloat(0.0), 10, TalvoFloat(0.0), TalvoFloat(0.0), 0, &lwreq,
                    work.data(), 4, &ifail);
    EXPECT_EQ(ifail, -1);
    ifail = 1;
    TalvoMP_f11bdf_("RGMRES", "Q", "2", "N", 1, 3, 2, TalvoFloat(0.0), 10, TalvoFloat(0.0), TalvoFloat(0.0), 0,
                    &lwreq, work.data(), 4, &ifail);
    EXPECT_EQ(ifail, -2);
    ifail = 1;
    TalvoMP_f11bdf_("RGMRES", "N", "2", "N", 1, 3, 2, TalvoFloat(0.0), 10, TalvoFloat(0.0), TalvoFloat(0.0), 0,
                    &lwreq, work.data(), 1, &ifail);
    EXPECT_EQ(ifail, 1);
    EXPECT_EQ(lwreq, 2);
    // the caller stops the solver at its first request
    ifail = 1;
    TalvoMP_f11bdf_("TFQMR", "N", "2", "N", 1, 3, 0, TalvoFloat(0.0), 10, TalvoFloat(1.0), TalvoFloat(0.0), 0,
                    &lwreq, work.data(), 4, &ifail);
    ASSERT_EQ(ifail, 0);
    irevcm = 0;
    TalvoMP_f11bef_(&irevcm, u.data(), v.data(), nullptr, work.data(), 4, &ifail);
    EXPECT_EQ(irevcm, 1);
    irevcm = 6;
    ifail = 1;
    TalvoMP_f11bef_(&irevcm, u.data(), v.data(), nullptr, work.data(), 4, &ifail);
    EXPECT_EQ(irevcm, 4);
    EXPECT_EQ(ifail, 6);
    // and calling again after completion is out of turn
    irevcm = 1;
    ifail = 1;
    TalvoMP_f11bef_(&irevcm, u.data(), v.data(), nullptr, work.data(), 4, &ifail);
    EXPECT_EQ(ifail, 1);
}

// ---------------------------------------------------------------------------
// Ill-posed input
// ---------------------------------------------------------------------------

template <class K>
SolveResult run(const Cs<K> &a, Method m, long mm, long maxitn, Precon pc = Precon::None)
{
    const mpfr_prec_t p = a.a.precision();
    Vec<K> b(a.n, p), x(a.n, p);
    K::set_si(b[0], 1);
    Real tol(p), rn(p);
    mpfr_set_str(tol, "1e-25", 10, MPFR_RNDN);
    KrylovSetup s;
    s.method = m;
    s.n = a.n;
    s.m = mm;
    s.tol_mp = tol;
    s.maxitn = maxitn;
    s.anorm = 1;
    return solve(a, false, b, x, s, pc, nullptr, nullptr, nullptr, rn);
}

TEST(SparseIllPosed, BiCgBreakdown)
{
    DigitsScope d(30);
    const mpfr_prec_t p = prec_for(30);
    // a permutation: the shadow residual is orthogonal to A r0
    const Cs<RealKind> a = from_triplets<RealKind>(2, {{0, 1, 1, 0}, {1, 0, 1, 0}}, p);
    for (Method m : {Method::CGS, Method::BICGSTAB, Method::TFQMR})
        EXPECT_EQ(run(a, m, 1, 50).status, kBreakdown) << method_name(m);
    // GMRES has no such breakdown
    EXPECT_EQ(run(a, Method::RGMRES, 2, 50).status, kConverged);
}

TEST(SparseIllPosed, SingularMatrixStopsWithoutHanging)
{
    DigitsScope d(30);
    const mpfr_prec_t p = prec_for(30);
    // [[1, 1], [1, 1]] with b = (1, 0): no solution
    const Cs<RealKind> a = from_triplets<RealKind>(2, {{0, 0, 1, 0}, {0, 1, 1, 0}, {1, 0, 1, 0}, {1, 1, 1, 0}}, p);
    for (Method m : {Method::RGMRES, Method::CGS, Method::BICGSTAB, Method::TFQMR}) {
        const SolveResult r = run(a, m, 1, 200);
        EXPECT_NE(r.status, kConverged) << method_name(m);
        EXPECT_LE(r.itn, 201) << method_name(m);
    }
}

TEST(SparseIllPosed, IterationLimit)
{
    DigitsScope d(30);
    const mpfr_prec_t p = prec_for(30);
    const Cs<RealKind> a = convdiff(8, p);
    for (Method m : {Method::RGMRES, Method::CGS, Method::BICGSTAB, Method::TFQMR}) {
        const SolveResult r = run(a, m, m == Method::RGMRES ? 5 : 2, 3);
        EXPECT_EQ(r.status, kIterationLimit) << method_name(m);
        EXPECT_GE(r.itn, 3);
        EXPECT_LE(r.itn, 4);
    }
}

TEST(SparseIllPosed, CgOnIndefiniteMatrix)
{
    DigitsScope d(30);
    const mpfr_prec_t p = prec_for(30);
    // diag(1, -1) with b = (1, 1)
    const Cs<RealKind> a = from_triplets<RealKind>(2, {{0, 0, 1, 0}, {1, 1, -1, 0}}, p);
    Vec<RealKind> b(2, p), x(2, p);
    mpfr_set_ui(b[0], 1, MPFR_RNDN);
    mpfr_set_ui(b[1], 1, MPFR_RNDN);
    Real rn(p);
    KrylovSetup s;
    s.method = Method::CG;
    s.n = 2;
    s.maxitn = 10;
    s.anorm = 1;
    EXPECT_EQ(solve(a, false, b, x, s, Precon::None, nullptr, nullptr, nullptr, rn).status, kBreakdown);
    // SYMMLQ solves it
    s.method = Method::SYMMLQ;
    EXPECT_EQ(solve(a, false, b, x, s, Precon::None, nullptr, nullptr, nullptr, rn).status, kConverged);
    EXPECT_NEAR(mpfr_get_d(x[0], MPFR_RNDN), 1.0, 1e-20);
    EXPECT_NEAR(mpfr_get_d(x[1], MPFR_RNDN), -1.0, 1e-20);
}

// ---------------------------------------------------------------------------
// The black-box routines through the host's floats
// ---------------------------------------------------------------------------

TEST(SparseDrivers, IluGmresAndSsorBicgstabThroughTheRoutines)
{
    DigitsScope d(50);
    const long g = 5, n = g * g;
    const mpfr_prec_t p = prec_for(50);
    Cs<RealKind> m = convdiff(g, p);
    const long nnz = m.nnz(), la = 3 * nnz;
    std::vector<TalvoFloat> a(static_cast<size_t>(la));
    std::vector<Integer> irow(static_cast<size_t>(la)), icol(static_cast<size_t>(la)), ipivp(n), ipivq(n), istr(n + 1), idiag(n), iwork(8 * n);
    for (long k = 0; k < nnz; ++k) {
        a[size_t(k)] = TalvoFloat::from_handle(talvo_float_from_mpfr(m.a[k], 0));
        irow[size_t(k)] = m.row[size_t(k)] + 1;
        icol[size_t(k)] = m.col[size_t(k)] + 1;
    }
    const Vec<RealKind> vb = rhs<RealKind>(n, p);
    const Vec<RealKind> exact = dense_solve(m, vb, p + 64);
    std::vector<TalvoFloat> b(static_cast<size_t>(n)), x(static_cast<size_t>(n), TalvoFloat(0.0));
    for (long i = 0; i < n; ++i)
        b[size_t(i)] = TalvoFloat::from_handle(talvo_float_from_mpfr(vb[i], 0));
    Integer nnzc, npivm, ifail = 1, itn;
    TalvoMP_f11daf_(n, nnz, a.data(), la, irow.data(), icol.data(), 0, TalvoFloat(0.0), "N", "N", ipivp.data(),
                    ipivq.data(), istr.data(), idiag.data(), &nnzc, &npivm, iwork.data(), 8 * n, &ifail);
    ASSERT_EQ(ifail, 0);
    TalvoFloat rnorm;
    const TalvoFloat tol = talvo::test::F("1e-48");
    ifail = 1;
    TalvoMP_f11dcf_("RGMRES", n, nnz, a.data(), la, irow.data(), icol.data(), ipivp.data(), ipivq.data(),
                    istr.data(), idiag.data(), b.data(), 10, tol, 500, x.data(), &rnorm, &itn, nullptr, 0, &ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_GT(itn, 0);
    Vec<RealKind> vx(n, p);
    for (long i = 0; i < n; ++i)
        mpfr_set(vx[i], x[size_t(i)].mpfr(), MPFR_RNDN);
    EXPECT_LE(rel_error(vx, exact), -45.0);
    // f11def with SSOR, from zero again
    for (auto &e : x)
        e = TalvoFloat(0.0);
    ifail = 1;
    TalvoMP_f11def_("BICGSTAB", "S", n, nnz, a.data(), irow.data(), icol.data(), TalvoFloat(1.1), b.data(), 2, tol,
                    500, x.data(), &rnorm, &itn, nullptr, 0, iwork.data(), &ifail);
    EXPECT_EQ(ifail, 0);
    for (long i = 0; i < n; ++i)
        mpfr_set(vx[i], x[size_t(i)].mpfr(), MPFR_RNDN);
    EXPECT_LE(rel_error(vx, exact), -45.0);
    // iteration limit -> IFAIL 6; omega out of range -> 1
    for (auto &e : x)
        e = TalvoFloat(0.0);
    ifail = 1;
    TalvoMP_f11def_("CGS", "J", n, nnz, a.data(), irow.data(), icol.data(), TalvoFloat(1.0), b.data(), 0, tol, 2,
                    x.data(), &rnorm, &itn, nullptr, 0, iwork.data(), &ifail);
    EXPECT_EQ(ifail, 6);
    ifail = 1;
    TalvoMP_f11def_("CGS", "S", n, nnz, a.data(), irow.data(), icol.data(), TalvoFloat(2.0), b.data(), 0, tol, 2,
                    x.data(), &rnorm, &itn, nullptr, 0, iwork.data(), &ifail);
    EXPECT_EQ(ifail, 1);
}


// ---------------------------------------------------------------------------
// Orderings and ILUT
// ---------------------------------------------------------------------------

// The largest |i - j| over the entries.
long bandwidth(const Cs<RealKind> &a)
{
    long b = 0;
    for (long k = 0; k < a.nnz(); ++k)
        b = std::max(b, std::labs(a.row[size_t(k)] - a.col[size_t(k)]));
    return b;
}

bool is_permutation(const std::vector<long> &p, long n)
{
    std::vector<char> seen(static_cast<size_t>(n), 0);
    if (long(p.size()) != n)
        return false;
    for (long v : p) {
        if (v < 0 || v >= n || seen[size_t(v)])
            return false;
        seen[size_t(v)] = 1;
    }
    return true;
}

// The identity of M^{-1} (A x) = x when the factor is complete.
template <class K>
double exactness(const Cs<K> &a, const IluFactor<K> &f)
{
    const mpfr_prec_t p = a.a.precision();
    Tmp t(p);
    const Vec<K> x = rhs<K>(a.n, p);
    Vec<K> ax(a.n, p), y(a.n, p);
    matvec(a, 'N', x, ax, t);
    ilu_solve(f, 'N', ax, y, t);
    return rel_error(y, x);
}

// A grid matrix whose unknowns were numbered at random has a wide band;
// reverse Cuthill-McKee brings it back near the grid's width.
TEST(SparseOrdering, PermutationsAndReverseCuthillMcKeeNarrowsTheBand)
{
    DigitsScope d(20);
    const mpfr_prec_t p = prec_for(20);
    const long g = 8, n = g * g;
    std::vector<long> scramble(static_cast<size_t>(n));
    for (long i = 0; i < n; ++i)
        scramble[size_t(i)] = (i * 37 + 11) % n;
    const Cs<RealKind> a = permuted(poisson(g, p), scramble);
    EXPECT_GT(bandwidth(a), 3 * g);
    for (char how : {'N', 'R', 'D'}) {
        const std::vector<long> perm = symmetric_order(n, a.row, a.col, how);
        EXPECT_TRUE(is_permutation(perm, n)) << how;
        if (how == 'N') {
            for (long k = 0; k < n; ++k)
                EXPECT_EQ(perm[size_t(k)], k);
        }
    }
    const std::vector<long> rcm = symmetric_order(n, a.row, a.col, 'R');
    EXPECT_LE(bandwidth(permuted(a, rcm)), g + 1);
    // two components are each ordered: a block diagonal matrix
    const Cs<RealKind> two = from_triplets<RealKind>(4, {{0, 0, 2, 0}, {0, 3, 1, 0}, {1, 1, 2, 0}, {1, 2, 1, 0},
                                                         {2, 1, 1, 0}, {2, 2, 2, 0}, {3, 0, 1, 0}, {3, 3, 2, 0}},
                                                     p);
    for (char how : {'R', 'D'}) {
        const std::vector<long> perm = symmetric_order(4, two.row, two.col, how);
        EXPECT_TRUE(is_permutation(perm, 4)) << how;
        EXPECT_EQ(bandwidth(permuted(two, perm)), 1) << how;
    }
}

// An arrow matrix (the first unknown coupled to all): in the natural order
// the complete factor fills in completely; minimum degree eliminates the
// hub last and the complete factor has no fill at all.
TEST(SparseOrdering, MinimumDegreeAvoidsTheFillOfAnArrow)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    const long n = 20;
    std::vector<Trip> t{{0, 0, double(n), 0}};
    for (long j = 1; j < n; ++j) {
        t.push_back({0, j, 1, 0});
        t.push_back({j, 0, 1, 0});
        t.push_back({j, j, 4, 0});
    }
    const Cs<RealKind> a = from_triplets<RealKind>(n, t, p);
    IluOptions o;
    o.lfill = -1;
    o.dtol = 0;
    o.ilut = true;
    long npivm = -1;
    IluFactor<RealKind> natural, md, elim;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, natural, npivm), kIluOk);
    EXPECT_EQ(npivm, 0);
    EXPECT_EQ(long(natural.col.size()), n * n);
    EXPECT_LE(exactness(a, natural), -48.0);
    o.order = 'D';
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, md, npivm), kIluOk);
    EXPECT_EQ(long(md.col.size()), a.nnz());
    EXPECT_TRUE(md.p[size_t(n - 1)] == 0 || md.p[size_t(n - 2)] == 0); // the hub comes last (a tie with the last leaf)
    EXPECT_LE(exactness(a, md), -48.0);
    // the elimination with an ordering: the same pattern
    o.ilut = false;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, elim, npivm), kIluOk);
    EXPECT_EQ(long(elim.col.size()), a.nnz());
    EXPECT_LE(exactness(a, elim), -48.0);
}

// Factoring A with an ordering gives the factor of P A P^T, with P in the
// pivot order: the same entries, to the last bit.
TEST(SparseIlut, PermutedFactorIsTheFactorOfThePermutedMatrix)
{
    DigitsScope d(30);
    const mpfr_prec_t p = prec_for(30);
    const Cs<RealKind> a = convdiff(6, p);
    for (char method : {'E', 'S', 'L'}) // the elimination, ILUT by its two rules
        for (char how : {'R', 'D'}) {
            const bool use_ilut = method != 'E';
            SCOPED_TRACE(std::string(use_ilut ? "ILUT " : "elimination ") + method + " " + how);
            IluOptions o;
            o.lfill = -1;
            o.dtol = 1e-2;
            o.ilut = use_ilut;
            o.ilut_rule = use_ilut ? method : 'L';
            o.fill_factor = use_ilut ? 3 : 0;
            o.order = how;
            IluFactor<RealKind> f, g;
            long np1 = -1, np2 = -1;
            ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f, np1), kIluOk);
            const std::vector<long> perm = symmetric_order(a.n, a.row, a.col, how);
            o.order = 'N';
            ASSERT_EQ(ilu_factor(permuted(a, perm), o, nullptr, nullptr, g, np2), kIluOk);
            EXPECT_EQ(np1, np2);
            EXPECT_EQ(f.p, perm);
            EXPECT_EQ(f.q, perm);
            for (long k = 0; k < a.n; ++k)
                EXPECT_EQ(g.p[size_t(k)], k);
            ASSERT_EQ(f.start, g.start);
            ASSERT_EQ(f.col, g.col);
            ASSERT_EQ(f.diag, g.diag);
            long same = 0;
            for (long e = 0; e < long(f.col.size()); ++e)
                same += mpfr_equal_p(f.c[e], g.c[e]) ? 1 : 0;
            EXPECT_EQ(same, long(f.col.size()));
            EXPECT_LT(long(f.col.size()), a.n * a.n / 2); // something was dropped
        }
}

// The entries of each column of a factor (pivot positions) in its L part
// (below the diagonal) and in its U part (above it).
void column_counts(const IluFactor<RealKind> &f, std::vector<long> &lc, std::vector<long> &uc)
{
    lc.assign(size_t(f.n), 0);
    uc.assign(size_t(f.n), 0);
    for (long k = 0; k < f.n; ++k)
        for (long e = f.start[size_t(k)]; e < f.start[size_t(k + 1)]; ++e) {
            if (e < f.diag[size_t(k)])
                ++lc[size_t(f.col[size_t(e)])];
            else if (e > f.diag[size_t(k)])
                ++uc[size_t(f.col[size_t(e)])];
        }
}

// The limits of ILUT's dropping, and its exactness without them: by rows
// with Saad's rule, by columns with Li and Shao's.
TEST(SparseIlut, DualDroppingAndTheFillBudget)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    const Cs<RealKind> a = convdiff(8, p);
    std::vector<long> acol(size_t(a.n + 1), 0); // entries of A's first j columns
    for (long k = 0; k < a.nnz(); ++k)
        ++acol[size_t(a.col[size_t(k)] + 1)];
    for (long j = 0; j < a.n; ++j)
        acol[size_t(j + 1)] += acol[size_t(j)];
    for (char rule : {'S', 'L'}) {
        SCOPED_TRACE(std::string("rule ") + rule);
        const bool by_rows = rule == 'S';
        long npivm = -1;
        IluOptions o;
        o.lfill = -1;
        o.ilut = true;
        o.ilut_rule = rule;
        // nothing dropped: the exact LU
        IluFactor<RealKind> full;
        ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, full, npivm), kIluOk);
        EXPECT_LE(exactness(a, full), -48.0);
        // at most lfil entries in each row's (S) or column's (L) L and U parts
        o.lfil = 3;
        IluFactor<RealKind> capped;
        ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, capped, npivm), kIluOk);
        std::vector<long> lc, uc;
        column_counts(capped, lc, uc);
        long most_l = 0, most_u = 0;
        for (long k = 0; k < a.n; ++k) {
            const long nl = by_rows ? capped.diag[size_t(k)] - capped.start[size_t(k)] : lc[size_t(k)];
            const long nu = by_rows ? capped.start[size_t(k + 1)] - capped.diag[size_t(k)] - 1 : uc[size_t(k)];
            EXPECT_LE(nl, 3) << k;
            EXPECT_LE(nu, 3) << k;
            most_l = std::max(most_l, nl);
            most_u = std::max(most_u, nu);
        }
        EXPECT_EQ(most_l, 3);
        EXPECT_EQ(most_u, 3);
        EXPECT_GT(exactness(a, capped), -48.0);
        // the budget: the factor's first rows (S) or columns (L) never hold
        // more than fill_factor times the entries of A's
        o.lfil = 0;
        o.fill_factor = 2;
        IluFactor<RealKind> budget;
        ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, budget, npivm), kIluOk);
        if (by_rows) {
            for (long k = 1; k <= a.n; ++k)
                EXPECT_LE(budget.start[size_t(k)], 2 * a.start[size_t(k)]) << k;
        } else {
            column_counts(budget, lc, uc);
            long first = 0;
            for (long k = 0; k < a.n; ++k) {
                first += lc[size_t(k)] + uc[size_t(k)] + 1;
                EXPECT_LE(first, 2 * acol[size_t(k + 1)]) << k;
            }
        }
        EXPECT_LT(budget.col.size(), full.col.size());
        // a larger tolerance keeps fewer entries
        o.fill_factor = 0;
        IluFactor<RealKind> f3, f1;
        o.dtol = 1e-3;
        ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f3, npivm), kIluOk);
        o.dtol = 1e-1;
        ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f1, npivm), kIluOk);
        EXPECT_LT(f1.col.size(), f3.col.size());
        EXPECT_LT(f3.col.size(), full.col.size());
        EXPECT_LT(exactness(a, f3), exactness(a, f1));
    }
}

// Every entry ILUT keeps passes its rule's test (the factor stores the
// multipliers l, 1/u_kk and the unit upper u_kj / u_kk).  Saad's, with
// tau_k = dtol times the largest entry of row k of A: |l_kj u_jj| >= tau_k
// and |u_kj| >= tau_k.  Li and Shao's: |l_kj| >= dtol and |u_kj| >= dtol
// times the largest entry of column j of A.  Some entries of the complete
// factor fail them and are gone.
TEST(SparseIlut, KeptEntriesPassTheirRulesTest)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    const Cs<RealKind> a = convdiff(8, p);
    const double dtol = 1e-2;
    Vec<RealKind> rmax(a.n, p), cmax(a.n, p); // the largest entries of A's rows and columns
    Real s(p), lim(p), u(p);
    for (long k = 0; k < a.nnz(); ++k) {
        mpfr_abs(s, a.a[k], MPFR_RNDN);
        mpfr_ptr r = rmax[a.row[size_t(k)]], c = cmax[a.col[size_t(k)]];
        if (mpfr_cmp(s, r) > 0)
            mpfr_set(r, s, MPFR_RNDN);
        if (mpfr_cmp(s, c) > 0)
            mpfr_set(c, s, MPFR_RNDN);
    }
    Real slack(p); // the tests were made on values rounded differently
    mpfr_set_d(slack, 1 - 1e-40, MPFR_RNDN);
    for (char rule : {'S', 'L'}) {
        SCOPED_TRACE(std::string("rule ") + rule);
        IluOptions o;
        o.lfill = -1;
        o.ilut = true;
        o.ilut_rule = rule;
        o.dtol = dtol;
        IluFactor<RealKind> f, full;
        long npivm = -1;
        ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f, npivm), kIluOk);
        o.dtol = 0;
        ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, full, npivm), kIluOk);
        EXPECT_LT(f.col.size(), full.col.size() * 2 / 3);
        long l_entries = 0, u_entries = 0;
        for (long k = 0; k < a.n; ++k) {
            const long row = f.p[size_t(k)];
            for (long e = f.start[size_t(k)]; e < f.start[size_t(k + 1)]; ++e) {
                const long j = f.col[size_t(e)];
                if (e == f.diag[size_t(k)])
                    continue;
                mpfr_abs(s, f.c[e], MPFR_RNDN);
                if (e < f.diag[size_t(k)]) { // a multiplier
                    ++l_entries;
                    if (rule == 'S') {
                        mpfr_div(s, s, f.c[f.diag[size_t(j)]], MPFR_RNDN); // |l_kj u_jj|
                        mpfr_abs(s, s, MPFR_RNDN);
                        mpfr_mul_d(lim, rmax[row], dtol, MPFR_RNDN);
                    } else {
                        mpfr_set_d(lim, dtol, MPFR_RNDN);
                    }
                } else { // an entry of U: |u_kj| = |stored| |u_kk|
                    ++u_entries;
                    mpfr_div(u, s, f.c[f.diag[size_t(k)]], MPFR_RNDN);
                    mpfr_abs(s, u, MPFR_RNDN);
                    mpfr_mul_d(lim, rule == 'S' ? rmax[row] : cmax[f.q[size_t(j)]], dtol, MPFR_RNDN);
                }
                mpfr_mul(lim, lim, slack, MPFR_RNDN);
                EXPECT_GE(mpfr_cmp(s, lim), 0) << "row " << k << " column " << j;
            }
        }
        EXPECT_GT(l_entries, a.n);
        EXPECT_GT(u_entries, a.n);
    }
}

// ILUT by Li and Shao's rule is the incomplete factor made column by column
// with each column complete before its tests: a dense left-looking
// elimination written straight from the rule (column j of A updated by the
// kept multipliers of the columns before it, in order; then u_kj kept when
// |u_kj| >= dtol max_i |a_ij|, l_ij = a~_ij / u_jj kept when |l_ij| >= dtol)
// gives the same entries at the same places.  It is not Saad's factor, and
// the complex kind is factored through the plain transpose (the complete
// factor of a complex symmetric matrix is exact).
TEST(SparseIlut, ColumnRuleIsTheDenseLeftLookingReference)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    // (on this grid and tolerance both halves of the rule matter: testing
    // the multipliers before their updates, or U against the pivot, changes
    // the factor)
    const Cs<RealKind> a = convdiff(8, p);
    const long n = a.n;
    const double dtol = 3e-3;
    Matrix lu(n, n, p); // the reference: L below the diagonal, U on and above it
    Matrix dense(n, n, p);
    for (long k = 0; k < a.nnz(); ++k)
        mpfr_set(dense(a.row[size_t(k)], a.col[size_t(k)]), a.a[k], MPFR_RNDN);
    Real cm(p), s(p), lim(p), t(p);
    Vec<RealKind> w(n, p);
    for (long j = 0; j < n; ++j) {
        mpfr_set_zero(cm, 1);
        for (long i = 0; i < n; ++i) {
            mpfr_set(w[i], dense(i, j), MPFR_RNDN);
            mpfr_abs(s, dense(i, j), MPFR_RNDN);
            if (mpfr_cmp(s, cm) > 0)
                mpfr_set(cm, s, MPFR_RNDN);
        }
        for (long k = 0; k < j; ++k) {
            if (mpfr_zero_p(w[k]))
                continue;
            for (long i = k + 1; i < n; ++i)
                if (!mpfr_zero_p(lu(i, k))) {
                    mpfr_mul(t, lu(i, k), w[k], MPFR_RNDN);
                    mpfr_sub(w[i], w[i], t, MPFR_RNDN);
                }
        }
        mpfr_mul_d(lim, cm, dtol, MPFR_RNDN);
        for (long k = 0; k < j; ++k) {
            mpfr_abs(s, w[k], MPFR_RNDN);
            if (mpfr_cmp(s, lim) >= 0)
                mpfr_set(lu(k, j), w[k], MPFR_RNDN);
        }
        mpfr_set(lu(j, j), w[j], MPFR_RNDN);
        for (long i = j + 1; i < n; ++i) {
            mpfr_div(t, w[i], w[j], MPFR_RNDN);
            mpfr_abs(s, t, MPFR_RNDN);
            if (mpfr_cmp_d(s, dtol) >= 0)
                mpfr_set(lu(i, j), t, MPFR_RNDN);
        }
    }
    IluOptions o;
    o.lfill = -1;
    o.ilut = true;
    o.ilut_rule = 'L';
    o.dtol = dtol;
    IluFactor<RealKind> f;
    long npivm = -1;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f, npivm), kIluOk);
    EXPECT_EQ(npivm, 0);
    for (long k = 0; k < n; ++k) {
        EXPECT_EQ(f.p[size_t(k)], k);
        EXPECT_EQ(f.q[size_t(k)], k);
    }
    // the factor, dense: L, and U = D (the stored unit upper)
    Matrix ours(n, n, p);
    for (long k = 0; k < n; ++k)
        for (long e = f.start[size_t(k)]; e < f.start[size_t(k + 1)]; ++e) {
            const long j = f.col[size_t(e)];
            if (e < f.diag[size_t(k)])
                mpfr_set(ours(k, j), f.c[e], MPFR_RNDN);
            else if (e == f.diag[size_t(k)])
                mpfr_ui_div(ours(k, k), 1, f.c[e], MPFR_RNDN);
            else
                mpfr_div(ours(k, j), f.c[e], f.c[f.diag[size_t(k)]], MPFR_RNDN);
        }
    long kept = 0, same_place = 0, worst = -100000;
    for (long i = 0; i < n; ++i)
        for (long j = 0; j < n; ++j) {
            const bool in_ref = !mpfr_zero_p(lu(i, j)), in_ours = !mpfr_zero_p(ours(i, j));
            kept += in_ref;
            same_place += in_ref == in_ours;
            if (in_ref && in_ours) {
                mpfr_sub(s, ours(i, j), lu(i, j), MPFR_RNDN);
                mpfr_div(s, s, lu(i, j), MPFR_RNDN);
                if (!mpfr_zero_p(s))
                    worst = std::max(worst, long(mpfr_get_exp(s)));
            }
        }
    EXPECT_EQ(same_place, n * n);
    EXPECT_EQ(kept, long(f.col.size()));
    EXPECT_LT(kept, n * n / 4); // something was dropped
    EXPECT_LE(worst, -150);     // agreement to about 45 digits
    // Saad's rule makes another factor (here the same pattern: other values)
    o.ilut_rule = 'S';
    IluFactor<RealKind> g;
    ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, g, npivm), kIluOk);
    bool same = g.col == f.col && g.start == f.start;
    for (long e = 0; same && e < long(f.col.size()); ++e)
        same = mpfr_equal_p(f.c[e], g.c[e]);
    EXPECT_FALSE(same);
    // the complex kind: the transpose, not the conjugate transpose
    const Cs<ComplexKind> c = shifted(4, p);
    IluOptions oc;
    oc.lfill = -1;
    oc.ilut = true;
    oc.ilut_rule = 'L';
    IluFactor<ComplexKind> fc;
    ASSERT_EQ(ilu_factor(c, oc, nullptr, nullptr, fc, npivm), kIluOk);
    EXPECT_LE(exactness(c, fc), -48.0);
}

TEST(SparseIlut, RefusesWhatItCannotDoAndReplacesZeroPivots)
{
    DigitsScope d(20);
    const mpfr_prec_t p = prec_for(20);
    const Cs<RealKind> a = poisson(3, p);
    IluFactor<RealKind> f;
    long npivm;
    IluOptions o;
    o.ilut = true; // with a level of fill
    EXPECT_EQ(ilu_factor(a, o, nullptr, nullptr, f, npivm), kIluBadOptions);
    o.lfill = -1;
    for (int k = 0; k < 3; ++k) {
        IluOptions b = o;
        if (k == 0)
            b.pstrat = 'C';
        else if (k == 1)
            b.milu = true;
        else
            b.hermitian = true;
        EXPECT_EQ(ilu_factor(a, b, nullptr, nullptr, f, npivm), kIluBadOptions) << k;
    }
    IluOptions b = o;
    b.pstrat = 'P';
    b.pivot_thresh = 0;
    EXPECT_EQ(ilu_factor(a, b, nullptr, nullptr, f, npivm), kIluBadOptions);
    b = o;
    b.ilut_rule = 'T';
    EXPECT_EQ(ilu_factor(a, b, nullptr, nullptr, f, npivm), kIluBadOptions);
    // a zero pivot is replaced by the 1-norm of its row (S) or column (L),
    // here 1 and 3, and counted
    const Cs<RealKind> z = from_triplets<RealKind>(2, {{0, 1, 1, 0}, {1, 0, 3, 0}, {1, 1, 2, 0}}, p);
    for (char rule : {'S', 'L'}) {
        o.ilut_rule = rule;
        ASSERT_EQ(ilu_factor(z, o, nullptr, nullptr, f, npivm), kIluOk);
        EXPECT_EQ(npivm, 1) << rule;
        EXPECT_EQ(mpfr_cmp_ui(f.c[f.diag[0]], 1), rule == 'S' ? 0 : -1) << rule; // 1 / 1 or 1 / 3
    }
}

// ILUT in every order with every nonsymmetric solver, the elimination with
// an ordering, and the complex kind: Digits - 5 digits of the dense solve.
TEST(SparseSolvers, IlutAndOrderingsAgreeWithTheDenseSolve)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    const Cs<RealKind> systems[] = {poisson(7, p), convdiff(7, p)};
    for (const auto &a : systems)
        for (char how : {'N', 'R', 'D'}) {
            IluOptions o;
            o.lfill = -1;
            o.dtol = 1e-3;
            o.ilut = true;
            o.fill_factor = 5;
            o.order = how;
            for (char rule : {'S', 'L'}) {
                SCOPED_TRACE(std::string("order ") + how + ", rule " + rule);
                o.ilut_rule = rule;
                for (Method m : {Method::RGMRES, Method::CGS, Method::BICGSTAB, Method::TFQMR})
                    check_solve(a, false, nullptr, m, m == Method::RGMRES ? 10 : 1, Precon::Ilu, 50, 2000, 0, &o);
                check_solve(a, false, nullptr, Method::BICGSTAB, 2, Precon::Ilu, 50, 2000, 0, &o);
            }
            SCOPED_TRACE(std::string("order ") + how + ", the elimination");
            o.ilut = false;
            o.fill_factor = 0;
            check_solve(a, false, nullptr, Method::RGMRES, 10, Precon::Ilu, 50, 2000, 0, &o);
        }
    for (char rule : {'S', 'L'}) {
        SCOPED_TRACE(std::string("rule ") + rule);
        IluOptions o;
        o.lfill = -1;
        o.dtol = 1e-3;
        o.ilut = true;
        o.ilut_rule = rule;
        o.fill_factor = 5;
        o.order = 'D';
        const Cs<ComplexKind> c = shifted(5, p);
        check_solve(c, false, nullptr, Method::RGMRES, 8, Precon::Ilu, 50, 2000, 0, &o);
        check_solve(c, false, nullptr, Method::BICGSTAB, 1, Precon::Ilu, 50, 2000, 0, &o);
        bool sym;
        const Cs<RealKind> cage = read_mtx("cage5.mtx", p, sym);
        o.order = 'R';
        check_solve(cage, false, nullptr, Method::RGMRES, 15, Precon::Ilu, 50, 2000, 0, &o);
        check_solve(cage, false, nullptr, Method::BICGSTAB, 1, Precon::Ilu, 50, 2000, 0, &o);
    }
}

// Bi-CGSTAB(1) asks for two solves and two products per iteration (x is
// updated from the solves' results); with l = 2 one more solve per cycle
// updates x.
TEST(SparseReverseCommunication, BicgstabRequestSequence)
{
    DigitsScope d(30);
    for (Integer l : {1, 2}) {
        const Rc rc = drive("BICGSTAB", l, "2", 5.0, 0);
        ASSERT_GE(rc.seq.size(), 6u);
        EXPECT_EQ(rc.seq[0], 1);
        EXPECT_EQ(rc.seq.back(), 100);
        long solves = 0, products = 0;
        for (size_t k = 1; k + 2 < rc.seq.size(); ++k) {
            solves += rc.seq[k] == 2;
            products += rc.seq[k] == 1;
            if (l == 1) {
                EXPECT_EQ(rc.seq[k], k % 2 == 1 ? 2 : 1) << k;
            }
        }
        if (l == 1)
            EXPECT_EQ(solves, products);
        else
            EXPECT_GT(solves, products);
        EXPECT_NEAR(rc.u[0].to_double(), 2.0 / 9, 1e-15);
        EXPECT_NEAR(rc.u[1].to_double(), 1.0 / 9, 1e-15);
        EXPECT_NEAR(rc.u[2].to_double(), 13.0 / 9, 1e-15);
    }
}


// ILUT with threshold pivoting (pstrat 'P'): west0067 has zero diagonal
// entries; without pivoting they are replaced, with it the complete factor
// is exact (and its transpose too), and the incomplete one with an ordering
// preconditions GMRES to Digits - 5 digits of the dense solve.  Saad's rule
// exchanges columns (q moves), Li and Shao's rows (p moves).
TEST(SparseIlut, ThresholdPivotingOnWest0067)
{
    DigitsScope d(50);
    const mpfr_prec_t p = prec_for(50);
    bool sym;
    const Cs<RealKind> a = read_mtx("west0067.mtx", p, sym);
    ASSERT_EQ(a.n, 67);
    Tmp t(p);
    for (char rule : {'S', 'L'}) {
        SCOPED_TRACE(std::string("rule ") + rule);
        IluOptions o;
        o.lfill = -1;
        o.ilut = true;
        o.ilut_rule = rule;
        long npivm = -1;
        IluFactor<RealKind> plain;
        ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, plain, npivm), kIluOk);
        EXPECT_GT(npivm, 0);
        o.pstrat = 'P';
        for (double thresh : {1.0, 0.1}) {
            o.pivot_thresh = thresh;
            IluFactor<RealKind> f;
            ASSERT_EQ(ilu_factor(a, o, nullptr, nullptr, f, npivm), kIluOk);
            EXPECT_EQ(npivm, 0) << thresh;
            const std::vector<long> &moves = rule == 'S' ? f.q : f.p, &stays = rule == 'S' ? f.p : f.q;
            EXPECT_TRUE(is_permutation(moves, a.n));
            bool moved = false;
            for (long k = 0; k < a.n; ++k) {
                moved |= moves[size_t(k)] != k;
                EXPECT_EQ(stays[size_t(k)], k);
            }
            EXPECT_TRUE(moved);
            EXPECT_LE(exactness(a, f), -45.0) << thresh;
            const Vec<RealKind> x = rhs<RealKind>(a.n, p);
            Vec<RealKind> atx(a.n, p), y(a.n, p);
            matvec(a, 'T', x, atx, t);
            ilu_solve(f, 'T', atx, y, t);
            EXPECT_LE(rel_error(y, x), -45.0) << thresh;
        }
        o.dtol = 1e-3;
        o.pivot_thresh = 0.5;
        for (char how : {'N', 'R'}) {
            o.order = how;
            SCOPED_TRACE(std::string("order ") + how);
            check_solve(a, false, nullptr, Method::RGMRES, 30, Precon::Ilu, 50, 500, 0, &o);
            check_solve(a, false, nullptr, Method::BICGSTAB, 1, Precon::Ilu, 50, 500, 0, &o);
        }
    }
}

} // namespace
