// moving.cpp -- statistics of a window that slides along a data set:
// STATS_TalvoMoving_MP (a host procedure applied to every window),
// STATS_TalvoMovingMedian_MP and STATS_TalvoMovingMean_MP.
//
// Moving(data, k, proc, extra...): n = the number of elements, 1 <= k <= n.
// The procedure is called with (window, extra...) for the n - k + 1 windows
// of k consecutive elements; the window is one array of the data's settings
// (bounds lb..lb+k-1, lb the data's lower bound) refilled for each call, and
// the results, as the procedure returns them, go to an array of host values
// with bounds lb .. n - k - lb + 2.
//   Fast path (rectangular storage in Fortran order): the k elements are
//   copied from the data block, and result i (i = 0, 1, ...) goes to element
//   i of the output's block: with lb = 1 the outputs 1 .. n - k + 1 in order.
//   General path (any other storage or order): the window is filled with
//   RTableSelect and RTableAssign, and the result of the window starting at
//   index i (i = lb .. n + lb - k) goes to element i of the output's block,
//   counted from the block's start: with lb = 1 the outputs 2 .. n - k + 1
//   hold the results of the first n - k windows and the first output keeps
//   its initial 0.  This asymmetry is kept as the interface defines it.
//   A result whose element lies outside the output's block (the last one
//   of the general path with lb = 1; every one beyond the output's length
//   when lb > 1 makes the output shorter than the windows are many) is
//   computed and not stored: nothing is written outside the array
//   (docs/DEVIATIONS.md).  The window and the output are the library's own
//   arrays and are writable even when the data are read-only.
//
// MovingMedian(data, k, o, weights, ignore, inplace) and
// MovingMean(data, k, o, weights, ignore, meantype, inplace): the values
// X of the data (without undefined values when ignore is true), m of them;
// the output is an array of floats with bounds 1 .. s, s = o + m - k + 1:
// its first o elements are the first o values, and element o + j holds the
// statistic of the window X[j .. j+k-1], j = 0 .. m - k.  With inplace each
// statistic is written into X[o + j] at once, so a later window that covers
// that place reads it (a running smoother), and X becomes the output's data.
// The k weights, when given, weigh the k places of every window.  Where m
// is below k or o reaches k, s leaves the kept values short of the output:
// the places no value reaches hold the undefined float (DEVIATIONS.md).
//   The unweighted median slides two heaps along the data (sliding_median.hpp),
//   O(log k) per window instead of a selection over every window; the
//   weighted median is the weighted median of each window (STATS_Median_MP
//   on a copy), the mean STATS_Mean_MP on the window in place.
#include "data_sample.hpp"
#include "elements.hpp"
#include "entry_frame.hpp"
#include "means.hpp"
#include "order_statistics.hpp"
#include "sliding_median.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

constexpr const char *kWindowSize = "invalid size of the moving window, expected: integer between 1 and %1, received: %2";
constexpr const char *kOffset = "invalid offset for the moving window, expected: integer between 0 and %1, received: %2";
constexpr const char *kWeights = "the number of elements in the weights array must be equal to the size of the moving window";

} // namespace

STATS_ENTRY ALGEB STATS_TalvoMoving_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, stats::ArgCount::AtLeast(3));
    ALGEB data = f.arg(1);
    stats::prep::RequireOneDimensional(kv, data);
    M_INT n = RTableNumElements(kv, data);
    M_INT k = f.size(2);
    if (k < 1 || k > n)
        TalvoRaiseError2(kv, kWindowSize, ToTalvoInteger(kv, n), f.arg(2));
    ALGEB proc = f.arg(3);
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    M_INT lb = RTableLowerBound(kv, data, 1);

    RTableSettings os = s;
    os.data_type = RTABLE_DAG;
    os.element_type = ToTalvoName(kv, "anything", 1);
    os.storage = RTABLE_RECT;
    os.num_dimensions = 1;
    os.read_only = TALVO_FALSE;
    os.fill = nullptr;
    M_INT obounds[2] = {lb, n - k - lb + 2};
    ALGEB out = RTableCreate(kv, &os, nullptr, obounds);
    auto *oblock = static_cast<ALGEB *>(RTableDataBlock(kv, out));
    M_INT olength = RTableNumElements(kv, out);

    RTableSettings ws = s;
    ws.read_only = TALVO_FALSE;
    M_INT wbounds[2] = {lb, lb + k - 1};
    ALGEB window = RTableCreate(kv, &ws, nullptr, wbounds);

    ALGEB seq = NewTalvoExpressionSequence(kv, f.count() - 2);
    TalvoExpseqAssign(kv, seq, 1, window);
    for (long i = 4; i <= f.count(); ++i)
        TalvoExpseqAssign(kv, seq, i - 2, f.arg(static_cast<int>(i)));
    auto store = [&](M_INT at, ALGEB r) {
        if (at >= 0 && at < olength)
            oblock[at] = r;
    };

    if (s.storage == RTABLE_RECT && s.order == RTABLE_FORTRAN) {
        if (s.data_type < RTABLE_DAG || s.data_type > RTABLE_FLOAT32)
            return out;
        size_t width = static_cast<size_t>(STATS_RTableDataSize_MP(kv, s.data_type));
        const char *dblock = static_cast<const char *>(RTableDataBlock(kv, data));
        char *wblock = static_cast<char *>(RTableDataBlock(kv, window));
        for (M_INT i = 0; i <= n - k; ++i) {
            std::memcpy(wblock, dblock + static_cast<size_t>(i) * width, static_cast<size_t>(k) * width);
            store(i, EvalTalvoProcedure(kv, proc, seq));
        }
        return out;
    }
    for (M_INT i = lb; i <= n + lb - k; ++i) {
        for (M_INT j = 0; j < k; ++j) {
            M_INT from[2] = {i + j, 1}, to[2] = {lb + j, 1};
            RTableAssign(kv, window, to, RTableSelect(kv, data, from));
        }
        store(i, EvalTalvoProcedure(kv, proc, seq));
    }
    return out;
}

namespace {

// What MovingMedian and MovingMean share: the checks of k and o, the kept
// values in a host block long enough for the output, and the output.
struct MovingWindow {
    TKernelVector kv;
    long n = 0, k = 0, o = 0, m = 0, s = 0;
    TalvoFloat *x = nullptr; // the values the windows read (and in place, write)
    bool own = false;        // x is the block made here
    std::vector<TalvoFloat> weights;
    bool weighted = false;

    MovingWindow(TKernelVector kv_, const stats::EntryFrame &f, const STATS_TalvoDataSample_MP &data) : kv(kv_)
    {
        n = data.size();
        k = static_cast<long>(f.size(2));
        o = static_cast<long>(f.size(3));
        if (k < 1 || k > n)
            TalvoRaiseError2(kv, kWindowSize, ToTalvoInteger(kv, n), f.arg(2));
        if (o < 0 || o >= n)
            TalvoRaiseError2(kv, kOffset, ToTalvoInteger(kv, n - 1), f.arg(3));
    }

    // The data's values into a block of host memory (dropping undefined
    // values when ignore is true), with room for the output; the places
    // past the kept values hold the undefined float.
    void Copy(const STATS_TalvoDataSample_MP &data, bool ignore)
    {
        long room = std::max(n, o + n - k + 1);
        x = static_cast<TalvoFloat *>(TalvoAlloc(kv, static_cast<M_INT>(room * sizeof(TalvoFloat))));
        m = STATS_CopySimpleData_MP(data.points(), x, static_cast<int>(n), ignore ? 1 : 0);
        TalvoFloat undefined = STATS_FloatUndefined_MP(kv);
        for (long i = m; i < room; ++i)
            x[i] = undefined;
        own = true;
        s = o + m - k + 1;
    }

    void Borrow(const STATS_TalvoDataSample_MP &data)
    {
        x = data.points();
        m = n;
        s = o + m - k + 1;
    }

    // The weights (copied, dropping undefined ones with ignore): none when
    // there are none or none are kept; otherwise exactly k of them.
    void Weights(const STATS_TalvoDataSample_MP &w, bool copy, bool ignore)
    {
        long count = w.size();
        if (count == 0)
            return;
        if (copy) {
            weights.resize(static_cast<size_t>(count));
            count = STATS_CopySimpleData_MP(w.points(), weights.data(), static_cast<int>(count), ignore ? 1 : 0);
            weights.resize(static_cast<size_t>(count));
        } else {
            weights.assign(w.points(), w.points() + count);
        }
        if (count == 0)
            return;
        if (count != k)
            TalvoRaiseError1(kv, kWeights, ToTalvoNULL(kv));
        weighted = true;
    }

    long windows() const { return m >= k ? m - k + 1 : 0; }

    // Runs stat(j) for every window; returns the output.
    template <class Stat>
    ALGEB Run(bool inplace, Stat &&stat)
    {
        long length = s > 0 ? s : 0;
        if (inplace) {
            for (long j = 0; j < windows(); ++j)
                x[o + j] = stat(j);
            RTableSettings fs = stats::FloatArraySettings(kv);
            M_INT bounds[2] = {1, s};
            return RTableCreate(kv, &fs, x, bounds);
        }
        ALGEB out = stats::NewFloatArray(kv, length);
        auto *y = static_cast<TalvoFloat *>(RTableDataBlock(kv, out));
        for (long i = 0; i < std::min(o, length); ++i)
            y[i] = x[i];
        for (long j = 0; j < windows(); ++j)
            y[o + j] = stat(j);
        return out;
    }
};

} // namespace

STATS_ENTRY ALGEB STATS_TalvoMovingMedian_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 6);
    STATS_TalvoDataSample_MP data(kv, f.arg(1));
    STATS_TalvoDataSample_MP w(kv, f.arg(4));
    bool ignore = f.flag(5) != 0;
    MovingWindow mw(kv, f, data);
    bool inplace = f.flag(6) != 0;
    mw.Copy(data, ignore);
    mw.Weights(w, true, ignore);
    const long k = mw.k;
    if (mw.weighted) {
        std::vector<TalvoFloat> sx(static_cast<size_t>(k)), sw(static_cast<size_t>(k));
        return mw.Run(inplace, [&](long j) {
            std::copy(mw.x + j, mw.x + j + k, sx.begin());
            std::copy(mw.weights.begin(), mw.weights.end(), sw.begin());
            return STATS_Median_MP(sx.data(), sw.data(), static_cast<int>(k));
        });
    }
    if (mw.windows() == 0)
        return mw.Run(inplace, [](long) { return TalvoFloat(); });
    stats::prep::SlidingMedian median(mw.x, static_cast<int>(k));
    const long o = mw.o;
    TalvoFloat *x = mw.x;
    return mw.Run(inplace, [&](long j) {
        // The window is x[j .. j+k-1]; move it on from the previous one.
        if (j > 0)
            median.Replace(j + k - 1, x[j + k - 1]);
        TalvoFloat v = median.Median();
        // An in-place write inside the window is a new value of it.
        if (inplace && o < k)
            median.Replace(o + j, v);
        return v;
    });
}

STATS_ENTRY ALGEB STATS_TalvoMovingMean_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 7);
    STATS_TalvoDataSample_MP data(kv, f.arg(1));
    STATS_TalvoDataSample_MP w(kv, f.arg(4));
    bool ignore = f.flag(5) != 0;
    MovingWindow mw(kv, f, data);
    bool inplace = f.flag(7) != 0;
    bool copy = ignore || inplace;
    if (copy)
        mw.Copy(data, ignore);
    else
        mw.Borrow(data);
    mw.Weights(w, copy, ignore);
    STATS_MEAN_TYPE_MP type = f.int32(6);
    const TalvoFloat *weights = mw.weighted ? mw.weights.data() : nullptr;
    return mw.Run(inplace, [&](long j) { return STATS_Mean_MP(kv, mw.x + j, weights, mw.k, type); });
}
