// programming_test.cpp -- the linear and quadratic programming routines
// (e04mfa, e04nca, e04nfa on the active-set engine) and the option setters
// of the save-array solvers (e04mha, e04nea, e04nha, e04uea, e04ura).
#include "mps_reader.hpp"
#include "talvo_mp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <cstring>
#include <string>
#include <vector>

namespace {

#if defined(__SANITIZE_ADDRESS__)
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

Optimum OptimumOf(const std::string &name)
{
    std::ifstream in(DataPath("optimal_values.csv"));
    std::string line;
    while (std::getline(in, line)) {
        std::vector<std::string> f;
        std::stringstream ss(line);
        for (std::string t; std::getline(ss, t, ',');)
            f.push_back(t);
        if (f.size() >= 8 && f[0] == name)
            return {f[7], f[4]};
    }
    ADD_FAILURE() << "no optimum for " << name;
    return {};
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
}

} // namespace
