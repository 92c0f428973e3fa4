// linalg_test.cpp -- the dense linear algebra core (platform/numerics/linalg/):
// QR with and without pivoting, the Jacobi SVD, Cholesky and modified
// Cholesky, triangular solves.  Each factorisation is checked by the
// identities that define it (reconstruction, orthogonality, triangularity,
// ordering) to the working precision, on matrices whose answers are known
// (singular values set by construction, the Hilbert matrix's factors), at
// several precisions up to 1000 digits; and the inner loops are checked to
// allocate nothing.
#include "checks.hpp"

#include <gmp.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace {

using talvo::linalg::Matrix;
using talvo::linalg::Vector;

// Deterministic values in [-1, 1): a 64-bit LCG's top bits as a dyadic.
struct Values {
    uint64_t state;
    explicit Values(uint64_t seed) : state(seed) {}
    long next()
    {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        return long(int32_t(state >> 32));
    }
    void fill(Matrix &a)
    {
        for (long j = 0; j < a.cols(); ++j)
            for (long i = 0; i < a.rows(); ++i)
                mpfr_set_si_2exp(a(i, j), next(), -31, MPFR_RNDN);
    }
};

struct M {
    mpfr_t v;
    explicit M(mpfr_prec_t p) { mpfr_init2(v, p); }
    ~M() { mpfr_clear(v); }
    operator mpfr_ptr() { return v; }
};

Matrix copy(const Matrix &a, mpfr_prec_t prec)
{
    Matrix c(a.rows(), a.cols(), prec);
    for (long j = 0; j < a.cols(); ++j)
        for (long i = 0; i < a.rows(); ++i)
            mpfr_set(c(i, j), a(i, j), MPFR_RNDN);
    return c;
}

// log2 of the largest |a - b| over the elements (-infinity as -100000).
double log2_max_diff(const Matrix &a, const Matrix &b)
{
    M d(a.precision() + 64);
    double worst = -100000;
    for (long j = 0; j < a.cols(); ++j)
        for (long i = 0; i < a.rows(); ++i) {
            mpfr_sub(d, a(i, j), b(i, j), MPFR_RNDN);
            if (!mpfr_zero_p(d.v))
                worst = std::max(worst, double(mpfr_get_exp(d.v)));
        }
    return worst;
}

// c = a b
Matrix multiply(const Matrix &a, const Matrix &b)
{
    Matrix c(a.rows(), b.cols(), a.precision() + 64);
    M t(a.precision() + 64);
    for (long j = 0; j < b.cols(); ++j)
        for (long i = 0; i < a.rows(); ++i)
            for (long k = 0; k < a.cols(); ++k) {
                mpfr_mul(t, a(i, k), b(k, j), MPFR_RNDN);
                mpfr_add(c(i, j), c(i, j), t, MPFR_RNDN);
            }
    return c;
}

Matrix transpose(const Matrix &a)
{
    Matrix t(a.cols(), a.rows(), a.precision());
    for (long j = 0; j < a.cols(); ++j)
        for (long i = 0; i < a.rows(); ++i)
            mpfr_set(t(j, i), a(i, j), MPFR_RNDN);
    return t;
}

Matrix identity(long n, mpfr_prec_t prec)
{
    Matrix e(n, n, prec);
    e.set_identity();
    return e;
}

// Q [R; 0] from a QR result.
Matrix reconstruct(const Matrix &qr, const Vector &tau)
{
    const long m = qr.rows(), n = qr.cols();
    Matrix r(m, n, qr.precision());
    for (long j = 0; j < n; ++j) {
        for (long i = 0; i <= j && i < m; ++i)
            mpfr_set(r(i, j), qr(i, j), MPFR_RNDN);
        talvo::linalg::qr_apply_q(qr, tau, r.col(j));
    }
    return r;
}

TEST(Linalg, QrReconstructsAndQIsOrthogonal)
{
    for (mpfr_prec_t prec : {64, 200, 3400}) {
        SCOPED_TRACE(prec);
        Matrix a(30, 8, prec);
        Values(7).fill(a);
        Matrix qr = copy(a, prec);
        Vector tau(8, prec);
        talvo::linalg::qr_householder(qr, tau);
        EXPECT_LT(log2_max_diff(reconstruct(qr, tau), a), -double(prec) + 8);
        Matrix q(30, 8, prec);
        talvo::linalg::qr_form_q(qr, tau, q);
        EXPECT_LT(log2_max_diff(multiply(transpose(q), q), identity(8, prec)), -double(prec) + 8);
        // Q^T then Q gives the vector back.
        Vector y(30, prec);
        for (long i = 0; i < 30; ++i)
            mpfr_set_si(y[i], i - 11, MPFR_RNDN);
        talvo::linalg::qr_apply_qt(qr, tau, y.data());
        talvo::linalg::qr_apply_q(qr, tau, y.data());
        M d(prec);
        for (long i = 0; i < 30; ++i) {
            mpfr_sub_si(d, y[i], i - 11, MPFR_RNDN);
            EXPECT_TRUE(mpfr_zero_p(d.v) || mpfr_get_exp(d.v) < -long(prec) + 14) << i;
        }
    }
}

TEST(Linalg, PivotedQrOrdersTheDiagonalAndRevealsRank)
{
    const mpfr_prec_t prec = 150;
    // Columns 5..7 are combinations of columns 0..4: rank 5.
    Matrix a(20, 8, prec);
    Values v(11);
    for (long j = 0; j < 5; ++j)
        for (long i = 0; i < 20; ++i)
            mpfr_set_si_2exp(a(i, j), v.next(), -31, MPFR_RNDN);
    for (long i = 0; i < 20; ++i) {
        mpfr_add(a(i, 5), a(i, 0), a(i, 1), MPFR_RNDN);
        mpfr_sub(a(i, 6), a(i, 2), a(i, 3), MPFR_RNDN);
        mpfr_mul_2ui(a(i, 7), a(i, 4), 3, MPFR_RNDN);
    }
    Matrix qr = copy(a, prec);
    Vector tau(8, prec);
    std::vector<long> perm(8);
    talvo::linalg::qr_householder(qr, tau, perm.data());
    for (long k = 0; k + 1 < 8; ++k)
        EXPECT_GE(mpfr_cmpabs(qr(k, k), qr(k + 1, k + 1)), 0) << k;
    for (long k = 0; k < 5; ++k)
        EXPECT_GT(mpfr_get_exp(qr(k, k)), -10) << k;
    for (long k = 5; k < 8; ++k)
        EXPECT_TRUE(mpfr_zero_p(qr(k, k)) || mpfr_get_exp(qr(k, k)) < -long(prec) + 10) << k;
    // Q R is A with its columns permuted.
    Matrix ap(20, 8, prec);
    for (long j = 0; j < 8; ++j)
        for (long i = 0; i < 20; ++i)
            mpfr_set(ap(i, j), a(i, perm[size_t(j)]), MPFR_RNDN);
    EXPECT_LT(log2_max_diff(reconstruct(qr, tau), ap), -double(prec) + 10);
    std::vector<long> sorted = perm;
    std::sort(sorted.begin(), sorted.end());
    for (long j = 0; j < 8; ++j)
        EXPECT_EQ(sorted[size_t(j)], j);
}

// A = U0 diag(sigma) V0^T with U0, V0 products of reflectors of random
// vectors: the singular values are known exactly up to the rounding of U0 and V0.
TEST(Linalg, SvdFindsKnownSingularValues)
{
    for (mpfr_prec_t prec : {80, 300, 3400}) {
        SCOPED_TRACE(prec);
        const long m = 12, n = 6;
        Matrix u0(m, m, prec), v0(n, n, prec), w(m, n, prec), x(m, n, prec), y(n, n, prec);
        Values(3).fill(x);
        Values(5).fill(y);
        Vector tu(n, prec), tv(n, prec);
        talvo::linalg::qr_householder(x, tu);
        talvo::linalg::qr_householder(y, tv);
        talvo::linalg::qr_form_q(x, tu, u0); // m x m orthogonal
        talvo::linalg::qr_form_q(y, tv, v0);
        // sigma = 2^6, 2^3, 1, 2^-3, 2^-20, 2^-40
        const long e[n] = {6, 3, 0, -3, -20, -40};
        Matrix s(m, n, prec);
        for (long k = 0; k < n; ++k)
            mpfr_set_si_2exp(s(k, k), 1, e[k], MPFR_RNDN);
        Matrix a = multiply(multiply(u0, s), transpose(v0));
        Matrix ap = copy(a, prec);
        Matrix u(m, n, prec), v(n, n, prec);
        Vector sv(n, prec);
        ASSERT_TRUE(talvo::linalg::svd(ap, u, sv, v));
        for (long k = 0; k < n; ++k) {
            M d(prec);
            mpfr_set_si_2exp(d, 1, e[k], MPFR_RNDN);
            mpfr_sub(d, sv[k], d, MPFR_RNDN);
            mpfr_div(d, d, sv[0], MPFR_RNDN);
            // relative to the largest: the backward error of an orthogonal method
            EXPECT_TRUE(mpfr_zero_p(d.v) || mpfr_get_exp(d.v) < -long(prec) + 12) << k;
        }
        // U^T U = I, V^T V = I, U S V^T = A
        EXPECT_LT(log2_max_diff(multiply(transpose(u), u), identity(n, prec)), -double(prec) + 10);
        EXPECT_LT(log2_max_diff(multiply(transpose(v), v), identity(n, prec)), -double(prec) + 10);
        Matrix sd(n, n, prec);
        for (long k = 0; k < n; ++k)
            mpfr_set(sd(k, k), sv[k], MPFR_RNDN);
        EXPECT_LT(log2_max_diff(multiply(multiply(u, sd), transpose(v)), a), -double(prec) + 6 + 12);
    }
}

// An exactly rank-deficient matrix reduced first by QR, as the regression fit
// does it: Longley's design (NIST StRD; a column of ones and six economic
// series of very different scales, nearly collinear) with its second column
// repeated at the end.  The rotations converge, the lost singular value is
// zero to working precision, and the null vector is the difference of the
// repeated columns.
TEST(Linalg, SvdOfARankDeficientMatrixConverges)
{
    const char *longley[16][6] = {
        {"83.0", "234289", "2356", "1590", "107608", "1947"},  {"88.5", "259426", "2325", "1456", "108632", "1948"},
        {"88.2", "258054", "3682", "1616", "109773", "1949"},  {"89.5", "284599", "3351", "1650", "110929", "1950"},
        {"96.2", "328975", "2099", "3099", "112075", "1951"},  {"98.1", "346999", "1932", "3594", "113270", "1952"},
        {"99.0", "365385", "1870", "3547", "115094", "1953"},  {"100.0", "363112", "3578", "3350", "116219", "1954"},
        {"101.2", "397469", "2904", "3048", "117388", "1955"}, {"104.6", "419180", "2822", "2857", "118734", "1956"},
        {"108.4", "442769", "2936", "2798", "120445", "1957"}, {"110.8", "444546", "4681", "2637", "121950", "1958"},
        {"112.6", "482704", "3813", "2552", "123366", "1959"}, {"114.2", "502601", "3931", "2514", "125368", "1960"},
        {"115.7", "518173", "4806", "2572", "127852", "1961"}, {"116.9", "554894", "4007", "2827", "130081", "1962"}};
    // The data as the host holds them at 30 digits (104 bits), fitted at the
    // regression's two working precisions and a higher one.
    for (mpfr_prec_t prec : {168, 234, 400}) {
        SCOPED_TRACE(prec);
        const long m = 16, n = 8;
        Matrix a(m, n, prec), v(n, n, prec);
        for (long i = 0; i < m; ++i) {
            mpfr_set_ui(a(i, 0), 1, MPFR_RNDN);
            for (long j = 0; j < 6; ++j) {
                M v(104);
                mpfr_set_str(v, longley[i][j], 10, MPFR_RNDN);
                mpfr_set(a(i, j + 1), v, MPFR_RNDN);
            }
            mpfr_set(a(i, 7), a(i, 1), MPFR_RNDN);
        }
        Vector tau(n, prec), s(n, prec);
        talvo::linalg::qr_householder(a, tau);
        Matrix r(n, n, prec);
        for (long j = 0; j < n; ++j)
            for (long i = 0; i <= j; ++i)
                mpfr_set(r(i, j), a(i, j), MPFR_RNDN);
        EXPECT_TRUE(talvo::linalg::svd_jacobi(r, s, v));
        M ratio(prec);
        mpfr_div(ratio, s[n - 1], s[0], MPFR_RNDN);
        EXPECT_TRUE(mpfr_zero_p(ratio.v) || mpfr_get_exp(ratio.v) < -long(prec) + 10);
        mpfr_div(ratio, s[n - 2], s[0], MPFR_RNDN);
        EXPECT_GT(mpfr_get_exp(ratio.v), -60);
        // V's last column is (0, 1, 0, ..., 0, -1)/sqrt(2) up to sign.
        M t(prec);
        mpfr_sqr(t, v(1, n - 1), MPFR_RNDN);
        mpfr_sub_d(t, t, 0.5, MPFR_RNDN);
        EXPECT_TRUE(mpfr_zero_p(t.v) || mpfr_get_exp(t.v) < -long(prec) + 60);
    }
}

// The Jacobi method gives small singular values to high relative accuracy
// when the columns are well scaled: a graded triangle with known values.
TEST(Linalg, JacobiSvdOfAGradedTriangle)
{
    const mpfr_prec_t prec = 200;
    const long n = 5;
    // Upper bidiagonal with diagonal 1 and superdiagonal 2^-k: its singular
    // values at prec and at twice the precision agree to prec - 10 bits.
    auto singular_values = [&](mpfr_prec_t p) {
        Matrix a(n, n, p), v(n, n, p);
        Vector s(n, p);
        for (long k = 0; k < n; ++k) {
            mpfr_set_si_2exp(a(k, k), 1, -8 * k, MPFR_RNDN);
            if (k + 1 < n)
                mpfr_set_si_2exp(a(k, k + 1), 3, -8 * k - 2, MPFR_RNDN);
        }
        EXPECT_TRUE(talvo::linalg::svd_jacobi(a, s, v));
        std::vector<double> out;
        for (long k = 0; k < n; ++k)
            out.push_back(mpfr_get_d(s[k], MPFR_RNDN));
        return std::make_pair(out, std::move(s));
    };
    auto lo = singular_values(prec);
    auto hi = singular_values(2 * prec);
    for (long k = 0; k < n; ++k) {
        M d(2 * prec);
        mpfr_sub(d, lo.second[k], hi.second[k], MPFR_RNDN);
        mpfr_div(d, d, hi.second[k], MPFR_RNDN);
        EXPECT_TRUE(mpfr_zero_p(d.v) || mpfr_get_exp(d.v) < -long(prec) + 10) << k;
        if (k > 0) {
            EXPECT_LT(lo.first[size_t(k)], lo.first[size_t(k - 1)]);
        }
    }
}

// Hilbert matrix H(i,j) = 1/(i+j+1): symmetric positive definite, very ill
// conditioned; its Cholesky factor reproduces it to the working precision.
Matrix hilbert(long n, mpfr_prec_t prec)
{
    Matrix h(n, n, prec);
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < n; ++i) {
            mpfr_set_ui(h(i, j), 1, MPFR_RNDN);
            mpfr_div_ui(h(i, j), h(i, j), ulong(i + j + 1), MPFR_RNDN);
        }
    return h;
}

Matrix lower(const Matrix &a, bool unit)
{
    Matrix l(a.rows(), a.cols(), a.precision());
    for (long j = 0; j < a.cols(); ++j)
        for (long i = j; i < a.rows(); ++i)
            mpfr_set(l(i, j), a(i, j), MPFR_RNDN);
    if (unit)
        for (long k = 0; k < a.cols(); ++k)
            mpfr_set_ui(l(k, k), 1, MPFR_RNDN);
    return l;
}

TEST(Linalg, CholeskyOfHilbert)
{
    for (mpfr_prec_t prec : {120, 400}) {
        Matrix h = hilbert(8, prec);
        Matrix l = copy(h, prec);
        ASSERT_EQ(talvo::linalg::cholesky(l), 0);
        Matrix ll = lower(l, false);
        EXPECT_LT(log2_max_diff(multiply(ll, transpose(ll)), h), -double(prec) + 6);
    }
    // Not positive definite: the first failing pivot is reported (1-based).
    Matrix a(3, 3, 100);
    const long v[3][3] = {{4, 2, 0}, {2, 1, 3}, {0, 3, 5}};
    for (long i = 0; i < 3; ++i)
        for (long j = 0; j < 3; ++j)
            mpfr_set_si(a(i, j), v[i][j], MPFR_RNDN);
    EXPECT_EQ(talvo::linalg::cholesky(a), 2);
}

TEST(Linalg, ModifiedCholesky)
{
    const mpfr_prec_t prec = 150;
    // Positive definite: nothing is added and L D L^T = A.
    {
        Matrix h = hilbert(5, prec);
        for (long k = 0; k < 5; ++k)
            mpfr_add_ui(h(k, k), h(k, k), 1, MPFR_RNDN); // well conditioned
        Matrix a = copy(h, prec);
        Vector d(5, prec), e(5, prec);
        talvo::linalg::modified_cholesky(a, d, e);
        Matrix l = lower(a, true), dm(5, 5, prec);
        for (long k = 0; k < 5; ++k) {
            EXPECT_TRUE(mpfr_zero_p(e[k])) << k;
            mpfr_set(dm(k, k), d[k], MPFR_RNDN);
        }
        EXPECT_LT(log2_max_diff(multiply(multiply(l, dm), transpose(l)), h), -double(prec) + 6);
    }
    // Indefinite: L D L^T = A + E with D > 0 and E >= 0 diagonal, E not zero.
    {
        Matrix h(4, 4, prec);
        const long v[4][4] = {{1, 3, 0, 2}, {3, 2, 1, 0}, {0, 1, -4, 1}, {2, 0, 1, 0}};
        for (long i = 0; i < 4; ++i)
            for (long j = 0; j < 4; ++j)
                mpfr_set_si(h(i, j), v[i][j], MPFR_RNDN);
        Matrix a = copy(h, prec);
        Vector d(4, prec), e(4, prec);
        talvo::linalg::modified_cholesky(a, d, e);
        Matrix l = lower(a, true), dm(4, 4, prec), he = copy(h, prec);
        bool added = false;
        for (long k = 0; k < 4; ++k) {
            EXPECT_GT(mpfr_sgn(d[k]), 0) << k;
            EXPECT_GE(mpfr_sgn(e[k]), 0) << k;
            added = added || !mpfr_zero_p(e[k]);
            mpfr_set(dm(k, k), d[k], MPFR_RNDN);
            mpfr_add(he(k, k), he(k, k), e[k], MPFR_RNDN);
        }
        EXPECT_TRUE(added);
        EXPECT_LT(log2_max_diff(multiply(multiply(l, dm), transpose(l)), he), -double(prec) + 8);
        // The bound of the method: L(i,j)^2 d_j <= beta^2 = max(gamma, xi/nu,
        // eps) = gamma = 4 here (xi/nu = 3/sqrt(15)); column 0 meets it with
        // equality (theta_0 = 3 makes d_0 = 9/4), up to rounding.
        M t(prec), bound(prec);
        mpfr_set_ui(bound, 4, MPFR_RNDN);
        mpfr_mul_2si(t, bound, -long(prec) + 6, MPFR_RNDN);
        mpfr_add(bound, bound, t, MPFR_RNDN);
        for (long j = 0; j < 4; ++j)
            for (long i = j + 1; i < 4; ++i) {
                mpfr_sqr(t, l(i, j), MPFR_RNDN);
                mpfr_mul(t, t, d[j], MPFR_RNDN);
                EXPECT_LE(mpfr_cmp(t, bound), 0) << i << "," << j;
            }
        mpfr_sqr(t, l(1, 0), MPFR_RNDN);
        mpfr_mul(t, t, d[0], MPFR_RNDN);
        mpfr_sub_ui(t, t, 4, MPFR_RNDN);
        EXPECT_TRUE(mpfr_zero_p(t.v) || mpfr_get_exp(t.v) < -long(prec) + 6);
    }
}

TEST(Linalg, TriangularSolves)
{
    const mpfr_prec_t prec = 180;
    const long n = 7;
    Matrix t(n, n, prec);
    Values(13).fill(t);
    for (long k = 0; k < n; ++k)
        mpfr_add_ui(t(k, k), t(k, k), 3, MPFR_RNDN); // a safe diagonal
    Matrix up(n, n, prec), lo(n, n, prec);
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < n; ++i)
            mpfr_set(i <= j ? up(i, j) : lo(i, j), t(i, j), MPFR_RNDN);
    for (long k = 0; k < n; ++k)
        mpfr_set(lo(k, k), t(k, k), MPFR_RNDN);
    Matrix lo_unit = lower(lo, true);
    // x known, b = T x, then the solve gives x back.
    struct Case {
        const Matrix *t;
        bool transposed, lower, unit;
    } cases[] = {{&up, false, false, false}, {&up, true, false, false}, {&lo, false, true, false},
                 {&lo, true, true, false},   {&lo_unit, false, true, true}, {&lo_unit, true, true, true}};
    for (const Case &c : cases) {
        Matrix x(n, 1, prec);
        for (long k = 0; k < n; ++k)
            mpfr_set_si(x(k, 0), 2 * k - 5, MPFR_RNDN);
        Matrix b = multiply(c.transposed ? transpose(*c.t) : copy(*c.t, prec), x);
        Matrix sol = copy(b, prec);
        if (!c.lower)
            c.transposed ? talvo::linalg::solve_upper_transposed(*c.t, sol.col(0))
                         : talvo::linalg::solve_upper(*c.t, sol.col(0));
        else
            c.transposed ? talvo::linalg::solve_lower_transposed(*c.t, sol.col(0), c.unit)
                         : talvo::linalg::solve_lower(*c.t, sol.col(0), c.unit);
        EXPECT_LT(log2_max_diff(sol, x), -double(prec) + 10) << c.transposed << c.lower << c.unit;
    }
}

// The loops allocate nothing: the number of GMP/MPFR allocations a QR or an
// SVD makes does not grow with the size of the matrix.
int g_allocations = 0;
void *counting_alloc(size_t n)
{
    ++g_allocations;
    return std::malloc(n);
}
void *counting_realloc(void *p, size_t, size_t n)
{
    ++g_allocations;
    return std::realloc(p, n);
}
void counting_free(void *p, size_t) { std::free(p); }

int allocations_of(long m, long n, bool pivot, bool with_svd)
{
    Matrix a(m, n, 200);
    Values(17).fill(a);
    Vector tau(n, 200);
    std::vector<long> perm(static_cast<size_t>(n));
    void *(*alloc)(size_t);
    void *(*realloc)(void *, size_t, size_t);
    void (*free)(void *, size_t);
    mp_get_memory_functions(&alloc, &realloc, &free);
    mp_set_memory_functions(counting_alloc, counting_realloc, counting_free);
    g_allocations = 0;
    if (with_svd) {
        Matrix v(n, n, 200);
        Vector s(n, 200);
        talvo::linalg::svd_jacobi(a, s, v);
    } else {
        talvo::linalg::qr_householder(a, tau, pivot ? perm.data() : nullptr);
    }
    int count = g_allocations;
    mp_set_memory_functions(alloc, realloc, free);
    return count;
}

TEST(Linalg, InnerLoopsDoNotAllocate)
{
    EXPECT_EQ(allocations_of(20, 5, false, false), allocations_of(80, 20, false, false));
    EXPECT_EQ(allocations_of(20, 5, true, false), allocations_of(80, 20, true, false));
    EXPECT_EQ(allocations_of(10, 5, false, true), allocations_of(40, 20, false, true));
}

} // namespace
