// nag_call.cpp -- error records, iteration limit and tolerance.
#include "nag_call.hpp"

#include <cmath>

namespace stats {

void NagCall::Check(TKernelVector kv) const
{
    if (fail.code != NE_NOERROR)
        TalvoRaiseError1(kv, fail.message, ToTalvoNULL(kv));
}

int StatisticsIterations(TKernelVector kv)
{
    ALGEB name = ToTalvoName(kv, "_EnvStatisticsIterations", 1);
    if (!IsTalvoAssignedName(kv, name))
        return 100;
    return TalvoToInteger32(kv, TalvoEval(kv, name));
}

TalvoFloat DigitsTolerance(TKernelVector kv)
{
    int32_t digits = TalvoToInteger32(kv, TalvoEval(kv, ToTalvoName(kv, "Digits", 1)));
    return TalvoFloat(std::pow(10.0, -double(digits)));
}

} // namespace stats
