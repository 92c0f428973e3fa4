// callback_adapters.cpp -- host procedures as real functions.
#include "callback_adapters.hpp"

#include "talvo_utils.hpp"

STATS_TalvoCallbackAdapter_MP::~STATS_TalvoCallbackAdapter_MP() = default;

TalvoFloat STATS_TalvoProcAdapter_MP::Call(TalvoFloat x)
{
    ALGEB r = EvalTalvoProcedure(m_kv, m_proc, STATS_DoubleToTalvoFloat_MP(m_kv, x));
    if (!IsTalvoNumeric(m_kv, r))
        r = EvalTalvoProcedure(m_kv, ToTalvoName(m_kv, "evalf", 1), r);
    return STATS_TalvoFloatToDouble_MP(m_kv, r);
}

// Made when the library is loaded, with no kernel vector and no procedure;
// STATS_StatsInitialize_MP gives it its kernel vector.
STATS_TalvoProcAdapter_MP STATS_TalvoStaticProcAdapter_MP::m_procInstance(nullptr, nullptr);

TalvoFloat STATS_TalvoCFuncAdapter_MP::Call(TalvoFloat x) { return m_f(x); }

TalvoFloat STATS_TalvoStaticProcAdapter_MP::Call(TalvoFloat x)
{
    return m_procInstance.STATS_TalvoProcAdapter_MP::Call(x);
}
