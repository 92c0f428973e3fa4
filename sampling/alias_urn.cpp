// alias_urn.cpp -- the alias urn and the weighted index sample entry.
#include "alias_urn.hpp"

#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "random_stream.hpp"
#include "sampling_support.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <bit>
#include <vector>

namespace {

bool Finite(const TalvoFloat &x)
{
    return !IsTalvoFloatUndefined(x) && !IsTalvoFloatInfinity(x) && !IsTalvoFloatNegativeInfinity(x);
}

} // namespace

STATS_AliasUrnGenerator_MP::STATS_AliasUrnGenerator_MP(int n, int m, TalvoFloat *weights) { Reset(n, m, weights); }

STATS_AliasUrnGenerator_MP::~STATS_AliasUrnGenerator_MP() = default;

void STATS_AliasUrnGenerator_MP::Reset(int n, int m, TalvoFloat *weights)
{
    TalvoFloat total;
    for (int i = 0; i < m; ++i)
        total += weights[i];
    // With two cells or more the thresholds are scaled by n / total, which
    // is not a number for a total of zero, undefined or infinite: the cells
    // would all fall on the small stack and the draws would ignore the
    // weights (or, in the envelope generator, never end).
    if (n >= 2 && (!Finite(total) || total == TalvoFloat()))
        TalvoRaiseError1(STATS_TalvoUtils_MP::gTKernelVector, "unable to build an alias urn from weights adding up to %1",
                         STATS_DoubleToTalvoFloat_MP(STATS_TalvoUtils_MP::gTKernelVector, total));

    m_m = m;
    m_n = n;
    m_alias.reset();
    m_prob.reset();
    m_cells.reset();
    if (n <= 0)
        return;
    m_prob.reset(new TalvoFloat[n]);
    m_alias.reset(new int32_t[n]);
    TalvoFloat *prob = m_prob.get();
    int32_t *alias = m_alias.get();
    if (n == 1) {
        prob[0] = TalvoFloat(1.0);
        alias[0] = 0;
        Bounds();
        return;
    }

    // One work area of n + 2 slots: the small stack grows up from the start,
    // the large stack down from the end.  Each index is on at most one stack,
    // so they never meet.
    std::vector<int32_t> work(static_cast<size_t>(n) + 2);
    size_t small = 0, large = work.size();
    const TalvoFloat one(1.0);
    TalvoFloat scale = TalvoFloat(static_cast<double>(n)) / total;
    for (int i = 0; i < m; ++i) {
        prob[i] = weights[i] * scale;
        if (prob[i] >= one) {
            work[--large] = i;
            alias[i] = i;
        } else {
            work[small++] = i;
        }
    }
    for (int i = m; i < n; ++i) {
        prob[i] = TalvoFloat();
        work[small++] = i;
    }

    // Pair the top small cell with the top large one: the large cell gives
    // the small one what it lacks of 1, and joins the small cells when it
    // falls below 1 itself.
    while (small > 0 && large < work.size()) {
        int32_t s = work[small - 1], l = work[large];
        alias[s] = l;
        prob[l] = prob[l] + (prob[s] - one);
        if (prob[l] < one) {
            ++large;
            work[small - 1] = l;
        } else {
            --small;
        }
    }
    // Cells left small when rounding used up the large ones keep themselves.
    while (small > 0) {
        int32_t s = work[--small];
        alias[s] = s;
        prob[s] = one;
    }
    Bounds();
}

void STATS_AliasUrnGenerator_MP::Bounds()
{
    m_cells.reset(new Cell[static_cast<size_t>(m_n)]);
    for (int32_t j = 0; j < m_n; ++j)
        m_cells[j] = {mpfr_get_d(m_prob[j].mpfr(), MPFR_RNDD), m_alias[j]};
}

int STATS_AliasUrnGenerator_MP::Next()
{
    if (m_n <= 0)
        TalvoRaiseError(STATS_TalvoUtils_MP::gTKernelVector, "cannot draw from an alias urn of no cells");
    int b = std::bit_width(static_cast<uint32_t>(m_n - 1));
    int shift = 31 - b;
    uint32_t j;
    // The comparison is made unsigned: with more than 2^30 cells the shift is
    // 0 and a draw above 2^31 - 1 would otherwise be a negative cell.
    do {
        j = static_cast<uint32_t>(STATS_TalvoRandomStream_MP::NextInteger()) >> shift;
    } while (j >= static_cast<uint32_t>(m_n));
    if (static_cast<int32_t>(j) < m_m) {
        TalvoFloat u = STATS_TalvoRandomStream_MP::NextDouble();
        // u <= prob[j], decided on doubles unless u's rounding meets prob[j]'s.
        const Cell &c = m_cells[j];
        double d = mpfr_get_d(u.mpfr(), MPFR_RNDD);
        if (d < c.lo)
            return static_cast<int>(j);
        if (d > c.lo)
            return c.alias;
        return u <= m_prob[j] ? static_cast<int>(j) : c.alias;
    }
    return m_cells[j].alias;
}

STATS_ENTRY ALGEB STATS_TalvoAliasUrnSample_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 2);
    ALGEB length = f.arg(1);
    if (!IsTalvoInteger32(kv, length))
        TalvoRaiseError1(kv, "invalid sample length, expected positive integer, received: %1", length);
    int n = TalvoToInteger32(kv, length);
    STATS_TalvoDataSample_MP weights(kv, f.arg(2));
    int size = static_cast<int>(weights.size());
    STATS_AliasUrnGenerator_MP urn(size, size, weights.points());

    ALGEB sample = stats::sampling::NewInt32Array(kv, n);
    auto *out = static_cast<int32_t *>(RTableDataBlock(kv, sample));
    for (int k = 0; k < n; ++k)
        out[k] = urn.Next();
    return sample;
}
