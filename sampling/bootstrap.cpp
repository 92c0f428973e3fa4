// bootstrap.cpp -- resampling: a bootstrap sample of an array (uniform or by
// weights), bootstrap replications of a statistic of a data sample, and
// replications of a statistic of samples that a host procedure makes.
//
// Uniform indices in 0..N-1 are drawn by keeping the top bits of a 32-bit
// random integer (as many as N - 1 needs, plus one) and drawing again while
// the index is above N - 1.
#include "alias_urn.hpp"
#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <cstring>

namespace {

// The right shift that brings 2^31 - 1 to top <= N - 1 (0 when N - 1 is
// that large already).
int ShiftFor(uint64_t top)
{
    uint64_t v = 0x7fffffff;
    int shift = 0;
    while (v > top) {
        v >>= 1;
        ++shift;
    }
    return shift;
}

// A uniform index in 0..top, drawn with the shift of ShiftFor(top).
uint32_t UniformIndex(int shift, uint64_t top)
{
    uint32_t j;
    do {
        j = static_cast<uint32_t>(STATS_TalvoRandomStream_MP::NextInteger()) >> shift;
    } while (j > top);
    return j;
}

bool IsOneDimensionalArray(TKernelVector kv, ALGEB a)
{
    return IsTalvoRTable(kv, a) && RTableNumDimensions(kv, a) == 1;
}

// A float vector's data block (null when it has no elements).
TalvoFloat *FloatData(TKernelVector kv, ALGEB a) { return static_cast<TalvoFloat *>(RTableDataBlock(kv, a)); }

} // namespace

STATS_ENTRY ALGEB STATS_TalvoBootstrapSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    ALGEB data = f.arg(1), weights = f.arg(4);
    if (!IsOneDimensionalArray(kv, data))
        TalvoRaiseError1(kv, "expected: one-dimensional array, received %1", data);
    if (!IsOneDimensionalArray(kv, weights))
        TalvoRaiseError1(kv, "expected: one-dimensional array, received %1", weights);
    T_INT rows = f.size(2), columns = f.size(3);
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    if (s.storage != RTABLE_RECT)
        TalvoRaiseError1(kv, "input array must have rectangular storage type", ToTalvoNULL(kv));

    // The data's settings in two dimensions; its elements are copied whole,
    // whatever their size.
    RTableSettings out = s;
    out.num_dimensions = 2;
    out.storage = RTABLE_RECT;
    out.read_only = TALVO_FALSE;
    out.foreign = TALVO_FALSE;
    M_INT bounds[4] = {1, rows, 1, columns};
    ALGEB sample = RTableCreate(kv, &out, nullptr, bounds);
    // The array's own count: r c when both are counts, 0 when either is
    // below 1 (two negative bounds would otherwise make a positive product).
    M_INT cells = RTableNumElements(kv, sample);
    size_t size = static_cast<size_t>(STATS_RTableDataSize_MP(kv, s.data_type));
    const char *from = static_cast<const char *>(RTableDataBlock(kv, data));
    char *to = static_cast<char *>(RTableDataBlock(kv, sample));
    M_INT n = RTableNumElements(kv, data);

    if (RTableNumElements(kv, weights) == 0) {
        if (cells == 0)
            return sample;
        if (n == 0)
            TalvoRaiseError1(kv, "cannot draw a bootstrap sample of %1 elements from an empty array",
                             ToTalvoInteger(kv, cells));
        uint64_t top = static_cast<uint64_t>(n - 1);
        int shift = ShiftFor(top);
        for (M_INT k = 0; k < cells; ++k) {
            uint32_t j = UniformIndex(shift, top);
            std::memcpy(to + static_cast<size_t>(k) * size, from + static_cast<size_t>(j) * size, size);
        }
        return sample;
    }

    if (RTableNumElements(kv, weights) != n)
        TalvoRaiseError1(kv, "data array and weights array must have the same number of elements", ToTalvoNULL(kv));
    STATS_TalvoDataSample_MP w(kv, weights);
    STATS_AliasUrnGenerator_MP urn(static_cast<int>(n), static_cast<int>(n), w.points());
    for (M_INT k = 0; k < cells; ++k) {
        int j = urn.Next();
        std::memcpy(to + static_cast<size_t>(k) * size, from + static_cast<size_t>(j) * size, size);
    }
    return sample;
}

STATS_ENTRY ALGEB STATS_TalvoBootstrapStatistic_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 5);
    STATS_TalvoDataSample_MP data(kv, f.arg(1), f.arg(2));
    ALGEB statistic = f.arg(3);
    T_INT m = f.size(4), replications = f.size(5);
    ALGEB values = stats::NewFloatArray(kv, replications);
    ALGEB work = stats::NewFloatArray(kv, m);
    if (replications < 1)
        return values;
    TalvoFloat *out = FloatData(kv, values);
    TalvoFloat *resample = FloatData(kv, work);
    const TalvoFloat *points = data.points();

    if (!data.weighted()) {
        // Indices run over 0..m-1, the resample size (the host passes the
        // data size); a resample larger than the data would read past it.
        if (m > static_cast<T_INT>(data.size()))
            TalvoRaiseError2(kv, "the resample size %1 exceeds the number of data points %2", ToTalvoInteger(kv, m),
                             ToTalvoInteger(kv, static_cast<M_INT>(data.size())));
        uint64_t top = m > 0 ? static_cast<uint64_t>(m - 1) : 0;
        int shift = ShiftFor(top);
        for (T_INT r = 0; r < replications; ++r) {
            for (T_INT i = 0; i < m; ++i)
                resample[i] = points[UniformIndex(shift, top)];
            STATS_TalvoUtils_MP::TalvoDAGToDouble(EvalTalvoProcedure(kv, statistic, work), &out[r]);
        }
        return values;
    }

    int size = static_cast<int>(data.size());
    STATS_AliasUrnGenerator_MP urn(size, size, data.weights());
    for (T_INT r = 0; r < replications; ++r) {
        for (T_INT i = 0; i < m; ++i)
            resample[i] = points[urn.Next()];
        STATS_TalvoUtils_MP::TalvoDAGToDouble(EvalTalvoProcedure(kv, statistic, work), &out[r]);
    }
    return values;
}

STATS_ENTRY ALGEB STATS_TalvoBootstrapStatisticRV_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    ALGEB sampler = f.arg(1), statistic = f.arg(2), size = f.arg(3);
    T_INT replications = f.size(4);
    ALGEB values = stats::NewFloatArray(kv, replications);
    stats::NewFloatArray(kv, f.size(3)); // made and not used
    TalvoFloat *out = FloatData(kv, values);
    for (T_INT r = 0; r < replications; ++r) {
        ALGEB sample = EvalTalvoProcedure(kv, sampler, size);
        STATS_TalvoUtils_MP::TalvoDAGToDouble(EvalTalvoProcedure(kv, statistic, sample), &out[r]);
    }
    return values;
}
