// covariance.cpp -- the centred sums of two paired samples.
//
// Host entry STATS_TalvoCovariance_MP(x, y, weights, mode) returns the list
// [Sxy, Sxx, Syy, W] with
//   Sxy = sum w (x - mx)(y - my),  Sxx = sum w (x - mx)^2,  Syy = sum w (y - my)^2,
//   W = sum w (the number of pairs used when unweighted, w = 1),
//   mx = sum w x / W, my = sum w y / W,
// so that the caller chooses the divisor (n, n - 1, W).  Two passes: the
// means first, then the sums of the deviations, which keeps the sums free of
// the cancellation a one-pass formula suffers when the means are large.
//
// Mode 1 uses only the pairs whose x, y and weight are all defined; any other
// mode uses every pair, so an undefined value makes the sums undefined.  The
// mode is announced at information level 2 ("Statistics"), as is a zero
// total weight, after which the division by zero is carried out (the means
// and the sums become undefined).
#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"
#include "sums.hpp"
#include "talvo_utils.hpp"

#include <vector>

namespace {

constexpr int kIgnoreMissing = 1;

} // namespace

STATS_ENTRY ALGEB STATS_TalvoCovariance_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    STATS_Vector_MP xs(kv, f.arg(1));
    STATS_Vector_MP ys(kv, f.arg(2));
    STATS_Vector_MP ws(kv, f.arg(3));
    if (xs.size() != ys.size())
        TalvoRaiseError(kv, "data samples are expected to have the same size");
    long n = xs.size();
    bool weighted = ws.size() != 0;
    if (weighted && ws.size() != n)
        TalvoRaiseError(kv, "array of weights is expected to be of the same size as both data samples");
    int mode = f.int32(4);
    bool ignore = mode == kIgnoreMissing;
    TalvoUserInfo(kv, 2, "Statistics",
                  ignore ? "instructed to igore missing data" : "instructed not to ignore missing data");

    const TalvoFloat *x = xs.data(), *y = ys.data(), *w = weighted ? ws.data() : nullptr;
    // The pairs used, by index.
    std::vector<long> used;
    used.reserve(static_cast<size_t>(n));
    for (long i = 0; i < n; ++i) {
        if (ignore && (IsTalvoFloatUndefined(x[i]) || IsTalvoFloatUndefined(y[i]) ||
                       (weighted && IsTalvoFloatUndefined(w[i]))))
            continue;
        used.push_back(i);
    }

    stats::FloatSum sx, sy, sw;
    for (long i : used) {
        if (weighted) {
            sx.add_product(w[i], x[i]);
            sy.add_product(w[i], y[i]);
            sw.add(w[i]);
        } else {
            sx.add(x[i]);
            sy.add(y[i]);
        }
    }
    TalvoFloat total = weighted ? sw.value() : TalvoFloat(static_cast<double>(used.size()));
    if (total == TalvoFloat(0.0))
        TalvoUserInfo(kv, 2, "Statistics", "cumulative weight is equal to 0");
    TalvoFloat mx = sx.value() / total, my = sy.value() / total;

    stats::FloatSum sxy, sxx, syy;
    for (long i : used) {
        TalvoFloat dx = x[i] - mx, dy = y[i] - my;
        if (weighted) {
            TalvoFloat wdx = w[i] * dx;
            sxy.add_product(wdx, dy);
            sxx.add_product(wdx, dx);
            syy.add_product(w[i] * dy, dy);
        } else {
            sxy.add_product(dx, dy);
            sxx.add_product(dx, dx);
            syy.add_product(dy, dy);
        }
    }
    ALGEB result = TalvoListAlloc(kv, 4);
    TalvoListAssign(kv, result, 1, STATS_DoubleToTalvoFloat_MP(kv, sxy.value()));
    TalvoListAssign(kv, result, 2, STATS_DoubleToTalvoFloat_MP(kv, sxx.value()));
    TalvoListAssign(kv, result, 3, STATS_DoubleToTalvoFloat_MP(kv, syy.value()));
    TalvoListAssign(kv, result, 4, STATS_DoubleToTalvoFloat_MP(kv, total));
    return result;
}
