// icdf.hpp -- variates of a distribution given by host procedures for its
// distribution function (CDF) and density (PDF), restricted to [a, b]: a
// uniform u is mapped to p = F(a) + u (F(b) - F(a)) and the CDF inverted at p
// by Newton's method kept inside a bracket, with bisection where a Newton
// step would leave it or shrink it too slowly (the safeguarded scheme of
// Press et al., Numerical Recipes, "rtsafe").
#pragma once

#include "stats_api.h"

#include <memory>

class STATS_API STATS_ICDFGenerator_MP {
public:
    // What the evaluators receive: the kernel, the procedure, the name
    // "evalf", and the flag given to the constructor (not read).
    struct TalvoCallback {
        TKernelVector kernel;
        ALGEB procedure;
        ALGEB evalf;
        int flag;
    };

    // a, b and tol are converted with the float class's conversion; F(a)
    // and F(b) are evaluated at once.
    STATS_ICDFGenerator_MP(TKernelVector kv, ALGEB cdf, ALGEB pdf, ALGEB a, ALGEB b, ALGEB tol, int flag);
    ~STATS_ICDFGenerator_MP();
    STATS_ICDFGenerator_MP(const STATS_ICDFGenerator_MP &) = delete;
    STATS_ICDFGenerator_MP &operator=(const STATS_ICDFGenerator_MP &) = delete;

    // One variate: one uniform, then the search.
    TalvoFloat Next();

    // The x in [lo, hi] where cdf(x) = p, by at most 100 safeguarded Newton
    // or bisection steps, until a step is below tol in size or no longer
    // moves x.  Running out of steps is no error: the last x is returned.
    static TalvoFloat Quantile(TalvoCallback *cdf, TalvoCallback *pdf, TalvoFloat p, TalvoFloat lo, TalvoFloat hi,
                               TalvoFloat tol);

    // The procedure at x (or at args[0..n-1]), evalf applied to a result
    // that is not numeric, as a float, evaluated under the host's error trap;
    // when the evaluation fails, the procedure is called once more outside
    // the trap and "%1 does not evaluate to float" raised with its value.
    // Undefined and infinite values are returned as they are.
    static TalvoFloat EvalfTalvoProc1(TalvoCallback *callback, TalvoFloat x);
    static TalvoFloat EvalfTalvoProc(TalvoCallback *callback, int n, const TalvoFloat *args);
    // The bodies run under the trap; each returns the address of its
    // function-level result cell.
    static void *TrapEvalfTalvoProc1(void *call);
    static void *TrapEvalfTalvoProc(void *call);

    static TalvoCallback *CreateTalvoCallback(TKernelVector kv, ALGEB procedure, ALGEB evalf, int flag);

    TalvoFloat lower() const { return m_a; }
    TalvoFloat upper() const { return m_b; }
    TalvoFloat tolerance() const { return m_tol; }
    TalvoFloat cdfAtLower() const { return m_Fa; }
    TalvoFloat cdfAtUpper() const { return m_Fb; }
    TalvoFloat mass() const { return m_mass; }

private:
    // The name "evalf", protected from the collector for the generator's
    // life (released also when the constructor fails after making it).
    struct ProtectedName {
        TKernelVector kv;
        ALGEB name;
        ProtectedName(TKernelVector kv, const char *text);
        ~ProtectedName();
        ProtectedName(const ProtectedName &) = delete;
        ProtectedName &operator=(const ProtectedName &) = delete;
    };

    ProtectedName m_evalf;
    TalvoFloat m_a, m_b, m_tol;
    TalvoFloat m_Fa, m_Fb, m_mass;
    std::unique_ptr<TalvoCallback> m_cdf;
    std::unique_ptr<TalvoCallback> m_pdf;
};

namespace stats {

// The sample of proc(X1, ..., XK) for K variables, each a list whose
// elements 2 and 3 are its CDF and PDF, all on [lower, upper]: n draws,
// one from each variable's generator in list order per element, the
// procedure called untrapped on the sequence of the K floats.
ALGEB InverseDistributionSample(TKernelVector kv, int n, ALGEB proc, ALGEB variables, ALGEB lower, ALGEB upper,
                                ALGEB tol, int flag);

} // namespace stats
