// variate_algorithms.hpp -- random variates drawn by means other than
// inverting the distribution function: gamma by the squeeze-and-reject
// method of Marsaglia and Tsang (2000) on a cubed normal, and the beta,
// chi-square, F, non-central, inverse Gaussian, Maxwell, Moyal and error
// distribution variates built on gamma, normal, exponential and uniform
// draws.
//
// Every uniform comes from the random stream (random_stream.hpp); normal and
// exponential draws come from the ziggurat generators through
// STATS_NormalRandomVariate_MP and STATS_ExponentialRandomVariate_MP, so the
// variates inherit those generators' laws (ziggurat.hpp; docs/variates.md
// says what that means for each variate).
//
// Each variate is defined in its law's own source file of distributions/
// (gamma.cpp, beta.cpp, noncentral_beta.cpp, maxwell.cpp, ...); the gamma
// squeeze that gamma, beta and chi-square draws share (Setup, Main and their
// refusals) in distributions/variates/gamma_squeeze.cpp.
//
// Parameters are trusted as they come, with one exception: a parameter that
// would make a draw loop without end (a gamma shape that is not positive, a
// chi-square count of degrees of freedom that is not positive, a sum of
// squares with more terms than a 32-bit count) raises a host error instead.
#pragma once

#include "callback_adapters.hpp"
#include "stats_api.h"
#include "talvo_float.hpp"

#include <algorithm>
#include <cmath>

// Gamma (scale, shape), in that order.  Setup computes the method's d and c
// for the shape that Main's squeeze works on (shape + 1 when shape < 1) and
// leaves them unchanged for shape exactly 1, which Main draws as scale times
// one exponential draw.  Main raises "the shape of a gamma variate must be
// positive, received: %1" for a shape that is not > 0.
STATS_API void STATS_GammaRandomVariateSetup_MP(TKernelVector kv, TalvoFloat scale, TalvoFloat shape, TalvoFloat &d,
                                                TalvoFloat &c);
STATS_API TalvoFloat STATS_GammaRandomVariateMain_MP(TKernelVector kv, TalvoFloat scale, TalvoFloat shape, TalvoFloat d,
                                                     TalvoFloat c);
STATS_API TalvoFloat STATS_GammaRandomVariate_MP(TKernelVector kv, TalvoFloat scale, TalvoFloat shape);
STATS_API TalvoFloat STATS_GammaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

namespace stats {

// Why a draw of Main would never finish, for laws built on it that refuse a
// parameter in their own terms (chi-square).
enum class GammaRefusal {
    None,
    Rejects,  // the rejection loop would run with c undefined: v never > 0
    Recurses, // shape + 1 no longer grows (-infinity, or beyond the
              // precision), or the chain of shapes below 1 is longer than
              // 100000
};
// The refusal, if any, of a draw of this shape with c from Setup.
GammaRefusal GammaDrawRefusal(const TalvoFloat &shape, const TalvoFloat &c);

// An accept or reject test judged in doubles, where bound bounds the error of
// both the doubles and the floats the definition computes: 1 when
// margin > bound, 0 when margin < -bound (the floats' comparison then comes
// out the same way), -1 when the doubles cannot tell.
inline int DecideInDoubles(double margin, double bound)
{
    if (!std::isfinite(margin) || !std::isfinite(bound))
        return -1;
    if (margin > bound)
        return 1;
    if (margin < -bound)
        return 0;
    return -1;
}
// What one rounding of either computation may move a value by, relative:
// the larger of a double's 2^-52 and a float's 2^-precision.
inline double Roundoff() { return std::max(std::ldexp(1.0, -static_cast<int>(talvo_float_precision())), 0x1p-52); }

// Chi-square draws of one nu with the gamma setup made once: each call draws
// what STATS_ChiSquareRandomVariate_MP(kv, nu) draws (its setup gives the
// same floats every time), so a sample sets up once.  The setup, with any
// refusal of nu, comes at the first draw, as it would for one variate.
class ChiSquareDrawer {
public:
    ChiSquareDrawer(TKernelVector kv, const TalvoFloat &nu) : m_kv(kv), m_nu(nu) {}
    TalvoFloat operator()();

private:
    TKernelVector m_kv;
    TalvoFloat m_nu, m_shape, m_d, m_c;
    bool m_ready = false;
};

} // namespace stats

// Beta (a, b): X / (X + Y) with X, Y unit-scale gamma draws of shapes a, b.
STATS_API TalvoFloat STATS_BetaRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_BetaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Chi-square (nu): a gamma draw of scale 2 and shape nu / 2.  A nu that is not
// > 0 raises "the degrees of freedom of a chi-square variate must be
// positive, received: %1".
STATS_API TalvoFloat STATS_ChiSquareRandomVariate_MP(TKernelVector kv, TalvoFloat nu);
STATS_API TalvoFloat STATS_ChiSquareRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// F ratio (nu1, nu2): (X1 * nu2) / (X2 * nu1), X1 ~ chi-square(nu1) drawn
// first, X2 ~ chi-square(nu2) second.
STATS_API TalvoFloat STATS_FRatioRandomVariate_MP(TKernelVector kv, TalvoFloat nu1, TalvoFloat nu2);
STATS_API TalvoFloat STATS_FRatioRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Non-central Student's t (nu, delta): Y ~ chi-square(nu) drawn first, then
// Z = delta + normal; Z / sqrt(Y / nu).
STATS_API TalvoFloat STATS_NonCentralStudentTRandomVariate_MP(TKernelVector kv, TalvoFloat nu, TalvoFloat delta);
STATS_API TalvoFloat STATS_NonCentralStudentTRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Non-central chi-square (nu, lambda).  method != 0: the sum of the squares
// of ceil(nu) normal draws of mean sqrt(lambda / nu) (one square for each
// integer i >= 0 below nu).  More than 2147483647 terms raise "the sum of
// squares of a non-central chi-square variate takes at most 2147483647
// terms, received: %1".  method 0: the deviate at one uniform draw, searched
// to the tolerance 10^-Digits (its search errors are the deviate's).
STATS_API TalvoFloat STATS_NonCentralChiSquareRandomVariate_MP(TKernelVector kv, TalvoFloat nu, TalvoFloat lambda,
                                                               int method);

// Non-central F (nu1, nu2, lambda): X1 a non-central chi-square draw of nu1
// degrees of freedom by inversion, then X2 ~ chi-square(nu2);
// (X1 * nu2) / (X2 * nu1).
STATS_API TalvoFloat STATS_NonCentralFRatioRandomVariate_MP(TKernelVector kv, TalvoFloat nu1, TalvoFloat nu2,
                                                            TalvoFloat lambda);

// Non-central beta (a, b, lambda): X / (X + Y), X a non-central chi-square
// draw of 2a degrees of freedom (sum of squares for a <= 50, inversion
// beyond), then Y ~ chi-square(2b).
STATS_API TalvoFloat STATS_NonCentralBetaRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b,
                                                          TalvoFloat lambda);
STATS_API TalvoFloat STATS_NonCentralBetaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Inverse Gaussian (mu, lambda), by the transformation of one chi-square(1)
// draw with the choice between the two roots made by one uniform.
STATS_API TalvoFloat STATS_InverseGaussianRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat lambda);
STATS_API TalvoFloat STATS_InverseGaussianRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Maxwell (a): a * sqrt(2 E) with E a gamma(1, 3/2) draw made of one
// exponential and a point of the unit quarter disc.
STATS_API TalvoFloat STATS_MaxwellRandomVariate_MP(TKernelVector kv, TalvoFloat a);
STATS_API TalvoFloat STATS_MaxwellRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Moyal (mu, sigma), by rejection on an angle: sigma * z + mu.
STATS_API TalvoFloat STATS_MoyalRandomVariate_MP(TKernelVector kv, TalvoFloat mu, TalvoFloat sigma);
STATS_API TalvoFloat STATS_MoyalRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Error distribution (a location, b scale, c shape).  c = 2: a Laplace draw
// of scale 2b; c = 1: a normal draw; otherwise a + b 2^(c/2) G^(c/2) with G
// a unit-scale gamma draw of shape c / 2, whose sign is taken from a uniform
// drawn first: positive unless that uniform is 0 (docs/variates.md).
STATS_API TalvoFloat STATS_ErrorRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b, TalvoFloat c);
STATS_API TalvoFloat STATS_ErrorRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);
// The quantile at p by Newton's method on the given distribution function
// and density, from a + tan((2p - 1) * 3.1 / 2), to the relative tolerance
// 10^-Digits within the "_EnvStatisticsIterations" limit (100 when unset).
STATS_API TalvoFloat STATS_ErrorDeviate_MP(TKernelVector kv, TalvoFloat p, STATS_TalvoCallbackAdapter_MP &cdf,
                                           STATS_TalvoCallbackAdapter_MP &pdf, TalvoFloat a, TalvoFloat b,
                                           TalvoFloat c);
