// optimization_test.cpp -- the minimisers e04aba, e04cca, e04dga (with
// e04wbf and e04dka), e04kdf and e04fcf called directly: Rosenbrock from
// (-1.2, 1) at Digits 50 with each, the More-Garbow-Hillstrom problems by
// least squares at Digits 15, 30 and 50 (the minimum value to Digits - 2
// digits, against data/optimization/mgh_minima.tsv where it is not zero),
// and by the quasi-Newton and Newton methods, bounds, the option grammar,
// the failure codes, and user routines that stop or return undefined values.
#include "mgh_problems.hpp"
#include "talvo_mp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
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

using mgh::F;
using Vec = std::vector<TalvoFloat>;

struct DigitsScope {
    long saved;
    explicit DigitsScope(long digits) : saved(talvo_float_digits()) { talvo_float_set_digits(digits); }
    ~DigitsScope() { talvo_float_set_digits(saved); }
};

TalvoFloat Pow10(long k) { return pow(TalvoFloat(10.0), TalvoFloat(double(k))); }

// ---------------------------------------------------------------------------
// The problem every callback below works on
// ---------------------------------------------------------------------------

const mgh::Problem *g_problem = nullptr;
long g_calls = 0;
long g_stop_after = -1;      // a callback asks to stop at this call
long g_undefined_after = -1; // a callback returns undefined from this call on

bool Poisoned() { return g_undefined_after >= 0 && g_calls >= g_undefined_after; }

void LsqFun(Integer *iflag, Integer *m, Integer *, const TalvoFloat *x, TalvoFloat *fvec, Integer *, Integer *,
            TalvoFloat *, Integer *)
{
    ++g_calls;
    if (g_stop_after >= 0 && g_calls >= g_stop_after)
        *iflag = -1;
    g_problem->value(x, fvec);
    if (Poisoned())
        for (Integer i = 0; i < *m; ++i)
            fvec[i] = TalvoFloatUndefined();
}

void ObjFun(Integer *mode, Integer *, const TalvoFloat *x, TalvoFloat *objf, TalvoFloat *objgrd, Integer *, Integer *,
            TalvoFloat *)
{
    ++g_calls;
    *objf = mgh::ValueAndGradient(*g_problem, x, objgrd);
    if (g_stop_after >= 0 && g_calls >= g_stop_after)
        *mode = -1;
    if (Poisoned())
        *objf = TalvoFloatUndefined();
}

void KdfFun(Integer *iflag, Integer *, const TalvoFloat *xc, TalvoFloat *fc, TalvoFloat *gc, Integer *, Integer *,
            TalvoFloat *, Integer *)
{
    ++g_calls;
    *fc = mgh::ValueAndGradient(*g_problem, xc, gc);
    if (Poisoned())
        *fc = TalvoFloatUndefined();
    if (g_stop_after >= 0 && g_calls >= g_stop_after)
        *iflag = -1;
}

void CcaFun(Integer *, const TalvoFloat *xc, TalvoFloat *fc, Integer *, TalvoFloat *)
{
    ++g_calls;
    *fc = Poisoned() ? TalvoFloatUndefined() : mgh::Value(*g_problem, xc);
}

const mgh::Problem &Find(int number)
{
    for (const mgh::Problem &p : mgh::Problems())
        if (p.number == number)
            return p;
    throw std::runtime_error("no such problem");
}

Vec Start(const mgh::Problem &p)
{
    Vec x;
    for (const char *t : p.x0)
        x.push_back(F(t));
    return x;
}

// The minima that are not zero, as decimal text (70 digits).
const std::map<int, std::string> &Minima()
{
    static const std::map<int, std::string> table = [] {
        std::map<int, std::string> t;
        std::ifstream in(std::string(TALVO_NUMERICS_DATA) + "/optimization/mgh_minima.tsv");
        std::string line;
        while (std::getline(in, line)) {
            if (line.empty() || line[0] == '#')
                continue;
            std::istringstream fields(line);
            int number;
            std::string value;
            fields >> number >> value;
            t[number] = value;
        }
        return t;
    }();
    return table;
}

// f within 10^-(D-2) of the minimum: absolutely when it is zero, relatively
// otherwise -- plus, where evaluating f at D digits itself loses digits to
// cancellation (Meyer's residuals are differences of numbers near 10^4 whose
// squares sum to 88), a few times that evaluation error, measured at the
// point found as the difference between f at D and at D + 30 digits.
void ExpectMinimum(const mgh::Problem &p, const TalvoFloat &f, long digits, const Vec &x)
{
    if (p.zero_minimum) {
        EXPECT_TRUE(f <= Pow10(-(digits - 2))) << p.name << " at Digits " << digits << ": f = " << f.to_double();
        return;
    }
    auto it = Minima().find(p.number);
    ASSERT_NE(it, Minima().end()) << p.name;
    TalvoFloat noise;
    {
        DigitsScope more(digits + 30);
        noise = fabs(mgh::Value(p, x.data()) - f);
    }
    const TalvoFloat fstar = F(it->second.c_str());
    const TalvoFloat rel = fabs(f - fstar) / fstar;
    const TalvoFloat allowed = Pow10(-(digits - 2)) + TalvoFloat(4.0) * noise / fstar;
    EXPECT_TRUE(rel <= allowed) << p.name << " at Digits " << digits << ": relative error " << rel.to_double()
                                << ", evaluation error " << (noise / fstar).to_double();
    // The evaluation error allowance stays small: at most 5 digits.
    EXPECT_TRUE(noise / fstar <= Pow10(-(digits - 5))) << p.name;
}

struct LsqResult {
    Vec x;
    TalvoFloat f;
    Integer ifail, niter, nf;
};

LsqResult RunLsq(const mgh::Problem &p, Vec x, Integer maxcal = 100000)
{
    g_problem = &p;
    g_calls = 0;
    Integer m = p.m, n = p.n, iprint = 0, ldfjac = m, ldv = n, niter, nf, liw = 1, lw = 1, ifail = -1;
    Integer iw[1];
    TalvoFloat w[1];
    TalvoFloat eta(0.5), xtol(0.0), stepmx(0.0), fsumsq;
    Vec fvec(static_cast<size_t>(m)), fjac(static_cast<size_t>(m * n)), s(static_cast<size_t>(n)), v(static_cast<size_t>(n * n));
    TalvoMP_e04fcf_(&m, &n, LsqFun, nullptr, &iprint, &maxcal, &eta, &xtol, &stepmx, x.data(), &fsumsq, fvec.data(),
                    fjac.data(), &ldfjac, s.data(), v.data(), &ldv, &niter, &nf, iw, &liw, w, &lw, &ifail);
    return {x, fsumsq, ifail, niter, nf};
}

struct DgaResult {
    Vec x;
    TalvoFloat f;
    Integer ifail, iter;
};

struct SaveArrays {
    std::vector<Integer> lwsav = std::vector<Integer>(kTalvoOptLwsav), iwsav = std::vector<Integer>(kTalvoOptIwsav);
    Vec rwsav = Vec(kTalvoOptRwsav);
    SaveArrays()
    {
        Integer l1 = kTalvoOptLwsav, l2 = kTalvoOptIwsav, l3 = kTalvoOptRwsav, ifail = -1;
        TalvoMP_e04wbf_("E04DGA", nullptr, nullptr, lwsav.data(), &l1, iwsav.data(), &l2, rwsav.data(), &l3, &ifail,
                        6, 0);
        EXPECT_EQ(ifail, 0);
    }
    Integer option(const char *text)
    {
        Integer inform = -1;
        TalvoMP_e04dka_(text, lwsav.data(), iwsav.data(), rwsav.data(), &inform, int(std::strlen(text)));
        return inform;
    }
};

DgaResult RunDga(const mgh::Problem &p, Vec x, SaveArrays &save)
{
    g_problem = &p;
    g_calls = 0;
    Integer n = p.n, iter = 0, ifail = -1;
    TalvoFloat objf;
    Vec g(static_cast<size_t>(n)), work(static_cast<size_t>(13 * n));
    std::vector<Integer> iwork(static_cast<size_t>(n + 1));
    TalvoMP_e04dga_(&n, ObjFun, &iter, &objf, g.data(), x.data(), iwork.data(), work.data(), nullptr, nullptr,
                    save.lwsav.data(), save.iwsav.data(), save.rwsav.data(), &ifail);
    return {x, objf, ifail, iter};
}

struct KdfResult {
    Vec x, g;
    TalvoFloat f;
    Integer ifail;
    std::vector<Integer> istate, iw;
};

KdfResult RunKdf(const mgh::Problem &p, Vec x, Integer ibound, Vec bl = {}, Vec bu = {}, Integer maxcal = 100000)
{
    g_problem = &p;
    g_calls = 0;
    Integer n = p.n, iprint = 0, lh = std::max<Integer>(n * (n - 1) / 2, 1), liw = 3, lw = 7 * n + n * (n - 1) / 2;
    Integer ifail = -1;
    TalvoFloat eta(0.5), xtol(0.0), delta(0.0), stepmx(0.0), f;
    if (bl.empty())
        bl.assign(static_cast<size_t>(n), TalvoFloat(0.0));
    if (bu.empty())
        bu.assign(static_cast<size_t>(n), TalvoFloat(0.0));
    Vec hesl(static_cast<size_t>(lh)), hesd(static_cast<size_t>(n)), g(static_cast<size_t>(n)), w(static_cast<size_t>(lw));
    std::vector<Integer> istate(static_cast<size_t>(n)), iw(static_cast<size_t>(liw));
    TalvoMP_e04kdf_(&n, KdfFun, nullptr, &iprint, &maxcal, &eta, &xtol, &delta, &stepmx, &ibound, bl.data(), bu.data(),
                    x.data(), hesl.data(), &lh, hesd.data(), istate.data(), &f, g.data(), iw.data(), &liw, w.data(),
                    &lw, &ifail);
    return {x, g, f, ifail, istate, iw};
}

void ExpectNear(const TalvoFloat &a, const TalvoFloat &b, const TalvoFloat &tol, const char *what)
{
    EXPECT_TRUE(fabs(a - b) <= tol) << what << ": " << a.to_double() << " vs " << b.to_double() << ", error "
                                    << fabs(a - b).to_double();
}

// ---------------------------------------------------------------------------
// Rosenbrock from (-1.2, 1) at Digits 50 with every solver
// ---------------------------------------------------------------------------

TEST(Rosenbrock50, LeastSquares)
{
    DigitsScope d(50);
    LsqResult r = RunLsq(Find(1), Start(Find(1)));
    EXPECT_EQ(r.ifail, 0);
    ExpectNear(r.x[0], F(1), Pow10(-48), "x1");
    ExpectNear(r.x[1], F(1), Pow10(-48), "x2");
    EXPECT_TRUE(r.f <= Pow10(-96));
    EXPECT_LT(r.nf, 200);
}

TEST(Rosenbrock50, QuasiNewton)
{
    DigitsScope d(50);
    SaveArrays save;
    DgaResult r = RunDga(Find(1), Start(Find(1)), save);
    EXPECT_EQ(r.ifail, 0);
    // The stopping test asks for |g| near 10^(-D/2): the minimiser to about
    // half the digits (|x - x*| ~ |g| / the Hessian's smallest eigenvalue),
    // the minimum value to the working precision.
    ExpectNear(r.x[0], F(1), Pow10(-22), "x1");
    ExpectNear(r.x[1], F(1), Pow10(-22), "x2");
    EXPECT_TRUE(r.f <= Pow10(-48));
    EXPECT_GT(r.iter, 10);
    EXPECT_LT(r.iter, 200);
}

TEST(Rosenbrock50, BoundedNewton)
{
    DigitsScope d(50);
    KdfResult r = RunKdf(Find(1), Start(Find(1)), 1);
    EXPECT_EQ(r.ifail, 0);
    ExpectNear(r.x[0], F(1), Pow10(-40), "x1");
    ExpectNear(r.x[1], F(1), Pow10(-40), "x2");
    EXPECT_TRUE(r.f <= Pow10(-48));
    EXPECT_EQ(r.istate[0], 0);
    EXPECT_GT(r.iw[0], 5);       // iterations
    EXPECT_GE(r.iw[1], r.iw[0]); // calls
}

TEST(Rosenbrock50, BoundedNewtonOnABound)
{
    // x1 <= 1/2: the minimum is on the bound, at (1/2, 1/4) with f = 1/4.
    DigitsScope d(50);
    KdfResult r = RunKdf(Find(1), Start(Find(1)), 0, {F(-2), F(-2)}, {F("0.5"), F(2)});
    EXPECT_EQ(r.ifail, 0);
    EXPECT_TRUE(r.x[0] == F("0.5"));
    ExpectNear(r.x[1], F("0.25"), Pow10(-40), "x2");
    ExpectNear(r.f, F("0.25"), Pow10(-48), "f");
    EXPECT_EQ(r.istate[0], -1); // held at its upper bound
    EXPECT_EQ(r.istate[1], 0);
    EXPECT_TRUE(r.g[0] < TalvoFloat(0.0)); // the gradient pushes out of the box
}

TEST(Rosenbrock50, Simplex)
{
    DigitsScope d(50);
    g_problem = &Find(1);
    g_calls = 0;
    Integer n = 2, iw = 3, maxcal = 20000, ifail = -1;
    Vec x = Start(Find(1)), w1(2), w2(2), w3(2), w4(2), w5(3), w6(6);
    TalvoFloat f, tol = Pow10(-45);
    TalvoMP_e04cca_(&n, x.data(), &f, &tol, &iw, w1.data(), w2.data(), w3.data(), w4.data(), w5.data(), w6.data(),
                    CcaFun, nullptr, &maxcal, nullptr, nullptr, &ifail);
    EXPECT_EQ(ifail, 0);
    // Values only: the minimiser to about half the digits of the values.
    ExpectNear(x[0], F(1), Pow10(-20), "x1");
    ExpectNear(x[1], F(1), Pow10(-20), "x2");
    EXPECT_TRUE(f <= Pow10(-44));
    EXPECT_LE(g_calls, maxcal);
}

TalvoFloat g_y_fixed;
void RosenbrockLine(const TalvoFloat *xc, TalvoFloat *fc, Integer *, TalvoFloat *)
{
    // Rosenbrock on the line x2 = 1: 100 (1 - x^2)^2 + (1 - x)^2, minimum 0 at x = 1.
    ++g_calls;
    const TalvoFloat x = *xc, a = g_y_fixed - x * x, b = TalvoFloat(1.0) - x;
    *fc = TalvoFloat(100.0) * a * a + b * b;
}

TEST(Rosenbrock50, OneVariable)
{
    DigitsScope d(50);
    g_calls = 0;
    g_y_fixed = F(1);
    TalvoFloat e1(0.0), e2(0.0), a(0.0), b(2.0), x, f;
    Integer maxcal = 1000, ifail = -1;
    TalvoMP_e04aba_(RosenbrockLine, &e1, &e2, &a, &b, &maxcal, &x, &f, nullptr, nullptr, &ifail);
    EXPECT_EQ(ifail, 0);
    ExpectNear(x, F(1), Pow10(-23), "x");
    EXPECT_TRUE(f <= Pow10(-46));
    EXPECT_TRUE(a <= x && x <= b);
    EXPECT_TRUE(b - a < Pow10(-20));
    EXPECT_EQ(maxcal, g_calls);
}

// ---------------------------------------------------------------------------
// More-Garbow-Hillstrom problems by least squares at Digits 15, 30, 50
// ---------------------------------------------------------------------------

class MghLeastSquares : public ::testing::TestWithParam<long> {};

TEST_P(MghLeastSquares, MinimumToDigitsMinusTwo)
{
    const long digits = GetParam();
    DigitsScope d(digits);
    for (const mgh::Problem &p : mgh::Problems()) {
        if (kSanitized && p.m > 20 && digits > 15)
            continue; // the long problems once, at Digits 15, under the sanitizers
        LsqResult r = RunLsq(p, Start(p));
        EXPECT_EQ(r.ifail, 0) << p.name << " at Digits " << digits;
        ExpectMinimum(p, r.f, digits, r.x);
        // The reported sum of squares is the one at the reported x.
        EXPECT_TRUE(mgh::Value(p, r.x.data()) == r.f) << p.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Digits, MghLeastSquares, ::testing::Values(15L, 30L, 50L));

// The tolerances follow "Digits" from call to call: the powers 10^(-D p)
// the solvers form are kept between calls, by Digits.  Digits 23 is used by
// no other test here, so its first solve computes them and the second finds
// them kept: both take the same steps to the same floats.  Solves at
// Digits 50 between solves at 23 reach their own accuracy, not that of 23.
TEST(Tolerances, FollowDigitsFromCallToCall)
{
    const mgh::Problem &bard = Find(8);
    LsqResult first, again;
    for (long digits : {23L, 50L, 23L, 50L}) {
        DigitsScope d(digits);
        LsqResult r = RunLsq(bard, Start(bard));
        EXPECT_EQ(r.ifail, 0) << "Digits " << digits;
        ExpectMinimum(bard, r.f, digits, r.x);
        if (digits == 23)
            (first.x.empty() ? first : again) = r;
    }
    DigitsScope d(23);
    ASSERT_EQ(first.x.size(), again.x.size());
    for (size_t j = 0; j < first.x.size(); ++j)
        EXPECT_TRUE(first.x[j] == again.x[j] && mpfr_get_prec(first.x[j].mpfr()) == mpfr_get_prec(again.x[j].mpfr())) << "x" << j;
    EXPECT_TRUE(first.f == again.f);
    EXPECT_EQ(first.nf, again.nf);
    EXPECT_EQ(first.niter, again.niter);
}

// By the gradient methods (from the standard starts) at Digits 30.
TEST(MghGradientMethods, QuasiNewtonAndNewtonAtDigits30)
{
    DigitsScope d(30);
    for (int number : {1, 5, 6, 8, 12, 14, 15}) {
        const mgh::Problem &p = Find(number);
        SaveArrays save;
        EXPECT_EQ(save.option("Iteration Limit 1000"), 0); // Wood takes a few hundred
        DgaResult q = RunDga(p, Start(p), save);
        EXPECT_EQ(q.ifail, 0) << p.name;
        ExpectMinimum(p, q.f, 30, q.x);
        KdfResult k = RunKdf(p, Start(p), 1);
        EXPECT_EQ(k.ifail, 0) << p.name;
        ExpectMinimum(p, k.f, 30, k.x);
    }
}

// ---------------------------------------------------------------------------
// Options
// ---------------------------------------------------------------------------

TEST(Options, GrammarAndPersistence)
{
    DigitsScope d(20);
    SaveArrays save;
    EXPECT_EQ(save.option("Iteration Limit = 3"), 0);
    EXPECT_EQ(save.option("  iters 3   * a comment"), 0);
    EXPECT_EQ(save.option(""), 0);
    EXPECT_EQ(save.option("Optimality Tolerance 1.0D-8"), 0);
    EXPECT_EQ(save.option("line search tolerance = 0.5"), 0);
    EXPECT_EQ(save.option("Linesearch Tolerance 0.95"), 0);
    EXPECT_EQ(save.option("Verify"), 0);
    EXPECT_EQ(save.option("Verify No"), 0);
    EXPECT_EQ(save.option("Verify Level 1"), 0);
    EXPECT_EQ(save.option("Verify Level 7"), 4);
    EXPECT_EQ(save.option("Nonsense Option 3"), 2);
    EXPECT_EQ(save.option("Iteration Limit"), 3);
    EXPECT_EQ(save.option("Iteration Limit x"), 3);
    EXPECT_EQ(save.option("Iteration Limit -1"), 4);
    EXPECT_EQ(save.option("Linesearch Tolerance 1.5"), 4);
    EXPECT_EQ(save.option("Maximum Step Length 0"), 4);
    EXPECT_EQ(save.option("Verify Level 0"), 0);
    EXPECT_EQ(save.option("Print Level 0"), 0);
    EXPECT_EQ(save.option("Iters 3"), 0);
    // The limit persists across calls: Rosenbrock needs more than 3 iterations.
    DgaResult r = RunDga(Find(1), Start(Find(1)), save);
    EXPECT_EQ(r.ifail, 3);
    EXPECT_EQ(r.iter, 3);
    DgaResult r2 = RunDga(Find(1), Start(Find(1)), save);
    EXPECT_EQ(r2.ifail, 3);
    // Defaults put it back.
    EXPECT_EQ(save.option("Defaults"), 0);
    DgaResult r3 = RunDga(Find(1), Start(Find(1)), save);
    EXPECT_EQ(r3.ifail, 0);
    // Arrays of another routine, and arrays never initialised.
    Integer l1 = kTalvoOptLwsav, l2 = kTalvoOptIwsav, l3 = kTalvoOptRwsav, ifail = -1, inform = -1;
    TalvoMP_e04wbf_("e04uca", nullptr, nullptr, save.lwsav.data(), &l1, save.iwsav.data(), &l2, save.rwsav.data(),
                    &l3, &ifail, 6, 0);
    EXPECT_EQ(ifail, 0);
    TalvoMP_e04dka_("Iters 3", save.lwsav.data(), save.iwsav.data(), save.rwsav.data(), &inform, 7);
    EXPECT_EQ(inform, 1);
    EXPECT_EQ(RunDga(Find(1), Start(Find(1)), save).ifail, 9);
    TalvoMP_e04wbf_("e04xyz", nullptr, nullptr, save.lwsav.data(), &l1, save.iwsav.data(), &l2, save.rwsav.data(),
                    &l3, &ifail, 6, 0);
    EXPECT_EQ(ifail, 1);
    Integer short_length = 100;
    TalvoMP_e04wbf_("E04DGA", nullptr, nullptr, save.lwsav.data(), &short_length, save.iwsav.data(), &l2,
                    save.rwsav.data(), &l3, &ifail, 6, 0);
    EXPECT_EQ(ifail, 2);
}

TEST(Options, GradientCheck)
{
    DigitsScope d(20);
    SaveArrays save;
    EXPECT_EQ(save.option("Verify Level 1"), 0);
    EXPECT_EQ(RunDga(Find(5), Start(Find(5)), save).ifail, 0);
}

// A wrong gradient is caught by the check.
void WrongGradient(Integer *, Integer *, const TalvoFloat *x, TalvoFloat *objf, TalvoFloat *objgrd, Integer *,
                   Integer *, TalvoFloat *)
{
    *objf = x[0] * x[0] + x[1] * x[1];
    objgrd[0] = x[0]; // should be 2 x1
    objgrd[1] = TalvoFloat(2.0) * x[1];
}

TEST(Options, WrongGradientFailsTheCheck)
{
    DigitsScope d(20);
    SaveArrays save;
    EXPECT_EQ(save.option("Verify"), 0);
    Integer n = 2, iter, ifail = -1;
    TalvoFloat objf;
    Vec x = {F(1), F(2)}, g(2), work(26);
    std::vector<Integer> iwork(3);
    TalvoMP_e04dga_(&n, WrongGradient, &iter, &objf, g.data(), x.data(), iwork.data(), work.data(), nullptr, nullptr,
                    save.lwsav.data(), save.iwsav.data(), save.rwsav.data(), &ifail);
    EXPECT_EQ(ifail, 7);
}

// ---------------------------------------------------------------------------
// Failure codes and user routines that stop or misbehave
// ---------------------------------------------------------------------------

TEST(Failures, InvalidInput)
{
    DigitsScope d(20);
    TalvoFloat e1(0.0), e2(0.0), a(1.0), b(1.0), x, f;
    Integer maxcal = 10, ifail = -1;
    TalvoMP_e04aba_(RosenbrockLine, &e1, &e2, &a, &b, &maxcal, &x, &f, nullptr, nullptr, &ifail);
    EXPECT_EQ(ifail, 1);
    b = TalvoFloat(2.0);
    maxcal = 2;
    TalvoMP_e04aba_(RosenbrockLine, &e1, &e2, &a, &b, &maxcal, &x, &f, nullptr, nullptr, &ifail);
    EXPECT_EQ(ifail, 1);

    g_problem = &Find(1);
    Integer n = 2, iw = 2, cmax = 100;
    Vec xs = Start(Find(1)), w(8);
    TalvoFloat tol(0.0);
    TalvoMP_e04cca_(&n, xs.data(), &f, &tol, &iw, w.data(), w.data(), w.data(), w.data(), w.data(), w.data(), CcaFun,
                    nullptr, &cmax, nullptr, nullptr, &ifail);
    EXPECT_EQ(ifail, 1); // iw != n + 1

    // Least squares with m < n.
    Integer m = 1, nn = 2, iprint = 0, ldfjac = 1, ldv = 2, niter, nf, liw = 1, lw = 1;
    Integer iwk[1];
    TalvoFloat wk[1], eta(0.5), xtol(0.0), stepmx(0.0), fs;
    Vec fv(2), fj(4), s(2), v(4);
    TalvoMP_e04fcf_(&m, &nn, LsqFun, nullptr, &iprint, &cmax, &eta, &xtol, &stepmx, xs.data(), &fs, fv.data(),
                    fj.data(), &ldfjac, s.data(), v.data(), &ldv, &niter, &nf, iwk, &liw, wk, &lw, &ifail);
    EXPECT_EQ(ifail, 1);

    // Bounds the wrong way round.
    KdfResult k = RunKdf(Find(1), Start(Find(1)), 0, {F(1), F(1)}, {F(0L), F(2)});
    EXPECT_EQ(k.ifail, 1);
}

// Residuals whose Jacobian is null: everywhere (a constant), or at the start
// (x^2 at 0, where the forward differences see only h).  A null first step
// leaves the step bound as it is (cut to it, the bound would be zero); the
// solve ends at the start, the minimum, with its sum of squares, after the
// trial steps that find nothing lower.
bool g_flat_constant = false;
void FlatLsqFun(Integer *, Integer *, Integer *, const TalvoFloat *x, TalvoFloat *fvec, Integer *, Integer *,
                TalvoFloat *, Integer *)
{
    ++g_calls;
    fvec[0] = g_flat_constant ? TalvoFloat(1.0) : x[0] * x[0];
    fvec[1] = g_flat_constant ? TalvoFloat(2.0) : x[1] * x[1] + TalvoFloat(1.0);
}

TEST(Failures, NullJacobianEndsAtTheStart)
{
    DigitsScope d(30);
    for (bool constant : {true, false}) {
        g_flat_constant = constant;
        g_calls = 0;
        Integer m = 2, n = 2, iprint = 0, maxcal = 1000, ldfjac = 2, ldv = 2, niter, nf, liw = 1, lw = 1, ifail = -1;
        Integer iw[1];
        TalvoFloat w[1], eta(0.5), xtol(0.0), stepmx(0.0), fs;
        Vec x = constant ? Vec{F(1), F(1)} : Vec{F(0L), F(0L)}, fv(2), fj(4), s(2), v(4);
        TalvoMP_e04fcf_(&m, &n, FlatLsqFun, nullptr, &iprint, &maxcal, &eta, &xtol, &stepmx, x.data(), &fs,
                        fv.data(), fj.data(), &ldfjac, s.data(), v.data(), &ldv, &niter, &nf, iw, &liw, w, &lw,
                        &ifail);
        EXPECT_EQ(ifail, 0) << constant;
        EXPECT_EQ(fs, constant ? F(5) : F(1)) << constant;
        EXPECT_EQ(x[0], constant ? F(1) : F(0L)) << constant;
        EXPECT_EQ(x[1], constant ? F(1) : F(0L)) << constant;
        EXPECT_LT(g_calls, 60) << constant << " niter " << niter << " nf " << nf;
    }
    g_flat_constant = false;
}

TEST(Failures, CallLimits)
{
    DigitsScope d(30);
    LsqResult r = RunLsq(Find(1), Start(Find(1)), 7);
    EXPECT_EQ(r.ifail, 2);
    EXPECT_EQ(r.nf, 7);
    EXPECT_EQ(g_calls, 7);
    KdfResult k = RunKdf(Find(1), Start(Find(1)), 1, {}, {}, 9);
    EXPECT_EQ(k.ifail, 2);
    EXPECT_EQ(g_calls, 9);

    g_calls = 0;
    g_y_fixed = F(1);
    TalvoFloat e1(0.0), e2(0.0), a(0.0), b(2.0), x, f;
    Integer maxcal = 5, ifail = -1;
    TalvoMP_e04aba_(RosenbrockLine, &e1, &e2, &a, &b, &maxcal, &x, &f, nullptr, nullptr, &ifail);
    EXPECT_EQ(ifail, 2);
    EXPECT_EQ(g_calls, 5);
    EXPECT_EQ(maxcal, 5);
}

TEST(Failures, UserStop)
{
    DigitsScope d(20);
    g_stop_after = 4;
    EXPECT_EQ(RunLsq(Find(1), Start(Find(1))).ifail, -1);
    EXPECT_EQ(g_calls, 4);
    SaveArrays save;
    EXPECT_EQ(RunDga(Find(1), Start(Find(1)), save).ifail, -1);
    EXPECT_EQ(g_calls, 4);
    EXPECT_EQ(RunKdf(Find(1), Start(Find(1)), 1).ifail, -1);
    EXPECT_EQ(g_calls, 4);
    g_stop_after = -1;
}

TEST(Failures, UndefinedValues)
{
    DigitsScope d(20);
    g_undefined_after = 5;
    LsqResult r = RunLsq(Find(1), Start(Find(1)));
    EXPECT_EQ(r.ifail, 11);
    // The point returned is the last one with a defined value.
    EXPECT_TRUE(mgh::Value(Find(1), r.x.data()) == r.f);
    SaveArrays save;
    EXPECT_EQ(RunDga(Find(1), Start(Find(1)), save).ifail, 11);
    EXPECT_EQ(RunKdf(Find(1), Start(Find(1)), 1).ifail, 11);
    g_problem = &Find(1);
    g_calls = 0;
    Integer n = 2, iw = 3, maxcal = 1000, ifail = -1;
    Vec x = Start(Find(1)), w1(2), w2(2), w3(2), w4(2), w5(3), w6(6);
    TalvoFloat f, tol(0.0);
    TalvoMP_e04cca_(&n, x.data(), &f, &tol, &iw, w1.data(), w2.data(), w3.data(), w4.data(), w5.data(), w6.data(),
                    CcaFun, nullptr, &maxcal, nullptr, nullptr, &ifail);
    EXPECT_EQ(ifail, 11);
    g_undefined_after = 0; // undefined at the start point
    EXPECT_EQ(RunLsq(Find(1), Start(Find(1))).ifail, 11);
    g_undefined_after = -1;
}

// An infinite value at a trial point shortens the step; the solve goes on.
void InfiniteOutside(Integer *, Integer *, const TalvoFloat *x, TalvoFloat *objf, TalvoFloat *objgrd, Integer *,
                     Integer *, TalvoFloat *)
{
    // (x - 1)^2 + (y - 2)^2, infinite where x > 3.
    const TalvoFloat a = x[0] - TalvoFloat(1.0), b = x[1] - TalvoFloat(2.0);
    *objf = x[0] > TalvoFloat(3.0) ? TalvoFloat(1.0) / TalvoFloat(0.0) : a * a + b * b;
    objgrd[0] = TalvoFloat(2.0) * a;
    objgrd[1] = TalvoFloat(2.0) * b;
}

TEST(Failures, InfiniteTrialValues)
{
    DigitsScope d(20);
    SaveArrays save;
    Integer n = 2, iter, ifail = -1;
    TalvoFloat objf;
    Vec x = {F(-30), F(2)}, g(2), work(26);
    std::vector<Integer> iwork(3);
    TalvoMP_e04dga_(&n, InfiniteOutside, &iter, &objf, g.data(), x.data(), iwork.data(), work.data(), nullptr,
                    nullptr, save.lwsav.data(), save.iwsav.data(), save.rwsav.data(), &ifail);
    EXPECT_EQ(ifail, 0);
    ExpectNear(x[0], F(1), Pow10(-15), "x1");
}

// The monitor of the simplex sees a shrinking simplex.
long g_monitor_calls = 0;
TalvoFloat g_last_spread;
void Monit(TalvoFloat *fmin, TalvoFloat *fmax, const TalvoFloat *, Integer *, Integer *is, Integer *ncall, Integer *,
           TalvoFloat *)
{
    ++g_monitor_calls;
    EXPECT_EQ(*is, 3);
    EXPECT_TRUE(*fmin <= *fmax);
    EXPECT_LE(*ncall, g_calls);
    g_last_spread = *fmax - *fmin;
}

TEST(Simplex, MonitorAndResultArrays)
{
    DigitsScope d(20);
    g_problem = &Find(5);
    g_calls = 0;
    g_monitor_calls = 0;
    Integer n = 2, iw = 3, maxcal = 5000, ifail = -1;
    Vec x = Start(Find(5)), w1(2), w2(2), w3(2), w4(2), w5(3), w6(6);
    TalvoFloat f, tol = Pow10(-12);
    TalvoMP_e04cca_(&n, x.data(), &f, &tol, &iw, w1.data(), w2.data(), w3.data(), w4.data(), w5.data(), w6.data(),
                    CcaFun, Monit, &maxcal, nullptr, nullptr, &ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_GT(g_monitor_calls, 10);
    ExpectNear(x[0], F(3), Pow10(-5), "x1");
    ExpectNear(x[1], F("0.5"), Pow10(-5), "x2");
    EXPECT_TRUE(g_last_spread < Pow10(-10));
    // w5 holds the vertex values, and f is the lowest.
    for (int k = 0; k < 3; ++k)
        EXPECT_TRUE(f <= w5[size_t(k)]);
}

} // namespace
