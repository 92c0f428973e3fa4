// shapiro_wilk.cpp -- the Shapiro-Wilk test of normality:
// STATS_TalvoShapiroWilk_MP(data, weights, flag) -> [W, p], and
// STATS_ShapiroWilk_MP.
//
// The points are sorted in place (TalvoMP_m01cac) and tested with
// TalvoMP_g01ddc, which computes Royston's coefficients itself (AS R94; see
// platform/numerics/shapiro_wilk.cpp).  W and p are the algorithm's exact
// values rounded once.  A failure of either routine (fewer than 3 or more
// than 5000 values, values all equal, an undefined or infinite value) is
// raised with the routine's message.  The weights and the third argument
// are read and not used.  When the data are an array of floats in
// rectangular storage, the sample's points are the caller's own elements,
// so the caller's array comes back sorted.
#include "data_sample.hpp"
#include "dataprep.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"
#include "talvo_mp.h"
#include "talvo_utils.hpp"

void STATS_ShapiroWilk_MP(TKernelVector kv, long n, TalvoFloat *x, TalvoFloat *W, TalvoFloat *p)
{
    NagError fail{};
    TalvoMP_m01cac(x, n > 0 ? static_cast<size_t>(n) : 0, Nag_Ascending, &fail);
    if (fail.code != NE_NOERROR)
        TalvoRaiseError1(kv, fail.message, ToTalvoNULL(kv));
    auto *a = static_cast<TalvoFloat *>(TalvoAlloc(kv, static_cast<M_INT>((n > 0 ? n : 1) * sizeof(TalvoFloat))));
    TalvoMP_g01ddc(n, x, Nag_TRUE, a, W, p, &fail);
    if (fail.code != NE_NOERROR)
        TalvoRaiseError1(kv, fail.message, ToTalvoNULL(kv));
}

STATS_ENTRY ALGEB STATS_TalvoShapiroWilk_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 3);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    (void)f.flag(3);
    TalvoFloat W(0.0), p(0.0);
    STATS_ShapiroWilk_MP(kv, sample.size(), sample.points(), &W, &p);
    ALGEB list = TalvoListAlloc(kv, 2);
    TalvoListAssign(kv, list, 1, STATS_DoubleToTalvoFloat_MP(kv, W));
    TalvoListAssign(kv, list, 2, STATS_DoubleToTalvoFloat_MP(kv, p));
    return list;
}
