// rootfinding.hpp -- solving f(x) = y for x.
//
// f is any callback adapter (a host procedure, a native function, a
// distribution's probability function).  Three families:
//
//   Brent           bracketing zero finder for continuous f; the hybrid forms
//                   march outward along secants from a barrier or a pair of
//                   points until the target is bracketed, for nondecreasing f
//                   with known value bounds (distribution functions);
//   Newton-Raphson  with the derivative as a second adapter: plain (optional
//                   barriers), safeguarded (bracket and bisection), hybrid;
//   discrete        the first integer at which a nondecreasing f of an
//                   integer argument reaches y.
//
// tol is absolute.  maxIterations bounds every loop, so no search runs
// forever; a hybrid form's march and the refinement it hands over to share
// one budget.  Failures are host errors with fixed texts; errors raised by f
// pass through.  The plain and safe Newton forms report an exhausted budget
// as an information message under "hints" and return the latest point.
#pragma once

#include "callback_adapters.hpp"
#include "stats_api.h"


STATS_API TalvoFloat STATS_BrentMethod_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f, TalvoFloat a,
                                          TalvoFloat b, TalvoFloat tol, int maxIterations);
STATS_API TalvoFloat STATS_BrentMethodHybridLeft_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                                    TalvoFloat lowerBound, TalvoFloat upperBound,
                                                    TalvoFloat leftBarrier, TalvoFloat initialPoint, TalvoFloat tol,
                                                    int maxIterations);
STATS_API TalvoFloat STATS_BrentMethodHybridRight_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                                     TalvoFloat lowerBound, TalvoFloat upperBound,
                                                     TalvoFloat initialPoint, TalvoFloat rightBarrier, TalvoFloat tol,
                                                     int maxIterations);
STATS_API TalvoFloat STATS_BrentMethodHybridUnbound_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                                       TalvoFloat lowerBound, TalvoFloat upperBound,
                                                       TalvoFloat initialPoint1, TalvoFloat initialPoint2,
                                                       TalvoFloat tol, int maxIterations);

STATS_API TalvoFloat STATS_NewtonRaphson_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f, STATS_TalvoCallbackAdapter_MP &df,
                                            TalvoFloat x0, int hasLower, TalvoFloat lower, int hasUpper,
                                            TalvoFloat upper, TalvoFloat tol, int maxIterations);
STATS_API TalvoFloat STATS_NewtonRaphsonSafe_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                                STATS_TalvoCallbackAdapter_MP &df, TalvoFloat x0, TalvoFloat lower,
                                                TalvoFloat upper, TalvoFloat tol, int maxIterations);
// The hybrid form brackets the root first: from x0 it takes Newton steps
// aimed at the value bound beyond the root, so that the march overshoots;
// each point short of the root becomes the near barrier, the first point
// past it the far one.  It then refines with the safeguarded steps of the
// safe form from the middle of the bracket.  Bracketing is skipped when the
// barrier on the root's side is active from the start.  Both phases draw on
// one budget of maxIterations rounds.
STATS_API TalvoFloat STATS_NewtonRaphsonHybrid_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                                  STATS_TalvoCallbackAdapter_MP &df, TalvoFloat x0, TalvoFloat lowerBound,
                                                  TalvoFloat upperBound, int hasLower, TalvoFloat lower, int hasUpper,
                                                  TalvoFloat upper, TalvoFloat tol, int maxIterations);

STATS_API long STATS_DiscreteInterpolation_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f, long lo, long hi,
                                              int maxIterations);
// What STATS_DiscreteInterpolation_MP(kv, y, f, lo, hi, maxIterations)
// returns (or raises) when lo < root <= hi and the caller has made sure that
// every comparison f(x) < y on lo..hi holds exactly for x < root: the
// bisection replayed on the integers, without evaluating f.
STATS_API long STATS_DiscreteInterpolationReplay_MP(TKernelVector kv, long lo, long hi, long root, int maxIterations);
STATS_API long STATS_DiscreteInterpolationHybridLeft_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                                        TalvoFloat lowerBound, TalvoFloat upperBound,
                                                        long leftBarrier, long initialPoint, int maxIterations);
STATS_API long STATS_DiscreteInterpolationHybridRight_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                                         TalvoFloat lowerBound, TalvoFloat upperBound,
                                                         long initialPoint, long rightBarrier, int maxIterations);
STATS_API long STATS_DiscreteInterpolationHybridUnbound_MP(TKernelVector kv, TalvoFloat y, STATS_TalvoCallbackAdapter_MP &f,
                                                           TalvoFloat lowerBound, TalvoFloat upperBound,
                                                           long initialPoint1, long initialPoint2, int maxIterations);
