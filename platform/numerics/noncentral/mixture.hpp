// mixture.hpp -- Poisson-weighted series, the engine of the non-central
// distributions.
//
// The sums have the form
//     S = sum_c sum_{j >= 0} w_c(j) G_c(j),
// with Poisson-type weights w(j) = sign e^-z z^(j+s) / Gamma(j+s+1)
// (s = 0 or 1/2) and G a monotone ladder of central distribution functions:
//     P(a + j, x)           gamma, falling in j   (non-central chi-square)
//     Q(a + j, x)           gamma, rising in j    (its upper tail)
//     I_x(a + j, b)         beta, falling in j    (non-central beta, F, t)
//     1 - I_x(a + j, b)     beta, rising in j     (non-central t below 0,
//                                                  the beta and F upper tails)
// Neighbouring rungs differ by one term of the lower series,
//     P(s, x) - P(s+1, x) = x^s e^-x / Gamma(s+1),
//     I_x(s, b) - I_x(s+1, b) = x^s y^b / (s B(s, b)),
// so one rung is computed directly (special/) and the others by adding
// those differences -- always in the direction in which the ladder grows, so
// the recurrence only adds positive numbers (Abramowitz and Stegun 26.4.8,
// 26.5.16; the scheme of Ding (1992) and Lenth (1987), here in ball
// arithmetic).
//
// The index range: the sum starts at the rung where the ladder is smallest
// (the top index J for a falling ladder, the bottom for a rising one) and
// runs towards the other end until what is left is provably small.  What
// lies beyond the start is at most G(J) * sum_{i beyond J} |w(i)| (the ladder
// is monotone), what lies beyond the stop at most sum |w(i)| (G <= 1); the
// weight tails are bounded by geometric series in the ratio of neighbouring
// weights.  Both bounds go into the radius of the result.
#pragma once

#include "../core/arb_types.hpp"
#include "../core/support.hpp"
#include "../special/beta_inc.hpp"
#include "../special/gamma_inc.hpp"

namespace talvo::mp {

struct MixtureComponent {
    // Weights w(j) = sign e^-z z^(j+s) / Gamma(j+s+1).
    arb_srcptr z;
    Fmpq s;      // 0 or 1/2
    int sign = 1;
    // The ladder G(j).
    enum Kind { GammaLower, BetaLower, BetaUpper, GammaUpper } kind = GammaLower;
    bool is_gamma() const { return kind == GammaLower || kind == GammaUpper; }
    bool rising() const { return kind == BetaUpper || kind == GammaUpper; }
    Fmpq a;      // G(j) is at a + j
    Fmpq b;      // beta: the second parameter
    GammaPoint gamma_point; // gamma: the point x
    BetaPoint beta_point;   // beta: x and y = 1 - x
};

// S to a relative truncation error below 2^-(trunc + 4) of the sum of the
// magnitudes of its terms; at most max_iter indices j are summed (all
// components share the index range, z and the point).  On NoConvergence S holds the partial
// sum and *needed an estimate of the number of indices the accuracy needs.
Status mixture_sum(arb_ptr S, MixtureComponent *c, int nc, slong trunc, slong wp, Integer max_iter, Integer *needed);

// The index at which mixture_sum starts summing, from the same double
// estimates (a fast path that must answer only where mixture_sum would not
// run out of iterations asks it).
Status mixture_start(const MixtureComponent *c, int nc, slong trunc, slong *start);

} // namespace talvo::mp
