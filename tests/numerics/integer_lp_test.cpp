// integer_lp_test.cpp -- h02bbf (integer and mixed-integer linear programs by
// branch and bound) and h02wbf (its save arrays) called directly: knapsack,
// assignment-with-a-budget and mixed programs against brute-force
// enumeration at Digits 15 and 30; the node limit, the waiting-node limit,
// an integer program with no integer solution, an unbounded one, a problem
// that would branch for ever without a node limit, invalid input and
// workspace; the outputs in iwork and rwork.
#include "talvo_mp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

namespace {

#if defined(TALVO_SANITIZED)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

using Vec = std::vector<TalvoFloat>;

struct DigitsScope {
    long saved;
    explicit DigitsScope(long digits) : saved(talvo_float_digits()) { talvo_float_set_digits(digits); }
    ~DigitsScope() { talvo_float_set_digits(saved); }
};

constexpr double kNone = 1e25; // beyond the default infinite bound 1e20

// An integer program with integer data: minimise c'x subject to
// bl <= (x, A x) <= bu, x_j integer where intvar[j] = 1.
struct Program {
    long n = 0, m = 0;
    std::vector<double> A; // m x n, column-major
    std::vector<double> bl, bu, c;
    std::vector<Integer> intvar;
};

struct Outcome {
    Integer ifail = -99;
    TalvoFloat obj;
    Vec x;
    std::vector<Integer> iwork;
    Vec rwork;
    Integer itmax = 0;
    TalvoFloat toliv, tolfes, bigbnd;
};

struct Limits {
    Integer maxnod = 0, intfst = 0, maxdpt = 200, itmax = 0;
};

Outcome Solve(const Program &p, const Limits &lim = {})
{
    std::vector<Integer> lwsav(120), iwsav(610);
    Vec rwsav(475);
    Integer l120 = 120, l610 = 610, l475 = 475, ifail = -1;
    TalvoMP_h02wbf_("H02BBF", nullptr, nullptr, lwsav.data(), &l120, iwsav.data(), &l610, rwsav.data(), &l475,
                    &ifail, 6, 0);
    EXPECT_EQ(ifail, 0);
    const long lda = std::max(1L, p.m);
    Vec a(size_t(lda * p.n)), bl, bu, c;
    for (long k = 0; k < p.m * p.n; ++k)
        a[size_t(k)] = TalvoFloat(p.A[size_t(k)]);
    for (double v : p.bl)
        bl.push_back(TalvoFloat(v));
    for (double v : p.bu)
        bu.push_back(TalvoFloat(v));
    for (double v : p.c)
        c.push_back(TalvoFloat(v));
    Outcome o;
    o.x.assign(size_t(p.n), TalvoFloat(0.0));
    o.iwork.assign(4, -1);
    o.rwork.assign(size_t(p.m + 1), TalvoFloat(0.0));
    Integer n = p.n, m = p.m, ld = lda, msglvl = 0, maxnod = lim.maxnod, intfst = lim.intfst, maxdpt = lim.maxdpt;
    Integer liwork = 4, lrwork = p.m + 1;
    o.itmax = lim.itmax;
    o.toliv = TalvoFloat(0.0);
    o.tolfes = TalvoFloat(0.0);
    o.bigbnd = TalvoFloat(0.0);
    TalvoMP_h02bbf_(&o.itmax, &msglvl, &n, &m, a.data(), &ld, bl.data(), bu.data(), p.intvar.data(), c.data(),
                    &maxnod, &intfst, &maxdpt, &o.toliv, &o.tolfes, &o.bigbnd, o.x.data(), &o.obj, o.iwork.data(),
                    &liwork, o.rwork.data(), &lrwork, lwsav.data(), iwsav.data(), rwsav.data(), &o.ifail);
    return o;
}

// A deterministic stream of small integers for the instances.
struct Stream {
    uint64_t s;
    long next(long lo, long hi)
    {
        s = s * 6364136223846793005ULL + 1442695040888963407ULL;
        return lo + long((s >> 33) % uint64_t(hi - lo + 1));
    }
};

// ---------------------------------------------------------------------------
// Brute force
// ---------------------------------------------------------------------------

bool Feasible(const Program &p, const std::vector<double> &x)
{
    for (long j = 0; j < p.n; ++j)
        if (x[size_t(j)] < p.bl[size_t(j)] - 1e-9 || x[size_t(j)] > p.bu[size_t(j)] + 1e-9)
            return false;
    for (long i = 0; i < p.m; ++i) {
        double s = 0;
        for (long j = 0; j < p.n; ++j)
            s += p.A[size_t(i + j * p.m)] * x[size_t(j)];
        if (s < p.bl[size_t(p.n + i)] - 1e-9 || s > p.bu[size_t(p.n + i)] + 1e-9)
            return false;
    }
    return true;
}

// The optimum over the integer points of the box (every variable integer,
// bounds finite); false when no point is feasible.
bool BruteForce(const Program &p, double *best)
{
    std::vector<double> x(size_t(p.n));
    for (long j = 0; j < p.n; ++j)
        x[size_t(j)] = p.bl[size_t(j)];
    bool found = false;
    for (;;) {
        if (Feasible(p, x)) {
            double v = 0;
            for (long j = 0; j < p.n; ++j)
                v += p.c[size_t(j)] * x[size_t(j)];
            if (!found || v < *best)
                *best = v;
            found = true;
        }
        long j = 0;
        while (j < p.n && x[size_t(j)] + 1 > p.bu[size_t(j)]) {
            x[size_t(j)] = p.bl[size_t(j)];
            ++j;
        }
        if (j == p.n)
            return found;
        x[size_t(j)] += 1;
    }
}

// The returned point: integer where it must be, within the bounds and the
// constraints at the working precision, and of the value returned.
void CheckPoint(const Program &p, const Outcome &o)
{
    const TalvoFloat tol = pow(TalvoFloat(10.0), TalvoFloat(-double(talvo_float_digits() - 3)));
    TalvoFloat value(0.0);
    for (long j = 0; j < p.n; ++j) {
        const TalvoFloat xj = o.x[size_t(j)];
        if (p.intvar[size_t(j)] != 0) {
            EXPECT_TRUE(xj == floor(xj)) << "x" << j + 1 << " = " << xj.to_double();
        }
        EXPECT_TRUE(xj >= TalvoFloat(p.bl[size_t(j)]) - tol && xj <= TalvoFloat(p.bu[size_t(j)]) + tol);
        value += TalvoFloat(p.c[size_t(j)]) * xj;
    }
    for (long i = 0; i < p.m; ++i) {
        TalvoFloat s(0.0);
        for (long j = 0; j < p.n; ++j)
            s += TalvoFloat(p.A[size_t(i + j * p.m)]) * o.x[size_t(j)];
        EXPECT_TRUE(s >= TalvoFloat(p.bl[size_t(p.n + i)]) - tol && s <= TalvoFloat(p.bu[size_t(p.n + i)]) + tol)
            << "constraint " << i + 1;
        EXPECT_TRUE(fabs(s - o.rwork[size_t(1 + i)]) <= tol) << "rwork holds A x";
    }
    EXPECT_TRUE(fabs(value - o.obj) <= tol * (TalvoFloat(1.0) + fabs(value)));
}

void ExpectOptimum(const Program &p, const Outcome &o, double expected)
{
    ASSERT_EQ(o.ifail, 0);
    const TalvoFloat tol = pow(TalvoFloat(10.0), TalvoFloat(-double(talvo_float_digits() - 2)));
    EXPECT_TRUE(fabs(o.obj - TalvoFloat(expected)) <= tol * (TalvoFloat(1.0) + fabs(TalvoFloat(expected))))
        << "objmip " << o.obj.to_double() << ", brute force " << expected;
    CheckPoint(p, o);
    EXPECT_EQ(o.iwork[3], 1);
    EXPECT_GE(o.iwork[0], 1);
    EXPECT_TRUE(o.rwork[0] == o.obj); // nothing left waiting
}

// ---------------------------------------------------------------------------
// The instances
// ---------------------------------------------------------------------------

// max v'x subject to w'x <= W, x_j in {0, ..., ub}: minimise -v'x.
Program Knapsack(Stream &r, long n, long ub)
{
    Program p;
    p.n = n;
    p.m = 1;
    long total = 0;
    for (long j = 0; j < n; ++j) {
        const long w = r.next(3, 30);
        total += w * ub;
        p.A.push_back(double(w));
        p.c.push_back(-double(r.next(5, 60)));
        p.bl.push_back(0);
        p.bu.push_back(double(ub));
        p.intvar.push_back(1);
    }
    p.bl.push_back(-kNone);
    p.bu.push_back(double(total / 2 + 1));
    return p;
}

// k workers to k jobs at cost C, x_ij in {0, 1}, every row and column summing
// to 1, and a budget on a second cost D that the cheapest assignment may
// break (the relaxation is then fractional).
Program Assignment(Stream &r, long k)
{
    Program p;
    p.n = k * k;
    p.m = 2 * k + 1;
    p.A.assign(size_t(p.m * p.n), 0.0);
    std::vector<double> d(size_t(p.n));
    for (long i = 0; i < k; ++i)
        for (long j = 0; j < k; ++j) {
            const long v = i * k + j;
            p.c.push_back(double(r.next(1, 20)));
            d[size_t(v)] = double(r.next(1, 20));
            p.A[size_t(i + v * p.m)] = 1;     // row i
            p.A[size_t(k + j + v * p.m)] = 1; // column j
            p.A[size_t(2 * k + v * p.m)] = d[size_t(v)];
            p.bl.push_back(0);
            p.bu.push_back(1);
            p.intvar.push_back(1);
        }
    for (long i = 0; i < 2 * k; ++i) {
        p.bl.push_back(1);
        p.bu.push_back(1);
    }
    // The budget: the mean of the D-costs of all assignments, so some
    // assignments meet it and the cheapest in C often does not.
    double mean = 0;
    for (double v : d)
        mean += v;
    p.bl.push_back(-kNone);
    p.bu.push_back(std::floor(mean / double(k)));
    return p;
}

// Integer x_1..x_ni in [0, 4] and one continuous y in [0, 10] with general
// constraints; brute force over x, the best y for each x in closed form.
Program Mixed(Stream &r, long ni, long m)
{
    Program p;
    p.n = ni + 1;
    p.m = m;
    p.A.assign(size_t(m * p.n), 0.0);
    for (long j = 0; j < p.n; ++j) {
        p.c.push_back(double(r.next(-9, 3)));
        p.bl.push_back(0);
        p.bu.push_back(j < ni ? 4 : 10);
        p.intvar.push_back(j < ni ? 1 : 0);
        for (long i = 0; i < m; ++i)
            p.A[size_t(i + j * m)] = double(r.next(1, 9));
    }
    for (long i = 0; i < m; ++i) {
        p.bl.push_back(-kNone);
        p.bu.push_back(double(r.next(15, 40)));
    }
    return p;
}

// The optimum as an exact fraction num / den (the data are integers, so the
// best y for a fixed x is a ratio of integers; a double would round it).
struct Fraction {
    long num = 0, den = 1;
};

bool Less(const Fraction &a, const Fraction &b) { return a.num * b.den < b.num * a.den; }

bool BruteForceMixed(const Program &p, Fraction *best)
{
    const long ni = p.n - 1;
    std::vector<long> x(size_t(ni), 0);
    bool found = false;
    for (;;) {
        // y's interval from its bounds and every constraint (coefficients of
        // y are positive, the rows have only upper bounds): [0, hi].
        Fraction hi{long(p.bu[size_t(ni)]), 1};
        for (long i = 0; i < p.m; ++i) {
            long s = 0;
            for (long j = 0; j < ni; ++j)
                s += long(p.A[size_t(i + j * p.m)]) * x[size_t(j)];
            const Fraction row{long(p.bu[size_t(p.n + i)]) - s, long(p.A[size_t(i + ni * p.m)])};
            if (Less(row, hi))
                hi = row;
        }
        if (hi.num >= 0) {
            const long cy = long(p.c[size_t(ni)]);
            long cx = 0;
            for (long j = 0; j < ni; ++j)
                cx += long(p.c[size_t(j)]) * x[size_t(j)];
            const Fraction v = cy < 0 ? Fraction{cx * hi.den + cy * hi.num, hi.den} : Fraction{cx, 1};
            if (!found || Less(v, *best))
                *best = v;
            found = true;
        }
        long j = 0;
        while (j < ni && double(x[size_t(j)] + 1) > p.bu[size_t(j)]) {
            x[size_t(j)] = 0;
            ++j;
        }
        if (j == ni)
            return found;
        x[size_t(j)] += 1;
    }
}

class IntegerLp : public ::testing::TestWithParam<long> {};

TEST_P(IntegerLp, KnapsacksAgainstBruteForce)
{
    DigitsScope d(GetParam());
    Stream r{17};
    const int count = kSanitized ? 2 : 5;
    for (int k = 0; k < count; ++k) {
        const Program binary = Knapsack(r, kSanitized ? 7 : 10, 1);
        double best = 0;
        ASSERT_TRUE(BruteForce(binary, &best));
        ExpectOptimum(binary, Solve(binary), best);
        const Program general = Knapsack(r, kSanitized ? 4 : 5, 3);
        ASSERT_TRUE(BruteForce(general, &best));
        ExpectOptimum(general, Solve(general), best);
    }
}

TEST_P(IntegerLp, AssignmentsWithABudgetAgainstBruteForce)
{
    DigitsScope d(GetParam());
    Stream r{29};
    const int count = kSanitized ? 1 : 4;
    int fractional = 0;
    for (int k = 0; k < count; ++k) {
        const Program p = Assignment(r, kSanitized ? 3 : 4);
        double best = 0;
        if (!BruteForce(p, &best)) {
            EXPECT_EQ(Solve(p).ifail, 1);
            continue;
        }
        const Outcome o = Solve(p);
        ExpectOptimum(p, o, best);
        if (o.iwork[0] > 1)
            ++fractional;
    }
    if (!kSanitized) {
        EXPECT_GE(fractional, 1) << "no instance needed branching";
    }
}

TEST_P(IntegerLp, MixedAgainstBruteForce)
{
    DigitsScope d(GetParam());
    Stream r{41};
    const int count = kSanitized ? 2 : 5;
    for (int k = 0; k < count; ++k) {
        const Program p = Mixed(r, kSanitized ? 3 : 4, 3);
        Fraction best;
        ASSERT_TRUE(BruteForceMixed(p, &best));
        const Outcome o = Solve(p);
        ASSERT_EQ(o.ifail, 0);
        const TalvoFloat exact = TalvoFloat(double(best.num)) / TalvoFloat(double(best.den));
        const TalvoFloat tol = pow(TalvoFloat(10.0), TalvoFloat(-double(talvo_float_digits() - 2)));
        EXPECT_TRUE(fabs(o.obj - exact) <= tol * (TalvoFloat(1.0) + fabs(exact)))
            << "objmip " << o.obj.to_double() << ", brute force " << best.num << "/" << best.den;
        CheckPoint(p, o);
    }
}

INSTANTIATE_TEST_SUITE_P(Digits, IntegerLp, ::testing::Values(15L, 30L));

// ---------------------------------------------------------------------------
// Limits and failures
// ---------------------------------------------------------------------------

TEST(IntegerLpLimits, NodeLimitReturnsTheBestSoFar)
{
    DigitsScope d(20);
    Stream r{17};
    const Program p = Knapsack(r, 10, 1);
    double best = 0;
    ASSERT_TRUE(BruteForce(p, &best));
    const Outcome full = Solve(p);
    ASSERT_EQ(full.ifail, 0);
    ASSERT_GT(full.iwork[0], 3) << "the instance must need branching";
    Limits lim;
    lim.maxnod = 3;
    const Outcome o = Solve(p, lim);
    EXPECT_EQ(o.ifail, 4);
    EXPECT_EQ(o.iwork[0], 3);
    // The best bound left is a lower bound on the optimum.
    EXPECT_TRUE(o.rwork[0] <= TalvoFloat(best) + TalvoFloat(1e-10));
    if (o.iwork[3] == 1) {
        CheckPoint(p, o);
        EXPECT_TRUE(o.obj >= TalvoFloat(best) - TalvoFloat(1e-10));
    }
}

TEST(IntegerLpLimits, FirstIntegerSolutionOnRequest)
{
    DigitsScope d(20);
    Stream r{17};
    const Program p = Knapsack(r, 10, 1);
    double best = 0;
    ASSERT_TRUE(BruteForce(p, &best));
    Limits lim;
    lim.intfst = 1;
    const Outcome o = Solve(p, lim);
    ASSERT_EQ(o.ifail, 0);
    CheckPoint(p, o);
    EXPECT_TRUE(o.obj >= TalvoFloat(best) - TalvoFloat(1e-10));
    EXPECT_LE(o.iwork[0], Solve(p).iwork[0]);
}

TEST(IntegerLpLimits, WaitingNodeLimit)
{
    DigitsScope d(20);
    Stream r{17};
    const Program p = Knapsack(r, 10, 1);
    Limits lim;
    lim.maxdpt = 2;
    const Outcome o = Solve(p, lim);
    EXPECT_EQ(o.ifail, 5);
    EXPECT_GE(o.iwork[0], 2);
    lim.maxdpt = 1;
    EXPECT_EQ(Solve(p, lim).ifail, 7);
}

TEST(IntegerLpLimits, NoIntegerSolution)
{
    DigitsScope d(20);
    // 2 x1 + 2 x2 = 3: the relaxation is feasible, no integer point is.
    Program p;
    p.n = 2;
    p.m = 1;
    p.A = {2, 2};
    p.c = {1, 1};
    p.bl = {0, 0, 3};
    p.bu = {5, 5, 3};
    p.intvar = {1, 1};
    Outcome o = Solve(p);
    EXPECT_EQ(o.ifail, 1);
    EXPECT_EQ(o.iwork[3], 0);
    EXPECT_GE(o.iwork[0], 3);
    // No integer between the bounds of a variable: refused at the root.
    p.bl = {0.25, 0, 3};
    p.bu = {0.75, 5, 3};
    o = Solve(p);
    EXPECT_EQ(o.ifail, 1);
    EXPECT_EQ(o.iwork[0], 0);
    // The relaxation itself infeasible.
    p.bl = {0, 0, 30};
    p.bu = {5, 5, 30};
    o = Solve(p);
    EXPECT_EQ(o.ifail, 1);
    EXPECT_EQ(o.iwork[0], 1);
}

TEST(IntegerLpLimits, UnboundedRelaxation)
{
    DigitsScope d(20);
    Program p;
    p.n = 2;
    p.m = 1;
    p.A = {1, -1};
    p.c = {-1, 0};
    p.bl = {0, 0, -kNone};
    p.bu = {kNone, kNone, 2.5};
    p.intvar = {1, 1};
    EXPECT_EQ(Solve(p).ifail, 2);
}

TEST(IntegerLpLimits, EndlessBranchingStopsAtTheNodeLimit)
{
    DigitsScope d(15);
    // Jeroslow's program: 2 x1 + ... + 2 x9 = 9 has no integer solution, and
    // branch and bound on LP relaxations needs an exponential tree to prove
    // it.  With a node limit it stops there.
    Program p;
    p.n = 9;
    p.m = 1;
    for (long j = 0; j < p.n; ++j) {
        p.A.push_back(2);
        p.c.push_back(0);
        p.bl.push_back(0);
        p.bu.push_back(1);
        p.intvar.push_back(1);
    }
    p.c[0] = -1;
    p.bl.push_back(9);
    p.bu.push_back(9);
    Limits lim;
    lim.maxnod = kSanitized ? 40 : 150;
    const Outcome o = Solve(p, lim);
    EXPECT_EQ(o.ifail, 4);
    EXPECT_EQ(o.iwork[0], lim.maxnod);
    EXPECT_EQ(o.iwork[3], 0);
}

TEST(IntegerLpLimits, DefaultsAreWrittenBack)
{
    DigitsScope d(30);
    Stream r{3};
    const Program p = Knapsack(r, 4, 1);
    const Outcome o = Solve(p);
    ASSERT_EQ(o.ifail, 0);
    EXPECT_EQ(o.itmax, 50);
    EXPECT_TRUE(o.bigbnd == TalvoFloat(1e20));
    EXPECT_TRUE(o.tolfes == pow(TalvoFloat(10.0), TalvoFloat(-15.0)));
    const TalvoFloat e10 = pow(TalvoFloat(10.0), TalvoFloat(-10.0));
    EXPECT_TRUE(fabs(o.toliv / e10 - TalvoFloat(1.0)) < TalvoFloat(1e-25));
}

TEST(IntegerLpLimits, InvalidInputAndWorkspace)
{
    DigitsScope d(15);
    std::vector<Integer> lwsav(120), iwsav(610);
    Vec rwsav(475);
    Integer l120 = 120, l610 = 610, l475 = 475, l474 = 474, ifail = -1;
    TalvoMP_h02wbf_("e04mfa", nullptr, nullptr, lwsav.data(), &l120, iwsav.data(), &l610, rwsav.data(), &l475,
                    &ifail, 6, 0);
    EXPECT_EQ(ifail, 1);
    TalvoMP_h02wbf_("h02bbf  ", nullptr, nullptr, lwsav.data(), &l120, iwsav.data(), &l610, rwsav.data(), &l474,
                    &ifail, 8, 0);
    EXPECT_EQ(ifail, 2);

    // A call with the arrays of another routine, then bad arguments one at a
    // time on a valid call.
    Integer l = 120, i6 = 610, r4 = 475;
    TalvoMP_e04wbf_("E04MFA", nullptr, nullptr, lwsav.data(), &l, iwsav.data(), &i6, rwsav.data(), &r4, &ifail, 6, 0);
    ASSERT_EQ(ifail, 0);
    Vec a{TalvoFloat(1.0)}, bl{TalvoFloat(0.0), TalvoFloat(-1e25)}, bu{TalvoFloat(3.0), TalvoFloat(2.5)},
        c{TalvoFloat(-1.0)}, x{TalvoFloat(0.0)}, rwork(2);
    std::vector<Integer> intvar{1}, iwork(4);
    Integer itmax = 0, msglvl = 0, n = 1, m = 1, lda = 1, maxnod = 0, intfst = 0, maxdpt = 10, liwork = 4,
            lrwork = 2;
    TalvoFloat toliv(0.0), tolfes(0.0), bigbnd(0.0), obj;
    auto call = [&]() {
        TalvoMP_h02bbf_(&itmax, &msglvl, &n, &m, a.data(), &lda, bl.data(), bu.data(), intvar.data(), c.data(),
                        &maxnod, &intfst, &maxdpt, &toliv, &tolfes, &bigbnd, x.data(), &obj, iwork.data(), &liwork,
                        rwork.data(), &lrwork, lwsav.data(), iwsav.data(), rwsav.data(), &ifail);
        return ifail;
    };
    EXPECT_EQ(call(), 7); // arrays of e04mfa
    TalvoMP_h02wbf_("H02BBF", nullptr, nullptr, lwsav.data(), &l, iwsav.data(), &i6, rwsav.data(), &r4, &ifail, 6, 0);
    ASSERT_EQ(ifail, 0);
    EXPECT_EQ(call(), 0);
    EXPECT_TRUE(x[0] == TalvoFloat(2.0) && obj == TalvoFloat(-2.0));
    liwork = 3;
    EXPECT_EQ(call(), 6);
    liwork = 4;
    lrwork = 1;
    EXPECT_EQ(call(), 6);
    lrwork = 2;
    intvar[0] = 2;
    EXPECT_EQ(call(), 7);
    intvar[0] = 1;
    lda = 0;
    EXPECT_EQ(call(), 7);
    lda = 1;
    bl[0] = TalvoFloat(4.0);
    EXPECT_EQ(call(), 7); // bl > bu
    bl[0] = TalvoFloat(0.0);
    n = 0;
    EXPECT_EQ(call(), 7);
    n = 1;
    EXPECT_EQ(call(), 0);
}

} // namespace
