// sampling_distributions.hpp -- Student's t, chi-square, F, gamma and beta,
// central and non-central: inner cumulative probabilities, deviates and
// random variates on TalvoFloat values.
//
// Probabilities and deviates call the numerics library (talvo_mp.h) for the
// lower tail, with a fresh error record per call; a routine's failure is
// raised as a host error carrying the routine's own message.
//
// Gamma takes (scale, shape) in that order everywhere; chi-square with nu
// degrees of freedom is the gamma of scale 2 and shape nu/2.
//
// The non-central functions take tol, the relative accuracy asked of the
// numerics routine (the host entries pass 10^-Digits), and read the
// iteration limit (stats::StatisticsIterations: "_EnvStatisticsIterations"
// or 100) on every call.  The non-central deviates invert their own
// probability with Brent's method (rootfinding.hpp), tol serving as the
// search's absolute tolerance:
//   chi-square  hybrid-left march from the barrier 0, first point nu + lambda;
//   F           hybrid-left march from the barrier 0, first point 5;
//   beta        plain Brent search on [0, 1].
// Their failures are the root finder's messages.
//
// Random variates: the inversion draw of Student's t is defined here (one
// uniform, then the deviate).  The other variates are built on the gamma
// and normal generators and are declared with them in
// variate_algorithms.hpp; each is defined in its law's source file, beside
// its probability and deviate.
#pragma once

#include "callback_adapters.hpp"
#include "stats_api.h"

// Student's t with nu degrees of freedom.
STATS_API TalvoFloat STATS_StudentTProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu);
STATS_API TalvoFloat STATS_StudentTDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu);
STATS_API TalvoFloat STATS_StudentTRandomVariate_MP(TKernelVector kv, TalvoFloat nu);
STATS_API TalvoFloat STATS_StudentTRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Chi-square with nu degrees of freedom.
STATS_API TalvoFloat STATS_ChiSquareProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu);
STATS_API TalvoFloat STATS_ChiSquareDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu);
STATS_API TalvoFloat STATS_ChiSquareRandomVariate_MP(TKernelVector kv, TalvoFloat nu);
STATS_API TalvoFloat STATS_ChiSquareRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// F (variance ratio) with nu1 and nu2 degrees of freedom.
STATS_API TalvoFloat STATS_FRatioProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu1, TalvoFloat nu2);
STATS_API TalvoFloat STATS_FRatioDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu1, TalvoFloat nu2);
STATS_API TalvoFloat STATS_FRatioRandomVariate_MP(TKernelVector kv, TalvoFloat nu1, TalvoFloat nu2);
STATS_API TalvoFloat STATS_FRatioRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Gamma: scale first, shape second (mean scale * shape).
STATS_API TalvoFloat STATS_GammaProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat scale, TalvoFloat shape);
STATS_API TalvoFloat STATS_GammaDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat scale, TalvoFloat shape);
STATS_API TalvoFloat STATS_GammaRandomVariate_MP(TKernelVector kv, TalvoFloat scale, TalvoFloat shape);
STATS_API TalvoFloat STATS_GammaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Beta(a, b) on [0, 1].
STATS_API TalvoFloat STATS_BetaProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_BetaDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_BetaRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b);
STATS_API TalvoFloat STATS_BetaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Non-central t with nu degrees of freedom and non-centrality delta (no deviate).
STATS_API TalvoFloat STATS_NonCentralStudentTProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu,
                                                            TalvoFloat delta, TalvoFloat tol);
STATS_API TalvoFloat STATS_NonCentralStudentTRandomVariate_MP(TKernelVector kv, TalvoFloat nu, TalvoFloat delta);
STATS_API TalvoFloat STATS_NonCentralStudentTRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// Non-central chi-square with nu degrees of freedom and non-centrality
// lambda (the Poisson weights have mean lambda / 2).  The variate's method:
// 0 inverts the deviate, anything else sums squared normals.
STATS_API TalvoFloat STATS_NonCentralChiSquareProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu,
                                                             TalvoFloat lambda, TalvoFloat tol);
STATS_API TalvoFloat STATS_NonCentralChiSquareDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu,
                                                         TalvoFloat lambda, TalvoFloat tol);
STATS_API TalvoFloat STATS_NonCentralChiSquareRandomVariate_MP(TKernelVector kv, TalvoFloat nu, TalvoFloat lambda,
                                                               int method);

// Non-central F with nu1, nu2 degrees of freedom and non-centrality lambda.
STATS_API TalvoFloat STATS_NonCentralFRatioProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat nu1,
                                                          TalvoFloat nu2, TalvoFloat lambda, TalvoFloat tol);
STATS_API TalvoFloat STATS_NonCentralFRatioDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat nu1, TalvoFloat nu2,
                                                      TalvoFloat lambda, TalvoFloat tol);
STATS_API TalvoFloat STATS_NonCentralFRatioRandomVariate_MP(TKernelVector kv, TalvoFloat nu1, TalvoFloat nu2,
                                                            TalvoFloat lambda);

// Non-central beta(a, b) with non-centrality lambda.
STATS_API TalvoFloat STATS_NonCentralBetaProbability_MP(TKernelVector kv, TalvoFloat x, TalvoFloat a, TalvoFloat b,
                                                        TalvoFloat lambda, TalvoFloat tol);
STATS_API TalvoFloat STATS_NonCentralBetaDeviate_MP(TKernelVector kv, TalvoFloat p, TalvoFloat a, TalvoFloat b,
                                                    TalvoFloat lambda, TalvoFloat tol);
STATS_API TalvoFloat STATS_NonCentralBetaRandomVariate_MP(TKernelVector kv, TalvoFloat a, TalvoFloat b,
                                                          TalvoFloat lambda);
STATS_API TalvoFloat STATS_NonCentralBetaRandomVariate_MP(TKernelVector kv, const TalvoFloat *params);

// The probability functions of the non-central deviates, as functions of x
// alone: each holds copies of the parameters and tol, and Call(x) returns
// the inner probability at x.  Built on the stack for one search.
class STATS_API _NonCentralChiSquareProbabilityAdapter : public STATS_TalvoCallbackAdapter_MP {
public:
    _NonCentralChiSquareProbabilityAdapter(TKernelVector kv, TalvoFloat nu, TalvoFloat lambda, TalvoFloat tol)
        : STATS_TalvoCallbackAdapter_MP(kv), m_nu(nu), m_lambda(lambda), m_tol(tol)
    {
    }
    TalvoFloat Call(TalvoFloat x) override;

private:
    TalvoFloat m_nu, m_lambda, m_tol;
};

class STATS_API _NonCentralFRatioProbabilityAdapter : public STATS_TalvoCallbackAdapter_MP {
public:
    _NonCentralFRatioProbabilityAdapter(TKernelVector kv, TalvoFloat nu1, TalvoFloat nu2, TalvoFloat lambda,
                                        TalvoFloat tol)
        : STATS_TalvoCallbackAdapter_MP(kv), m_nu1(nu1), m_nu2(nu2), m_lambda(lambda), m_tol(tol)
    {
    }
    TalvoFloat Call(TalvoFloat x) override;

private:
    TalvoFloat m_nu1, m_nu2, m_lambda, m_tol;
};

class STATS_API _NonCentralBetaProbabilityAdapter : public STATS_TalvoCallbackAdapter_MP {
public:
    _NonCentralBetaProbabilityAdapter(TKernelVector kv, TalvoFloat a, TalvoFloat b, TalvoFloat lambda,
                                      TalvoFloat tol)
        : STATS_TalvoCallbackAdapter_MP(kv), m_a(a), m_b(b), m_lambda(lambda), m_tol(tol)
    {
    }
    TalvoFloat Call(TalvoFloat x) override;

private:
    TalvoFloat m_a, m_b, m_lambda, m_tol;
};
