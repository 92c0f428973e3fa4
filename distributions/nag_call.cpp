// nag_call.cpp -- error records of the numerics routines.
#include "nag_call.hpp"

namespace stats {

void NagCall::Check(TKernelVector kv) const
{
    if (fail.code != NE_NOERROR)
        TalvoRaiseError1(kv, fail.message, ToTalvoNULL(kv));
}

} // namespace stats
