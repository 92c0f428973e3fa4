// cumulative.cpp -- running sums and products, and arrays turned into float
// arrays.
//
// Host entries:
//   STATS_TalvoCumulative_MP(data, weights, output, mode): element i of the
//     result is the sum (mode other than 1) or the product (mode 1) of the
//     values 0..i in index order.  A weight is a multiplicity: a weighted
//     value adds w*x to a running sum and multiplies a running product by
//     x^w, so integer weights give what the repeated values would.  An
//     undefined value makes every later result undefined.  The results go
//     into `output` (a one-dimensional rectangular array of software floats
//     with at least as many elements as the data, written from its first
//     element on) or, when `output` has no elements, into a new float array
//     with the data's lower bound.  The array written is returned.
//   STATS_TalvoEvaluateToFloat_MP(array): a new software-float array with the
//     same bounds, order and subtype, holding the elements as floats.
#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"
#include "sums.hpp"
#include "talvo_utils.hpp"

namespace {

constexpr int kProducts = 1;

// The output array of the cumulative entry: the given one, checked, or a new
// float array lower..lower+n-1 when it has no elements.
ALGEB CumulativeOutput(TKernelVector kv, ALGEB out, long n, M_INT lower)
{
    if (!IsTalvoRTable(kv, out))
        TalvoRaiseError1(kv, "invalid 3rd argument, expected rtable, received: %1", out);
    if (RTableNumDimensions(kv, out) != 1)
        TalvoRaiseError1(kv, "invalid 3rd argument, expected one-dimensional rtable, received: %1", out);
    M_INT size = RTableNumElements(kv, out);
    if (size <= 0) {
        RTableSettings s = stats::FloatArraySettings(kv);
        M_INT bounds[2] = {lower, lower + static_cast<M_INT>(n) - 1};
        return RTableCreate(kv, &s, nullptr, bounds);
    }
    if (size < n)
        TalvoRaiseError1(kv, "output array has insufficient number of elements: %1", ToTalvoInteger(kv, size));
    RTableSettings s;
    RTableGetSettings(kv, &s, out);
    ALGEB sfloat = ToTalvoName(kv, "sfloat", 1);
    if (s.data_type != RTABLE_DAG || s.element_type != sfloat)
        TalvoRaiseError1(kv, "output array has invalid data type: %1",
                         s.data_type == RTABLE_DAG && s.element_type != nullptr ? s.element_type
                                                                              : stats::DataTypeName(kv, s.data_type));
    if (s.storage != RTABLE_RECT)
        TalvoRaiseError1(kv, "output array has invalid storage type: %1", stats::StorageName(kv, s.storage));
    return out;
}

} // namespace

STATS_ENTRY ALGEB STATS_TalvoCumulative_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    STATS_TalvoDataSample_MP sample(kv, f.arg(1), f.arg(2));
    long n = sample.size();
    ALGEB out = CumulativeOutput(kv, f.arg(3), n, n > 0 ? RTableLowerBound(kv, f.arg(1), 1) : 1);
    int mode = f.int32(4);
    auto *r = static_cast<TalvoFloat *>(RTableDataBlock(kv, out));
    const TalvoFloat *x = sample.points();
    const TalvoFloat *w = sample.weights();
    if (mode == kProducts) {
        TalvoFloat p(1.0);
        for (long i = 0; i < n; ++i) {
            p = w != nullptr ? p * pow(x[i], w[i]) : p * x[i];
            r[i] = p;
        }
    } else {
        stats::FloatSum s;
        for (long i = 0; i < n; ++i) {
            if (w != nullptr)
                s.add_product(w[i], x[i]);
            else
                s.add(x[i]);
            r[i] = s.value();
        }
    }
    return out;
}

STATS_ENTRY ALGEB STATS_TalvoEvaluateToFloat_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 1);
    ALGEB a = f.arg(1);
    if (!IsTalvoRTable(kv, a))
        TalvoRaiseError1(kv, "invalid data sample, expected: rtable, received %1", a);
    RTableSettings s;
    RTableGetSettings(kv, &s, a);
    int datatype = s.data_type;
    int dims = static_cast<int>(RTableNumDimensions(kv, a));
    s.data_type = RTABLE_DAG;
    s.element_type = ToTalvoName(kv, "sfloat", 1);
    s.storage = RTABLE_RECT;
    s.read_only = 0;
    s.foreign = 0;
    s.fill = nullptr;
    M_INT bounds[4] = {1, 0, 1, 0};
    M_INT extent[2] = {0, 1};
    for (int d = 0; d < dims && d < 2; ++d) {
        bounds[2 * d] = RTableLowerBound(kv, a, d + 1);
        bounds[2 * d + 1] = RTableUpperBound(kv, a, d + 1);
        extent[d] = bounds[2 * d + 1] >= bounds[2 * d] ? bounds[2 * d + 1] - bounds[2 * d] + 1 : 0;
    }
    ALGEB result = RTableCreate(kv, &s, nullptr, bounds);
    if (extent[0] == 0 || extent[1] == 0)
        return result;
    // Element by element through the index, so that every storage and order
    // of the source and the order of the copy agree.
    M_INT index[2];
    for (M_INT i = 0; i < extent[0]; ++i)
        for (M_INT j = 0; j < extent[1]; ++j) {
            index[0] = bounds[0] + i;
            index[1] = bounds[2] + j;
            RTableData d;
            d.dag = STATS_DoubleToTalvoFloat_MP(kv,
                                                STATS_RTableElementToFloat_MP(kv, RTableSelect(kv, a, index), datatype));
            RTableAssign(kv, result, index, d);
        }
    return result;
}
