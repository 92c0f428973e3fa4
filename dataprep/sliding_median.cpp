// sliding_median.cpp -- two indexed heaps over a sliding window (see the header).
#include "sliding_median.hpp"

#include <algorithm>

namespace stats::prep {

SlidingMedian::SlidingMedian(const TalvoFloat *x, int k)
    : m_k(k), m_value(x, x + k), m_place(static_cast<size_t>(k))
{
    // The first window in order: its lower half, read from the middle down,
    // is a max-heap as it stands, and its upper half a min-heap.
    std::vector<int> slots(static_cast<size_t>(k));
    for (int i = 0; i < k; ++i)
        slots[size_t(i)] = i;
    std::sort(slots.data(), slots.data() + k, [&](int a, int b) {
        const TalvoFloat &x = m_value[size_t(a)], &y = m_value[size_t(b)];
        return FloatBefore(x, y) || (!FloatBefore(y, x) && a < b);
    });
    int nlow = (k + 1) / 2;
    for (int i = nlow - 1; i >= 0; --i)
        m_low.push_back(slots[size_t(i)]);
    for (int i = nlow; i < k; ++i)
        m_high.push_back(slots[size_t(i)]);
    for (size_t i = 0; i < m_low.size(); ++i)
        m_place[size_t(m_low[i])] = {true, int(i)};
    for (size_t i = 0; i < m_high.size(); ++i)
        m_place[size_t(m_high[i])] = {false, int(i)};
}

bool SlidingMedian::Above(bool low, int a, int b) const
{
    const TalvoFloat &x = m_value[size_t(a)], &y = m_value[size_t(b)];
    return low ? FloatBefore(y, x) : FloatBefore(x, y);
}

void SlidingMedian::Put(bool low, int at, int slot)
{
    Heap(low)[size_t(at)] = slot;
    m_place[size_t(slot)] = {low, at};
}

void SlidingMedian::SiftUp(bool low, int at)
{
    std::vector<int> &h = Heap(low);
    int slot = h[size_t(at)];
    while (at > 0) {
        int parent = (at - 1) / 2;
        if (!Above(low, slot, h[size_t(parent)]))
            break;
        Put(low, at, h[size_t(parent)]);
        at = parent;
    }
    Put(low, at, slot);
}

void SlidingMedian::SiftDown(bool low, int at)
{
    std::vector<int> &h = Heap(low);
    int n = int(h.size());
    int slot = h[size_t(at)];
    for (;;) {
        int child = 2 * at + 1;
        if (child >= n)
            break;
        if (child + 1 < n && Above(low, h[size_t(child + 1)], h[size_t(child)]))
            ++child;
        if (!Above(low, h[size_t(child)], slot))
            break;
        Put(low, at, h[size_t(child)]);
        at = child;
    }
    Put(low, at, slot);
}

void SlidingMedian::Fix(bool low, int at)
{
    std::vector<int> &h = Heap(low);
    if (at > 0 && Above(low, h[size_t(at)], h[size_t((at - 1) / 2)]))
        SiftUp(low, at);
    else
        SiftDown(low, at);
}

void SlidingMedian::Replace(long i, const TalvoFloat &v)
{
    int slot = int(i % m_k);
    m_value[size_t(slot)] = v;
    Place p = m_place[size_t(slot)];
    Fix(p.low, p.at);
    if (m_high.empty())
        return;
    int top_low = m_low[0], top_high = m_high[0];
    if (FloatBefore(m_value[size_t(top_high)], m_value[size_t(top_low)])) {
        Put(true, 0, top_high);
        Put(false, 0, top_low);
        SiftDown(true, 0);
        SiftDown(false, 0);
    }
}

TalvoFloat SlidingMedian::Median() const
{
    const TalvoFloat &lo = m_value[size_t(m_low[0])];
    if (m_k % 2 == 1)
        return lo;
    const TalvoFloat &hi = m_value[size_t(m_high[0])];
    return (lo + hi) / TalvoFloat(2.0);
}

} // namespace stats::prep
