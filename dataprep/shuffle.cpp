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
// The exchanges wait on memory, the draws on their rejection branch; the
// loop keeps the two apart.  Integers are drawn in runs, as many at a time
// as there are steps still without their j (each of those steps takes at
// least one more integer, so the stream is used exactly as the plain loop
// uses it and never beyond), and a run is turned into the j's of the steps
// it serves without a branch: each integer, shifted, is written to a queue
// and kept by advancing the queue's end only when it is accepted.  The
// exchanges then run over the queue, each one asking the cache for the
// element named kAhead steps later, so that a shuffle of a large array does
// not wait on memory at every step: kAhead steps of a few nanoseconds each
// cover a memory access, and one request per exchange, rather than a burst
// of them after each run of draws, keeps the core's outstanding misses few
// enough that the draws in between are not held up.
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

constexpr uint32_t kAhead = 64, kRun = 64, kQueue = 256;
// The queue holds fewer than 2 kAhead j's when a run starts, and a run adds
// at most kRun.
static_assert(2 * kAhead - 1 + kRun <= kQueue);

// Fisher-Yates over elements of width W (W = 0: width bytes each).
template <size_t W>
void ShuffleBlock(char *block, uint32_t n, size_t width, char *tmp)
{
    const size_t w = W != 0 ? W : width; // a constant for the fixed widths
    uint32_t queue[kQueue];
    uint32_t begin = 0, end = 0, fetched = 0;
    uint32_t drawn = n - 1; // the step whose j is drawn next; 0 when all are
    // NextInteger's own body, TalvoRandomInt32 of the stream's kernel
    // vector, with the vector read once: the same integers from the same
    // generator, without a call through the library's linkage table and a
    // reload of the vector for each of them.
    const TKernelVector stream = STATS_TalvoRandomStream_MP::gTKernelVector;
    // Draws runs until 2 kAhead steps have their j, or every step has.  At
    // most `run` integers of a run are accepted, so drawn stays at least 1
    // until the last one: the shift is at most 31.
    auto fill = [&]() {
        while (end - begin < 2 * kAhead && drawn > 0) {
            const uint32_t run = drawn < kRun ? drawn : kRun;
            uint32_t ints[kRun];
            for (uint32_t k = 0; k < run; ++k)
                ints[k] = static_cast<uint32_t>(TalvoRandomInt32(stream));
            // Integer k is kept as the j of the step `drawn` when it is at
            // most drawn, without a branch.
            auto take = [&](uint32_t j) {
                const uint32_t keep = j <= drawn;
                queue[end % kQueue] = j;
                end += keep;
                drawn -= keep;
            };
            // The mask of a run is usually that of its first step: then the
            // shift is worked out once, off the chain of dependent steps.
            const int bits = static_cast<int>(std::bit_width(drawn));
            if (static_cast<int>(std::bit_width(drawn - run + 1)) == bits)
                for (uint32_t k = 0; k < run; ++k)
                    take(ints[k] >> (32 - bits));
            else
                for (uint32_t k = 0; k < run; ++k)
                    take(ints[k] >> (32 - std::bit_width(drawn)));
        }
    };
    // Asks the cache for the element of the next queued j not yet asked for.
    auto request = [&]() {
        __builtin_prefetch(block + static_cast<size_t>(queue[fetched % kQueue]) * w, 1);
        ++fetched;
    };
    fill();
    while (fetched != end && fetched - begin < kAhead)
        request();
    uint32_t i = n - 1;
    while (i >= 1) {
        for (uint32_t c = 0; c < kAhead && i >= 1; ++c, --i) {
            if (fetched != end)
                request();
            const uint32_t j = queue[begin % kQueue];
            ++begin;
            char *a = block + static_cast<size_t>(i) * w, *b = block + static_cast<size_t>(j) * w;
            std::memcpy(tmp, a, w);
            std::memcpy(a, b, w);
            std::memcpy(b, tmp, w);
        }
        fill();
    }
}

} // namespace

void STATS_Shuffle_MP(TKernelVector, char *block, unsigned n, unsigned width)
{
    if (n < 2)
        return;
    std::vector<char> tmp(width > 0 ? width : 1);
    switch (width) {
    case 1: ShuffleBlock<1>(block, n, width, tmp.data()); break;
    case 2: ShuffleBlock<2>(block, n, width, tmp.data()); break;
    case 4: ShuffleBlock<4>(block, n, width, tmp.data()); break;
    case 8: ShuffleBlock<8>(block, n, width, tmp.data()); break;
    case 16: ShuffleBlock<16>(block, n, width, tmp.data()); break;
    default: ShuffleBlock<0>(block, n, width, tmp.data()); break;
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
