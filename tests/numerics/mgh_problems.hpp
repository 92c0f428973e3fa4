// mgh_problems.hpp -- test problems of J. J. More, B. S. Garbow and K. E.
// Hillstrom ("Testing Unconstrained Optimization Software", ACM TOMS 7(1),
// 1981) as residual functions on TalvoFloat, for the tests of the minimisers
// and their benchmark.  f(x) = sum_i r_i(x)^2 (no factor 1/2).
//
// Each residual function is a template over the number type, so the same
// definition gives values (TalvoFloat) and exact gradients (Dual: forward
// differentiation, the value with its n partial derivatives).
#pragma once

#include "talvo_mp.h"

#include <mpfr.h>

#include <string>
#include <vector>

namespace mgh {

// A decimal constant at the current precision (exact where the decimal is).
inline TalvoFloat F(const char *text) { return TalvoFloat::from_handle(talvo_float_parse(text, talvo_float_precision())); }
inline TalvoFloat F(long v) { return TalvoFloat(double(v)); }

inline TalvoFloat Mpfr1(int (*fn)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), const TalvoFloat &x)
{
    ALGEB h = talvo_float_new(talvo_float_precision());
    fn(talvo_float_mpfr(h), x.mpfr(), MPFR_RNDN);
    return TalvoFloat::from_handle(h);
}
inline TalvoFloat Sin(const TalvoFloat &x) { return Mpfr1(mpfr_sin, x); }
inline TalvoFloat Cos(const TalvoFloat &x) { return Mpfr1(mpfr_cos, x); }
inline TalvoFloat Exp(const TalvoFloat &x) { return exp(x); }

// A value with its partial derivatives.
struct Dual {
    TalvoFloat v;
    std::vector<TalvoFloat> d;
    Dual() : v(0.0) {}
    Dual(const TalvoFloat &c) : v(c) {} // a constant: no derivatives
    Dual(double c) : v(c) {}
};
inline size_t Width(const Dual &a, const Dual &b) { return a.d.size() > b.d.size() ? a.d.size() : b.d.size(); }
inline TalvoFloat D(const Dual &a, size_t k) { return k < a.d.size() ? a.d[k] : TalvoFloat(0.0); }
inline Dual operator+(const Dual &a, const Dual &b)
{
    Dual r(a.v + b.v);
    r.d.resize(Width(a, b));
    for (size_t k = 0; k < r.d.size(); ++k)
        r.d[k] = D(a, k) + D(b, k);
    return r;
}
inline Dual operator-(const Dual &a, const Dual &b)
{
    Dual r(a.v - b.v);
    r.d.resize(Width(a, b));
    for (size_t k = 0; k < r.d.size(); ++k)
        r.d[k] = D(a, k) - D(b, k);
    return r;
}
inline Dual operator-(const Dual &a) { return Dual(0.0) - a; }
inline Dual operator*(const Dual &a, const Dual &b)
{
    Dual r(a.v * b.v);
    r.d.resize(Width(a, b));
    for (size_t k = 0; k < r.d.size(); ++k)
        r.d[k] = D(a, k) * b.v + a.v * D(b, k);
    return r;
}
inline Dual operator/(const Dual &a, const Dual &b)
{
    Dual r(a.v / b.v);
    r.d.resize(Width(a, b));
    for (size_t k = 0; k < r.d.size(); ++k)
        r.d[k] = (D(a, k) - r.v * D(b, k)) / b.v;
    return r;
}
inline Dual Chain(const Dual &a, const TalvoFloat &value, const TalvoFloat &slope)
{
    Dual r(value);
    r.d.resize(a.d.size());
    for (size_t k = 0; k < r.d.size(); ++k)
        r.d[k] = slope * a.d[k];
    return r;
}
inline Dual Exp(const Dual &a)
{
    TalvoFloat e = exp(a.v);
    return Chain(a, e, e);
}
inline Dual Sin(const Dual &a) { return Chain(a, Sin(a.v), Cos(a.v)); }
inline Dual Cos(const Dual &a) { return Chain(a, Cos(a.v), -Sin(a.v)); }
inline Dual Variable(const TalvoFloat &x, size_t k, size_t n)
{
    Dual r(x);
    r.d.assign(n, TalvoFloat(0.0));
    r.d[k] = TalvoFloat(1.0);
    return r;
}

template <class T>
void Rosenbrock(const T *x, T *r)
{
    r[0] = T(F(10)) * (x[1] - x[0] * x[0]);
    r[1] = T(F(1)) - x[0];
}
template <class T>
void FreudensteinRoth(const T *x, T *r)
{
    r[0] = T(F(-13)) + x[0] + ((T(F(5)) - x[1]) * x[1] - T(F(2))) * x[1];
    r[1] = T(F(-29)) + x[0] + ((x[1] + T(F(1))) * x[1] - T(F(14))) * x[1];
}
template <class T>
void PowellBadlyScaled(const T *x, T *r)
{
    r[0] = T(F(10000)) * x[0] * x[1] - T(F(1));
    r[1] = Exp(-x[0]) + Exp(-x[1]) - T(F("1.0001"));
}
template <class T>
void BrownBadlyScaled(const T *x, T *r)
{
    r[0] = x[0] - T(F(1000000));
    r[1] = x[1] - T(F("2e-6"));
    r[2] = x[0] * x[1] - T(F(2));
}
template <class T>
void Beale(const T *x, T *r)
{
    const char *y[] = {"1.5", "2.25", "2.625"};
    T p(F(1));
    for (int i = 0; i < 3; ++i) {
        p = p * x[1];
        r[i] = T(F(y[i])) - x[0] * (T(F(1)) - p);
    }
}
template <class T>
void JennrichSampson(const T *x, T *r)
{
    for (long i = 1; i <= 10; ++i)
        r[i - 1] = T(F(2 + 2 * i)) - (Exp(T(F(i)) * x[0]) + Exp(T(F(i)) * x[1]));
}
template <class T>
void Bard(const T *x, T *r)
{
    const char *y[] = {"0.14", "0.18", "0.22", "0.25", "0.29", "0.32", "0.35", "0.39",
                       "0.37", "0.58", "0.73", "0.96", "1.34", "2.10", "4.39"};
    for (long i = 1; i <= 15; ++i) {
        const long u = i, v = 16 - i, w = u < v ? u : v;
        r[i - 1] = T(F(y[i - 1])) - (x[0] + T(F(u)) / (T(F(v)) * x[1] + T(F(w)) * x[2]));
    }
}
template <class T>
void Gaussian(const T *x, T *r)
{
    const char *y[] = {"0.0009", "0.0044", "0.0175", "0.0540", "0.1295", "0.2420", "0.3521", "0.3989",
                       "0.3521", "0.2420", "0.1295", "0.0540", "0.0175", "0.0044", "0.0009"};
    for (long i = 1; i <= 15; ++i) {
        T t = T(F(8 - i) / F(2)) - x[2];
        r[i - 1] = x[0] * Exp(-x[1] * t * t / T(F(2))) - T(F(y[i - 1]));
    }
}
template <class T>
void Meyer(const T *x, T *r)
{
    const long y[] = {34780, 28610, 23650, 19630, 16370, 13720, 11540, 9744,
                      8261,  7030,  6005,  5147,  4427,  3820,  3307,  2872};
    for (long i = 1; i <= 16; ++i)
        r[i - 1] = x[0] * Exp(x[1] / (T(F(45 + 5 * i)) + x[2])) - T(F(y[i - 1]));
}
template <class T>
void Box3D(const T *x, T *r)
{
    for (long i = 1; i <= 10; ++i) {
        TalvoFloat t = F(i) / F(10);
        r[i - 1] = Exp(T(-t) * x[0]) - Exp(T(-t) * x[1]) - x[2] * T(exp(-t) - exp(-t * 10L));
    }
}
template <class T>
void PowellSingular(const T *x, T *r)
{
    r[0] = x[0] + T(F(10)) * x[1];
    r[1] = T(sqrt(F(5))) * (x[2] - x[3]);
    r[2] = (x[1] - T(F(2)) * x[2]) * (x[1] - T(F(2)) * x[2]);
    r[3] = T(sqrt(F(10))) * (x[0] - x[3]) * (x[0] - x[3]);
}
template <class T>
void Wood(const T *x, T *r)
{
    r[0] = T(F(10)) * (x[1] - x[0] * x[0]);
    r[1] = T(F(1)) - x[0];
    r[2] = T(sqrt(F(90))) * (x[3] - x[2] * x[2]);
    r[3] = T(F(1)) - x[2];
    r[4] = T(sqrt(F(10))) * (x[1] + x[3] - T(F(2)));
    r[5] = (x[1] - x[3]) / T(sqrt(F(10)));
}
template <class T>
void KowalikOsborne(const T *x, T *r)
{
    const char *y[] = {"0.1957", "0.1947", "0.1735", "0.1600", "0.0844", "0.0627",
                       "0.0456", "0.0342", "0.0323", "0.0235", "0.0246"};
    const char *u[] = {"4", "2", "1", "0.5", "0.25", "0.167", "0.125", "0.1", "0.0833", "0.0714", "0.0625"};
    for (int i = 0; i < 11; ++i) {
        T ui(F(u[i]));
        r[i] = T(F(y[i])) - x[0] * (ui * ui + ui * x[1]) / (ui * ui + ui * x[2] + x[3]);
    }
}
template <class T>
void BrownDennis(const T *x, T *r)
{
    for (long i = 1; i <= 20; ++i) {
        TalvoFloat t = F(i) / F(5);
        T a = x[0] + T(t) * x[1] - T(exp(t));
        T b = x[2] + x[3] * T(Sin(t)) - T(Cos(t));
        r[i - 1] = a * a + b * b;
    }
}
template <class T>
void Osborne1(const T *x, T *r)
{
    const char *y[] = {"0.844", "0.908", "0.932", "0.936", "0.925", "0.908", "0.881", "0.850", "0.818",
                       "0.784", "0.751", "0.718", "0.685", "0.658", "0.628", "0.603", "0.580", "0.558",
                       "0.538", "0.522", "0.506", "0.490", "0.478", "0.467", "0.457", "0.448", "0.438",
                       "0.431", "0.424", "0.420", "0.414", "0.411", "0.406"};
    for (long i = 1; i <= 33; ++i) {
        T t(F(10 * (i - 1)));
        r[i - 1] = T(F(y[i - 1])) - (x[0] + x[1] * Exp(-t * x[3]) + x[2] * Exp(-t * x[4]));
    }
}
template <class T>
void Osborne2(const T *x, T *r)
{
    const char *y[] = {"1.366", "1.191", "1.112", "1.013", "0.991", "0.885", "0.831", "0.847", "0.786", "0.725",
                       "0.746", "0.679", "0.608", "0.655", "0.616", "0.606", "0.602", "0.626", "0.651", "0.724",
                       "0.649", "0.649", "0.694", "0.644", "0.624", "0.661", "0.612", "0.558", "0.533", "0.495",
                       "0.500", "0.423", "0.395", "0.375", "0.372", "0.391", "0.396", "0.405", "0.428", "0.429",
                       "0.523", "0.562", "0.607", "0.653", "0.672", "0.708", "0.633", "0.668", "0.645", "0.632",
                       "0.591", "0.559", "0.597", "0.625", "0.739", "0.710", "0.729", "0.720", "0.636", "0.581",
                       "0.428", "0.292", "0.162", "0.098", "0.054"};
    for (long i = 1; i <= 65; ++i) {
        T t(F(i - 1) / F(10));
        T a = t - x[8], b = t - x[9], c = t - x[10];
        r[i - 1] = T(F(y[i - 1])) - (x[0] * Exp(-t * x[4]) + x[1] * Exp(-a * a * x[5]) + x[2] * Exp(-b * b * x[6]) +
                                     x[3] * Exp(-c * c * x[7]));
    }
}
template <class T>
void Watson6(const T *x, T *r)
{
    const int n = 6;
    for (long i = 1; i <= 29; ++i) {
        TalvoFloat t = F(i) / F(29);
        T s1(F(0L)), s2(F(0L));
        TalvoFloat tp(1.0); // t^(j-2) for s1, t^(j-1) for s2
        for (int j = 1; j <= n; ++j) {
            if (j >= 2)
                s1 = s1 + T(F(j - 1) * tp) * x[j - 1];
            if (j >= 2)
                tp = tp * t;
        }
        tp = TalvoFloat(1.0);
        for (int j = 1; j <= n; ++j) {
            s2 = s2 + T(tp) * x[j - 1];
            tp = tp * t;
        }
        r[i - 1] = s1 - s2 * s2 - T(F(1));
    }
    r[29] = x[0];
    r[30] = x[1] - x[0] * x[0] - T(F(1));
}

struct Problem {
    int number;
    const char *name;
    int n, m;
    std::vector<const char *> x0;
    void (*value)(const TalvoFloat *, TalvoFloat *);
    void (*dual)(const Dual *, Dual *);
    bool zero_minimum; // f* = 0 (else the table data/optimization/mgh_minima.tsv has it)
};

#define MGH_PROBLEM(num, fn, n, m, zero, ...) \
    Problem{num, #fn, n, m, {__VA_ARGS__}, fn<TalvoFloat>, fn<Dual>, zero}

inline const std::vector<Problem> &Problems()
{
    static const std::vector<Problem> kProblems = {
        MGH_PROBLEM(1, Rosenbrock, 2, 2, true, "-1.2", "1"),
        MGH_PROBLEM(2, FreudensteinRoth, 2, 2, false, "0.5", "-2"),
        MGH_PROBLEM(3, PowellBadlyScaled, 2, 2, true, "0", "1"),
        MGH_PROBLEM(4, BrownBadlyScaled, 2, 3, true, "1", "1"),
        MGH_PROBLEM(5, Beale, 2, 3, true, "1", "1"),
        MGH_PROBLEM(6, JennrichSampson, 2, 10, false, "0.3", "0.4"),
        MGH_PROBLEM(8, Bard, 3, 15, false, "1", "1", "1"),
        MGH_PROBLEM(9, Gaussian, 3, 15, false, "0.4", "1", "0"),
        MGH_PROBLEM(10, Meyer, 3, 16, false, "0.02", "4000", "250"),
        MGH_PROBLEM(12, Box3D, 3, 10, true, "0", "10", "20"),
        MGH_PROBLEM(13, PowellSingular, 4, 4, true, "3", "-1", "0", "1"),
        MGH_PROBLEM(14, Wood, 4, 6, true, "-3", "-1", "-3", "-1"),
        MGH_PROBLEM(15, KowalikOsborne, 4, 11, false, "0.25", "0.39", "0.415", "0.39"),
        MGH_PROBLEM(16, BrownDennis, 4, 20, false, "25", "5", "-5", "-1"),
        MGH_PROBLEM(17, Osborne1, 5, 33, false, "0.5", "1.5", "-1", "0.01", "0.02"),
        MGH_PROBLEM(19, Osborne2, 11, 65, false, "1.3", "0.65", "0.65", "0.7", "0.6", "3", "5", "7", "2", "4.5",
                    "5.5"),
        MGH_PROBLEM(20, Watson6, 6, 31, false, "0", "0", "0", "0", "0", "0"),
    };
    return kProblems;
}
#undef MGH_PROBLEM

// f and its gradient at x.
inline TalvoFloat Value(const Problem &p, const TalvoFloat *x)
{
    std::vector<TalvoFloat> r(static_cast<size_t>(p.m));
    p.value(x, r.data());
    TalvoFloat s(0.0);
    for (const TalvoFloat &ri : r)
        s += ri * ri;
    return s;
}
inline TalvoFloat ValueAndGradient(const Problem &p, const TalvoFloat *x, TalvoFloat *g)
{
    const size_t n = size_t(p.n);
    std::vector<Dual> xd(n), r(static_cast<size_t>(p.m));
    for (size_t k = 0; k < n; ++k)
        xd[k] = Variable(x[k], k, n);
    p.dual(xd.data(), r.data());
    TalvoFloat s(0.0);
    for (size_t k = 0; k < n; ++k)
        g[k] = TalvoFloat(0.0);
    for (const Dual &ri : r) {
        s += ri.v * ri.v;
        for (size_t k = 0; k < n; ++k)
            g[k] += TalvoFloat(2.0) * ri.v * D(ri, k);
    }
    return s;
}

} // namespace mgh
