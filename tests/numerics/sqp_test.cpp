// sqp_test.cpp -- the SQP solvers e04uca and e04usa called directly:
// Hock-Schittkowski problems at Digits 30 and 50 (the optimal value to
// Digits - 2 digits where it is known exactly, to the 25 digits known
// otherwise; data/sqp/hock_schittkowski.tsv), finite-difference gradients,
// the gradient check, infeasible problems, the iteration limit, user
// routines that stop or return undefined values, invalid input, a warm
// start, and constrained least squares through e04usa.
#include "hs_problems.hpp"
#include "talvo_mp.h"

#include "optimization/options.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

#if defined(TALVO_SANITIZED)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

namespace saved = talvo::opt::saved;

struct DigitsScope {
    long saved;
    explicit DigitsScope(long digits) : saved(talvo_float_digits()) { talvo_float_set_digits(digits); }
    ~DigitsScope() { talvo_float_set_digits(saved); }
};

using namespace hs;

std::map<std::string, std::pair<std::string, int>> ReadOptima()
{
    std::map<std::string, std::pair<std::string, int>> out;
    std::ifstream in(std::string(TALVO_NUMERICS_DATA) + "/sqp/hock_schittkowski.tsv");
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream s(line);
        std::string id, value;
        int exact = 0, digits = 0;
        s >> id >> value >> exact >> digits;
        out[id] = {value, exact ? -1 : digits};
    }
    return out;
}

// The problem the callbacks below work on, and their instrumentation.
const Hs *g_hs = nullptr;
long g_calls = 0;
long g_stop_after = -1;
long g_undefined_after = -1;
bool g_wrong_gradient = false;

void ObjFun(Integer *mode, Integer *n, const TalvoFloat *x, TalvoFloat *objf, TalvoFloat *objgrd, Integer *,
            Integer *, TalvoFloat *)
{
    ++g_calls;
    Vec g(static_cast<size_t>(*n));
    *objf = g_hs->f(x, g.data());
    if (*mode != 0)
        for (Integer j = 0; j < *n; ++j)
            objgrd[j] = g[size_t(j)];
    if (g_wrong_gradient && *mode != 0)
        objgrd[0] += TalvoFloat(1.0);
    if (g_stop_after >= 0 && g_calls >= g_stop_after)
        *mode = -1;
    if (g_undefined_after >= 0 && g_calls >= g_undefined_after)
        *objf = TalvoFloatUndefined();
}

void ConFun(Integer *mode, Integer *ncnln, Integer *n, Integer *ldcj, const Integer *, const TalvoFloat *x,
            TalvoFloat *c, TalvoFloat *cjac, Integer *, Integer *, TalvoFloat *)
{
    std::vector<Vec> J(static_cast<size_t>(*ncnln));
    g_hs->c(x, c, J);
    if (*mode != 0)
        for (Integer i = 0; i < *ncnln; ++i)
            for (Integer j = 0; j < *n; ++j)
                cjac[i + j * *ldcj] = J[size_t(i)][size_t(j)];
}

struct SaveArrays {
    std::vector<Integer> lwsav = std::vector<Integer>(kTalvoOptLwsav), iwsav = std::vector<Integer>(kTalvoOptIwsav);
    Vec rwsav = Vec(kTalvoOptRwsav);
    explicit SaveArrays(const char *name)
    {
        Integer l1 = kTalvoOptLwsav, l2 = kTalvoOptIwsav, l3 = kTalvoOptRwsav, ifail = -1;
        TalvoMP_e04wbf_(name, nullptr, nullptr, lwsav.data(), &l1, iwsav.data(), &l2, rwsav.data(), &l3, &ifail,
                        int(std::strlen(name)), 0);
        EXPECT_EQ(ifail, 0);
    }
};

struct Outcome {
    Integer ifail = -99, iter = 0;
    TalvoFloat objf;
    Vec x, clamda, c, objgrd, r;
    std::vector<Integer> istate;
};

Outcome Solve(const Hs &p, SaveArrays &sv, const std::vector<double> *x0 = nullptr, Outcome *warm = nullptr)
{
    g_hs = &p;
    g_calls = 0;
    Integer n = p.n, nclin = Integer(p.A.size()), ncnln = p.ncnln;
    Integer lda = std::max<Integer>(1, nclin), ldcj = std::max<Integer>(1, ncnln), ldr = n;
    const long nt = n + nclin + ncnln;
    Vec a(size_t(lda * n)), bl(static_cast<size_t>(nt)), bu(static_cast<size_t>(nt));
    for (Integer i = 0; i < nclin; ++i)
        for (Integer j = 0; j < n; ++j)
            a[size_t(i + j * lda)] = TalvoFloat(p.A[size_t(i)][size_t(j)]);
    for (long k = 0; k < nt; ++k) {
        bl[size_t(k)] = TalvoFloat(p.bl[size_t(k)]);
        bu[size_t(k)] = TalvoFloat(p.bu[size_t(k)]);
    }
    Outcome r;
    r.x.resize(static_cast<size_t>(n));
    for (Integer j = 0; j < n; ++j)
        r.x[size_t(j)] = TalvoFloat((x0 ? *x0 : p.x0)[size_t(j)]);
    r.istate.assign(size_t(nt), 0);
    r.clamda.assign(size_t(nt), TalvoFloat(0.0));
    r.r.assign(size_t(ldr * n), TalvoFloat(0.0));
    if (warm) {
        r.x = warm->x;
        r.istate = warm->istate;
        r.clamda = warm->clamda;
        r.r = warm->r;
    }
    r.c.assign(size_t(ldcj), TalvoFloat(0.0));
    Vec cjac(size_t(ldcj * n));
    r.objgrd.resize(static_cast<size_t>(n));
    Integer liwork = 3 * n + nclin + 2 * ncnln;
    Integer lwork = 2 * n * n + n * nclin + 2 * n * ncnln + 20 * n + 11 * nclin + 21 * ncnln;
    std::vector<Integer> iwork(static_cast<size_t>(liwork));
    Vec work(static_cast<size_t>(lwork));
    TalvoMP_e04uca_(&n, &nclin, &ncnln, &lda, &ldcj, &ldr, a.data(), bl.data(), bu.data(), ncnln > 0 ? ConFun : nullptr,
                    ObjFun, &r.iter, r.istate.data(), r.c.data(), cjac.data(), r.clamda.data(), &r.objf,
                    r.objgrd.data(), r.r.data(), r.x.data(), iwork.data(), &liwork, work.data(), &lwork, nullptr,
                    nullptr, sv.lwsav.data(), sv.iwsav.data(), sv.rwsav.data(), &r.ifail);
    return r;
}

// |got - want| within 10^-digits relative to max(1, |want|).
void ExpectDigits(const TalvoFloat &got, const std::string &want, long digits, const std::string &what)
{
    const TalvoFloat w = Parse(want);
    const TalvoFloat scale = fabs(w) > TalvoFloat(1.0) ? fabs(w) : TalvoFloat(1.0);
    const TalvoFloat err = fabs(got - w) / scale;
    EXPECT_TRUE(err <= Pow10(-digits)) << what << ": got " << Show(got) << ", want "
                                       << want << " (" << digits << " digits)";
}

void SolveAll(long digits, const std::vector<std::string> &ids)
{
    DigitsScope scope(digits);
    const auto optima = ReadOptima();
    for (const Hs &p : Problems()) {
        bool wanted = false;
        for (const std::string &id : ids)
            wanted = wanted || id == p.id;
        if (!wanted)
            continue;
        SaveArrays sv("E04UCA");
        const Outcome r = Solve(p, sv);
        EXPECT_EQ(r.ifail, 0) << p.id << " at Digits " << digits;
        const auto it = optima.find(p.id);
        ASSERT_NE(it, optima.end()) << p.id;
        const long want = it->second.second < 0 ? digits - 2 : std::min<long>(digits - 2, it->second.second - 1);
        ExpectDigits(r.objf, it->second.first, want, p.id + " at Digits " + std::to_string(digits));
    }
}

const std::vector<std::string> kEquality = {"HS6", "HS7", "HS28", "HS39"};
const std::vector<std::string> kInequality = {"HS4",  "HS5",  "HS10", "HS15", "HS21", "HS35",
                                              "HS43", "HS65", "HS71", "HS76", "HS100"};

TEST(SqpHockSchittkowski, EqualityConstrained30) { SolveAll(30, kEquality); }
TEST(SqpHockSchittkowski, EqualityConstrained50) { SolveAll(50, kEquality); }
TEST(SqpHockSchittkowski, InequalityConstrained30) { SolveAll(30, kInequality); }
TEST(SqpHockSchittkowski, InequalityConstrained50)
{
    if (kSanitized)
        SolveAll(50, {"HS10", "HS21", "HS71"});
    else
        SolveAll(50, kInequality);
}

const Hs &Find(const std::string &id)
{
    static const std::vector<Hs> all = Problems();
    for (const Hs &p : all)
        if (p.id == id)
            return p;
    throw std::runtime_error(id);
}

// HS18: min 0.01 x1^2 + x2^2 subject to x1 x2 >= 25 and x1^2 + x2^2 >= 25,
// 2 <= x1 <= 50, 0 <= x2 <= 50, from (2, 2); f* = 5 at (sqrt 250, sqrt 2.5).
// The second constraint is violated at the start and inactive from the
// first steps on; its penalty, raised at the start, stays.  Were its slack
// moved along the linear path in the search, the curvature x1^2 + x2^2 of
// this inactive constraint would refuse every long step (27 iterations at
// Digits 15, 29 at Digits 30 and 50; 9, 11 and 13 now).
Hs Hs18()
{
    Hs p = Make("HS18", 2);
    p.ncnln = 2;
    p.bl = {2, 0, 0, 0};
    p.bu = {50, 50, kInf, kInf};
    p.x0 = {2, 2};
    p.f = [](const TalvoFloat *x, TalvoFloat *g) {
        g[0] = Parse("0.02") * x[0];
        g[1] = F(2) * x[1];
        return Parse("0.01") * x[0] * x[0] + x[1] * x[1];
    };
    p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
        c[0] = x[0] * x[1] - F(25);
        c[1] = x[0] * x[0] + x[1] * x[1] - F(25);
        J[0] = {x[1], x[0]};
        J[1] = {F(2) * x[0], F(2) * x[1]};
    };
    return p;
}

TEST(SqpLineSearch, AnInactiveCurvedConstraintDoesNotShortenTheSteps)
{
    for (long digits : {15L, 30L, 50L}) {
        DigitsScope scope(digits);
        const Hs p = Hs18();
        SaveArrays sv("E04UCA");
        const Outcome r = Solve(p, sv);
        EXPECT_EQ(r.ifail, 0) << digits;
        ExpectDigits(r.objf, "5", digits - 2, "HS18 at Digits " + std::to_string(digits));
        EXPECT_LE(r.iter, 18) << "HS18 at Digits " << digits;
    }
}

// HS35, a convex quadratic objective under one linear constraint and bounds:
// a step that achieves less than a tenth of the predicted decrease is cut
// back to the interpolated minimum along it, exact on a quadratic, and the
// BFGS update from there ends the iteration sooner than full steps would
// (8 and 10 iterations at Digits 15 and 30 with a test of 1e-4 of the
// predicted decrease; 7 and 8 now).
TEST(SqpLineSearch, QuadraticObjectiveFinishesInFewSteps)
{
    for (long digits : {15L, 30L}) {
        DigitsScope scope(digits);
        SaveArrays sv("E04UCA");
        const Outcome r = Solve(Find("HS35"), sv);
        EXPECT_EQ(r.ifail, 0);
        ExpectDigits(r.objf, "0.11111111111111111111111111111111111111111", digits - 2, "HS35");
        EXPECT_LE(r.iter, digits == 15 ? 7 : 8) << "HS35 at Digits " << digits;
    }
}

TEST(SqpOptions, FiniteDifferencesAtDerivativeLevelZero)
{
    DigitsScope scope(30);
    SaveArrays sv("E04UCA");
    sv.iwsav[saved::kDerivLevel] = 0;
    const Outcome r = Solve(Find("HS7"), sv);
    EXPECT_EQ(r.ifail, 0);
    // Central differences carry about two thirds of the digits.
    ExpectDigits(r.objf, "-1.732050807568877293527446341505872366942805253810380628", 18, "HS7 by differences");
}

TEST(SqpOptions, GradientCheckFindsAWrongGradient)
{
    DigitsScope scope(30);
    SaveArrays sv("E04UCA");
    sv.iwsav[saved::kVerify] = 1;
    g_wrong_gradient = true;
    const Outcome bad = Solve(Find("HS7"), sv);
    g_wrong_gradient = false;
    EXPECT_EQ(bad.ifail, 7);
    const Outcome good = Solve(Find("HS7"), sv);
    EXPECT_EQ(good.ifail, 0);
}

TEST(SqpOptions, MajorIterationLimit)
{
    DigitsScope scope(30);
    SaveArrays sv("E04UCA");
    sv.iwsav[saved::kIterLimit] = 2;
    const Outcome r = Solve(Find("HS39"), sv);
    EXPECT_EQ(r.ifail, 4);
    EXPECT_EQ(r.iter, 2);
}

TEST(SqpOptions, WarmStartFromTheSolutionFinishesAtOnce)
{
    DigitsScope scope(30);
    SaveArrays cold("E04UCA");
    const Hs &p = Find("HS39");
    Outcome first = Solve(p, cold);
    ASSERT_EQ(first.ifail, 0);
    SaveArrays warm("E04UCA");
    warm.iwsav[saved::kWarmStart] = 1;
    const Outcome again = Solve(p, warm, nullptr, &first);
    EXPECT_EQ(again.ifail, 0);
    EXPECT_LE(again.iter, 1);
    ExpectDigits(again.objf, "-1", 28, "HS39 warm");
}

TEST(SqpFailures, UserStopAndUndefinedValues)
{
    DigitsScope scope(30);
    SaveArrays sv("E04UCA");
    g_stop_after = 5;
    Outcome r = Solve(Find("HS7"), sv);
    g_stop_after = -1;
    EXPECT_EQ(r.ifail, -1);
    g_undefined_after = 1;
    r = Solve(Find("HS7"), sv);
    EXPECT_EQ(r.ifail, 11);
    g_undefined_after = 4;
    r = Solve(Find("HS7"), sv);
    g_undefined_after = -1;
    EXPECT_EQ(r.ifail, 11);
}

TEST(SqpFailures, InvalidInput)
{
    DigitsScope scope(30);
    Hs p = Find("HS7");
    {
        SaveArrays sv("E04DGA"); // arrays of another routine
        EXPECT_EQ(Solve(p, sv).ifail, 9);
    }
    {
        SaveArrays sv("E04UCA");
        p.bl[2] = 1;
        p.bu[2] = 0; // bl > bu
        EXPECT_EQ(Solve(p, sv).ifail, 9);
    }
}

TEST(SqpFailures, InfeasibleLinearConstraints)
{
    DigitsScope scope(30);
    Hs p = Make("linear-infeasible", 2);
    p.A = {{1, 1}};
    p.bl = {0, 0, 3};
    p.bu = {1, 1, kInf};
    p.x0 = {0.5, 0.5};
    p.f = [](const TalvoFloat *x, TalvoFloat *g) {
        g[0] = F(2) * x[0];
        g[1] = F(2) * x[1];
        return x[0] * x[0] + x[1] * x[1];
    };
    SaveArrays sv("E04UCA");
    EXPECT_EQ(Solve(p, sv).ifail, 2);
}

TEST(SqpFailures, InfeasibleNonlinearConstraints)
{
    DigitsScope scope(30);
    // x1^2 + x2^2 <= 1 and x1^2 + x2^2 >= 4: no point satisfies both.
    Hs p = Make("nonlinear-infeasible", 2);
    p.ncnln = 2;
    p.bl = {-kInf, -kInf, -kInf, 4};
    p.bu = {kInf, kInf, 1, kInf};
    p.x0 = {0.5, 0.25};
    p.f = [](const TalvoFloat *x, TalvoFloat *g) {
        g[0] = F(1);
        g[1] = F(1);
        return x[0] + x[1];
    };
    p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
        c[0] = c[1] = x[0] * x[0] + x[1] * x[1];
        J[0] = J[1] = {F(2) * x[0], F(2) * x[1]};
    };
    SaveArrays sv("E04UCA");
    const Outcome r = Solve(p, sv);
    EXPECT_EQ(r.ifail, 3);
}

// ---------------------------------------------------------------------------
// e04usa
// ---------------------------------------------------------------------------

// Residual functions f(x) = x (m = n = 2), fitted to y = (2, 1) on the unit
// circle x1^2 + x2^2 = 1: the nearest point of the circle is (2, 1)/sqrt(5),
// F* = 1/2 (sqrt(5) - 1)^2 = 3 - sqrt(5).  With the bound x2 <= 0.25 the
// answer is x = (sqrt(15)/4, 1/4), F* = 1/2 ((2 - sqrt(15)/4)^2 + (3/4)^2).
void LsqFun(Integer *mode, Integer *m, Integer *n, Integer *ldfj, Integer *, const TalvoFloat *x, TalvoFloat *f,
            TalvoFloat *fjac, Integer *, Integer *, TalvoFloat *)
{
    for (Integer i = 0; i < *m; ++i) {
        f[i] = x[i];
        if (*mode != 0)
            for (Integer j = 0; j < *n; ++j)
                fjac[i + j * *ldfj] = TalvoFloat(i == j ? 1.0 : 0.0);
    }
}

void CircleCon(Integer *mode, Integer *, Integer *, Integer *ldcj, const Integer *, const TalvoFloat *x, TalvoFloat *c,
               TalvoFloat *cjac, Integer *, Integer *, TalvoFloat *)
{
    c[0] = x[0] * x[0] + x[1] * x[1];
    if (*mode != 0) {
        cjac[0] = TalvoFloat(2.0) * x[0];
        cjac[*ldcj] = TalvoFloat(2.0) * x[1];
    }
}

Integer SolveLsq(double upper2, TalvoFloat &objf, Vec &x)
{
    SaveArrays sv("E04USA");
    Integer m = 2, n = 2, nclin = 0, ncnln = 1, lda = 1, ldcj = 1, ldfj = 2, ldr = 2, iter = 0, ifail = -99;
    Vec a(1), bl = {F(-kInf), F(-kInf), F(1)}, bu = {F(kInf), TalvoFloat(upper2), F(1)}, y = {F(2), F(1)};
    std::vector<Integer> istate(3), iwork(20);
    Vec c(1), cjac(2), f(2), fjac(4), clamda(3), r(4), work(200);
    x = {F(0.5), F(-0.5)};
    Integer liwork = 20, lwork = 200;
    TalvoMP_e04usa_(&m, &n, &nclin, &ncnln, &lda, &ldcj, &ldfj, &ldr, a.data(), bl.data(), bu.data(), y.data(),
                    CircleCon, LsqFun, &iter, istate.data(), c.data(), cjac.data(), f.data(), fjac.data(),
                    clamda.data(), &objf, r.data(), x.data(), iwork.data(), &liwork, work.data(), &lwork, nullptr,
                    nullptr, sv.lwsav.data(), sv.iwsav.data(), sv.rwsav.data(), &ifail);
    return ifail;
}

TEST(SqpLeastSquares, NearestPointOfTheCircle)
{
    for (long digits : {30L, 50L}) {
        DigitsScope scope(digits);
        TalvoFloat objf;
        Vec x;
        EXPECT_EQ(SolveLsq(kInf, objf, x), 0);
        const TalvoFloat want = F(3) - sqrt(F(5));
        EXPECT_TRUE(fabs(objf - want) <= Pow10(-(digits - 2))) << Show(objf);
        EXPECT_TRUE(fabs(x[0] - F(2) / sqrt(F(5))) <= Pow10(-(digits / 2 - 2)));
    }
}

TEST(SqpLeastSquares, WithAnActiveBound)
{
    for (long digits : {30L, 50L}) {
        DigitsScope scope(digits);
        TalvoFloat objf;
        Vec x;
        EXPECT_EQ(SolveLsq(0.25, objf, x), 0);
        const TalvoFloat x1 = sqrt(F(15)) / F(4);
        const TalvoFloat want = ((F(2) - x1) * (F(2) - x1) + F(0.5625)) / F(2);
        EXPECT_TRUE(fabs(objf - want) <= Pow10(-(digits - 2))) << Show(objf);
    }
}

} // namespace
