// programming_test.cpp -- the linear and quadratic programming routines
// (e04mfa, e04nca, e04nfa on the active-set engine) and the option setters
// of the save-array solvers (e04mha, e04nea, e04nha, e04uea, e04ura).
#include "mps_reader.hpp"
#include "talvo_mp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <cstring>
#include <string>
#include <vector>

namespace {

#if defined(TALVO_SANITIZED)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

struct DigitsScope {
    long saved;
    explicit DigitsScope(long digits) : saved(talvo_float_digits()) { talvo_float_set_digits(digits); }
    ~DigitsScope() { talvo_float_set_digits(saved); }
};

struct Save {
    std::vector<Integer> lwsav = std::vector<Integer>(kTalvoOptLwsav);
    std::vector<Integer> iwsav = std::vector<Integer>(kTalvoOptIwsav);
    std::vector<TalvoFloat> rwsav = std::vector<TalvoFloat>(kTalvoOptRwsav);

    explicit Save(const char *routine)
    {
        Integer l1 = kTalvoOptLwsav, l2 = kTalvoOptIwsav, l3 = kTalvoOptRwsav, ifail = -1;
        TalvoMP_e04wbf_(routine, nullptr, nullptr, lwsav.data(), &l1, iwsav.data(), &l2, rwsav.data(), &l3, &ifail,
                        int(std::strlen(routine)), 0);
        EXPECT_EQ(ifail, 0);
    }
};

using Setter = void (*)(const char *, Integer *, Integer *, TalvoFloat *, Integer *, int);

Integer Set(Setter setter, Save &s, const char *text)
{
    Integer inform = -1;
    setter(text, s.lwsav.data(), s.iwsav.data(), s.rwsav.data(), &inform, int(std::strlen(text)));
    return inform;
}

// Slots of the save arrays (optimization/options.hpp).
enum { kIterLimit = 2, kPrintLevel = 3, kVerify = 4, kMinorIterLimit = 7, kProblemType = 8, kWarmStart = 9,
       kDerivLevel = 10, kHessianOpt = 11, kExpandFreq = 12, kMaxDegFree = 13, kConCheckStart = 14 };
enum { kOptTol = 0, kFunPrec = 1, kFeasTol = 5, kInfBound = 6, kRankTol = 9, kNonlinFeasTol = 10,
       kStepLimit = 13, kMinorOptTol = 14 };

TEST(ProgrammingOptions, EachSetterWantsItsOwnRoutinesArrays)
{
    Save mfa("E04MFA"), nca("e04nca"), nfa("E04NFA"), uca("E04UCA"), usa("E04USA");
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Iters 7"), 0);
    EXPECT_EQ(Set(TalvoMP_e04nea_, mfa, "Iters 7"), 1);
    EXPECT_EQ(Set(TalvoMP_e04nha_, nca, "Iters 7"), 1);
    EXPECT_EQ(Set(TalvoMP_e04uea_, usa, "Iters 7"), 1);
    EXPECT_EQ(Set(TalvoMP_e04ura_, uca, "Iters 7"), 1);
    EXPECT_EQ(Set(TalvoMP_e04dka_, nfa, "Iters 7"), 1);
    EXPECT_EQ(mfa.iwsav[kIterLimit], 7);
    EXPECT_EQ(nca.iwsav[kIterLimit], -1);
}

TEST(ProgrammingOptions, DefaultsPerRoutine)
{
    Save mfa("E04MFA"), nca("E04NCA"), nfa("E04NFA"), uca("E04UCA");
    EXPECT_EQ(mfa.iwsav[kProblemType], 2); // LP
    EXPECT_EQ(nca.iwsav[kProblemType], 7); // LS1
    EXPECT_EQ(nfa.iwsav[kProblemType], 4); // QP2
    EXPECT_EQ(uca.iwsav[kDerivLevel], 3);
    EXPECT_EQ(mfa.rwsav[kInfBound], TalvoFloat(1e20));
    EXPECT_EQ(uca.rwsav[kStepLimit], TalvoFloat(2.0));
    // "Defaults" puts a changed option back to the routine's own default.
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Problem Type = QP3"), 0);
    EXPECT_EQ(nca.iwsav[kProblemType], 5);
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Defaults"), 0);
    EXPECT_EQ(nca.iwsav[kProblemType], 7);
}

TEST(ProgrammingOptions, LinearAndQuadraticKeywords)
{
    Save nca("E04NCA"), mfa("E04MFA"), nfa("E04NFA");
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Feasibility Tolerance 1.0d-12"), 0);
    EXPECT_EQ(nca.rwsav[kFeasTol], TalvoFloat(1e-12));
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "  OPT  tol = 1e-20  * a comment"), 0);
    EXPECT_EQ(nca.rwsav[kOptTol], TalvoFloat(1e-20));
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Infinite Bound Size 1e30"), 0);
    EXPECT_EQ(nca.rwsav[kInfBound], TalvoFloat(1e30));
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Infinite Bound Size -1"), 4);
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Warm Start"), 0);
    EXPECT_EQ(nca.iwsav[kWarmStart], 1);
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Cold Start"), 0);
    EXPECT_EQ(nca.iwsav[kWarmStart], 0);
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Rank Tolerance 1e-25"), 0);
    EXPECT_EQ(nca.rwsav[kRankTol], TalvoFloat(1e-25));
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Expand Frequency 20"), 0);
    EXPECT_EQ(nca.iwsav[kExpandFreq], 20);
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Expand Frequency 0"), 4);
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Problem Type LS4"), 0);
    EXPECT_EQ(nca.iwsav[kProblemType], 10);
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Problem Type LS5"), 3);
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Crash Tolerance 0.05"), 0);
    // e04mfa takes FP and LP only, e04nfa QP1-QP4 only.
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Problem Type FP"), 0);
    EXPECT_EQ(mfa.iwsav[kProblemType], 1);
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Problem Type QP2"), 4);
    EXPECT_EQ(Set(TalvoMP_e04nha_, nfa, "Problem Type LP"), 4);
    EXPECT_EQ(Set(TalvoMP_e04nha_, nfa, "Problem Type QP1"), 0);
    // Maximum Degrees of Freedom belongs to e04nfa.
    EXPECT_EQ(Set(TalvoMP_e04nha_, nfa, "Maximum Degrees of Freedom 3"), 0);
    EXPECT_EQ(nfa.iwsav[kMaxDegFree], 3);
    EXPECT_EQ(Set(TalvoMP_e04nea_, nca, "Maximum Degrees of Freedom 3"), 2);
    // Keywords of the nonlinear solvers are not keywords here.
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Major Iterations Limit 5"), 2);
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Function Precision 1e-10"), 2);
    // Values missing or malformed.
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Iteration Limit"), 3);
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Iteration Limit ten"), 3);
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Cold Start 3"), 3);
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Iteration Limit -2"), 4);
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, ""), 0);
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "* only a comment"), 0);
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Itns 99"), 0);
    EXPECT_EQ(mfa.iwsav[kIterLimit], 99);
    EXPECT_EQ(Set(TalvoMP_e04mha_, mfa, "Print Level 0"), 0);
    EXPECT_EQ(mfa.iwsav[kPrintLevel], 0);
}

TEST(ProgrammingOptions, NonlinearKeywords)
{
    for (auto [setter, name] : {std::pair<Setter, const char *>{TalvoMP_e04uea_, "E04UCA"}, {TalvoMP_e04ura_, "E04USA"}}) {
        Save s(name);
        EXPECT_EQ(Set(setter, s, "Major Iterations Limit 40"), 0);
        EXPECT_EQ(s.iwsav[kIterLimit], 40);
        EXPECT_EQ(Set(setter, s, "Iteration Limit 41"), 0);
        EXPECT_EQ(s.iwsav[kIterLimit], 41);
        EXPECT_EQ(Set(setter, s, "Minor Iteration Limit 300"), 0);
        EXPECT_EQ(s.iwsav[kMinorIterLimit], 300);
        EXPECT_EQ(Set(setter, s, "Major Print Level 5"), 0);
        EXPECT_EQ(s.iwsav[kPrintLevel], 5);
        EXPECT_EQ(Set(setter, s, "Minor Print Level 1"), 0);
        EXPECT_EQ(Set(setter, s, "Function Precision 1e-30"), 0);
        EXPECT_EQ(s.rwsav[kFunPrec], TalvoFloat(1e-30));
        EXPECT_EQ(Set(setter, s, "Linesearch Tolerance 0.5"), 0);
        EXPECT_EQ(Set(setter, s, "Line Search Tolerance 1.5"), 4);
        EXPECT_EQ(Set(setter, s, "Step Limit 10"), 0);
        EXPECT_EQ(s.rwsav[kStepLimit], TalvoFloat(10.0));
        EXPECT_EQ(Set(setter, s, "Step Limit 0"), 4);
        EXPECT_EQ(Set(setter, s, "Derivative Level 1"), 0);
        EXPECT_EQ(s.iwsav[kDerivLevel], 1);
        EXPECT_EQ(Set(setter, s, "Derivative Level 4"), 4);
        EXPECT_EQ(Set(setter, s, "Verify Level 2"), 0);
        EXPECT_EQ(s.iwsav[kVerify], 2);
        EXPECT_EQ(Set(setter, s, "Verify No"), 0);
        EXPECT_EQ(s.iwsav[kVerify], -1);
        EXPECT_EQ(Set(setter, s, "Verify Constraint Gradients"), 0);
        EXPECT_EQ(s.iwsav[kVerify], 2);
        EXPECT_EQ(Set(setter, s, "Verify Objective Gradients"), 0);
        EXPECT_EQ(s.iwsav[kVerify], 1);
        EXPECT_EQ(Set(setter, s, "Verify"), 0);
        EXPECT_EQ(s.iwsav[kVerify], 3);
        EXPECT_EQ(Set(setter, s, "Verify Maybe"), 3);
        EXPECT_EQ(Set(setter, s, "Start Constraint Check At Variable 2"), 0);
        EXPECT_EQ(s.iwsav[kConCheckStart], 2);
        EXPECT_EQ(Set(setter, s, "Stop Constraint Check At Variable 0"), 4);
        EXPECT_EQ(Set(setter, s, "Difference Interval 1e-8"), 0);
        EXPECT_EQ(Set(setter, s, "Central Difference Interval 1e-5"), 0);
        EXPECT_EQ(Set(setter, s, "Nonlinear Feasibility Tolerance 1e-20"), 0);
        EXPECT_EQ(s.rwsav[kNonlinFeasTol], TalvoFloat(1e-20));
        EXPECT_EQ(Set(setter, s, "Linear Feasibility Tolerance 1e-21"), 0);
        EXPECT_EQ(s.rwsav[kFeasTol], TalvoFloat(1e-21));
        EXPECT_EQ(Set(setter, s, "Hessian Yes"), 0);
        EXPECT_EQ(s.iwsav[kHessianOpt], 1);
        EXPECT_EQ(Set(setter, s, "Hessian Maybe"), 3);
        EXPECT_EQ(Set(setter, s, "Minor Optimality Tolerance 1e-22"), 0);
        EXPECT_EQ(s.rwsav[kMinorOptTol], TalvoFloat(1e-22));
        EXPECT_EQ(Set(setter, s, "Problem Type LP"), 2);
        EXPECT_EQ(Set(setter, s, "Warm Start"), 0);
        EXPECT_EQ(s.iwsav[kWarmStart], 1);
    }
}

// ---------------------------------------------------------------------------
// Linear programs through e04mfa
// ---------------------------------------------------------------------------

struct LpRun {
    Integer ifail = -99, iter = 0;
    TalvoFloat obj;
    std::vector<TalvoFloat> x, ax, clamda;
    std::vector<Integer> istate;
};

// Solves min c'x, bl <= (x, A x) <= bu (A m x n column-major) by e04mfa.
LpRun SolveLp(long n, long m, const std::vector<TalvoFloat> &a, const std::vector<TalvoFloat> &bl,
              const std::vector<TalvoFloat> &bu, const std::vector<TalvoFloat> &c, std::vector<const char *> options = {},
              const std::vector<Integer> *warm_istate = nullptr, const std::vector<TalvoFloat> *x0 = nullptr)
{
    Save s("E04MFA");
    for (const char *o : options)
        EXPECT_EQ(Set(TalvoMP_e04mha_, s, o), 0) << o;
    LpRun r;
    Integer nn = n, nclin = m, lda = std::max(1L, m);
    r.x = x0 ? *x0 : std::vector<TalvoFloat>(size_t(n), TalvoFloat(0.0));
    r.ax.assign(size_t(std::max(1L, m)), TalvoFloat(0.0));
    r.clamda.assign(size_t(n + m), TalvoFloat(0.0));
    r.istate = warm_istate ? *warm_istate : std::vector<Integer>(size_t(n + m), 0);
    Integer liwork = 2 * n + 3, lwork = 2 * (n + m + 1) * (n + m + 1) + 7 * n + 5 * m;
    std::vector<Integer> iwork(static_cast<size_t>(liwork));
    std::vector<TalvoFloat> work(static_cast<size_t>(lwork));
    std::vector<TalvoFloat> aa = a.empty() ? std::vector<TalvoFloat>(1) : a;
    TalvoMP_e04mfa_(&nn, &nclin, aa.data(), &lda, bl.data(), bu.data(), c.data(), r.istate.data(), r.x.data(), &r.iter,
                    &r.obj, r.ax.data(), r.clamda.data(), iwork.data(), &liwork, work.data(), &lwork, s.lwsav.data(),
                    s.iwsav.data(), s.rwsav.data(), &r.ifail);
    return r;
}

std::string DataPath(const std::string &file) { return std::string(TALVO_NUMERICS_DATA) + "/netlib/" + file; }

// The exact optimum of a Netlib problem from optimal_values.csv (a
// fraction p/q), and the value printed in the collection's readme.
struct Optimum {
    std::string exact, readme;
};

// The exact optimum is the one of scripts/reference/lp_exact.py (a
// rational simplex, lp_exact.csv); the readme value from the collection's
// table (optimal_values.csv).
Optimum OptimumOf(const std::string &name)
{
    Optimum o;
    auto field = [&](const char *file, size_t want, size_t column) {
        std::ifstream in(DataPath(file));
        std::string line;
        while (std::getline(in, line)) {
            std::vector<std::string> f;
            std::stringstream ss(line);
            for (std::string t; std::getline(ss, t, ',');)
                f.push_back(t);
            if (f.size() >= want && f[0] == name)
                return f[column];
        }
        ADD_FAILURE() << "no optimum for " << name << " in " << file;
        return std::string("0");
    };
    o.exact = field("lp_exact.csv", 3, 2);
    o.readme = field("optimal_values.csv", 8, 4);
    return o;
}

// p/q at the working precision.
TalvoFloat Fraction(const std::string &text)
{
    const size_t slash = text.find('/');
    if (slash == std::string::npos)
        return mps::Number(text);
    // Big integers: parse as decimal numbers at a precision that holds them.
    const mpfr_prec_t prec = talvo_float_precision() + 64 + mpfr_prec_t(text.size() * 4);
    mpfr_t p, q;
    mpfr_init2(p, prec);
    mpfr_init2(q, prec);
    mpfr_set_str(p, text.substr(0, slash).c_str(), 10, MPFR_RNDN);
    mpfr_set_str(q, text.substr(slash + 1).c_str(), 10, MPFR_RNDN);
    mpfr_div(p, p, q, MPFR_RNDN);
    TalvoFloat r = TalvoFloat::from_handle(talvo_float_from_mpfr(p, 0));
    mpfr_clear(p);
    mpfr_clear(q);
    return r;
}

TalvoFloat RelErr(const TalvoFloat &got, const TalvoFloat &want)
{
    TalvoFloat d = got - want;
    if (d < TalvoFloat(0.0))
        d = -d;
    TalvoFloat w = want < TalvoFloat(0.0) ? -want : want;
    return w > TalvoFloat(0.0) ? d / w : d;
}

TalvoFloat Pow10(long k) { return pow(TalvoFloat(10.0), TalvoFloat(double(k))); }

void CheckNetlib(const std::string &name, long digits)
{
    DigitsScope scope(digits);
    const TalvoFloat big(1e20);
    const mps::Lp lp = mps::Read(DataPath(name + ".mps"), big);
    const auto t0 = std::chrono::steady_clock::now();
    const LpRun r = SolveLp(lp.n, lp.m, lp.a, lp.bl, lp.bu, lp.c);
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    ASSERT_EQ(r.ifail, 0) << name;
    const TalvoFloat obj = r.obj + lp.constant;
    const Optimum opt = OptimumOf(name);
    // Against the exact optimum, to Digits - 2 digits.
    EXPECT_TRUE(RelErr(obj, Fraction(opt.exact)) < Pow10(-(digits - 2)))
        << name << " at " << digits << ": " << talvo_float_to_string(obj.handle(), digits) << " vs " << opt.exact;
    // The readme's printed value (11 digits) to its last digit.
    EXPECT_TRUE(RelErr(obj, mps::Number(opt.readme)) < TalvoFloat(6e-11)) << name;
    // Feasible: every bound and constraint within the working precision.
    for (long i = 0; i < lp.n + lp.m; ++i) {
        const TalvoFloat v = i < lp.n ? r.x[size_t(i)] : r.ax[size_t(i - lp.n)];
        const TalvoFloat slack = Pow10(-(digits - 5)) * (TalvoFloat(1.0) + (v < TalvoFloat(0.0) ? -v : v));
        EXPECT_TRUE(v >= lp.bl[size_t(i)] - slack && v <= lp.bu[size_t(i)] + slack) << name << " row " << i;
    }
    std::printf("%-10s D=%ld  iterations %ld  %.3f s\n", name.c_str(), digits, long(r.iter), secs);
}

TEST(ProgrammingNetlib, Afiro)
{
    CheckNetlib("afiro", 30);
    CheckNetlib("afiro", 50);
    // Tolerances far below the range of a double.
    CheckNetlib("afiro", 400);
    CheckNetlib("sc50a", 1000);
}

TEST(ProgrammingNetlib, Sc50aSc50bSc105)
{
    for (const char *name : {"sc50a", "sc50b", "sc105"}) {
        CheckNetlib(name, 30);
        CheckNetlib(name, 50);
    }
}

TEST(ProgrammingNetlib, Kb2Blend)
{
    for (const char *name : {"kb2", "blend"}) {
        CheckNetlib(name, 30);
        CheckNetlib(name, 50);
    }
}

TEST(ProgrammingNetlib, AdlittleRecipeShare2b)
{
    for (const char *name : {"adlittle", "recipe", "share2b"}) {
        CheckNetlib(name, 30);
        if (!kSanitized)
            CheckNetlib(name, 50);
    }
}

// Pricing by steepest edge, with the least-index rule held back for long
// degenerate runs: each problem within twice the iterations of a
// double-precision dual simplex code (HiGHS through SciPy 1.10: afiro 6,
// sc50a 18, sc50b 18, sc105 46, kb2 31, blend 80, adlittle 87, recipe 19,
// share2b 99).  Dantzig's rule took 65 on kb2 and 239 on blend.
TEST(ProgrammingNetlib, IterationsWithinTwiceADualSimplexCode)
{
    DigitsScope scope(15);
    const std::pair<const char *, long> peer[] = {{"afiro", 6}, {"sc50a", 18},    {"sc50b", 18},
                                                  {"sc105", 46}, {"kb2", 31},     {"blend", 80},
                                                  {"adlittle", 87}, {"recipe", 19}, {"share2b", 99}};
    for (const auto &[name, iterations] : peer) {
        // The largest three are left to the release build.
        if (kSanitized && (std::string(name) == "adlittle" || std::string(name) == "recipe" ||
                           std::string(name) == "share2b"))
            continue;
        const mps::Lp lp = mps::Read(DataPath(std::string(name) + ".mps"), TalvoFloat(1e20));
        const LpRun r = SolveLp(lp.n, lp.m, lp.a, lp.bl, lp.bu, lp.c);
        ASSERT_EQ(r.ifail, 0) << name;
        EXPECT_LE(long(r.iter), 2 * iterations) << name;
    }
}

TEST(ProgrammingNetlib, WarmStartFromTheSolutionTakesNoIteration)
{
    DigitsScope scope(30);
    const mps::Lp lp = mps::Read(DataPath("afiro.mps"), TalvoFloat(1e20));
    const LpRun cold = SolveLp(lp.n, lp.m, lp.a, lp.bl, lp.bu, lp.c);
    ASSERT_EQ(cold.ifail, 0);
    EXPECT_GT(cold.iter, 0);
    const LpRun warm = SolveLp(lp.n, lp.m, lp.a, lp.bl, lp.bu, lp.c, {"Warm Start"}, &cold.istate, &cold.x);
    ASSERT_EQ(warm.ifail, 0);
    EXPECT_EQ(warm.iter, 0);
    EXPECT_TRUE(RelErr(warm.obj, cold.obj) < Pow10(-28));
}

std::vector<TalvoFloat> F(std::initializer_list<double> v)
{
    std::vector<TalvoFloat> r;
    for (double d : v)
        r.emplace_back(d);
    return r;
}

TEST(ProgrammingLp, BealesCyclingExampleFinishes)
{
    // Beale (1955): min -3/4 x1 + 20 x2 - 1/2 x3 + 6 x4 subject to
    // 1/4 x1 - 8 x2 - x3 + 9 x4 <= 0, 1/2 x1 - 12 x2 - 1/2 x3 + 3 x4 <= 0,
    // 0 <= x3 <= 1, x >= 0; from the degenerate vertex x = 0.  The optimum
    // is -5/4 at (1, 0, 1, 0).
    for (long digits : {15L, 30L, 50L}) {
        DigitsScope scope(digits);
        const TalvoFloat big(1e20);
        const std::vector<TalvoFloat> a = F({0.25, 0.5, -8, -12, -1, -0.5, 9, 3});
        const std::vector<TalvoFloat> bl = {TalvoFloat(0.0), TalvoFloat(0.0), TalvoFloat(0.0), TalvoFloat(0.0), -big, -big};
        const std::vector<TalvoFloat> bu = {big, big, TalvoFloat(1.0), big, TalvoFloat(0.0), TalvoFloat(0.0)};
        const std::vector<TalvoFloat> c = F({-0.75, 20, -0.5, 6});
        for (const char *rule : {"Expand Frequency 5", "Expand Frequency 1"}) {
            const LpRun r = SolveLp(4, 2, a, bl, bu, c, {rule});
            ASSERT_EQ(r.ifail, 0) << rule;
            EXPECT_TRUE(RelErr(r.obj, TalvoFloat(-1.25)) < Pow10(-(digits - 1))) << rule;
            EXPECT_TRUE(RelErr(r.x[0], TalvoFloat(1.0)) < Pow10(-(digits - 1)));
            EXPECT_TRUE(RelErr(r.x[2], TalvoFloat(1.0)) < Pow10(-(digits - 1)));
            EXPECT_LT(r.iter, 20);
        }
    }
}

TEST(ProgrammingLp, DegenerateVertexWithManyActiveConstraints)
{
    // min -x - y over the square [0, 1]^2 cut by x + y <= 2, x - y <= 1,
    // y - x <= 1, 2x + 2y <= 4: four constraints through (1, 1).
    DigitsScope scope(30);
    const TalvoFloat big(1e20);
    const std::vector<TalvoFloat> a = F({1, 1, -1, 2, 1, -1, 1, 2});
    std::vector<TalvoFloat> bl = {TalvoFloat(0.0), TalvoFloat(0.0), -big, -big, -big, -big};
    std::vector<TalvoFloat> bu = {TalvoFloat(1.0), TalvoFloat(1.0), TalvoFloat(2.0), TalvoFloat(1.0), TalvoFloat(1.0),
                                  TalvoFloat(4.0)};
    const LpRun r = SolveLp(2, 4, a, bl, bu, F({-1, -1}));
    ASSERT_EQ(r.ifail, 0);
    EXPECT_TRUE(RelErr(r.obj, TalvoFloat(-2.0)) < Pow10(-28));
}

TEST(ProgrammingLp, InfeasibleAndUnbounded)
{
    DigitsScope scope(30);
    const TalvoFloat big(1e20);
    // x1 + x2 >= 3 and x1 + x2 <= 1, x >= 0.
    {
        const LpRun r = SolveLp(2, 2, F({1, 1, 1, 1}), {TalvoFloat(0.0), TalvoFloat(0.0), TalvoFloat(3.0), -big},
                                {big, big, big, TalvoFloat(1.0)}, F({1, 1}));
        EXPECT_EQ(r.ifail, 3);
        // The sum of infeasibilities left: 2.
        EXPECT_TRUE(RelErr(r.obj, TalvoFloat(2.0)) < Pow10(-25));
    }
    // min -x1 - x2 with x1 - x2 <= 1, x >= 0: unbounded.
    {
        const LpRun r = SolveLp(2, 1, F({1, -1}), {TalvoFloat(0.0), TalvoFloat(0.0), -big},
                                {big, big, TalvoFloat(1.0)}, F({-1, -1}));
        EXPECT_EQ(r.ifail, 2);
    }
    // Free variables, no constraints, a nonzero cost: unbounded.
    {
        const LpRun r = SolveLp(2, 0, {}, {-big, -big}, {big, big}, F({1, 0}));
        EXPECT_EQ(r.ifail, 2);
    }
    // A feasible point only ("Problem Type FP").
    {
        const LpRun r = SolveLp(2, 1, F({1, 1}), {TalvoFloat(0.0), TalvoFloat(0.0), TalvoFloat(3.0)},
                                {big, big, TalvoFloat(3.0)}, F({-1, -1}), {"Problem Type FP"});
        EXPECT_EQ(r.ifail, 0);
        EXPECT_TRUE(RelErr(r.ax[0], TalvoFloat(3.0)) < Pow10(-28));
    }
}

TEST(ProgrammingLp, InvalidInputIsIfail6)
{
    DigitsScope scope(30);
    const TalvoFloat big(1e20);
    const std::vector<TalvoFloat> c = F({1, 1});
    // bl > bu
    EXPECT_EQ(SolveLp(2, 0, {}, {TalvoFloat(1.0), TalvoFloat(0.0)}, {TalvoFloat(0.0), big}, c).ifail, 6);
    // Arrays initialised for another routine.
    Save s("E04NCA");
    Integer n = 2, nclin = 0, lda = 1, iter = 0, ifail = -1, liwork = 7, lwork = 15;
    std::vector<TalvoFloat> a(1), x(2), ax(1), clamda(2), work(15), bl = F({0, 0}), bu = F({1, 1});
    std::vector<Integer> istate(2), iwork(7);
    TalvoFloat obj;
    TalvoMP_e04mfa_(&n, &nclin, a.data(), &lda, bl.data(), bu.data(), c.data(), istate.data(), x.data(), &iter, &obj,
                    ax.data(), clamda.data(), iwork.data(), &liwork, work.data(), &lwork, s.lwsav.data(), s.iwsav.data(),
                    s.rwsav.data(), &ifail);
    EXPECT_EQ(ifail, 6);
    // Workspace too short (7n + 1 = 15 needed with no constraints).
    Save m("E04MFA");
    lwork = 14;
    TalvoMP_e04mfa_(&n, &nclin, a.data(), &lda, bl.data(), bu.data(), c.data(), istate.data(), x.data(), &iter, &obj,
                    ax.data(), clamda.data(), iwork.data(), &liwork, work.data(), &lwork, m.lwsav.data(), m.iwsav.data(),
                    m.rwsav.data(), &ifail);
    EXPECT_EQ(ifail, 6);
    lwork = 15;
    TalvoMP_e04mfa_(&n, &nclin, a.data(), &lda, bl.data(), bu.data(), c.data(), istate.data(), x.data(), &iter, &obj,
                    ax.data(), clamda.data(), iwork.data(), &liwork, work.data(), &lwork, m.lwsav.data(), m.iwsav.data(),
                    m.rwsav.data(), &ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_EQ(obj, TalvoFloat(0.0));
}

// ---------------------------------------------------------------------------
// Quadratic programs and least squares through e04nca and e04nfa
// ---------------------------------------------------------------------------

struct NcaRun {
    Integer ifail = -99, iter = 0;
    TalvoFloat obj;
    std::vector<TalvoFloat> x, clamda;
};

NcaRun SolveNca(const char *type, long m, long n, long nclin, std::vector<TalvoFloat> c, std::vector<TalvoFloat> bl,
                std::vector<TalvoFloat> bu, std::vector<TalvoFloat> cvec, std::vector<TalvoFloat> a,
                std::vector<TalvoFloat> b)
{
    Save s("E04NCA");
    EXPECT_EQ(Set(TalvoMP_e04nea_, s, type), 0);
    NcaRun r;
    Integer mm = m, nn = n, nc = nclin, ldc = std::max(1L, nclin), lda = std::max(1L, std::max(m, n));
    std::vector<TalvoFloat> aa(size_t(lda * n));
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < std::max(m, n) && size_t(i + j * std::max(m, n)) < a.size(); ++i)
            aa[size_t(i + j * lda)] = a[size_t(i + j * std::max(m, n))];
    if (c.empty())
        c.resize(1);
    if (b.empty())
        b.resize(1);
    r.x.assign(size_t(n), TalvoFloat(0.0));
    r.clamda.assign(size_t(n + nclin), TalvoFloat(0.0));
    std::vector<Integer> istate(size_t(n + nclin)), kx(static_cast<size_t>(n));
    Integer liwork = n, lwork = 10 * n;
    std::vector<Integer> iwork(static_cast<size_t>(liwork));
    std::vector<TalvoFloat> work(static_cast<size_t>(lwork));
    TalvoMP_e04nca_(&mm, &nn, &nc, &ldc, &lda, c.data(), bl.data(), bu.data(), cvec.data(), istate.data(), kx.data(),
                    r.x.data(), aa.data(), b.data(), &r.iter, &r.obj, r.clamda.data(), iwork.data(), &liwork,
                    work.data(), &lwork, s.lwsav.data(), s.iwsav.data(), s.rwsav.data(), &r.ifail);
    return r;
}

TEST(ProgrammingQp, ConvexQpOnAHalfPlane)
{
    // min x1^2 + x2^2 - 2 x1 - 5 x2 subject to x1 + x2 <= 2, x >= 0: the
    // projection of (1, 2.5) on the line, (0.25, 1.75), value -6.125, the
    // multiplier of the constraint -1.5.
    for (long digits : {30L, 50L}) {
        DigitsScope scope(digits);
        const TalvoFloat big(1e20);
        const NcaRun r = SolveNca("Problem Type QP2", 2, 2, 1, F({1, 1}), {TalvoFloat(0.0), TalvoFloat(0.0), -big},
                                  {big, big, TalvoFloat(2.0)}, F({-2, -5}), F({2, 0, 0, 2}), {});
        ASSERT_EQ(r.ifail, 0);
        EXPECT_TRUE(RelErr(r.x[0], TalvoFloat(0.25)) < Pow10(-(digits - 2)));
        EXPECT_TRUE(RelErr(r.x[1], TalvoFloat(1.75)) < Pow10(-(digits - 2)));
        EXPECT_TRUE(RelErr(r.obj, TalvoFloat(-6.125)) < Pow10(-(digits - 2)));
        EXPECT_TRUE(RelErr(r.clamda[2], TalvoFloat(-1.5)) < Pow10(-(digits - 2)));
    }
}

TEST(ProgrammingQp, LeastSquaresWithABound)
{
    // min 1/2 ||b - A x||^2, A = [1 0; 0 1; 1 1], b = (1, 2, 2), x2 <= 1:
    // x = (1, 1), value 1/2, the bound's multiplier -1.  Without the bound
    // (2/3, 5/3).
    for (long digits : {30L, 50L}) {
        DigitsScope scope(digits);
        const TalvoFloat big(1e20);
        const std::vector<TalvoFloat> A = F({1, 0, 1, 0, 1, 1});
        NcaRun r = SolveNca("Problem Type LS1", 3, 2, 0, {}, {-big, -big}, {big, TalvoFloat(1.0)}, F({0, 0}), A,
                            F({1, 2, 2}));
        ASSERT_EQ(r.ifail, 0);
        EXPECT_TRUE(RelErr(r.x[0], TalvoFloat(1.0)) < Pow10(-(digits - 2)));
        EXPECT_TRUE(RelErr(r.x[1], TalvoFloat(1.0)) < Pow10(-(digits - 2)));
        EXPECT_TRUE(RelErr(r.obj, TalvoFloat(0.5)) < Pow10(-(digits - 2)));
        EXPECT_TRUE(RelErr(r.clamda[1], TalvoFloat(-1.0)) < Pow10(-(digits - 2)));
        r = SolveNca("Problem Type LS1", 3, 2, 0, {}, {-big, -big}, {big, big}, F({0, 0}), A, F({1, 2, 2}));
        ASSERT_EQ(r.ifail, 0);
        EXPECT_TRUE(RelErr(r.x[0], TalvoFloat(2.0) / TalvoFloat(3.0)) < Pow10(-(digits - 2)));
        EXPECT_TRUE(RelErr(r.x[1], TalvoFloat(5.0) / TalvoFloat(3.0)) < Pow10(-(digits - 2)));
        // LS2 adds c'x: with c = (1, 0) the normal equations give
        // [2 1; 1 2] x = (2, 4): x = (0, 2).
        r = SolveNca("Problem Type LS2", 3, 2, 0, {}, {-big, -big}, {big, big}, F({1, 0}), A, F({1, 2, 2}));
        ASSERT_EQ(r.ifail, 0);
        EXPECT_TRUE(fabs(r.x[0]) < Pow10(-(digits - 2)));
        EXPECT_TRUE(RelErr(r.x[1], TalvoFloat(2.0)) < Pow10(-(digits - 2)));
    }
}

long g_hess_calls = 0;

void DiagHess(Integer *n, Integer *, const TalvoFloat *h, Integer *ldh, const TalvoFloat *x, TalvoFloat *hx, Integer *,
              TalvoFloat *)
{
    ++g_hess_calls;
    for (Integer i = 0; i < *n; ++i)
        hx[i] = h[i + i * *ldh] * x[i];
}

TEST(ProgrammingQp, NonconvexThroughE04nfaGivesALocalMinimiser)
{
    // min 1/2 (x1^2 - x2^2) on [-1, 1] x [-1, 2] from (0.5, 0.5): x1 = 0,
    // x2 at one of its bounds (a local minimiser: -1/2 or -2).
    DigitsScope scope(30);
    Save s("E04NFA");
    Integer n = 2, nclin = 0, lda = 1, ldh = 2, iter = 0, ifail = -1, liwork = 7, lwork = 20;
    std::vector<TalvoFloat> a(1), h = F({1, 0, 0, -1}), bl = F({-1, -1}), bu = F({1, 2}), cvec = F({0, 0});
    std::vector<TalvoFloat> x = F({0.5, 0.5}), ax(1), clamda(2), work(20), ruser(1);
    std::vector<Integer> istate(2), iwork(7), iuser(1);
    TalvoFloat obj;
    g_hess_calls = 0;
    TalvoMP_e04nfa_(&n, &nclin, a.data(), &lda, bl.data(), bu.data(), cvec.data(), h.data(), &ldh, DiagHess,
                    istate.data(), x.data(), &iter, &obj, ax.data(), clamda.data(), iwork.data(), &liwork, work.data(),
                    &lwork, iuser.data(), ruser.data(), s.lwsav.data(), s.iwsav.data(), s.rwsav.data(), &ifail);
    ASSERT_EQ(ifail, 0);
    EXPECT_GT(g_hess_calls, 0);
    EXPECT_TRUE(fabs(x[0]) < Pow10(-28));
    EXPECT_TRUE(x[1] == TalvoFloat(-1.0) || x[1] == TalvoFloat(2.0));
    EXPECT_TRUE(RelErr(obj, -(x[1] * x[1]) / TalvoFloat(2.0)) < Pow10(-28));
    EXPECT_EQ(istate[0], 0);
    // The same with the dense Hessian (no qphess), a strictly convex case:
    // min 1/2 (x1^2 + x2^2) - x1 - x2 on the box: (1, 1).
    h = F({1, 0, 0, 1});
    cvec = F({-1, -1});
    x = F({0.5, 0.5});
    TalvoMP_e04nfa_(&n, &nclin, a.data(), &lda, bl.data(), bu.data(), cvec.data(), h.data(), &ldh, nullptr,
                    istate.data(), x.data(), &iter, &obj, ax.data(), clamda.data(), iwork.data(), &liwork, work.data(),
                    &lwork, iuser.data(), ruser.data(), s.lwsav.data(), s.iwsav.data(), s.rwsav.data(), &ifail);
    ASSERT_EQ(ifail, 0);
    EXPECT_TRUE(RelErr(x[0], TalvoFloat(1.0)) < Pow10(-28));
    EXPECT_TRUE(RelErr(x[1], TalvoFloat(1.0)) < Pow10(-28));
    EXPECT_TRUE(RelErr(obj, TalvoFloat(-1.0)) < Pow10(-28));
}

// The Hock-Schittkowski problems with a quadratic objective and linear
// constraints (data/hock_schittkowski/qp.tsv, from
// scripts/reference/hs_qp.py) by e04nca as QP2: the optimal value to
// Digits - 2 digits where it is exact, else to the digits published.
TEST(ProgrammingQp, HockSchittkowskiQuadraticPrograms)
{
    for (long digits : {30L, 50L}) {
        DigitsScope scope(digits);
        const TalvoFloat big(1e20);
        std::ifstream in(std::string(TALVO_NUMERICS_DATA) + "/hock_schittkowski/qp.tsv");
        ASSERT_TRUE(in.good());
        std::string line;
        std::vector<std::vector<std::string>> block;
        auto value = [&](const std::string &t, const TalvoFloat &inf) { return t == "inf" ? inf : Fraction(t); };
        auto solve_block = [&]() {
            if (block.empty())
                return;
            const std::string name = block[0][1];
            const long n = std::stol(block[0][2]), nclin = std::stol(block[0][3]);
            std::vector<TalvoFloat> H(size_t(n * n)), cvec(static_cast<size_t>(n)), C(static_cast<size_t>(std::max(1L, nclin) * n)), bl, bu;
            TalvoFloat constant;
            std::vector<TalvoFloat> cl, cu;
            std::string fstar;
            long hrow = 0, crow = 0;
            for (size_t k = 1; k < block.size(); ++k) {
                const auto &f = block[k];
                if (f[0] == "H") {
                    for (long j = 0; j < n; ++j)
                        H[size_t(hrow + j * n)] = Fraction(f[size_t(j + 1)]);
                    ++hrow;
                } else if (f[0] == "c") {
                    for (long j = 0; j < n; ++j)
                        cvec[size_t(j)] = Fraction(f[size_t(j + 1)]);
                    constant = Fraction(f[size_t(n + 1)]);
                } else if (f[0] == "con") {
                    for (long j = 0; j < n; ++j)
                        C[size_t(crow + j * nclin)] = Fraction(f[size_t(j + 1)]);
                    cl.push_back(value(f[size_t(n + 1)], -big));
                    cu.push_back(value(f[size_t(n + 2)], big));
                    ++crow;
                } else if (f[0] == "bounds") {
                    for (long j = 0; j < n; ++j)
                        bl.push_back(value(f[size_t(j + 1)], -big));
                    for (long j = 0; j < n; ++j)
                        bu.push_back(value(f[size_t(n + j + 1)], big));
                } else if (f[0] == "fstar") {
                    fstar = f[1];
                }
            }
            bl.insert(bl.end(), cl.begin(), cl.end());
            bu.insert(bu.end(), cu.begin(), cu.end());
            const NcaRun r = SolveNca("Problem Type QP2", n, n, nclin, C, bl, bu, cvec, H, {});
            ASSERT_EQ(r.ifail, 0) << name;
            const TalvoFloat obj = r.obj + constant;
            // Exact (a fraction or few digits) or published to some digits.
            long sig = 0;
            for (char ch : fstar)
                sig += std::isdigit(static_cast<unsigned char>(ch)) ? 1 : 0;
            const bool exact = fstar.find('/') != std::string::npos || sig < 9;
            const TalvoFloat want = Fraction(fstar);
            const TalvoFloat tol = exact ? Pow10(-(digits - 2)) : Pow10(-(sig - 1));
            const TalvoFloat err = want == TalvoFloat(0.0) ? fabs(obj) : RelErr(obj, want);
            EXPECT_TRUE(err < tol) << name << " at " << digits << ": " << talvo_float_to_string(obj.handle(), digits)
                                   << " vs " << fstar;
            block.clear();
        };
        while (std::getline(in, line)) {
            if (line.empty() || line[0] == '#')
                continue;
            std::vector<std::string> f;
            std::stringstream ss(line);
            for (std::string t; std::getline(ss, t, '\t');)
                f.push_back(t);
            if (f[0] == "problem")
                solve_block();
            block.push_back(f);
        }
        solve_block();
    }
}

} // namespace
