// start.cpp -- starting values from Boost.Math in double precision, with an
// error policy that returns NaN instead of throwing, and asymptotic tail
// formulas where a double cannot hold the probability.
#include "start.hpp"

#include <boost/math/distributions/binomial.hpp>
#include <boost/math/distributions/students_t.hpp>
#include <boost/math/special_functions/beta.hpp>
#include <boost/math/special_functions/erf.hpp>
#include <boost/math/special_functions/gamma.hpp>

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace talvo::mp {

namespace {

using namespace boost::math::policies;
using Quiet = policy<domain_error<errno_on_error>, pole_error<errno_on_error>, overflow_error<errno_on_error>,
                     evaluation_error<errno_on_error>, rounding_error<errno_on_error>, underflow_error<ignore_error>,
                     denorm_error<ignore_error>, promote_double<false>>;

// Probabilities below this come from the asymptotic forms.
constexpr double kTiny = 1e-280;

bool usable(double x) { return std::isfinite(x) && x > 0; }

// Shape parameters the double-precision inverses are given.  Below the
// normal range of doubles (a parameter converted from a tiny float is
// subnormal) their series assert in a build with assertions and return
// nothing useful without: such parameters take the asymptotic start.
constexpr double kSmallestShape = 1e-300;
bool shape_ok(double v) { return std::isfinite(v) && v >= kSmallestShape; }

// The double beta inverses are called only for shapes in
// [kSmallestBetaShape, kLargestBetaShape].  Outside, their root bracketing
// can step from a zero guess by a factor forever: a = 1370 beside
// b = 7.1e34, a = 5e261 beside b = 5e305, and a = 2.7e-159 beside
// b = 1.2e-184 at p = 7.4e-182 never return.  Sweeps of 10^5 random shape
// pairs and probabilities, over the whole range and focused on the tiny
// shape beside a larger one with p near it, found such cases only with a
// shape above 7e31 or below 7e-165.
constexpr double kSmallestBetaShape = 1e-150;
constexpr double kLargestBetaShape = 1e15;
bool beta_shapes_ok(double a, double b)
{
    return a >= kSmallestBetaShape && b >= kSmallestBetaShape && a <= kLargestBetaShape && b <= kLargestBetaShape;
}

double log_beta(double a, double b) { return std::lgamma(a) + std::lgamma(b) - std::lgamma(a + b); }

} // namespace

double start_gamma(double a, double p, double log_p, bool upper)
{
    if (p > kTiny && shape_ok(a)) {
        try {
            double x = upper ? boost::math::gamma_q_inv(a, p, Quiet()) : boost::math::gamma_p_inv(a, p, Quiet());
            if (usable(x))
                return x;
        } catch (...) {
        }
    }
    if (!upper) {
        // P(a, x) ~ x^a / Gamma(a + 1) as x -> 0.
        return std::exp((log_p + std::lgamma(a + 1)) / a);
    }
    // Q(a, x) ~ x^(a-1) e^-x / Gamma(a): x = -ln q - ln Gamma(a) + (a - 1) ln x.
    double x = std::max(1.0, -log_p);
    for (int i = 0; i < 8; ++i)
        x = std::max(1e-300, -log_p - std::lgamma(a) + (a - 1) * std::log(x));
    return x;
}

BetaStart start_beta(double a, double b, double p, double log_p, bool upper)
{
    // The root as x, or as y = 1 - x above 1/2, where a double keeps the
    // digits of a root near 1 (from x, or from y when y is what was formed).
    auto side = [](double x) { return x > 0.5 ? BetaStart{1.0 - x, true} : BetaStart{x, false}; };
    auto side_of_y = [](double y) { return y > 0.5 ? BetaStart{1.0 - y, false} : BetaStart{y, true}; };
    const bool shapes_ok = shape_ok(a) && shape_ok(b);
    if (p > kTiny && beta_shapes_ok(a, b)) {
        try {
            double x = upper ? boost::math::ibetac_inv(a, b, p, Quiet()) : boost::math::ibeta_inv(a, b, p, Quiet());
            if (usable(x) && x < 1)
                return side(x);
        } catch (...) {
        }
    }
    if (shapes_ok && std::max(a, b) > kLargestBetaShape) {
        // X = G_a / (G_a + G_b) for independent gamma variables of shapes a
        // and b.  The one of the larger shape s lies within a relative
        // 1 / sqrt(s) of its mean s, so with G_b ~ b the root is
        // g / (g + b) at the gamma root g of the same tail; with G_a ~ a,
        // 1 - X = G_b / (a + G_b) falls as G_b grows, and y = h / (a + h)
        // at the gamma root h of the other tail.
        if (a <= b) {
            const double g = start_gamma(a, p, log_p, upper);
            if (usable(g))
                return side(g / (g + b));
        } else {
            const double h = start_gamma(b, p, log_p, !upper);
            if (usable(h)) {
                return side_of_y(h / (a + h));
            }
        }
    }
    if (!upper) {
        // I_x(a, b) ~ x^a / (a B(a, b)) as x -> 0.
        return side(std::exp((log_p + std::log(a) + log_beta(a, b)) / a));
    }
    // 1 - I_x(a, b) ~ y^b / (b B(a, b)) as y = 1 - x -> 0.
    return side_of_y(std::exp((log_p + std::log(b) + log_beta(a, b)) / b));
}

double log_start_beta_small_shape(double a, double b, double log_p)
{
    if (!(a > 0 && a < 1 && b > 0 && std::isfinite(b) && log_p < 0))
        return NAN;
    // ln(a B(a, b)) = ln Gamma(1 + a) + ln(Gamma(b) / Gamma(a + b)); the
    // ratio from tgamma_delta_ratio, which keeps its digits for a small a
    // beside a large b (there ln Gamma(b) - ln Gamma(a + b), about -a ln b, is
    // the difference of two numbers near b ln b).
    const double ratio = boost::math::tgamma_delta_ratio(b, a, Quiet());
    if (!usable(ratio))
        return NAN;
    const double v = (log_p + std::lgamma(1.0 + a) + std::log(ratio)) / a;
    // A quotient beyond the doubles (a subnormal a) puts the root beyond
    // every float, as does any logarithm below about -7.4e8: a start far
    // below the float range serves the same (the search ends there).
    if (v == -INFINITY)
        return -1e300;
    return std::isfinite(v) ? v : NAN;
}

double start_normal_upper(double q)
{
    if (!(q > kTiny && q < 0.5))
        return NAN;
    try {
        // P(Z >= z) = erfc(z / sqrt 2) / 2.
        double z = boost::math::erfc_inv(2.0 * q, Quiet()) * 1.4142135623730951;
        if (usable(z))
            return z;
    } catch (...) {
    }
    return NAN;
}

double start_t_upper_double(double df, double q)
{
    if (q > kTiny && shape_ok(df)) {
        try {
            boost::math::students_t_distribution<double, Quiet> dist(df);
            double t = boost::math::quantile(boost::math::complement(dist, q));
            if (usable(t))
                return t;
        } catch (...) {
        }
    }
    return NAN;
}

double start_t_upper(double df, double q, double log_q)
{
    double t = start_t_upper_double(df, q);
    if (usable(t))
        return t;
    // P(T >= t) ~ (nu / t^2)^(nu/2) / (nu B(nu/2, 1/2)) as t -> infinity.
    double lt = (0.5 * df * std::log(df) - std::log(df) - log_beta(0.5 * df, 0.5) - log_q) / df;
    return std::exp(lt);
}

double start_binomial(double n, double p, double y)
{
    if (!(n >= 1 && n < 0x1p53 && p > 0 && p < 1 && y > kTiny && y < 1))
        return NAN;
    using RoundUp = policy<domain_error<errno_on_error>, pole_error<errno_on_error>, overflow_error<errno_on_error>,
                           evaluation_error<errno_on_error>, rounding_error<errno_on_error>,
                           underflow_error<ignore_error>, denorm_error<ignore_error>, promote_double<false>,
                           discrete_quantile<integer_round_up>>;
    try {
        double k = boost::math::quantile(boost::math::binomial_distribution<double, RoundUp>(n, p), y);
        if (std::isfinite(k) && k >= 0 && k <= n)
            return k;
    } catch (...) {
    }
    return NAN;
}

} // namespace talvo::mp
