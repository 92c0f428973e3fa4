// hs_problems.hpp -- Hock-Schittkowski problems (W. Hock and K. Schittkowski,
// Test Examples for Nonlinear Programming Codes, Springer, 1981) as C++
// callbacks for the SQP solvers, shared by tests/numerics/sqp_test.cpp and
// bench/bench_sqp.cpp: objective with gradient, nonlinear constraints with
// their Jacobian rows, linear constraints as rows of A, bounds, the
// standard start point.  Inequalities of the collection (g(x) >= 0) are
// bounds [0, inf) on g; linear ones are rows of A.
#pragma once

#include "talvo_mp.h"

#include <mpfr.h>

#include <functional>
#include <string>
#include <vector>

namespace hs {

using Vec = std::vector<TalvoFloat>;
inline const double kInf = 1e25;

inline TalvoFloat F(double v) { return TalvoFloat(v); }

inline TalvoFloat Parse(const std::string &text)
{
    mpfr_t t;
    mpfr_init2(t, talvo_float_precision() + 64);
    mpfr_set_str(t, text.c_str(), 10, MPFR_RNDN);
    const TalvoFloat v = TalvoFloat::from_handle(talvo_float_from_mpfr(t, 0));
    mpfr_clear(t);
    return v;
}

inline TalvoFloat Apply(int (*fn)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), const TalvoFloat &x)
{
    mpfr_t t;
    mpfr_init2(t, talvo_float_precision());
    fn(t, x.mpfr(), MPFR_RNDN);
    const TalvoFloat v = TalvoFloat::from_handle(talvo_float_from_mpfr(t, 0));
    mpfr_clear(t);
    return v;
}
inline TalvoFloat sin(const TalvoFloat &x) { return Apply(mpfr_sin, x); }
inline TalvoFloat cos(const TalvoFloat &x) { return Apply(mpfr_cos, x); }

inline std::string Show(const TalvoFloat &v)
{
    char *buffer = nullptr;
    mpfr_asprintf(&buffer, "%.*Rg", int(talvo_float_digits()), v.mpfr());
    std::string out(buffer);
    mpfr_free_str(buffer);
    return out;
}
inline TalvoFloat Pow10(long k) { return pow(TalvoFloat(10.0), TalvoFloat(double(k))); }

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

inline Hs Make(const char *id, int n)
{
    Hs p;
    p.id = id;
    p.n = n;
    return p;
}

inline std::vector<Hs> Problems()
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

} // namespace hs
