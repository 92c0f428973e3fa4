// shuffle.cpp -- a random permutation of a host array's elements:
// STATS_TalvoShuffle_MP(data) and the kernel STATS_Shuffle_MP.
//
// Fisher-Yates from the end (Durstenfeld, CACM 1964): for i = n-1 down to 1,
// j uniform in 0..i, exchange elements i and j.  j is drawn by rejection, so
// every permutation is exactly equally likely: with the mask 2^k - 1, the
// smallest such mask not below i (it only shrinks as i falls), a 32-bit
// integer from STATS_TalvoRandomStream_MP::NextInteger is shifted right by
// 32 - k bits and drawn again while it exceeds i.  On average fewer than two
// integers are drawn per element.
//
// The draws of the next 64 steps are made ahead of their exchanges, in the
// same order, so the stream is used exactly as the plain loop uses it; the
// elements they name are fetched into the cache meanwhile, which is what
// keeps a shuffle of a large array from waiting on memory at every step
// (64 steps of a few nanoseconds each cover a memory access).
//
// The entry copies the array (a non-dense array into dense rectangular
// storage) and shuffles the copy; the data are never changed.
#include "data_sample.hpp"
#include "elements.hpp"
#include "entry_frame.hpp"
#include "random_stream.hpp"
#include "stats_entries.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// Draws the indices of the steps i = n-1, n-2, ..., 1 in turn.
class IndexDraws {
public:
    explicit IndexDraws(uint32_t n) : m_i(n - 1), m_bits(std::bit_width(m_i)) {}
    bool done() const { return m_i == 0; }
    // j for the current step, uniform in 0..i; then the next step.
    uint32_t next()
    {
        while (m_bits > 1 && (uint32_t(1) << (m_bits - 1)) - 1 >= m_i)
            --m_bits;
        uint32_t j;
        do {
            j = static_cast<uint32_t>(STATS_TalvoRandomStream_MP::NextInteger()) >> (32 - m_bits);
        } while (j > m_i);
        --m_i;
        return j;
    }

private:
    uint32_t m_i;
    int m_bits; // k of the mask 2^k - 1
};

template <size_t W>
void ShuffleFixed(char *block, uint32_t n, char *tmp)
{
    constexpr uint32_t kAhead = 64;
    IndexDraws draws(n);
    uint32_t ring[kAhead];
    uint32_t ahead = 0;
    // Steps i = n-1 .. 1; ring[(n-1-i) % kAhead] holds the j of step i.
    while (ahead < kAhead && !draws.done()) {
        uint32_t j = draws.next();
        __builtin_prefetch(block + static_cast<size_t>(j) * W, 1);
        ring[ahead++ % kAhead] = j;
    }
    uint32_t step = 0;
    for (uint32_t i = n - 1; i >= 1; --i, ++step) {
        uint32_t j = ring[step % kAhead];
        if (!draws.done()) {
            uint32_t next = draws.next();
            __builtin_prefetch(block + static_cast<size_t>(next) * W, 1);
            ring[ahead++ % kAhead] = next;
        }
        char *a = block + static_cast<size_t>(i) * W, *b = block + static_cast<size_t>(j) * W;
        std::memcpy(tmp, a, W);
        std::memcpy(a, b, W);
        std::memcpy(b, tmp, W);
    }
}

void ShuffleAnyWidth(char *block, uint32_t n, size_t width, char *tmp)
{
    IndexDraws draws(n);
    for (uint32_t i = n - 1; i >= 1; --i) {
        uint32_t j = draws.next();
        char *a = block + static_cast<size_t>(i) * width, *b = block + static_cast<size_t>(j) * width;
        std::memcpy(tmp, a, width);
        std::memcpy(a, b, width);
        std::memcpy(b, tmp, width);
    }
}

} // namespace

void STATS_Shuffle_MP(TKernelVector, char *block, unsigned n, unsigned width)
{
    if (n < 2)
        return;
    std::vector<char> tmp(width > 0 ? width : 1);
    switch (width) {
    case 1: ShuffleFixed<1>(block, n, tmp.data()); break;
    case 2: ShuffleFixed<2>(block, n, tmp.data()); break;
    case 4: ShuffleFixed<4>(block, n, tmp.data()); break;
    case 8: ShuffleFixed<8>(block, n, tmp.data()); break;
    case 16: ShuffleFixed<16>(block, n, tmp.data()); break;
    default: ShuffleAnyWidth(block, n, width, tmp.data()); break;
    }
}

STATS_ENTRY ALGEB STATS_TalvoShuffle_MP(TKernelVector kv, ALGEB args)
{
    stats::EntryFrame f(kv, args, __func__, 1);
    ALGEB data = f.arg(1);
    stats::prep::RequireOneDimensional(kv, data);
    M_INT n = RTableNumElements(kv, data);
    if (n > static_cast<M_INT>(UINT32_MAX))
        TalvoRaiseError1(kv, "arrays of more than 4294967295 elements cannot be shuffled, received %1 elements",
                         ToTalvoInteger(kv, n));
    RTableSettings s;
    RTableGetSettings(kv, &s, data);
    s.storage = RTABLE_RECT;
    ALGEB copy = RTableCopy(kv, &s, data);
    STATS_Shuffle_MP(kv, static_cast<char *>(RTableDataBlock(kv, copy)), static_cast<unsigned>(n),
                     static_cast<unsigned>(STATS_RTableDataSize_MP(kv, s.data_type)));
    return copy;
}
