// alias_urn.cpp -- the alias urn and the weighted index sample entry.
#include "alias_urn.hpp"

#include "data_sample.hpp"
#include "entry_frame.hpp"
#include "random_stream.hpp"
#include "sampling_support.hpp"
#include "stats_entries.h"
#include "talvo_utils.hpp"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <new>
#include <vector>

// count MPFR numbers of one precision, all +0, with their limbs in one
// malloc'd block (nothing in it for the collector to scan).
struct STATS_AliasUrnGenerator_MP::Thresholds {
    Thresholds(size_t count, mpfr_prec_t prec) : prec(prec), limbs(mpfr_custom_get_size(prec) / sizeof(mp_limb_t))
    {
        items = static_cast<__mpfr_struct *>(std::malloc(std::max<size_t>(count, 1) * sizeof(__mpfr_struct)));
        block = static_cast<mp_limb_t *>(std::malloc(std::max<size_t>(count * limbs, 1) * sizeof(mp_limb_t)));
        if (items == nullptr || block == nullptr) {
            std::free(items);
            std::free(block);
            throw std::bad_alloc();
        }
        for (size_t i = 0; i < count; ++i) {
            mpfr_custom_init(block + i * limbs, prec);
            mpfr_custom_init_set(items + i, MPFR_ZERO_KIND, 0, prec, block + i * limbs);
        }
    }
    ~Thresholds()
    {
        std::free(items);
        std::free(block);
    }
    Thresholds(const Thresholds &) = delete;
    Thresholds &operator=(const Thresholds &) = delete;
    mpfr_ptr operator[](size_t i) { return items + i; }

    mpfr_prec_t prec;
    size_t limbs;
    __mpfr_struct *items = nullptr;
    mp_limb_t *block = nullptr;
};

STATS_AliasUrnGenerator_MP::STATS_AliasUrnGenerator_MP(int n, int m, TalvoFloat *weights) { Reset(n, m, weights); }

STATS_AliasUrnGenerator_MP::~STATS_AliasUrnGenerator_MP() = default;

TalvoFloat STATS_AliasUrnGenerator_MP::prob(int j) const
{
    return TalvoFloat::from_handle(talvo_float_from_mpfr((*m_prob)[static_cast<size_t>(j)], m_prob->prec));
}

void STATS_AliasUrnGenerator_MP::Reset(int n, int m, TalvoFloat *weights)
{
    // Every operation rounds to the precision of "Digits" to nearest, as the
    // same operations on host floats do, so the thresholds are those of the
    // host-float arithmetic; only the floats themselves are not made.
    const mpfr_prec_t prec = talvo_float_precision();
    Thresholds scratch(3, prec);
    mpfr_ptr total = scratch[0], scale = scratch[1], one = scratch[2];
    mpfr_set_ui(one, 1, MPFR_RNDN);
    for (int i = 0; i < m; ++i)
        mpfr_add(total, total, weights[i].mpfr(), MPFR_RNDN);
    // With two cells or more the thresholds are scaled by n / total, which
    // is not a number for a total of zero, undefined or infinite: the cells
    // would all fall on the small stack and the draws would ignore the
    // weights (or, in the envelope generator, never end).
    if (n >= 2 && (!mpfr_number_p(total) || mpfr_zero_p(total)))
        TalvoRaiseError1(STATS_TalvoUtils_MP::gTKernelVector, "unable to build an alias urn from weights adding up to %1",
                         STATS_DoubleToTalvoFloat_MP(STATS_TalvoUtils_MP::gTKernelVector,
                                                     TalvoFloat::from_handle(talvo_float_from_mpfr(total, prec))));

    m_m = m;
    m_n = n;
    m_alias.reset();
    m_prob.reset();
    m_cells.reset();
    if (n <= 0)
        return;
    m_prob = std::make_unique<Thresholds>(static_cast<size_t>(n), prec);
    m_alias.reset(new int32_t[n]);
    Thresholds &prob = *m_prob;
    int32_t *alias = m_alias.get();
    if (n == 1) {
        mpfr_set_ui(prob[0], 1, MPFR_RNDN);
        alias[0] = 0;
        Bounds();
        return;
    }

    // One work area of n + 2 slots: the small stack grows up from the start,
    // the large stack down from the end.  Each index is on at most one stack,
    // so they never meet.
    std::vector<int32_t> work(static_cast<size_t>(n) + 2);
    size_t small = 0, large = work.size();
    mpfr_set_d(scale, static_cast<double>(n), MPFR_RNDN);
    mpfr_div(scale, scale, total, MPFR_RNDN);
    for (int i = 0; i < m; ++i) {
        mpfr_mul(prob[size_t(i)], weights[i].mpfr(), scale, MPFR_RNDN);
        if (mpfr_greaterequal_p(prob[size_t(i)], one)) {
            work[--large] = i;
            alias[i] = i;
        } else {
            work[small++] = i;
        }
    }
    for (int i = m; i < n; ++i)
        work[small++] = i; // probability +0

    // Pair the top small cell with the top large one: the large cell gives
    // the small one what it lacks of 1, and joins the small cells when it
    // falls below 1 itself.
    mpfr_ptr lack = scale; // the scale is no longer needed
    while (small > 0 && large < work.size()) {
        int32_t s = work[small - 1], l = work[large];
        alias[s] = l;
        mpfr_sub(lack, prob[size_t(s)], one, MPFR_RNDN);
        mpfr_add(prob[size_t(l)], prob[size_t(l)], lack, MPFR_RNDN);
        if (mpfr_less_p(prob[size_t(l)], one)) {
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
        mpfr_set_ui(prob[size_t(s)], 1, MPFR_RNDN);
    }
    Bounds();
}

void STATS_AliasUrnGenerator_MP::Bounds()
{
    m_cells.reset(new Cell[static_cast<size_t>(m_n)]);
    mpfr_t scaled;
    mpfr_init2(scaled, 64);
    for (int32_t j = 0; j < m_n; ++j) {
        // floor(prob 2^32), clamped to 0 .. 2^32 - 1 (prob may be negative,
        // undefined or above 1 when the weights are).
        uint32_t lo = 0;
        mpfr_srcptr p = (*m_prob)[static_cast<size_t>(j)];
        if (mpfr_nan_p(p) || mpfr_cmp_ui(p, 1) >= 0) {
            lo = mpfr_nan_p(p) ? 0 : UINT32_MAX;
        } else if (mpfr_sgn(p) > 0) {
            mpfr_mul_2ui(scaled, p, 32, MPFR_RNDD);
            lo = static_cast<uint32_t>(mpfr_get_ui(scaled, MPFR_RNDD));
        }
        m_cells[j] = {lo, m_alias[j]};
    }
    mpfr_clear(scaled);
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
        // u <= prob[j], decided on 32-bit fractions unless they are equal.
        // u is in [0, 1); rounded down to a double its first 32 bits are
        // still exact, and so is the product by 2^32.
        const Cell &c = m_cells[j];
        const uint32_t d = static_cast<uint32_t>(mpfr_get_d(u.mpfr(), MPFR_RNDD) * 4294967296.0);
        if (d < c.lo)
            return static_cast<int>(j);
        if (d > c.lo)
            return c.alias;
        return mpfr_lessequal_p(u.mpfr(), (*m_prob)[static_cast<size_t>(j)]) ? static_cast<int>(j) : c.alias;
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
