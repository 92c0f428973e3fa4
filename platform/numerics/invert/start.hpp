// start.hpp -- double-precision starting values for the deviates.
//
// Boost.Math's double inverses (gamma_p_inv, ibeta_inv, the Student's t
// quantile) give about 15 correct digits for probabilities a double holds;
// for smaller ones (the caller passes ln p as well) the leading term of each
// tail's asymptotic form is solved for x.  A start only needs to be near the
// root: the inversion engine refines and proves it, so a start that is
// NaN or far off costs iterations, never accuracy.
#pragma once

namespace talvo::mp {

// Gamma(a, 1): x with P(a, x) = p (upper: Q(a, x) = p).
double start_gamma(double a, double p, double log_p, bool upper);
// Beta(a, b): the x with I_x(a, b) = p (upper: 1 - I_x(a, b) = p), given
// as u = x, or as u = y = 1 - x (y_side) when the root lies above 1/2, so
// that a root near 1 keeps its digits.  u is NaN, 0 or an underflowed
// value when no usable start exists.
struct BetaStart {
    double u;
    bool y_side;
};
BetaStart start_beta(double a, double b, double p, double log_p, bool upper);
// Beta(a, b) with a small shape a: ln x for the x with I_x(a, b) = p, from
// I_x(a, b) ~ x^a / (a B(a, b)) as x -> 0, given ln p (the lower tail at
// the root).  For a small a this root lies far below the range of doubles
// (a = 1e-6 and p = 0.6 put it near e^-500000), where no double start
// exists; the engine starts from its logarithm (Inversion::log_start).
// NaN when a is not below 1 or a double cannot form the estimate.
double log_start_beta_small_shape(double a, double b, double log_p);
// Standard normal: z > 0 with P(Z >= z) = q, for q in (0, 1/2); NaN when a
// double cannot hold q.
double start_normal_upper(double q);
// Student's t with df degrees of freedom: t > 0 with P(T >= t) = q.
double start_t_upper(double df, double q, double log_q);
// The same start when it needs no ln q (a q whose double is not tiny and
// an answer of the double routine); NaN otherwise.
double start_t_upper_double(double df, double q);

// Binomial(n, p): an estimate of the smallest k with P(X <= k) >= y, from
// the double-precision distribution; NaN when a double cannot say.
double start_binomial(double n, double p, double y);

} // namespace talvo::mp
