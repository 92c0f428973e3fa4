// sorting.cpp -- sorting floats in place (m01cac) and ranking objects of any
// kind through a comparison function (m01dsc).
//
// m01cac.  Singleton's quicksort (CACM Algorithm 347, 1969): the first,
// middle and last elements of a range are put in order, the middle one is
// the pivot and the outer two stop the partition scans as sentinels, so the
// inner loops test nothing but the comparison.  Ranges below kCutoff
// elements are left alone; one insertion pass over the whole array finishes
// them (Sedgewick, "Implementing Quicksort programs", CACM 1978).  The larger
// part of a partition is stacked and the smaller one sorted first, so the
// stack never holds more than log2(n) ranges.  Inputs on which the median of
// three keeps choosing badly (organ pipes, sawtooth patterns) are met as
// Maclaren (1985) suggests: once a partition leaves less than a sixteenth of
// its range on one side, the next partitions of both parts draw their three
// candidates from pseudo-random positions.  Should a range still be split
// badly more than 2 log2(n) times, it is finished by heap sort (Musser's
// introspective sort, 1997), which bounds the whole sort by O(n log n).
//
// Undefined values order above every number: they are moved to the end of
// the array first (one pass) and the numbers before them are sorted with
// plain comparisons.  A descending sort is the ascending one reversed.
//
// m01dsc.  The object indices are sorted by the same introspective
// quicksort under the order "object i orders before object j, or they are
// equal and i < j": a strict total order, so the sorted indices are exactly
// those of a stable sort (the list-merge sort of Knuth, TAOCP vol. 3,
// 5.2.4, gives the same ranks), and ranks[index[k]] = k.  A quicksort rather
// than a merge: its partitions soon fit in the cache with the objects they
// reach, where every pass of a merge sort walks all the objects again,
// which for a million floats costs twice the time.
#include "core/support.hpp"

#include <mpfr.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using talvo::mp::Call;

// The value of a float, read from the float object without a call.
inline mpfr_srcptr Value(const TalvoFloat &x)
{
    return &reinterpret_cast<const TalvoFloatObject *>(x.handle())->value;
}

constexpr ptrdiff_t kCutoff = 16;

// xorshift64*: the positions of the randomised medians.  Seeded by the
// length, so a sort is repeatable.
struct Scramble {
    uint64_t s;
    uint64_t next()
    {
        s ^= s >> 12;
        s ^= s << 25;
        s ^= s >> 27;
        return s * 2685821657736338717ull;
    }
    // A position in [0, n).
    ptrdiff_t below(ptrdiff_t n) { return static_cast<ptrdiff_t>(next() % static_cast<uint64_t>(n)); }
};

// The introspective quicksort both routines use, on an array of T (floats
// for m01cac, object indices for m01dsc) under a strict order before(x, y).
// touch(x) fetches what x refers to into the cache ahead of its comparison
// (a no-op for floats, which are compared through their handles).
template <class T, class Before, class Touch>
class IntroSort {
public:
    IntroSort(T *a, Before before, Touch touch, uint64_t seed) : m_a(a), m_before(before), m_touch(touch), m_seed(seed)
    {
    }

    void Sort(ptrdiff_t n)
    {
        if (n < 2)
            return;
        QuickSort(n);
        InsertionPass(n);
    }

private:
    void Order2(T &x, T &y)
    {
        if (m_before(y, x))
            std::swap(x, y);
    }

    void SiftDown(T *a, ptrdiff_t root, ptrdiff_t n)
    {
        T v = a[root];
        for (;;) {
            ptrdiff_t child = 2 * root + 1;
            if (child >= n)
                break;
            if (child + 1 < n && m_before(a[child], a[child + 1]))
                ++child;
            if (!m_before(v, a[child]))
                break;
            a[root] = a[child];
            root = child;
        }
        a[root] = v;
    }

    void HeapSort(T *a, ptrdiff_t n)
    {
        for (ptrdiff_t i = n / 2 - 1; i >= 0; --i)
            SiftDown(a, i, n);
        for (ptrdiff_t end = n - 1; end > 0; --end) {
            std::swap(a[0], a[end]);
            SiftDown(a, 0, end);
        }
    }

    // Quicksort of a[0..n-1], leaving ranges below kCutoff unsorted for the
    // insertion pass.
    void QuickSort(ptrdiff_t n)
    {
        // A range with the number of bad splits it may still take on its
        // way down from the whole array.
        struct Range {
            ptrdiff_t lo, hi; // inclusive
            bool random;
            int budget;
        };
        Range stack[130];
        int top = 0;
        Scramble rng{m_seed ^ static_cast<uint64_t>(n)};
        Range r{0, n - 1, false, 2 * static_cast<int>(std::bit_width(static_cast<uint64_t>(n))) + 2};
        T *a = m_a;
        for (;;) {
            while (r.hi - r.lo + 1 >= kCutoff) {
                ptrdiff_t lo = r.lo, hi = r.hi, size = hi - lo + 1;
                ptrdiff_t mid = lo + size / 2;
                if (r.random) {
                    // Three candidates from anywhere in the range, moved to
                    // the places the median of three reads.
                    std::swap(a[lo], a[lo + rng.below(size)]);
                    std::swap(a[mid], a[lo + rng.below(size)]);
                    std::swap(a[hi], a[lo + rng.below(size)]);
                }
                Order2(a[lo], a[mid]);
                Order2(a[lo], a[hi]);
                Order2(a[mid], a[hi]);
                std::swap(a[mid], a[hi - 1]);
                const T pivot = a[hi - 1];
                ptrdiff_t i = lo, j = hi - 1;
                // The scans meet somewhere in the range: elements kAhead
                // places ahead of each are fetched while it compares.
                for (;;) {
                    do {
                        ++i;
                        if (i + kAhead < j)
                            m_touch(a[i + kAhead]);
                    } while (m_before(a[i], pivot));
                    do {
                        --j;
                        if (j - kAhead > i)
                            m_touch(a[j - kAhead]);
                    } while (m_before(pivot, a[j]));
                    if (i >= j)
                        break;
                    std::swap(a[i], a[j]);
                }
                std::swap(a[i], a[hi - 1]);
                ptrdiff_t nl = i - lo, nr = hi - i;
                bool unbalanced = std::min(nl, nr) < size / 16;
                int budget = r.budget - (unbalanced ? 1 : 0);
                if (budget <= 0) {
                    HeapSort(a + lo, size);
                    break;
                }
                Range left{lo, i - 1, unbalanced, budget}, right{i + 1, hi, unbalanced, budget};
                if (nl < nr) {
                    stack[top++] = right;
                    r = left;
                } else {
                    stack[top++] = left;
                    r = right;
                }
            }
            if (top == 0)
                return;
            r = stack[--top];
        }
    }

    // Insertion pass over the short unsorted ranges.
    void InsertionPass(ptrdiff_t n)
    {
        T *a = m_a;
        for (ptrdiff_t i = 1; i < n; ++i) {
            T v = a[i];
            ptrdiff_t j = i;
            while (j > 0 && m_before(v, a[j - 1])) {
                a[j] = a[j - 1];
                --j;
            }
            a[j] = v;
        }
    }

    static constexpr ptrdiff_t kAhead = 8;
    T *m_a;
    Before m_before;
    Touch m_touch;
    uint64_t m_seed;
};

template <class T, class Before, class Touch>
void IntroSortArray(T *a, ptrdiff_t n, Before before, Touch touch, uint64_t seed)
{
    IntroSort<T, Before, Touch>(a, before, touch, seed).Sort(n);
}

bool OrderValid(Call &call, Nag_SortOrder order)
{
    if (order == Nag_Ascending || order == Nag_Descending)
        return true;
    call.fail(NE_BAD_PARAM, "order = " + std::to_string(static_cast<int>(order)) +
                                " is not a sort order: order must be Nag_Ascending or Nag_Descending.");
    return false;
}

} // namespace

void TalvoMP_m01cac(TalvoFloat vec[], size_t n, Nag_SortOrder order, NagError *fail)
{
    Call call("TalvoMP_m01cac", fail);
    if (!OrderValid(call, order))
        return;
    if (n > static_cast<size_t>(PTRDIFF_MAX) / sizeof(TalvoFloat)) {
        call.fail(NE_INT_ARG_GT, "n = " + std::to_string(n) + " is out of range: the array would not fit in memory.");
        return;
    }
    if (n < 2)
        return;
    // Undefined values to the end, in the order they came.
    ptrdiff_t m = 0;
    std::vector<TalvoFloat> undefined;
    for (size_t i = 0; i < n; ++i) {
        if (mpfr_nan_p(Value(vec[i])))
            undefined.push_back(vec[i]);
        else
            vec[m++] = vec[i];
    }
    std::copy(undefined.begin(), undefined.end(), vec + m);
    auto less = [](const TalvoFloat &a, const TalvoFloat &b) { return mpfr_less_p(Value(a), Value(b)) != 0; };
    IntroSortArray(vec, m, less, [](const TalvoFloat &) {}, 0x9E3779B97F4A7C15ull);
    if (order == Nag_Descending)
        std::reverse(vec, vec + n);
}

void TalvoMP_m01dsc(const Pointer vec, size_t n, ptrdiff_t stride,
                    Integer (*compare)(const Nag_Pointer a, const Nag_Pointer b), Nag_SortOrder order,
                    size_t ranks[], NagError *fail)
{
    Call call("TalvoMP_m01dsc", fail);
    if (!OrderValid(call, order))
        return;
    if (compare == nullptr) {
        call.fail(NE_NULL_ARGUMENT, "compare is null: a comparison function is required.");
        return;
    }
    if (n == 0)
        return;
    if (stride == 0) {
        call.fail(NE_INT_ARG_EQ, "stride = 0 is not allowed: the objects must lie |stride| > 0 bytes apart.");
        return;
    }
    size_t step = stride < 0 ? static_cast<size_t>(-(stride + 1)) + 1 : static_cast<size_t>(stride);
    if (step > static_cast<size_t>(PTRDIFF_MAX) / n) {
        call.fail(NE_INT_ARG_GT, "stride = " + std::to_string(stride) + " is out of range for n = " +
                                     std::to_string(n) + ": |stride| * n must fit in the address space.");
        return;
    }
    const char *base = static_cast<const char *>(vec);
    auto object = [&](size_t i) { return const_cast<char *>(base + static_cast<ptrdiff_t>(i) * stride); };
    const bool ascending = order == Nag_Ascending;
    // Object i strictly before object j: it orders before (after, in
    // descending order), or it is equal and stands first.
    auto before = [&](size_t i, size_t j) {
        if (i == j)
            return false;
        Integer c = compare(object(i), object(j));
        if (c == 0)
            return i < j;
        return ascending ? c < 0 : c > 0;
    };
    std::vector<size_t> index(n);
    for (size_t i = 0; i < n; ++i)
        index[i] = i;
    auto touch = [&](size_t i) { __builtin_prefetch(object(i)); };
    IntroSortArray(index.data(), static_cast<ptrdiff_t>(n), before, touch, 0xD1B54A32D192ED03ull);
    for (size_t k = 0; k < n; ++k)
        ranks[index[k]] = k;
}
