// icdf.cpp -- the inverse-CDF generator and the two inverse distribution
// sample entries.
#include "icdf.hpp"

#include "random_sample.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <vector>

namespace {

using Callback = STATS_ICDFGenerator_MP::TalvoCallback;

// What the trapped bodies receive.
struct CallOne {
    Callback *callback;
    TalvoFloat x;
};

struct CallMany {
    Callback *callback;
    int n;
    const TalvoFloat *args;
};

ALGEB Sequence(TKernelVector kv, int n, const TalvoFloat *args)
{
    ALGEB seq = NewTalvoExpressionSequence(kv, n);
    for (int i = 0; i < n; ++i)
        TalvoExpseqAssign(kv, seq, i + 1, STATS_DoubleToTalvoFloat_MP(kv, args[i]));
    return seq;
}

// The procedure's value at args as a float: evalf applied to a value that is
// not numeric, then the float class's conversion (which raises the host's
// error for anything that is still not a number).
TalvoFloat ValueAt(Callback *c, ALGEB args)
{
    TKernelVector kv = c->kernel;
    ALGEB r = EvalTalvoProcedure(kv, c->procedure, args);
    if (!IsTalvoNumeric(kv, r))
        r = EvalTalvoProcedure(kv, c->evalf, r);
    return STATS_TalvoFloatToDouble_MP(kv, r);
}

[[noreturn]] void ReportNotFloat(Callback *c, ALGEB args)
{
    // Once more outside the trap: an error of the procedure itself now
    // reaches the user as it is; otherwise its value is named.
    ALGEB value = EvalTalvoProcedure(c->kernel, c->procedure, args);
    TalvoRaiseError1(c->kernel, "%1 does not evaluate to float", value);
}

} // namespace

// ---------------------------------------------------------------------------
// Evaluation of the procedures
// ---------------------------------------------------------------------------

STATS_ICDFGenerator_MP::ProtectedName::ProtectedName(TKernelVector k, const char *text)
    : kv(k), name(ToTalvoName(k, text, 1))
{
    TalvoGcProtect(kv, name);
}

STATS_ICDFGenerator_MP::ProtectedName::~ProtectedName() { TalvoGcAllow(kv, name); }

STATS_ICDFGenerator_MP::TalvoCallback *STATS_ICDFGenerator_MP::CreateTalvoCallback(TKernelVector kv, ALGEB procedure,
                                                                                 ALGEB evalf, int flag)
{
    return new TalvoCallback{kv, procedure, evalf, flag};
}

void *STATS_ICDFGenerator_MP::TrapEvalfTalvoProc1(void *p)
{
    static TalvoFloat cell;
    auto *c = static_cast<CallOne *>(p);
    cell = ValueAt(c->callback, STATS_DoubleToTalvoFloat_MP(c->callback->kernel, c->x));
    return &cell;
}

void *STATS_ICDFGenerator_MP::TrapEvalfTalvoProc(void *p)
{
    static TalvoFloat cell;
    auto *c = static_cast<CallMany *>(p);
    cell = ValueAt(c->callback, Sequence(c->callback->kernel, c->n, c->args));
    return &cell;
}

TalvoFloat STATS_ICDFGenerator_MP::EvalfTalvoProc1(TalvoCallback *callback, TalvoFloat x)
{
    CallOne call{callback, x};
    T_BOOL failed = 0;
    auto *cell = static_cast<TalvoFloat *>(TalvoTrapError(callback->kernel, TrapEvalfTalvoProc1, &call, &failed));
    if (!failed && cell != nullptr)
        return *cell;
    ReportNotFloat(callback, STATS_DoubleToTalvoFloat_MP(callback->kernel, x));
}

TalvoFloat STATS_ICDFGenerator_MP::EvalfTalvoProc(TalvoCallback *callback, int n, const TalvoFloat *args)
{
    CallMany call{callback, n, args};
    T_BOOL failed = 0;
    auto *cell = static_cast<TalvoFloat *>(TalvoTrapError(callback->kernel, TrapEvalfTalvoProc, &call, &failed));
    if (!failed && cell != nullptr)
        return *cell;
    ReportNotFloat(callback, Sequence(callback->kernel, n, args));
}

// ---------------------------------------------------------------------------
// The generator
// ---------------------------------------------------------------------------

STATS_ICDFGenerator_MP::STATS_ICDFGenerator_MP(TKernelVector kv, ALGEB cdf, ALGEB pdf, ALGEB a, ALGEB b, ALGEB tol,
                                               int flag)
    : m_evalf(kv, "evalf"), m_a(STATS_TalvoFloatToDouble_MP(kv, a)), m_b(STATS_TalvoFloatToDouble_MP(kv, b)),
      m_tol(STATS_TalvoFloatToDouble_MP(kv, tol)), m_cdf(CreateTalvoCallback(kv, cdf, m_evalf.name, flag)),
      m_pdf(CreateTalvoCallback(kv, pdf, m_evalf.name, flag))
{
    m_Fa = EvalfTalvoProc1(m_cdf.get(), m_a);
    m_Fb = EvalfTalvoProc1(m_cdf.get(), m_b);
    m_mass = m_Fb - m_Fa;
}

STATS_ICDFGenerator_MP::~STATS_ICDFGenerator_MP() = default;

TalvoFloat STATS_ICDFGenerator_MP::Next()
{
    TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
    TalvoFloat p = m_Fa + u * m_mass;
    return Quantile(m_cdf.get(), m_pdf.get(), p, m_a, m_b, m_tol);
}

TalvoFloat STATS_ICDFGenerator_MP::Quantile(TalvoCallback *cdf, TalvoCallback *pdf, TalvoFloat p, TalvoFloat lo,
                                            TalvoFloat hi, TalvoFloat tol)
{
    const TalvoFloat half(0.5), zero;
    TalvoFloat xl = lo, xh = hi;
    TalvoFloat x = half * (lo + hi);
    TalvoFloat dxold = hi - lo; // no absolute value
    TalvoFloat dx = dxold;
    TalvoFloat f = EvalfTalvoProc1(cdf, x) - p;
    TalvoFloat df = EvalfTalvoProc1(pdf, x);
    for (int iteration = 0; iteration < 100; ++iteration) {
        if (((x - xh) * df - f) * ((x - xl) * df - f) > zero || fabs(f * 2L) > fabs(dxold * df)) {
            // Newton would leave the bracket or not halve the step: bisect.
            dxold = dx;
            dx = half * (xh - xl);
            x = xl + dx;
            if (xl == x)
                break;
        } else {
            dxold = dx;
            dx = f / df;
            TalvoFloat t = x;
            x = x - dx;
            if (t == x)
                break;
        }
        if (fabs(dx) < tol)
            break;
        f = EvalfTalvoProc1(cdf, x) - p;
        df = EvalfTalvoProc1(pdf, x);
        if (f < zero)
            xl = x;
        else
            xh = x;
    }
    return x;
}

// ---------------------------------------------------------------------------
// The entries
// ---------------------------------------------------------------------------

ALGEB stats::InverseDistributionSample(TKernelVector kv, int n, ALGEB proc, ALGEB variables, ALGEB lower, ALGEB upper,
                                       ALGEB tol, int flag)
{
    M_INT k = TalvoListLength(kv, variables);
    std::vector<std::unique_ptr<STATS_ICDFGenerator_MP>> generators;
    for (M_INT i = 1; i <= k; ++i) {
        ALGEB variable = TalvoListSelect(kv, variables, i);
        generators.push_back(std::make_unique<STATS_ICDFGenerator_MP>(kv, TalvoListSelect(kv, variable, 2),
                                                                      TalvoListSelect(kv, variable, 3), lower, upper,
                                                                      tol, flag));
    }
    ALGEB sample = STATS_CreateRandomSample_MP(kv, n, ToTalvoNULL(kv));
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, sample));
    for (int j = 0; j < n; ++j) {
        ALGEB values = NewTalvoExpressionSequence(kv, k);
        for (M_INT g = 0; g < k; ++g)
            TalvoExpseqAssign(kv, values, g + 1,
                              STATS_DoubleToTalvoFloat_MP(kv, generators[static_cast<size_t>(g)]->Next()));
        out[j] = STATS_TalvoFloatToDouble_MP(kv, EvalTalvoProcedure(kv, proc, values));
    }
    return sample;
}

STATS_ENTRY ALGEB STATS_TalvoInverseDistributionSampleId_MP(TKernelVector kv, ALGEB args)
{
    M_INT count = TalvoNumArgs(kv, args);
    auto arg = [&](M_INT i) { return TalvoExpseqSelect(kv, args, i); };
    if (count < 1)
        TalvoRaiseError(kv, "expecting sample length as first argument");
    if (!IsTalvoInteger32(kv, arg(1)))
        TalvoRaiseError1(kv, "first argument (sample length) must be positive integer, received %1", arg(1));
    if (count < 2)
        TalvoRaiseError(kv, "expecting probability distribution as second argument");
    if (!IsTalvoProcedure(kv, arg(2)))
        TalvoRaiseError1(kv, "expecting talvo procedure as second argument, received %1", arg(2));
    if (count < 3)
        TalvoRaiseError(kv, "expecting probability density function as third argument");
    if (!IsTalvoProcedure(kv, arg(3)))
        TalvoRaiseError1(kv, "expecting talvo procedure as third argument, received %1", arg(3));
    if (count < 4)
        TalvoRaiseError(kv, "expecting lower bound for the interval as fourth argument");
    if (!IsTalvoNumeric(kv, arg(4)))
        TalvoRaiseError1(kv, "expecting float as fourth argument, received %1", arg(4));
    if (count < 5)
        TalvoRaiseError(kv, "expecting upper bound for the interval as fifth argument");
    if (!IsTalvoNumeric(kv, arg(5)))
        TalvoRaiseError1(kv, "expecting float as fifth argument, received %1", arg(5));
    if (count < 6)
        TalvoRaiseError(kv, "expecting precision as sixth argument");
    if (!IsTalvoNumeric(kv, arg(6)))
        TalvoRaiseError1(kv, "expecting float as sixth argument, received %1", arg(6));
    int flag = count >= 7 ? TalvoToT_BOOL(kv, arg(7)) : 0;

    int n = TalvoToInteger32(kv, arg(1));
    STATS_ICDFGenerator_MP generator(kv, arg(2), arg(3), arg(4), arg(5), arg(6), flag);
    ALGEB sample = STATS_CreateRandomSample_MP(kv, n, ToTalvoNULL(kv));
    auto *out = static_cast<TalvoFloat *>(RTableDataBlock(kv, sample));
    for (int j = 0; j < n; ++j)
        out[j] = generator.Next();
    return sample;
}

STATS_ENTRY ALGEB STATS_TalvoInverseDistributionSample_MP(TKernelVector kv, ALGEB args)
{
    M_INT count = TalvoNumArgs(kv, args);
    auto arg = [&](M_INT i) { return TalvoExpseqSelect(kv, args, i); };
    if (count < 1)
        TalvoRaiseError(kv, "expecting sample length as first argument");
    if (!IsTalvoInteger32(kv, arg(1)))
        TalvoRaiseError1(kv, "first argument (sample length) must be positive integer, received %1", arg(1));
    if (count == 1)
        TalvoRaiseError(kv, "expecting expression involving random variables as second argument");
    if (!IsTalvoProcedure(kv, arg(2)))
        TalvoRaiseError1(kv, "expecting talvo procedure as second argument, received %1", arg(2));
    if (count < 3)
        TalvoRaiseError(kv, "expecting list of random variables as third argument");
    // Argument 3 is both the list of variables and the lower end of the
    // interval, and is tested as both, in this order.
    if (!IsTalvoList(kv, arg(3)))
        TalvoRaiseError1(kv, "expecting list of random variables as third argument, received %1", arg(3));
    if (!IsTalvoNumeric(kv, arg(3)))
        TalvoRaiseError1(kv, "expecting float as third argument, received %1", arg(3));
    if (count == 3)
        TalvoRaiseError(kv, "expecting upper bound for the interval as fourth argument");
    if (!IsTalvoNumeric(kv, arg(4)))
        TalvoRaiseError1(kv, "expecting float as fourth argument, received %1", arg(4));
    if (count < 5)
        TalvoRaiseError(kv, "expecting precision as fifth argument");
    if (!IsTalvoNumeric(kv, arg(5)))
        TalvoRaiseError1(kv, "expecting float as fifth argument, received %1", arg(5));
    int flag = count >= 6 ? TalvoToT_BOOL(kv, arg(6)) : 0;
    return stats::InverseDistributionSample(kv, TalvoToInteger32(kv, arg(1)), arg(2), arg(3), arg(3), arg(4), arg(5),
                                            flag);
}
