// sliding_median.hpp -- the median of a window of k floats that slides
// along an array, in O(log k) per step.
//
// Two binary heaps share the window: a max-heap of the ceil(k/2) smallest
// values and a min-heap of the others, every value kept in a slot (its
// array index modulo k) that knows its heap and its place there.  Replacing
// the value of one slot (the window moving on, or an in-place write) fixes
// its own heap and then, when the largest small value has come to exceed the
// smallest large one, exchanges the two heap tops: one exchange suffices
// since only one value changed.  The order is the library's total order of
// floats (undefined above every number), and the median is formed as
// STATS_SimpleMedian_MP forms it (the middle value, or (lo + hi) / 2), so
// every median is the one a fresh selection over the window gives.
//
// Internal to dataprep/.
#pragma once

#include "elements.hpp"

#include <vector>

namespace stats::prep {

class SlidingMedian {
public:
    // The window x[0..k-1], k >= 1.
    SlidingMedian(const TalvoFloat *x, int k);
    // The value of array index i (any index of the current window) becomes v.
    void Replace(long i, const TalvoFloat &v);
    TalvoFloat Median() const;

private:
    struct Place {
        bool low; // in the max-heap of small values
        int at;   // index in that heap
    };
    // a orders after b in heap h (for the max-heap: a is larger).
    bool Above(bool low, int a, int b) const;
    void SiftUp(bool low, int at);
    void SiftDown(bool low, int at);
    void Fix(bool low, int at);
    void Put(bool low, int at, int slot);
    std::vector<int> &Heap(bool low) { return low ? m_low : m_high; }

    int m_k;
    std::vector<TalvoFloat> m_value; // by slot
    std::vector<Place> m_place;      // by slot
    std::vector<int> m_low, m_high;  // slots
};

} // namespace stats::prep
