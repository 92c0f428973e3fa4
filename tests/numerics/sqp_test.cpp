// sqp_test.cpp -- the SQP solvers e04uca and e04usa called directly:
// Hock-Schittkowski problems at Digits 30 and 50 (the optimal value to
// Digits - 2 digits where it is known exactly, to the 25 digits known
// otherwise; data/sqp/hock_schittkowski.tsv), finite-difference gradients,
// the gradient check, infeasible problems, the iteration limit, user
// routines that stop or return undefined values, invalid input, a warm
// start, and constrained least squares through e04usa.
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

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

using Vec = std::vector<TalvoFloat>;
namespace saved = talvo::opt::saved;

struct DigitsScope {
    long saved;
    explicit DigitsScope(long digits) : saved(talvo_float_digits()) { talvo_float_set_digits(digits); }
    ~DigitsScope() { talvo_float_set_digits(saved); }
};

TalvoFloat F(double v) { return TalvoFloat(v); }

TalvoFloat Parse(const std::string &text)
{
    mpfr_t t;
    mpfr_init2(t, talvo_float_precision() + 64);
    mpfr_set_str(t, text.c_str(), 10, MPFR_RNDN);
    const TalvoFloat v = TalvoFloat::from_handle(talvo_float_from_mpfr(t, 0));
    mpfr_clear(t);
    return v;
}

TalvoFloat Apply(int (*fn)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), const TalvoFloat &x)
{
    mpfr_t t;
    mpfr_init2(t, talvo_float_precision());
    fn(t, x.mpfr(), MPFR_RNDN);
    const TalvoFloat v = TalvoFloat::from_handle(talvo_float_from_mpfr(t, 0));
    mpfr_clear(t);
    return v;
}
TalvoFloat sin(const TalvoFloat &x) { return Apply(mpfr_sin, x); }
TalvoFloat cos(const TalvoFloat &x) { return Apply(mpfr_cos, x); }

std::string Show(const TalvoFloat &v)
{
    char *buffer = nullptr;
    mpfr_asprintf(&buffer, "%.*Rg", int(talvo_float_digits()), v.mpfr());
    std::string out(buffer);
    mpfr_free_str(buffer);
    return out;
}
TalvoFloat Pow10(long k) { return pow(TalvoFloat(10.0), TalvoFloat(double(k))); }
const double kInf = 1e25;

// A problem: objective with gradient, nonlinear constraints with Jacobian
// (row i of J: J[i][j]), linear constraints as rows of A.
struct Hs {
    std::string id;
    int n = 0;
    std::vector<std::vector<double>> A; // nclin rows of n
    std::vector<double> bl, bu;         // n + nclin + ncnln
    std::vector<double> x0;
    int ncnln = 0;
    std::function<TalvoFloat(const TalvoFloat *, TalvoFloat *)> f;                    // value, gradient
    std::function<void(const TalvoFloat *, TalvoFloat *, std::vector<Vec> &)> c; // values, Jacobian rows
};

Hs Make(const char *id, int n)
{
    Hs p;
    p.id = id;
    p.n = n;
    return p;
}

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

std::vector<Hs> Problems()
{
    std::vector<Hs> ps;
    {
        Hs p = Make("HS6", 2);
        p.ncnln = 1;
        p.bl = {-kInf, -kInf, 0};
        p.bu = {kInf, kInf, 0};
        p.x0 = {-1.2, 1};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            g[0] = F(-2) * (F(1) - x[0]);
            g[1] = F(0);
            return (F(1) - x[0]) * (F(1) - x[0]);
        };
        p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
            c[0] = F(10) * (x[1] - x[0] * x[0]);
            J[0] = {F(-20) * x[0], F(10)};
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS7", 2);
        p.ncnln = 1;
        p.bl = {-kInf, -kInf, 0};
        p.bu = {kInf, kInf, 0};
        p.x0 = {2, 2};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            const TalvoFloat u = F(1) + x[0] * x[0];
            g[0] = F(2) * x[0] / u;
            g[1] = F(-1);
            return log(u) - x[1];
        };
        p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
            const TalvoFloat u = F(1) + x[0] * x[0];
            c[0] = u * u + x[1] * x[1] - F(4);
            J[0] = {F(4) * u * x[0], F(2) * x[1]};
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS28", 3);
        p.A = {{1, 2, 3}};
        p.bl = {-kInf, -kInf, -kInf, 1};
        p.bu = {kInf, kInf, kInf, 1};
        p.x0 = {-4, 1, 1};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            const TalvoFloat a = x[0] + x[1], b = x[1] + x[2];
            g[0] = F(2) * a;
            g[1] = F(2) * a + F(2) * b;
            g[2] = F(2) * b;
            return a * a + b * b;
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS39", 4);
        p.ncnln = 2;
        p.bl = {-kInf, -kInf, -kInf, -kInf, 0, 0};
        p.bu = {kInf, kInf, kInf, kInf, 0, 0};
        p.x0 = {2, 2, 2, 2};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            g[0] = F(-1);
            g[1] = g[2] = g[3] = F(0);
            return -x[0];
        };
        p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
            c[0] = x[1] - x[0] * x[0] * x[0] - x[2] * x[2];
            c[1] = x[0] * x[0] - x[1] - x[3] * x[3];
            J[0] = {F(-3) * x[0] * x[0], F(1), F(-2) * x[2], F(0)};
            J[1] = {F(2) * x[0], F(-1), F(0), F(-2) * x[3]};
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS4", 2);
        p.bl = {1, 0};
        p.bu = {kInf, kInf};
        p.x0 = {1.125, 0.125};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            const TalvoFloat u = x[0] + F(1);
            g[0] = u * u;
            g[1] = F(1);
            return u * u * u / F(3) + x[1];
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS5", 2);
        p.bl = {-1.5, -3};
        p.bu = {4, 3};
        p.x0 = {0, 0};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            const TalvoFloat s = x[0] + x[1], d = x[0] - x[1];
            g[0] = cos(s) + F(2) * d - F(1.5);
            g[1] = cos(s) - F(2) * d + F(2.5);
            return sin(s) + d * d - F(1.5) * x[0] + F(2.5) * x[1] + F(1);
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS10", 2);
        p.ncnln = 1;
        p.bl = {-kInf, -kInf, 0};
        p.bu = {kInf, kInf, kInf};
        p.x0 = {-10, 10};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            g[0] = F(1);
            g[1] = F(-1);
            return x[0] - x[1];
        };
        p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
            c[0] = F(-3) * x[0] * x[0] + F(2) * x[0] * x[1] - x[1] * x[1] + F(1);
            J[0] = {F(-6) * x[0] + F(2) * x[1], F(2) * x[0] - F(2) * x[1]};
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS15", 2);
        p.ncnln = 2;
        p.bl = {-kInf, -kInf, 0, 0};
        p.bu = {0.5, kInf, kInf, kInf};
        p.x0 = {-2, 1};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            const TalvoFloat a = x[1] - x[0] * x[0], b = F(1) - x[0];
            g[0] = F(-400) * x[0] * a - F(2) * b;
            g[1] = F(200) * a;
            return F(100) * a * a + b * b;
        };
        p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
            c[0] = x[0] * x[1] - F(1);
            c[1] = x[0] + x[1] * x[1];
            J[0] = {x[1], x[0]};
            J[1] = {F(1), F(2) * x[1]};
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS21", 2);
        p.A = {{10, -1}};
        p.bl = {2, -50, 10};
        p.bu = {50, 50, kInf};
        p.x0 = {-1, -1};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            g[0] = F(0.02) * x[0];
            g[1] = F(2) * x[1];
            return x[0] * x[0] / F(100) + x[1] * x[1] - F(100);
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS35", 3);
        p.A = {{1, 1, 2}};
        p.bl = {0, 0, 0, -kInf};
        p.bu = {kInf, kInf, kInf, 3};
        p.x0 = {0.5, 0.5, 0.5};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            g[0] = F(-8) + F(4) * x[0] + F(2) * x[1] + F(2) * x[2];
            g[1] = F(-6) + F(4) * x[1] + F(2) * x[0];
            g[2] = F(-4) + F(2) * x[2] + F(2) * x[0];
            return F(9) - F(8) * x[0] - F(6) * x[1] - F(4) * x[2] + F(2) * x[0] * x[0] + F(2) * x[1] * x[1] +
                   x[2] * x[2] + F(2) * x[0] * x[1] + F(2) * x[0] * x[2];
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS43", 4);
        p.ncnln = 3;
        p.bl = {-kInf, -kInf, -kInf, -kInf, 0, 0, 0};
        p.bu = {kInf, kInf, kInf, kInf, kInf, kInf, kInf};
        p.x0 = {0, 0, 0, 0};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            g[0] = F(2) * x[0] - F(5);
            g[1] = F(2) * x[1] - F(5);
            g[2] = F(4) * x[2] - F(21);
            g[3] = F(2) * x[3] + F(7);
            return x[0] * x[0] + x[1] * x[1] + F(2) * x[2] * x[2] + x[3] * x[3] - F(5) * x[0] - F(5) * x[1] -
                   F(21) * x[2] + F(7) * x[3];
        };
        p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
            c[0] = F(8) - x[0] * x[0] - x[1] * x[1] - x[2] * x[2] - x[3] * x[3] - x[0] + x[1] - x[2] + x[3];
            c[1] = F(10) - x[0] * x[0] - F(2) * x[1] * x[1] - x[2] * x[2] - F(2) * x[3] * x[3] + x[0] + x[3];
            c[2] = F(5) - F(2) * x[0] * x[0] - x[1] * x[1] - x[2] * x[2] - F(2) * x[0] + x[1] + x[3];
            J[0] = {F(-2) * x[0] - F(1), F(-2) * x[1] + F(1), F(-2) * x[2] - F(1), F(-2) * x[3] + F(1)};
            J[1] = {F(-2) * x[0] + F(1), F(-4) * x[1], F(-2) * x[2], F(-4) * x[3] + F(1)};
            J[2] = {F(-4) * x[0] - F(2), F(-2) * x[1] + F(1), F(-2) * x[2], F(1)};
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS65", 3);
        p.ncnln = 1;
        p.bl = {-4.5, -4.5, -5, 0};
        p.bu = {4.5, 4.5, 5, kInf};
        p.x0 = {-5, 5, 0};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            const TalvoFloat d = x[0] - x[1], s = x[0] + x[1] - F(10), t = x[2] - F(5);
            g[0] = F(2) * d + F(2) * s / F(9);
            g[1] = F(-2) * d + F(2) * s / F(9);
            g[2] = F(2) * t;
            return d * d + s * s / F(9) + t * t;
        };
        p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
            c[0] = F(48) - x[0] * x[0] - x[1] * x[1] - x[2] * x[2];
            J[0] = {F(-2) * x[0], F(-2) * x[1], F(-2) * x[2]};
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS71", 4);
        p.ncnln = 2;
        p.bl = {1, 1, 1, 1, 0, 0};
        p.bu = {5, 5, 5, 5, kInf, 0};
        p.x0 = {1, 5, 5, 1};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            const TalvoFloat s = x[0] + x[1] + x[2];
            g[0] = x[3] * s + x[0] * x[3];
            g[1] = x[0] * x[3];
            g[2] = x[0] * x[3] + F(1);
            g[3] = x[0] * s;
            return x[0] * x[3] * s + x[2];
        };
        p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
            c[0] = x[0] * x[1] * x[2] * x[3] - F(25);
            c[1] = x[0] * x[0] + x[1] * x[1] + x[2] * x[2] + x[3] * x[3] - F(40);
            J[0] = {x[1] * x[2] * x[3], x[0] * x[2] * x[3], x[0] * x[1] * x[3], x[0] * x[1] * x[2]};
            J[1] = {F(2) * x[0], F(2) * x[1], F(2) * x[2], F(2) * x[3]};
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS76", 4);
        p.A = {{1, 2, 1, 1}, {3, 1, 2, -1}, {0, 1, 4, 0}};
        p.bl = {0, 0, 0, 0, -kInf, -kInf, 1.5};
        p.bu = {kInf, kInf, kInf, kInf, 5, 4, kInf};
        p.x0 = {0.5, 0.5, 0.5, 0.5};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            g[0] = F(2) * x[0] - x[2] - F(1);
            g[1] = x[1] - F(3);
            g[2] = F(2) * x[2] - x[0] + x[3] + F(1);
            g[3] = x[3] + x[2] - F(1);
            return x[0] * x[0] + x[1] * x[1] / F(2) + x[2] * x[2] + x[3] * x[3] / F(2) - x[0] * x[2] + x[2] * x[3] -
                   x[0] - F(3) * x[1] + x[2] - x[3];
        };
        ps.push_back(p);
    }
    {
        Hs p = Make("HS100", 7);
        p.ncnln = 4;
        p.bl = std::vector<double>(7, -kInf);
        p.bu = std::vector<double>(7, kInf);
        for (int i = 0; i < 4; ++i) {
            p.bl.push_back(0);
            p.bu.push_back(kInf);
        }
        p.x0 = {1, 2, 0, 4, 0, 1, 1};
        p.f = [](const TalvoFloat *x, TalvoFloat *g) {
            g[0] = F(2) * (x[0] - F(10));
            g[1] = F(10) * (x[1] - F(12));
            g[2] = F(4) * x[2] * x[2] * x[2];
            g[3] = F(6) * (x[3] - F(11));
            g[4] = F(60) * pow(x[4], F(5));
            g[5] = F(14) * x[5] - F(4) * x[6] - F(10);
            g[6] = F(4) * x[6] * x[6] * x[6] - F(4) * x[5] - F(8);
            return (x[0] - F(10)) * (x[0] - F(10)) + F(5) * (x[1] - F(12)) * (x[1] - F(12)) + pow(x[2], F(4)) +
                   F(3) * (x[3] - F(11)) * (x[3] - F(11)) + F(10) * pow(x[4], F(6)) + F(7) * x[5] * x[5] +
                   pow(x[6], F(4)) - F(4) * x[5] * x[6] - F(10) * x[5] - F(8) * x[6];
        };
        p.c = [](const TalvoFloat *x, TalvoFloat *c, std::vector<Vec> &J) {
            c[0] = F(127) - F(2) * x[0] * x[0] - F(3) * pow(x[1], F(4)) - x[2] - F(4) * x[3] * x[3] - F(5) * x[4];
            c[1] = F(282) - F(7) * x[0] - F(3) * x[1] - F(10) * x[2] * x[2] - x[3] + x[4];
            c[2] = F(196) - F(23) * x[0] - x[1] * x[1] - F(6) * x[5] * x[5] + F(8) * x[6];
            c[3] = F(-4) * x[0] * x[0] - x[1] * x[1] + F(3) * x[0] * x[1] - F(2) * x[2] * x[2] - F(5) * x[5] +
                   F(11) * x[6];
            J[0] = {F(-4) * x[0], F(-12) * x[1] * x[1] * x[1], F(-1), F(-8) * x[3], F(-5), F(0), F(0)};
            J[1] = {F(-7), F(-3), F(-20) * x[2], F(-1), F(1), F(0), F(0)};
            J[2] = {F(-23), F(-2) * x[1], F(0), F(0), F(0), F(-12) * x[5], F(8)};
            J[3] = {F(-8) * x[0] + F(3) * x[1], F(-2) * x[1] + F(3) * x[0], F(-4) * x[2], F(0), F(0), F(-5), F(11)};
        };
        ps.push_back(p);
    }
    return ps;
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
        if (iwsav[saved::kDerivLevel] == 0) iwsav[saved::kDerivLevel] = 3; // TEMP until the setters merge
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
