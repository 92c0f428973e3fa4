// bench_numerics -- the routines of libtalvomp against their peers, one
// representative case per routine plus the known hard cases, at 15, 50 and
// 300 digits, all on the same inputs in one run.
//
//   talvo   the TalvoMP_ routine as the statistics library calls it (floats
//           from the collector, argument checks, error record);
//   arb     Arb called directly, the working precision doubled until the
//           ball is guaranteed to the requested digits: our floor (only
//           where Arb has the function: the error functions and their
//           inverses, the regularized incomplete gamma and beta functions);
//   boost   Boost.Math's distributions on Boost.Multiprecision MPFR floats
//           at the requested digits (not guaranteed; "err" when it throws).
//
// mpmath on the same inputs: bench/numerics_mpmath.py.
// Prints microseconds per call (best of three timed loops of at least
// 20 ms each) and the ratios talvo/arb and talvo/boost.
// Usage: bench_numerics [digits...] [--only NAME]
#include "timing.hpp"
#include "talvo_mp.h"

#include <arb.h>
#include <arb_hypgeom.h>
#include <gc.h>

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/gamma.hpp>
#include <boost/math/distributions/hypergeometric.hpp>
#include <boost/math/distributions/non_central_beta.hpp>
#include <boost/math/distributions/non_central_chi_squared.hpp>
#include <boost/math/distributions/non_central_f.hpp>
#include <boost/math/distributions/non_central_t.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/poisson.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/multiprecision/mpfr.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

namespace bm = boost::math;
using Real = boost::multiprecision::number<boost::multiprecision::mpfr_float_backend<0>,
                                           boost::multiprecision::et_off>;

struct Case {
    const char *name;  // routine and case, e.g. "g01eac lower x=-3"
    std::vector<const char *> reals;
    std::vector<long> ints;
};

// One timed implementation: returns false when it has nothing for the case.
using Work = std::function<bool(long digits)>;

volatile double sink;

// ---------------------------------------------------------------------------
// Arb until guaranteed
// ---------------------------------------------------------------------------

slong Bits(long digits) { return static_cast<slong>(talvo_float_precision_bits(digits)); }

// Runs eval(out, wp) from wp = bits + 16, doubling wp until every output has
// at least `bits` accurate bits (relative).
void ArbGuaranteed(long digits, int nout, const std::function<void(arb_ptr, slong)> &eval)
{
    slong bits = Bits(digits);
    arb_ptr out = _arb_vec_init(nout);
    for (slong wp = bits + 16;; wp *= 2) {
        eval(out, wp);
        bool ok = true;
        for (int i = 0; i < nout; ++i)
            if (!arb_is_exact(out + i) && arb_rel_accuracy_bits(out + i) < bits)
                ok = false;
        if (ok || wp > 64 * bits + 100000)
            break;
    }
    _arb_vec_clear(out, nout);
}

void ArbSet(arb_ptr r, const char *text, slong digits)
{
    arb_set_str(r, text, Bits(digits) + 64);
    // the same binary input the other implementations see
    arf_set_round(arb_midref(r), arb_midref(r), Bits(digits), ARF_RND_NEAR);
    mag_zero(arb_radref(r));
}

// ---------------------------------------------------------------------------
// The cases
// ---------------------------------------------------------------------------

struct Bench {
    Case c;
    std::function<void(const std::vector<TalvoFloat> &, const std::vector<long> &, NagError *)> talvo;
    // Arb: eval at wp from the inputs as balls; null when Arb has no direct function.
    int arb_outputs;
    std::function<void(arb_ptr out, arb_srcptr in, const std::vector<long> &ints, slong wp)> arb;
    std::function<double(const std::vector<Real> &, const std::vector<long> &)> boost;
};

// erfc(-x/sqrt2)/2 and friends for the Arb floor.
void ArbNormalLower(arb_ptr r, arb_srcptr x, slong wp)
{
    arb_t z;
    arb_init(z);
    arb_sqrt_ui(z, 2, wp);
    arb_div(z, x, z, wp);
    arb_neg(z, z);
    arb_hypgeom_erfc(r, z, wp);
    arb_mul_2exp_si(r, r, -1);
    arb_clear(z);
}

std::vector<Bench> Benches()
{
    using V = std::vector<TalvoFloat>;
    using I = std::vector<long>;
    using R = std::vector<Real>;
    std::vector<Bench> b;
    auto L = Nag_LowerTail;

    b.push_back({{"g01eac lower x=-3", {"-3"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01eac(L, r[0], f); }, 1,
                 [](arb_ptr o, arb_srcptr in, const I &, slong wp) { ArbNormalLower(o, in, wp); },
                 [](const R &r, const I &) { return static_cast<double>(bm::cdf(bm::normal_distribution<Real>(), r[0])); }});
    b.push_back({{"g01fac lower p=0.975", {"0.975"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01fac(L, r[0], f); }, 1,
                 [](arb_ptr o, arb_srcptr in, const I &, slong wp) {
                     // sqrt2 erfcinv(2 (1 - p))
                     arb_t q;
                     arb_init(q);
                     arb_sub_ui(q, in, 1, wp);
                     arb_neg(q, q);
                     arb_mul_2exp_si(q, q, 1);
                     arb_hypgeom_erfcinv(o, q, wp);
                     arb_sqrt_ui(q, 2, wp);
                     arb_mul(o, o, q, wp);
                     arb_clear(q);
                 },
                 [](const R &r, const I &) { return static_cast<double>(bm::quantile(bm::normal_distribution<Real>(), r[0])); }});
    b.push_back({{"g01ebc lower t=2 df=5", {"2", "5"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01ebc(L, r[0], r[1], f); }, 1,
                 [](arb_ptr o, arb_srcptr in, const I &, slong wp) {
                     // 1 - I_{df/(df+t^2)}(df/2, 1/2) / 2 for t > 0
                     arb_t x, a, h, t2;
                     arb_init(x); arb_init(a); arb_init(h); arb_init(t2);
                     arb_sqr(t2, in, wp);
                     arb_add(x, in + 1, t2, wp);
                     arb_div(x, in + 1, x, wp);
                     arb_mul_2exp_si(a, in + 1, -1);
                     arb_set_d(h, 0.5);
                     arb_hypgeom_beta_lower(o, a, h, x, 1, wp);
                     arb_mul_2exp_si(o, o, -1);
                     arb_sub_ui(o, o, 1, wp);
                     arb_neg(o, o);
                     arb_clear(x); arb_clear(a); arb_clear(h); arb_clear(t2);
                 },
                 [](const R &r, const I &) { return static_cast<double>(bm::cdf(bm::students_t_distribution<Real>(r[1]), r[0])); }});
    b.push_back({{"g01fbc lower p=0.975 df=5", {"0.975", "5"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01fbc(L, r[0], r[1], f); }, 0, nullptr,
                 [](const R &r, const I &) { return static_cast<double>(bm::quantile(bm::students_t_distribution<Real>(r[1]), r[0])); }});
    auto gamma_lower = [](arb_ptr o, arb_srcptr a, arb_srcptr x, slong wp) { arb_hypgeom_gamma_lower(o, a, x, 1, wp); };
    b.push_back({{"g01ecc lower x=11 df=5", {"11", "5"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01ecc(L, r[0], r[1], f); }, 1,
                 [=](arb_ptr o, arb_srcptr in, const I &, slong wp) {
                     arb_t a, x;
                     arb_init(a); arb_init(x);
                     arb_mul_2exp_si(a, in + 1, -1);
                     arb_mul_2exp_si(x, in, -1);
                     gamma_lower(o, a, x, wp);
                     arb_clear(a); arb_clear(x);
                 },
                 [](const R &r, const I &) { return static_cast<double>(bm::cdf(bm::chi_squared_distribution<Real>(r[1]), r[0])); }});
    b.push_back({{"g01fcc p=0.975 df=5", {"0.975", "5"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01fcc(r[0], r[1], f); }, 0, nullptr,
                 [](const R &r, const I &) { return static_cast<double>(bm::quantile(bm::chi_squared_distribution<Real>(r[1]), r[0])); }});
    b.push_back({{"g01edc lower f=2.5 df=5,7", {"2.5", "5", "7"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01edc(L, r[0], r[1], r[2], f); }, 1,
                 [](arb_ptr o, arb_srcptr in, const I &, slong wp) {
                     // I_{d1 f / (d1 f + d2)}(d1/2, d2/2)
                     arb_t x, a, c;
                     arb_init(x); arb_init(a); arb_init(c);
                     arb_mul(x, in + 1, in, wp);
                     arb_add(c, x, in + 2, wp);
                     arb_div(x, x, c, wp);
                     arb_mul_2exp_si(a, in + 1, -1);
                     arb_mul_2exp_si(c, in + 2, -1);
                     arb_hypgeom_beta_lower(o, a, c, x, 1, wp);
                     arb_clear(x); arb_clear(a); arb_clear(c);
                 },
                 [](const R &r, const I &) { return static_cast<double>(bm::cdf(bm::fisher_f_distribution<Real>(r[1], r[2]), r[0])); }});
    b.push_back({{"g01fdc p=0.975 df=5,7", {"0.975", "5", "7"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01fdc(r[0], r[1], r[2], f); }, 0, nullptr,
                 [](const R &r, const I &) { return static_cast<double>(bm::quantile(bm::fisher_f_distribution<Real>(r[1], r[2]), r[0])); }});
    auto beta3 = [&](const char *name, const char *x, const char *a, const char *bb) {
        b.push_back({{name, {x, a, bb}, {}},
                     [=](const V &r, const I &, NagError *f) {
                         TalvoFloat p, q, d;
                         TalvoMP_g01eec(r[0], r[1], r[2], TalvoFloat(), &p, &q, &d, f);
                     },
                     3,
                     [](arb_ptr o, arb_srcptr in, const I &, slong wp) {
                         // P = I_x(a, b), Q = I_{1-x}(b, a), pdf = x^(a-1) (1-x)^(b-1) / B(a, b)
                         arb_t y, t, u;
                         arb_init(y); arb_init(t); arb_init(u);
                         arb_sub_ui(y, in, 1, wp);
                         arb_neg(y, y);
                         arb_hypgeom_beta_lower(o, in + 1, in + 2, in, 1, wp);
                         arb_hypgeom_beta_lower(o + 1, in + 2, in + 1, y, 1, wp);
                         arb_sub_ui(t, in + 1, 1, wp);
                         arb_pow(t, in, t, wp);
                         arb_sub_ui(u, in + 2, 1, wp);
                         arb_pow(u, y, u, wp);
                         arb_mul(t, t, u, wp);
                         arb_add(u, in + 1, in + 2, wp);
                         arb_hypgeom_rgamma(u, u, wp); // 1 / B(a, b) = G(a+b) / (G(a) G(b))
                         arb_hypgeom_gamma(y, in + 1, wp);
                         arb_mul(u, u, y, wp);
                         arb_hypgeom_gamma(y, in + 2, wp);
                         arb_mul(u, u, y, wp);
                         arb_div(o + 2, t, u, wp);
                         arb_clear(y); arb_clear(t); arb_clear(u);
                     },
                     [](const R &r, const I &) {
                         bm::beta_distribution<Real> d(r[1], r[2]);
                         return static_cast<double>(bm::cdf(d, r[0]) + bm::cdf(bm::complement(d, r[0])) + bm::pdf(d, r[0]));
                     }});
    };
    beta3("g01eec x=0.3 a=2.5 b=3.5 (P,Q,pdf)", "0.3", "2.5", "3.5");
    // whole-number shapes: the finite binomial sums
    beta3("g01eec x=0.3 a=2 b=3 (P,Q,pdf)", "0.3", "2", "3");
    b.push_back({{"g01fec p=0.975 a=2.5 b=3.5", {"0.975", "2.5", "3.5"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01fec(r[0], r[1], r[2], TalvoFloat(), f); }, 0, nullptr,
                 [](const R &r, const I &) { return static_cast<double>(bm::quantile(bm::beta_distribution<Real>(r[1], r[2]), r[0])); }});
    auto gamma_case = [&](const char *name, const char *g, const char *a) {
        b.push_back({{name, {g, a, "1"}, {}},
                     [=](const V &r, const I &, NagError *f) { TalvoMP_g01efc(L, r[0], r[1], r[2], f); }, 1,
                     [=](arb_ptr o, arb_srcptr in, const I &, slong wp) { gamma_lower(o, in + 1, in, wp); },
                     [](const R &r, const I &) { return static_cast<double>(bm::cdf(bm::gamma_distribution<Real>(r[1], r[2]), r[0])); }});
    };
    gamma_case("g01efc lower g=2 a=3.5", "2", "3.5");
    gamma_case("g01efc lower P(500, 480)", "480", "500");
    b.push_back({{"g01ffc p=0.975 a=3.5 b=1", {"0.975", "3.5", "1"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01ffc(r[0], r[1], r[2], TalvoFloat(), f); }, 0, nullptr,
                 [](const R &r, const I &) { return static_cast<double>(bm::quantile(bm::gamma_distribution<Real>(r[1], r[2]), r[0])); }});
    b.push_back({{"g01gbc t=1.5 df=5 delta=1", {"1.5", "5", "1"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01gbc(r[0], r[1], r[2], TalvoFloat(), 1000000, f); }, 0, nullptr,
                 [](const R &r, const I &) { return static_cast<double>(bm::cdf(bm::non_central_t_distribution<Real>(r[1], r[2]), r[0])); }});
    b.push_back({{"g01gcc x=7 df=5 lambda=2", {"7", "5", "2"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01gcc(r[0], r[1], r[2], TalvoFloat(), 1000000, f); }, 0, nullptr,
                 [](const R &r, const I &) { return static_cast<double>(bm::cdf(bm::non_central_chi_squared_distribution<Real>(r[1], r[2]), r[0])); }});
    b.push_back({{"g01gdc f=2.5 df=5,7 lambda=3", {"2.5", "5", "7", "3"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01gdc(r[0], r[1], r[2], r[3], TalvoFloat(), 1000000, f); }, 0, nullptr,
                 [](const R &r, const I &) { return static_cast<double>(bm::cdf(bm::non_central_f_distribution<Real>(r[1], r[2], r[3]), r[0])); }});
    b.push_back({{"g01gec x=0.3 a=2.5 b=3.5 lambda=4", {"0.3", "2.5", "3.5", "4"}, {}},
                 [=](const V &r, const I &, NagError *f) { TalvoMP_g01gec(r[0], r[1], r[2], r[3], TalvoFloat(), 1000000, f); }, 0, nullptr,
                 [](const R &r, const I &) { return static_cast<double>(bm::cdf(bm::non_central_beta_distribution<Real>(r[1], r[2], r[3]), r[0])); }});
    b.push_back({{"g01bjc n=1000 p=0.5 k=480", {"0.5"}, {1000, 480}},
                 [=](const V &r, const I &i, NagError *f) {
                     TalvoFloat a, c, d;
                     TalvoMP_g01bjc(i[0], r[0], i[1], &a, &c, &d, f);
                 },
                 3,
                 [](arb_ptr o, arb_srcptr in, const I &i, slong wp) {
                     // P(X <= k) = I_{1-p}(n-k, k+1), P(X > k) = I_p(k+1, n-k), P(X = k) by lgamma
                     arb_t q, a, c, t;
                     arb_init(q); arb_init(a); arb_init(c); arb_init(t);
                     arb_sub_ui(q, in, 1, wp);
                     arb_neg(q, q);
                     arb_set_si(a, i[0] - i[1]);
                     arb_set_si(c, i[1] + 1);
                     arb_hypgeom_beta_lower(o, a, c, q, 1, wp);
                     arb_hypgeom_beta_lower(o + 1, c, a, in, 1, wp);
                     arb_log(t, in, wp);
                     arb_mul_si(t, t, i[1], wp);
                     arb_log(q, q, wp);
                     arb_mul_si(q, q, i[0] - i[1], wp);
                     arb_add(t, t, q, wp);
                     arb_set_si(q, i[0] + 1);
                     arb_hypgeom_lgamma(q, q, wp);
                     arb_add(t, t, q, wp);
                     arb_hypgeom_lgamma(q, c, wp);
                     arb_sub(t, t, q, wp);
                     arb_add_ui(a, a, 1, wp);
                     arb_hypgeom_lgamma(q, a, wp);
                     arb_sub(t, t, q, wp);
                     arb_exp(o + 2, t, wp);
                     arb_clear(q); arb_clear(a); arb_clear(c); arb_clear(t);
                 },
                 [](const R &r, const I &i) {
                     bm::binomial_distribution<Real> d(static_cast<double>(i[0]), r[0]);
                     Real k = i[1];
                     return static_cast<double>(bm::cdf(d, k) + bm::cdf(bm::complement(d, k)) + bm::pdf(d, k));
                 }});
    b.push_back({{"g01bkc lambda=100 k=99", {"100"}, {99}},
                 [=](const V &r, const I &i, NagError *f) {
                     TalvoFloat a, c, d;
                     TalvoMP_g01bkc(r[0], i[0], &a, &c, &d, f);
                 },
                 3,
                 [](arb_ptr o, arb_srcptr in, const I &i, slong wp) {
                     // P(X <= k) = Q(k+1, lambda), P(X > k) = P(k+1, lambda), P(X = k)
                     arb_t s, t;
                     arb_init(s); arb_init(t);
                     arb_set_si(s, i[0] + 1);
                     arb_hypgeom_gamma_upper(o, s, in, 1, wp);
                     arb_hypgeom_gamma_lower(o + 1, s, in, 1, wp);
                     arb_hypgeom_lgamma(t, s, wp);
                     arb_log(s, in, wp);
                     arb_mul_si(s, s, i[0], wp);
                     arb_sub(s, s, in, wp);
                     arb_sub(s, s, t, wp);
                     arb_exp(o + 2, s, wp);
                     arb_clear(s); arb_clear(t);
                 },
                 [](const R &r, const I &i) {
                     bm::poisson_distribution<Real> d(r[0]);
                     Real k = i[0];
                     return static_cast<double>(bm::cdf(d, k) + bm::cdf(bm::complement(d, k)) + bm::pdf(d, k));
                 }});
    b.push_back({{"g01blc n=1000 l=500 m=300 k=140", {}, {1000, 500, 300, 140}},
                 [=](const V &, const I &i, NagError *f) {
                     TalvoFloat a, c, d;
                     TalvoMP_g01blc(i[0], i[1], i[2], i[3], &a, &c, &d, f);
                 },
                 0, nullptr,
                 [](const R &, const I &i) {
                     // defective m, sample l, population n
                     bm::hypergeometric_distribution<Real> d(static_cast<unsigned>(i[2]), static_cast<unsigned>(i[1]),
                                                             static_cast<unsigned>(i[0]));
                     unsigned k = static_cast<unsigned>(i[3]);
                     return static_cast<double>(bm::cdf(d, k) + bm::cdf(bm::complement(d, k)) + bm::pdf(d, k));
                 }});
    return b;
}

} // namespace

int main(int argc, char **argv)
{
    GC_INIT();
    std::vector<long> digits;
    std::string only;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc)
            only = argv[++i];
        else
            digits.push_back(std::atol(argv[i]));
    }
    if (digits.empty())
        digits = {15, 50, 300};
    std::printf("%-36s %6s %12s %12s %12s %9s %9s\n", "case", "digits", "talvo_us", "arb_us", "boost_us",
                "talvo/arb", "talvo/bst");
    for (const Bench &b : Benches()) {
        if (!only.empty() && std::string(b.c.name).find(only) == std::string::npos)
            continue;
        for (long d : digits) {
            talvo_float_set_digits(d);
            mpfr_prec_t prec = talvo_float_precision();
            std::vector<TalvoFloat> reals;
            for (const char *t : b.c.reals)
                reals.push_back(TalvoFloat::from_handle(talvo_float_parse(t, prec)));
            NagError fail{};
            double ours = bench::BestMicros([&] { b.talvo(reals, b.c.ints, &fail); });
            if (fail.code != NE_NOERROR)
                ours = -1;
            double arb = -1;
            if (b.arb) {
                arb_ptr in = _arb_vec_init(static_cast<slong>(b.c.reals.size()));
                for (size_t i = 0; i < b.c.reals.size(); ++i)
                    ArbSet(in + i, b.c.reals[i], d);
                arb = bench::BestMicros([&] {
                    ArbGuaranteed(d, b.arb_outputs, [&](arb_ptr o, slong wp) { b.arb(o, in, b.c.ints, wp); });
                });
                _arb_vec_clear(in, static_cast<slong>(b.c.reals.size()));
            }
            double boost = -1;
            {
                Real::default_precision(static_cast<unsigned>(d));
                std::vector<Real> r;
                for (const char *t : b.c.reals)
                    r.push_back(Real(t));
                try {
                    boost = bench::BestMicros([&] { sink = b.boost(r, b.c.ints); });
                } catch (const std::exception &) {
                    boost = -1;
                }
            }
            auto cell = [](double v) {
                static char buf[4][32];
                static int k = 0;
                char *s = buf[k++ & 3];
                if (v < 0)
                    std::snprintf(s, 32, "%s", "-");
                else
                    std::snprintf(s, 32, "%.2f", v);
                return s;
            };
            auto ratio = [](double a, double c) {
                static char buf[4][32];
                static int k = 0;
                char *s = buf[k++ & 3];
                if (a < 0 || c < 0)
                    std::snprintf(s, 32, "%s", "-");
                else
                    std::snprintf(s, 32, "%.2f", a / c);
                return s;
            };
            std::printf("%-36s %6ld %12s %12s %12s %9s %9s\n", b.c.name, d, cell(ours), cell(arb), cell(boost),
                        ratio(ours, arb), ratio(ours, boost));
            std::fflush(stdout);
        }
    }
    return 0;
}
