// trampoline.hpp -- the callback trampolines: numerics routines call plain
// functions; these turn such calls into calls of host procedures.
//
// A wrapper opens a TrampolineScope for the duration of its routine call.
// The scope fills the process-wide slots the trampolines read (the kernel
// vector, the user's procedures and the host tables the procedures see) and
// empties them again on every way out, including a host error raised inside
// a user procedure, which passes through the routine and the wrapper to the
// host unchanged.  Only one scope may be open: a user procedure that calls
// an optimisation wrapper again is refused with a host error (the inner call
// would otherwise overwrite the slots of the outer one).
//
// What a user procedure receives:
//   value procedure    f(x)          x: the host table the wrapper was given
//                                    as x's work array, holding the point;
//                                    returns a number;
//   gradient procedure g(x, grad)    fills the host table grad (n numbers);
//   residual procedure r(x, fvec)    fills fvec (m numbers);
//   monitoring procedures: per wrapper (docs/solvers.md).
// A result that is not a number raises "NAME must return a number, received:
// %1"; an undefined or infinite number is passed on to the routine, which
// reports it with its failure indicator.
#pragma once

#include "stats_api.h"
#include "talvo_mp.h"

namespace stats::solvers {

struct TrampolineSlots {
    bool open = false;
    TKernelVector kv = nullptr;
    const char *wrapper = nullptr;
    ALGEB value = nullptr;    // f(x)
    ALGEB gradient = nullptr; // g(x, grad), the residual procedure r(x, fvec) or the Hessian product hv(x, hx)
    ALGEB monitor = nullptr;
    ALGEB x_table = nullptr; // the table the procedures receive as x
    TalvoFloat *x_work = nullptr;
    long n = 0;
    ALGEB out_table = nullptr; // the table a filling procedure writes (grad, fvec)
    TalvoFloat *out_work = nullptr;
    long out_n = 0;
    long calls = 0; // calls of the value (or residual) procedure
    // The SQP wrappers (sw_e04uca, sw_e04usa): the constraint procedures
    // cv(x, c) and cj(x, cjac), the residual Jacobian procedure j(x, fjac),
    // and the tables they fill (Jacobians column-major: element
    // i + (j - 1) rows holds the derivative of function i by x_j).
    ALGEB con_value = nullptr;
    ALGEB con_jacobian = nullptr;
    ALGEB con_table = nullptr;
    ALGEB conjac_table = nullptr;
    ALGEB jacobian = nullptr;
    ALGEB jac_table = nullptr;
    long con_calls = 0;
};

// The slots of the open scope (all empty when none is open).
extern TrampolineSlots gTrampolineSlots;

class TrampolineScope {
public:
    // Refuses (host error) when a scope is already open.
    TrampolineScope(TKernelVector kv, const char *wrapper);
    ~TrampolineScope();
    TrampolineScope(const TrampolineScope &) = delete;
    TrampolineScope &operator=(const TrampolineScope &) = delete;

    TrampolineSlots &slots() { return gTrampolineSlots; }
};

// x (n numbers) into the x work table.
void CopyPoint(const TalvoFloat *x, long n);
// proc(arg) as a float; a non-number raises "<what> must return a number, received: %1".
TalvoFloat CallForValue(ALGEB proc, ALGEB arg, const char *what);
// proc(x_table, out_table), then the out_n numbers of out_table into out.
void CallToFill(ALGEB proc, TalvoFloat *out, long count, const char *what);

// The objective trampoline of the routines with a MODE argument (e04dga,
// and the SQP routines): mode 0 or 2 the value procedure, 1 or 2 the
// gradient procedure.
void ObjectiveTrampoline(Integer *mode, Integer *n, const TalvoFloat *x, TalvoFloat *objf, TalvoFloat *objgrd,
                         Integer *nstate, Integer *iuser, TalvoFloat *ruser);

// proc(x_table, table), then the count numbers of table into out.
void CallToFillTable(ALGEB proc, ALGEB table, TalvoFloat *out, long count, const char *what);

// The SQP trampolines.  Constraints (e04uca, e04usa): mode 0 or 2 cv fills
// c, 1 or 2 cj fills the Jacobian; residuals (e04usa's objfun): mode 0 or 2
// the residual procedure fills f, 1 or 2 the Jacobian procedure fills fjac.
void ConstraintTrampoline(Integer *mode, Integer *ncnln, Integer *n, Integer *ldcj, const Integer *needc,
                          const TalvoFloat *x, TalvoFloat *c, TalvoFloat *cjac, Integer *nstate, Integer *iuser,
                          TalvoFloat *ruser);
void ResidualTrampoline(Integer *mode, Integer *m, Integer *n, Integer *ldfj, Integer *needfi, const TalvoFloat *x,
                        TalvoFloat *f, TalvoFloat *fjac, Integer *nstate, Integer *iuser, TalvoFloat *ruser);
// The Hessian product of e04nfa (qphess): the point into the x work table,
// then the procedure in the gradient slot called as hv(x, hx), filling the
// out table with the n numbers of H x.  The routine's jthcol hint (x is a
// unit vector) is not passed on: the procedure computes the product in every
// case.  Each call counts in the slots' calls.
void HessianProductTrampoline(Integer *n, Integer *jthcol, const TalvoFloat *h, Integer *ldh, const TalvoFloat *x,
                              TalvoFloat *hx, Integer *iuser, TalvoFloat *ruser);

} // namespace stats::solvers
