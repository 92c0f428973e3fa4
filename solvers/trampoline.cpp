// trampoline.cpp -- the process-wide slots, their scope, and the calls of
// host procedures from inside a numerics routine (trampoline.hpp).
#include "trampoline.hpp"

#include <string>

namespace stats::solvers {

TrampolineSlots gTrampolineSlots;

TrampolineScope::TrampolineScope(TKernelVector kv, const char *wrapper)
{
    if (gTrampolineSlots.open) {
        const std::string message = std::string(wrapper) + " cannot be called from a procedure that " +
                                    gTrampolineSlots.wrapper + " is calling";
        TalvoRaiseError(kv, message.c_str());
    }
    gTrampolineSlots = TrampolineSlots{};
    gTrampolineSlots.open = true;
    gTrampolineSlots.kv = kv;
    gTrampolineSlots.wrapper = wrapper;
}

TrampolineScope::~TrampolineScope() { gTrampolineSlots = TrampolineSlots{}; }

void CopyPoint(const TalvoFloat *x, long n)
{
    TalvoFloat *work = gTrampolineSlots.x_work;
    for (long j = 0; j < n; ++j)
        work[j] = x[j];
}

namespace {

TalvoFloat ToNumber(TKernelVector kv, ALGEB v, const char *what)
{
    if (v == nullptr || !IsTalvoNumeric(kv, v)) {
        const std::string message = std::string(what) + " must return a number, received: %1";
        TalvoRaiseError1(kv, message.c_str(), v != nullptr ? v : ToTalvoNULL(kv));
    }
    return TalvoIsSoftwareFloatHandle(v) ? TalvoFloat::from_handle(v) : DAGtoFLOAT(v);
}

} // namespace

TalvoFloat CallForValue(ALGEB proc, ALGEB arg, const char *what)
{
    TKernelVector kv = gTrampolineSlots.kv;
    ALGEB r = EvalTalvoProc(kv, proc, 1, arg);
    ++gTrampolineSlots.calls;
    return ToNumber(kv, r, what);
}

void CallToFill(ALGEB proc, TalvoFloat *out, long count, const char *what)
{
    TrampolineSlots &s = gTrampolineSlots;
    TKernelVector kv = s.kv;
    // Clear the table first, so an element the procedure leaves unset is
    // not a stale value from the last call.
    auto *elements = reinterpret_cast<ALGEB *>(s.out_work);
    for (long k = 0; k < count; ++k)
        elements[k] = ToTalvoNULL(kv);
    EvalTalvoProc(kv, proc, 2, s.x_table, s.out_table);
    // The procedure may have replaced the elements by any host value.
    elements = static_cast<ALGEB *>(RTableDataBlock(kv, s.out_table));
    for (long k = 0; k < count; ++k) {
        ALGEB e = elements[k];
        if (e == nullptr || IsTalvoNULL(kv, e)) {
            const std::string message = std::string(what) + " must fill its second argument with numbers, element %1 is not set";
            TalvoRaiseError1(kv, message.c_str(), ToTalvoInteger(kv, M_INT(k + 1)));
        }
        if (!IsTalvoNumeric(kv, e)) {
            const std::string message = std::string(what) + " must fill its second argument with numbers, received: %1";
            TalvoRaiseError1(kv, message.c_str(), e);
        }
        out[k] = TalvoIsSoftwareFloatHandle(e) ? TalvoFloat::from_handle(e) : DAGtoFLOAT(e);
    }
}

void ObjectiveTrampoline(Integer *mode, Integer *n, const TalvoFloat *x, TalvoFloat *objf, TalvoFloat *objgrd,
                         Integer * /*nstate*/, Integer * /*iuser*/, TalvoFloat * /*ruser*/)
{
    TrampolineSlots &s = gTrampolineSlots;
    CopyPoint(x, long(*n));
    if (*mode == 0 || *mode == 2)
        *objf = CallForValue(s.value, s.x_table, "the objective procedure");
    if (*mode == 1 || *mode == 2)
        CallToFill(s.gradient, objgrd, long(*n), "the gradient procedure");
}

void HessianProductTrampoline(Integer *n, Integer * /*jthcol*/, const TalvoFloat * /*h*/, Integer * /*ldh*/,
                              const TalvoFloat *x, TalvoFloat *hx, Integer * /*iuser*/, TalvoFloat * /*ruser*/)
{
    TrampolineSlots &s = gTrampolineSlots;
    CopyPoint(x, long(*n));
    ++s.calls;
    CallToFill(s.gradient, hx, long(*n), "the Hessian product procedure");
}

} // namespace stats::solvers
