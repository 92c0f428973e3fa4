// testlib.cpp -- a small library of entries that exercises the whole path a
// statistics library takes through the host: start-up and shut-down, lookup
// by name, both calling conventions, results made with the kernel vector and
// with TalvoFloat, callbacks into script procedures, error trapping, and host
// errors unwinding through library frames with their destructors run.
#include "talvo_float.hpp"
#include "talvo_kernel.h"

#include <string>

#define ENTRY extern "C" __attribute__((visibility("default")))

namespace {

TKernelVector g_kv = nullptr;
int g_starts = 0;
long g_destructions = 0;

// Counts its destructions: proof that an error unwound through this frame.
struct Guard {
    ~Guard() { ++g_destructions; }
};

void need(TKernelVector kv, ALGEB args, M_INT n, const char *entry)
{
    if (TalvoNumArgs(kv, args) != n)
        TalvoRaiseError1(kv, (std::string(entry) + " expects %1 arguments").c_str(), ToTalvoInteger(kv, n));
}

} // namespace

ENTRY ALGEB STATS_StatsInitialize_MP(TKernelVector kv, ALGEB)
{
    if (g_kv == nullptr)
        g_kv = kv;
    ++g_starts;
    TalvoUserInfo(kv, 1, "testlib", "started");
    return ToTalvoBoolean(kv, 1);
}

ENTRY ALGEB STATS_StatsTerminate_MP(TKernelVector kv, ALGEB)
{
    g_kv = nullptr;
    TalvoUserInfo(kv, 1, "testlib", "stopped");
    return ToTalvoBoolean(kv, 1);
}

// How many times the library was started (1 when the host starts it once).
ENTRY ALGEB STATS_TestStarts_MP(TKernelVector kv, ALGEB) { return ToTalvoInteger(kv, g_starts); }

// x * n + 1/3 through TalvoFloat at the current precision.
ENTRY ALGEB STATS_TestScale_MP(TKernelVector kv, ALGEB args)
{
    need(kv, args, 2, "STATS_TestScale_MP");
    TalvoFloat x = DAGtoFLOAT(TalvoExpseqSelect(kv, args, 1));
    ALGEB n = TalvoExpseqSelect(kv, args, 2);
    if (!IsTalvoInteger(kv, n))
        TalvoRaiseError1(kv, "the second argument must be an integer, got %1", n);
    TalvoFloat r = x * TalvoFloat(double(TalvoToInteger64(kv, n))) + TalvoFloat(1.0) / TalvoFloat(3.0);
    return r.handle();
}

// Raises a host error from three frames deep; each frame holds a Guard.
[[noreturn]] static void fail_deep(TKernelVector kv, ALGEB what, int depth)
{
    Guard g;
    if (depth == 0)
        TalvoRaiseError2(kv, "failure with %1 at depth %2", what, ToTalvoInteger(kv, 0));
    fail_deep(kv, what, depth - 1);
}

ENTRY ALGEB STATS_TestFail_MP(TKernelVector kv, ALGEB args)
{
    need(kv, args, 1, "STATS_TestFail_MP");
    Guard g;
    fail_deep(kv, TalvoExpseqSelect(kv, args, 1), 2);
    return ToTalvoNULL(kv);
}

ENTRY ALGEB STATS_TestDestructions_MP(TKernelVector kv, ALGEB) { return ToTalvoInteger(kv, g_destructions); }

// Calls the procedure in the first argument with the second and third and
// returns [status, value]: status 0 and the value, or 1 and the message of the
// error the procedure raised (caught with TrapError).
namespace {
struct CallData {
    TKernelVector kv;
    ALGEB proc, a, b;
};
void *call_proc(void *p)
{
    auto *d = static_cast<CallData *>(p);
    return EvalTalvoProc(d->kv, d->proc, 2, d->a, d->b);
}
} // namespace

ENTRY ALGEB STATS_TestTrap_MP(TKernelVector kv, ALGEB args)
{
    need(kv, args, 3, "STATS_TestTrap_MP");
    CallData d{kv, TalvoExpseqSelect(kv, args, 1), TalvoExpseqSelect(kv, args, 2),
               TalvoExpseqSelect(kv, args, 3)};
    if (!IsTalvoProcedure(kv, d.proc))
        TalvoRaiseError1(kv, "the first argument must be a procedure, got %1", d.proc);
    T_BOOL failed = 0;
    void *r = TalvoTrapError(kv, call_proc, &d, &failed);
    ALGEB list = TalvoListAlloc(kv, 2);
    TalvoListAssign(kv, list, 1, ToTalvoInteger(kv, failed));
    TalvoListAssign(kv, list, 2,
                    failed ? TalvoNameValue(kv, ToTalvoName(kv, "lasterror", 1)) : static_cast<ALGEB>(r));
    return list;
}

// Sum of the float64 elements of a one-dimensional Array, read through the
// data block, as a host float.
ENTRY ALGEB STATS_TestArraySum_MP(TKernelVector kv, ALGEB args)
{
    need(kv, args, 1, "STATS_TestArraySum_MP");
    ALGEB a = TalvoExpseqSelect(kv, args, 1);
    if (!IsTalvoRTable(kv, a))
        TalvoRaiseError1(kv, "expecting an Array, got %1", a);
    RTableSettings s;
    RTableGetSettings(kv, &s, a);
    if (s.data_type != RTABLE_FLOAT64 || s.storage != RTABLE_RECT)
        TalvoRaiseError(kv, "expecting a rectangular Array of datatype float64");
    const double *x = static_cast<const double *>(RTableDataBlock(kv, a));
    double sum = 0;
    for (M_INT i = 0; i < RTableNumElements(kv, a); ++i)
        sum += x[i];
    return ToTalvoFloat(kv, sum);
}

// A new float64 Array 1..n holding 1, 2, ..., n, made in caller-allocated memory.
ENTRY ALGEB STATS_TestMakeArray_MP(TKernelVector kv, ALGEB args)
{
    need(kv, args, 1, "STATS_TestMakeArray_MP");
    M_INT n = TalvoToM_INT(kv, TalvoExpseqSelect(kv, args, 1));
    if (n < 0)
        TalvoRaiseError(kv, "the size must not be negative");
    RTableSettings s;
    RTableGetDefaults(kv, &s);
    s.data_type = RTABLE_FLOAT64;
    s.foreign = 1;
    double *block = static_cast<double *>(TalvoAlloc(kv, n * M_INT(sizeof(double))));
    for (M_INT i = 0; i < n; ++i)
        block[i] = double(i + 1);
    M_INT bounds[2] = {1, n};
    return RTableCreate(kv, &s, block, bounds);
}

// The argument-array convention: sw_testsum(a1, ..., ak, 'out') adds the
// integers a1..ak, writes the sum to the name out and returns k.
ENTRY ALGEB sw_testsum(TKernelVector kv, ALGEB *args)
{
    M_INT n = TalvoToM_INT(kv, args[0]);
    if (n < 1)
        TalvoRaiseError(kv, "Incorrect number of arguments");
    int64_t sum = 0;
    for (M_INT i = 1; i < n; ++i) {
        if (!IsTalvoInteger(kv, args[i]))
            TalvoRaiseError(kv, ("args[" + std::to_string(i) + "] must be an integer").c_str());
        sum += TalvoToInteger64(kv, args[i]);
    }
    if (!IsTalvoName(kv, args[n]))
        TalvoRaiseError(kv, "the last argument must be a name");
    TalvoAssign(kv, args[n], ToTalvoInteger64(kv, sum));
    return ToTalvoInteger(kv, n - 1);
}
