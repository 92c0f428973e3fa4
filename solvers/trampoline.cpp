// trampoline.cpp -- the process-wide slots, their scope, and the calls of
// host procedures from inside a numerics routine (trampoline.hpp).
#include "trampoline.hpp"

#include <string>
#include <vector>

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
    CallToFillTable(proc, gTrampolineSlots.out_table, out, count, what);
}

void CallToFillTable(ALGEB proc, ALGEB table, TalvoFloat *out, long count, const char *what)
{
    TrampolineSlots &s = gTrampolineSlots;
    TKernelVector kv = s.kv;
    // Clear the table first, so an element the procedure leaves unset is
    // not a stale value from the last call.
    auto *elements = static_cast<ALGEB *>(RTableDataBlock(kv, table));
    for (long k = 0; k < count; ++k)
        elements[k] = ToTalvoNULL(kv);
    EvalTalvoProc(kv, proc, 2, s.x_table, table);
    // The procedure may have replaced the elements by any host value.
    elements = static_cast<ALGEB *>(RTableDataBlock(kv, table));
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

namespace {

// A Jacobian of rows x n from table (column-major) into out (leading
// dimension ld).
void FillJacobian(ALGEB proc, ALGEB table, long rows, long n, TalvoFloat *out, long ld, const char *what)
{
    std::vector<TalvoFloat> packed(static_cast<size_t>(rows * n));
    CallToFillTable(proc, table, packed.data(), rows * n, what);
    for (long j = 0; j < n; ++j)
        for (long i = 0; i < rows; ++i)
            out[i + j * ld] = packed[size_t(i + j * rows)];
}

} // namespace

void ConstraintTrampoline(Integer *mode, Integer *ncnln, Integer *n, Integer *ldcj, const Integer * /*needc*/,
                          const TalvoFloat *x, TalvoFloat *c, TalvoFloat *cjac, Integer * /*nstate*/,
                          Integer * /*iuser*/, TalvoFloat * /*ruser*/)
{
    TrampolineSlots &s = gTrampolineSlots;
    CopyPoint(x, long(*n));
    if (*mode == 0 || *mode == 2) {
        CallToFillTable(s.con_value, s.con_table, c, long(*ncnln), "the constraint procedure");
        ++s.con_calls;
    }
    if (*mode == 1 || *mode == 2)
        FillJacobian(s.con_jacobian, s.conjac_table, long(*ncnln), long(*n), cjac, long(*ldcj),
                     "the constraint Jacobian procedure");
}

void ResidualTrampoline(Integer *mode, Integer *m, Integer *n, Integer *ldfj, Integer * /*needfi*/,
                        const TalvoFloat *x, TalvoFloat *f, TalvoFloat *fjac, Integer * /*nstate*/,
                        Integer * /*iuser*/, TalvoFloat * /*ruser*/)
{
    TrampolineSlots &s = gTrampolineSlots;
    CopyPoint(x, long(*n));
    if (*mode == 0 || *mode == 2) {
        CallToFillTable(s.value, s.out_table, f, long(*m), "the function procedure");
        ++s.calls;
    }
    if (*mode == 1 || *mode == 2)
        FillJacobian(s.jacobian, s.jac_table, long(*m), long(*n), fjac, long(*ldfj), "the Jacobian procedure");
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
