// talvo_utils.hpp -- conversions between host values and TalvoFloat, and
// numeric evaluation of host procedures under error trapping.
//
// Everything here uses the kernel vector saved when the library was started
// (STATS_StatsInitialize_MP), not the kernel vector of the current call.
#pragma once

#include "stats_api.h"

namespace stats {
// The message of a value that has no real float value.
inline constexpr const char *kNotNumeric = "unable to evaluate %1 to floating-point";
} // namespace stats

class STATS_API STATS_TalvoUtils_MP {
public:
    // What EvalfTalvoProc receives: the procedure, a word the evaluator does
    // not read, the argument count n, and the arguments at args[1..n]
    // (args[0] is not read).
    struct TalvoCallbackArgs {
        ALGEB proc;
        void *reserved;
        int n;
        TalvoFloat *args;
    };

    static TKernelVector gTKernelVector;
    static ALGEB gTalvoEvalfProc; // the global name "evalf", protected for good

    static void Initialize(TKernelVector kv);
    static void Terminate();

    // Trampolines for TalvoTrapError.  The first returns a host value: x
    // itself when it is a float, else evalf applied to x.  The second
    // evaluates x in hardware floats and returns the address of a result cell.
    static void *TalvoEvalfInternal(void *x);
    static void *TalvoEvalhfInternal(void *x);

    // x as a float: a float is taken as it is; anything else is evaluated
    // with evalf under error trapping and must give a number.  Otherwise
    // raises "unable to evaluate %1 to floating-point" naming x.
    static TalvoFloat TalvoDAGToDouble(ALGEB x);
    // The same test without raising: 1 and the value in *out, or 0 and zero.
    static int TalvoDAGToDouble(ALGEB x, TalvoFloat *out);

    // The procedure a->proc at the floats a->args[1..n]; a result that is
    // undefined, infinite or not a number (even after evalf), or an error,
    // makes the procedure be called once more outside any trap and raises
    // "unable to evaluate %1 to floating-point" with that value.
    static TalvoFloat EvalfTalvoProc(TalvoCallbackArgs *a);
    static void *TrapEvalfTalvoProc(void *a);

    // Raises "unable to evaluate %1 to floating-point" with x.
    [[noreturn]] static void ReportNonNumeric(ALGEB x);
};

// The host handle of a float; no allocation.
STATS_API ALGEB STATS_DoubleToTalvoFloat_MP(TKernelVector kv, TalvoFloat x);
// A host numeric value as a float (the float class's conversion; it raises
// the host's error for anything else).
STATS_API TalvoFloat STATS_TalvoFloatToDouble_MP(TKernelVector kv, ALGEB x);
// The host's current "Digits": the one place the library reads it.
STATS_API int STATS_GetTalvoDigits_MP();
// Truncation toward zero.
STATS_API long STATS_DoubleToInteger_MP(TalvoFloat x);
// The undefined float: the library's missing value.
STATS_API TalvoFloat STATS_FloatUndefined_MP(TKernelVector kv);
// One element of an array's data block as a float, by data type code: 8 a
// single, 6 a double, anything else a host value that must be numeric
// ("expected talvo float, received %1").
STATS_API TalvoFloat RTableDataToDouble(TKernelVector kv, RTableData d, int datatype);

namespace stats {

// 10^-digits, the power taken in double precision (as the host's own
// tolerances are) and then made a float.
TalvoFloat TenToMinusDigits(int digits);
// 10^-Digits for the host's current "Digits".
TalvoFloat DigitsTolerance(TKernelVector kv);
// The iteration limit of the searches and series: the host's
// "_EnvStatisticsIterations" when it is assigned, else 100.  Read on every
// call, so a script's assignment takes effect at once.
int StatisticsIterations(TKernelVector kv);

} // namespace stats
