// entry_precision.cpp -- "Digits" raised for a root search, and restored.
#include "entry_precision.hpp"

#include "talvo_utils.hpp"

namespace stats {

RaisedDigits::RaisedDigits(TKernelVector kv, TalvoFloat k)
    : m_kv(kv), m_digitsName(ToTalvoName(kv, "Digits", 1)),
      m_digits(STATS_GetTalvoDigits_MP())
{
    m_tol = k * TenToMinusDigits(m_digits);
    TalvoAssign(kv, m_digitsName, ToTalvoInteger(kv, m_digits + 3));
}

// The host's assignment returns the new value, so the caller's value is the
// one read on entry, not what the raising assignment gave back.
RaisedDigits::~RaisedDigits() { TalvoAssign(m_kv, m_digitsName, ToTalvoInteger(m_kv, m_digits)); }

ALGEB RaisedDigits::Result(TalvoFloat root) const
{
    return EvalTalvoProc(m_kv, STATS_TalvoUtils_MP::gTalvoEvalfProc, 2, STATS_DoubleToTalvoFloat_MP(m_kv, root),
                         ToTalvoInteger(m_kv, m_digits));
}

} // namespace stats
