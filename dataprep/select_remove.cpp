// select_remove.cpp -- filtering a one-dimensional array by a predicate, a
// range, numeric-ness or NULL-ness: STATS_TalvoSelectRemove_MP,
// STATS_TalvoSelectRemoveInRange_MP, STATS_TalvoSelectRemoveNonNumeric_MP,
// STATS_TalvoRemoveNULL_MP and STATS_SelectRemoveSatisfies_MP.
//
// Elements are read in index order (from the data block of a rectangular
// array, with RTableSelect from the lower bound otherwise), tested as host
// values (elements.hpp, ElementValue) and copied in their stored form into
// host memory, so the selected and removed arrays keep the data type of the
// input.  Each output has the input's settings (in rectangular storage) and
// bounds lower..lower+count-1 from the input's own lower bound.
//
// Mode: 1 returns the selected elements, 2 the removed ones, anything else
// the sequence (selected, removed).  SelectRemoveNonNumeric reads its mode
// as a boolean (true is 1, false 0, so it returns the selected elements or
// both arrays; an integer meets the host's boolean conversion).
//
// Tests:
//   SelectRemove   predicate(element, extra arguments...) is true;
//   InRange        lower <= x < upper (closed below, open above), x the
//                  element's exact value; an element with no real value
//                  (a name, a string) is not in any range; a complex element
//                  only when its imaginary part is exactly 0;
//   NonNumeric     the element does not convert to a float (complex: its
//                  imaginary part is not zero or its real part does not
//                  convert), or it is undefined and the third argument is
//                  true, or infinite and the second is true.  Non-numeric
//                  elements are the selected ones.
#include "elements.hpp"
#include "entry_frame.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <cstring>
#include <functional>

namespace {

using stats::prep::ElementReader;
using stats::prep::ElementValue;

// The walk of every filter.  `selected` decides an element from its raw value.
ALGEB Filter(TKernelVector kv, ALGEB data, long mode, const std::function<bool(const RTableData &)> &selected)
{
    ElementReader reader(kv, data);
    long n = reader.size();
    int width = reader.width();
    bool keep_selected = mode != 2, keep_removed = mode != 1;
    M_INT bytes = static_cast<M_INT>(n > 0 ? n : 1) * width;
    char *sel = keep_selected ? static_cast<char *>(TalvoAlloc(kv, bytes)) : nullptr;
    char *rem = keep_removed ? static_cast<char *>(TalvoAlloc(kv, bytes)) : nullptr;
    long ns = 0, nr = 0;
    for (long k = 0; k < n; ++k) {
        RTableData d = reader.at(k);
        if (selected(d)) {
            if (keep_selected)
                std::memcpy(sel + ns++ * width, &d, static_cast<size_t>(width));
        } else if (keep_removed) {
            std::memcpy(rem + nr++ * width, &d, static_cast<size_t>(width));
        }
    }
    RTableSettings s = reader.settings();
    s.storage = RTABLE_RECT;
    M_INT lower = reader.lower();
    auto make = [&](char *block, long count) {
        M_INT bounds[2] = {lower, lower + count - 1};
        return RTableCreate(kv, &s, block, bounds);
    };
    if (mode == 1)
        return make(sel, ns);
    if (mode == 2)
        return make(rem, nr);
    ALGEB both = NewTalvoExpressionSequence(kv, 2);
    TalvoExpseqAssign(kv, both, 1, make(sel, ns));
    TalvoExpseqAssign(kv, both, 2, make(rem, nr));
    return both;
}

void RequireData(TKernelVector kv, ALGEB data) { stats::prep::RequireOneDimensional(kv, data); }

// The exact value of an integer as a float (64 bits hold every one).
TalvoFloat ExactInteger(int64_t v)
{
    ALGEB h = talvo_float_new(64);
    mpfr_set_sj(talvo_float_mpfr(h), v, MPFR_RNDN);
    return TalvoFloat::from_handle(h);
}

TalvoFloat ExactDouble(double v) { return TalvoFloat::from_handle(talvo_float_from_double(v, 53)); }

// The element's real value for the range test; false when it has none.
bool RealValue(TKernelVector kv, const RTableData &d, int dataType, TalvoFloat *x)
{
    switch (dataType) {
    case RTABLE_CXDAG: {
        TalvoFloat im;
        if (!STATS_TalvoUtils_MP::TalvoDAGToDouble(d.cxdag.im, &im) || !(im == TalvoFloat(0.0)))
            return false;
        return STATS_TalvoUtils_MP::TalvoDAGToDouble(d.cxdag.re, x) != 0;
    }
    case RTABLE_INTEGER8:
        *x = ExactInteger(d.int8);
        return true;
    case RTABLE_INTEGER16:
        *x = ExactInteger(d.int16);
        return true;
    case RTABLE_INTEGER32:
        *x = ExactInteger(d.int32);
        return true;
    case RTABLE_INTEGER64:
        *x = ExactInteger(d.int64);
        return true;
    case RTABLE_FLOAT64:
        *x = ExactDouble(d.float64);
        return true;
    case RTABLE_FLOAT32:
        *x = ExactDouble(static_cast<double>(d.float32));
        return true;
    case RTABLE_COMPLEX:
        if (!(d.complex.im == 0.0))
            return false;
        *x = ExactDouble(d.complex.re);
        return true;
    default:
        (void)kv;
        return STATS_TalvoUtils_MP::TalvoDAGToDouble(d.dag, x) != 0;
    }
}

// Whether the element is numeric in the sense of SelectRemoveNonNumeric.
bool Numeric(TKernelVector kv, const RTableData &d, int dataType, bool infinities, bool undefined)
{
    TalvoFloat x;
    switch (dataType) {
    case RTABLE_INTEGER8:
    case RTABLE_INTEGER16:
    case RTABLE_INTEGER32:
    case RTABLE_INTEGER64:
        return true;
    case RTABLE_FLOAT64:
        x = ExactDouble(d.float64);
        break;
    case RTABLE_FLOAT32:
        x = ExactDouble(static_cast<double>(d.float32));
        break;
    case RTABLE_COMPLEX:
        if (!(d.complex.im == 0.0))
            return false;
        x = ExactDouble(d.complex.re);
        break;
    case RTABLE_CXDAG:
        if (!IsTalvoUnnamedZero(kv, d.cxdag.im) || !STATS_TalvoUtils_MP::TalvoDAGToDouble(d.cxdag.re, &x))
            return false;
        break;
    default:
        if (!STATS_TalvoUtils_MP::TalvoDAGToDouble(d.dag, &x))
            return false;
        break;
    }
    if (undefined && IsTalvoFloatUndefined(x))
        return false;
    if (infinities && (IsTalvoFloatInfinity(x) || IsTalvoFloatNegativeInfinity(x)))
        return false;
    return true;
}

} // namespace

T_BOOL STATS_SelectRemoveSatisfies_MP(TKernelVector kv, ALGEB predicate, ALGEB element, ALGEB extras, int count)
{
    ALGEB seq = NewTalvoExpressionSequence(kv, count + 1);
    TalvoExpseqAssign(kv, seq, 1, element);
    for (int i = 1; i <= count; ++i)
        TalvoExpseqAssign(kv, seq, i + 1, TalvoExpseqSelect(kv, extras, i));
    return TalvoToT_BOOL(kv, EvalTalvoProcedure(kv, predicate, seq));
}

STATS_ENTRY ALGEB STATS_TalvoSelectRemove_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, stats::ArgCount::AtLeast(3));
    ALGEB predicate = f.arg(2);
    if (!IsTalvoProcedure(kv, predicate))
        TalvoRaiseError1(kv, "invalid selecting function, expected a procedure that always returns true or false, "
                             "received: %1",
                         predicate);
    long mode = static_cast<long>(f.size(3));
    int count = static_cast<int>(f.count() - 3);
    ALGEB extras = NewTalvoExpressionSequence(kv, count);
    for (int i = 1; i <= count; ++i)
        TalvoExpseqAssign(kv, extras, i, f.arg(3 + i));
    ALGEB data = f.arg(1);
    RequireData(kv, data);
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    int type = s.data_type;
    return Filter(kv, data, mode, [&](const RTableData &d) {
        return STATS_SelectRemoveSatisfies_MP(kv, predicate, ElementValue(kv, d, type), extras, count) != 0;
    });
}

STATS_ENTRY ALGEB STATS_TalvoSelectRemoveInRange_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    TalvoFloat lower = f.real(2), upper = f.real(3);
    long mode = static_cast<long>(f.size(4));
    ALGEB data = f.arg(1);
    RequireData(kv, data);
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    int type = s.data_type;
    return Filter(kv, data, mode, [&](const RTableData &d) {
        TalvoFloat x;
        return RealValue(kv, d, type, &x) && lower <= x && x < upper;
    });
}

STATS_ENTRY ALGEB STATS_TalvoSelectRemoveNonNumeric_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 4);
    bool infinities = f.flag(2) != 0, undefined = f.flag(3) != 0;
    long mode = static_cast<long>(f.flag(4));
    ALGEB data = f.arg(1);
    RequireData(kv, data);
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    int type = s.data_type;
    return Filter(kv, data, mode, [&](const RTableData &d) { return !Numeric(kv, d, type, infinities, undefined); });
}

STATS_ENTRY ALGEB STATS_TalvoRemoveNULL_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 1);
    ALGEB data = f.arg(1);
    RequireData(kv, data);
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    if (s.data_type >= RTABLE_CXDAG && s.data_type <= RTABLE_FLOAT32)
        return RTableCopy(kv, &s, data);
    ElementReader reader(kv, data);
    long n = reader.size();
    auto *kept = static_cast<ALGEB *>(TalvoAlloc(kv, static_cast<M_INT>(n > 0 ? n : 1) * sizeof(ALGEB)));
    long count = 0;
    for (long k = 0; k < n; ++k) {
        ALGEB e = reader.at(k).dag;
        if (!IsTalvoNULL(kv, e))
            kept[count++] = e;
    }
    s.storage = RTABLE_RECT;
    M_INT bounds[2] = {1, count};
    return RTableCreate(kv, &s, kept, bounds);
}
