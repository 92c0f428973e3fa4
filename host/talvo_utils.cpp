// talvo_utils.cpp -- host values to floats, and host procedures evaluated at
// floats, with the host's errors trapped where a failure is to be reported
// in the library's own words.
#include "talvo_utils.hpp"

#include <cmath>

TKernelVector STATS_TalvoUtils_MP::gTKernelVector = nullptr;
ALGEB STATS_TalvoUtils_MP::gTalvoEvalfProc = nullptr;

namespace {

using stats::kNotNumeric;

// The host expression sequence of the floats args[1..n].
ALGEB ArgumentSequence(TKernelVector kv, const STATS_TalvoUtils_MP::TalvoCallbackArgs *a)
{
    ALGEB seq = NewTalvoExpressionSequence(kv, a->n);
    for (int i = 1; i <= a->n; ++i)
        TalvoExpseqAssign(kv, seq, i, STATS_DoubleToTalvoFloat_MP(kv, a->args[i]));
    return seq;
}

bool IsSpecial(const TalvoFloat &x)
{
    return IsTalvoFloatUndefined(x) || IsTalvoFloatInfinity(x) || IsTalvoFloatNegativeInfinity(x);
}

} // namespace

void STATS_TalvoUtils_MP::Initialize(TKernelVector kv)
{
    gTKernelVector = kv;
    gTalvoEvalfProc = ToTalvoName(kv, "evalf", 1);
    TalvoGcProtect(kv, gTalvoEvalfProc);
}

void STATS_TalvoUtils_MP::Terminate() {}

void *STATS_TalvoUtils_MP::TalvoEvalfInternal(void *x)
{
    ALGEB a = static_cast<ALGEB>(x);
    if (TalvoIsSoftwareFloatHandle(a))
        return a;
    return EvalTalvoProcedure(gTKernelVector, gTalvoEvalfProc, a);
}

void *STATS_TalvoUtils_MP::TalvoEvalhfInternal(void *x)
{
    static TalvoFloat cell;
    cell = TalvoFloat(TalvoEvalhf(gTKernelVector, static_cast<ALGEB>(x)));
    return &cell;
}

TalvoFloat STATS_TalvoUtils_MP::TalvoDAGToDouble(ALGEB x)
{
    TalvoFloat r;
    if (!TalvoDAGToDouble(x, &r))
        ReportNonNumeric(x);
    return r;
}

int STATS_TalvoUtils_MP::TalvoDAGToDouble(ALGEB x, TalvoFloat *out)
{
    if (TalvoIsSoftwareFloatHandle(x)) {
        *out = TalvoFloat::from_handle(x);
        return 1;
    }
    if (IsTalvoInteger32(gTKernelVector, x)) {
        // What evalf makes of a machine integer, without the trap and the
        // procedure call: the integer rounded to the working precision.
        ALGEB h = talvo_float_new(talvo_float_precision());
        mpfr_set_si(talvo_float_mpfr(h), TalvoToInteger32(gTKernelVector, x), MPFR_RNDN);
        *out = TalvoFloat::from_handle(h);
        return 1;
    }
    T_BOOL failed = 0;
    auto *r = static_cast<ALGEB>(TalvoTrapError(gTKernelVector, TalvoEvalfInternal, x, &failed));
    if (!failed && r != nullptr && IsTalvoNumeric(gTKernelVector, r)) {
        *out = STATS_TalvoFloatToDouble_MP(gTKernelVector, r);
        return 1;
    }
    *out = TalvoFloat();
    return 0;
}

void *STATS_TalvoUtils_MP::TrapEvalfTalvoProc(void *p)
{
    static TalvoFloat cell;
    auto *a = static_cast<TalvoCallbackArgs *>(p);
    TKernelVector kv = gTKernelVector;
    ALGEB r = EvalTalvoProcedure(kv, a->proc, ArgumentSequence(kv, a));
    if (!IsTalvoNumeric(kv, r))
        r = EvalTalvoProcedure(kv, gTalvoEvalfProc, r);
    cell = STATS_TalvoFloatToDouble_MP(kv, r);
    return &cell;
}

TalvoFloat STATS_TalvoUtils_MP::EvalfTalvoProc(TalvoCallbackArgs *a)
{
    T_BOOL failed = 0;
    auto *cell = static_cast<TalvoFloat *>(TalvoTrapError(gTKernelVector, TrapEvalfTalvoProc, a, &failed));
    if (!failed && cell != nullptr && !IsSpecial(*cell))
        return *cell;
    // Call once more, untrapped: an error of the procedure now reaches the
    // user as it is; otherwise its value is named in the message.
    ALGEB value = EvalTalvoProcedure(gTKernelVector, a->proc, ArgumentSequence(gTKernelVector, a));
    ReportNonNumeric(value);
}

void STATS_TalvoUtils_MP::ReportNonNumeric(ALGEB x)
{
    TalvoRaiseError1(gTKernelVector, kNotNumeric, x);
}

ALGEB STATS_DoubleToTalvoFloat_MP(TKernelVector, TalvoFloat x) { return x.handle(); }

TalvoFloat STATS_TalvoFloatToDouble_MP(TKernelVector, ALGEB x) { return TalvoFloat(x); }

int STATS_GetTalvoDigits_MP() { return TalvoDigits(); }

long STATS_DoubleToInteger_MP(TalvoFloat x) { return FloatToInt(x); }

TalvoFloat STATS_FloatUndefined_MP(TKernelVector) { return TalvoFloatUndefined(); }

TalvoFloat RTableDataToDouble(TKernelVector kv, RTableData d, int datatype)
{
    switch (datatype) {
    case RTABLE_FLOAT32:
        return TalvoFloat(static_cast<double>(d.float32));
    case RTABLE_FLOAT64:
        return TalvoFloat(d.float64);
    default:
        if (!IsTalvoNumeric(kv, d.dag))
            TalvoRaiseError1(kv, "expected talvo float, received %1", d.dag);
        return TalvoFloat(d.dag);
    }
}

namespace stats {

TalvoFloat TenToMinusDigits(int digits) { return TalvoFloat(std::pow(10.0, -double(digits))); }

TalvoFloat DigitsTolerance(TKernelVector) { return TenToMinusDigits(STATS_GetTalvoDigits_MP()); }

int StatisticsIterations(TKernelVector kv)
{
    ALGEB name = ToTalvoName(kv, "_EnvStatisticsIterations", 1);
    if (!IsTalvoAssignedName(kv, name))
        return 100;
    return TalvoToInteger32(kv, TalvoEval(kv, name));
}

} // namespace stats
