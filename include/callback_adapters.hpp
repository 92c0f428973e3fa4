// callback_adapters.hpp -- real functions of one real variable, whatever they
// are made of: a host procedure, a native function, or a distribution's
// probability function with its parameters fixed.  The root finders and
// discrete searches take them by reference and call Call(x).
#pragma once

#include "stats_api.h"

class STATS_API STATS_TalvoCallbackAdapter_MP {
public:
    explicit STATS_TalvoCallbackAdapter_MP(TKernelVector kv) : m_kv(kv) {}
    virtual ~STATS_TalvoCallbackAdapter_MP();

    void Initialize(TKernelVector kv) { m_kv = kv; }
    virtual TalvoFloat Call(TalvoFloat x) = 0;

protected:
    TKernelVector m_kv;
};

// A host procedure of one argument.  Call passes x as a host float, applies
// evalf to a result that is not numeric, and converts it.  Nothing is
// trapped: an error the procedure raises ends the computation that called
// it.  Undefined and infinite results are passed on.
class STATS_API STATS_TalvoProcAdapter_MP : public STATS_TalvoCallbackAdapter_MP {
public:
    STATS_TalvoProcAdapter_MP(TKernelVector kv, ALGEB proc) : STATS_TalvoCallbackAdapter_MP(kv), m_proc(proc) {}

    void Reset(ALGEB proc) { m_proc = proc; }
    TalvoFloat Call(TalvoFloat x) override;

private:
    ALGEB m_proc; // kept alive by the argument sequence of the running call
};

// A native function.  (Call is defined in the library, so that the class's
// vtable and type information live there once, like those of the other
// exported adapters.)
class STATS_API STATS_TalvoCFuncAdapter_MP : public STATS_TalvoCallbackAdapter_MP {
public:
    using Function = TalvoFloat (*)(TalvoFloat);

    STATS_TalvoCFuncAdapter_MP(TKernelVector kv, Function f) : STATS_TalvoCallbackAdapter_MP(kv), m_f(f) {}

    void Reset(Function f) { m_f = f; }
    TalvoFloat Call(TalvoFloat x) override;

private:
    Function m_f;
};

// One process-wide procedure adapter behind a plain function pointer, for
// code that takes a TalvoFloat (*)(TalvoFloat): Reset(proc), then pass Call.
// A nested use (a procedure that re-enters the library and resets it)
// replaces the procedure of the outer computation.
class STATS_API STATS_TalvoStaticProcAdapter_MP {
public:
    static STATS_TalvoProcAdapter_MP m_procInstance;

    static void Initialize(TKernelVector kv) { m_procInstance.Initialize(kv); }
    static void Reset(ALGEB proc) { m_procInstance.Reset(proc); }
    static TalvoFloat Call(TalvoFloat x);
};
