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
// m01dsc.  A stable merge sort of the object indices (bottom-up: runs of
// kRun objects by binary insertion, then merges of doubling width; a merge
// whose two halves are already in order costs one comparison), after which
// ranks[index[k]] = k.  It makes about n log2 n - 1.2 n calls of the
// comparison function, close to the least any comparison sort can make,
// which is what matters when the comparison converts host values.  Knuth
// (TAOCP vol. 3, 5.2.4) describes the list-merge form of the same sort.
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

inline bool Less(const TalvoFloat &a, const TalvoFloat &b) { return mpfr_less_p(Value(a), Value(b)) != 0; }

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

void SiftDown(TalvoFloat *a, ptrdiff_t root, ptrdiff_t n)
{
    TalvoFloat v = a[root];
    for (;;) {
        ptrdiff_t child = 2 * root + 1;
        if (child >= n)
            break;
        if (child + 1 < n && Less(a[child], a[child + 1]))
            ++child;
        if (!Less(v, a[child]))
            break;
        a[root] = a[child];
        root = child;
    }
    a[root] = v;
}

void HeapSort(TalvoFloat *a, ptrdiff_t n)
{
    for (ptrdiff_t i = n / 2 - 1; i >= 0; --i)
        SiftDown(a, i, n);
    for (ptrdiff_t end = n - 1; end > 0; --end) {
        std::swap(a[0], a[end]);
        SiftDown(a, 0, end);
    }
}

inline void Order2(TalvoFloat &x, TalvoFloat &y)
{
    if (Less(y, x))
        std::swap(x, y);
}

// Quicksort of a[0..n-1] (numbers only), leaving ranges below kCutoff
// unsorted for the insertion pass.
void QuickSort(TalvoFloat *a, ptrdiff_t n)
{
    // A range with the number of bad splits it may still take on its way
    // down from the whole array.
    struct Range {
        ptrdiff_t lo, hi; // inclusive
        bool random;
        int budget;
    };
    Range stack[130];
    int top = 0;
    Scramble rng{0x9E3779B97F4A7C15ull ^ static_cast<uint64_t>(n)};
    Range r{0, n - 1, false, 2 * static_cast<int>(std::bit_width(static_cast<uint64_t>(n))) + 2};
    for (;;) {
        while (r.hi - r.lo + 1 >= kCutoff) {
            ptrdiff_t lo = r.lo, hi = r.hi, size = hi - lo + 1;
            ptrdiff_t mid = lo + size / 2;
            if (r.random) {
                // Three candidates from anywhere in the range, moved to the
                // places the median of three reads.
                std::swap(a[lo], a[lo + rng.below(size)]);
                std::swap(a[mid], a[lo + rng.below(size)]);
                std::swap(a[hi], a[lo + rng.below(size)]);
            }
            Order2(a[lo], a[mid]);
            Order2(a[lo], a[hi]);
            Order2(a[mid], a[hi]);
            std::swap(a[mid], a[hi - 1]);
            const TalvoFloat pivot = a[hi - 1];
            ptrdiff_t i = lo, j = hi - 1;
            for (;;) {
                while (Less(a[++i], pivot)) {
                }
                while (Less(pivot, a[--j])) {
                }
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

void InsertionPass(TalvoFloat *a, ptrdiff_t n)
{
    for (ptrdiff_t i = 1; i < n; ++i) {
        TalvoFloat v = a[i];
        ptrdiff_t j = i;
        while (j > 0 && Less(v, a[j - 1])) {
            a[j] = a[j - 1];
            --j;
        }
        a[j] = v;
    }
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
    QuickSort(vec, m);
    InsertionPass(vec, m);
    if (order == Nag_Descending)
        std::reverse(vec, vec + n);
}

namespace {

// Objects per run of the merge sort, each run sorted by binary insertion.
constexpr size_t kRun = 32;

} // namespace

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
    // True when object i must come before object j (strictly).
    auto before = [&](size_t i, size_t j) {
        Integer c = compare(object(i), object(j));
        return ascending ? c < 0 : c > 0;
    };

    std::vector<size_t> index(n), work(n);
    for (size_t i = 0; i < n; ++i)
        index[i] = i;
    // Runs by binary insertion: each object goes after the last one it does
    // not come before, so equal objects keep their order.
    for (size_t start = 0; start < n; start += kRun) {
        size_t end = std::min(n, start + kRun);
        for (size_t i = start + 1; i < end; ++i) {
            size_t v = index[i];
            size_t lo = start, hi = i;
            while (lo < hi) {
                size_t mid = lo + (hi - lo) / 2;
                if (before(v, index[mid]))
                    hi = mid;
                else
                    lo = mid + 1;
            }
            std::memmove(&index[lo + 1], &index[lo], (i - lo) * sizeof(size_t));
            index[lo] = v;
        }
    }
    // Merges of doubling width, from index into work and back.
    size_t *src = index.data(), *dst = work.data();
    for (size_t width = kRun; width < n; width *= 2) {
        for (size_t lo = 0; lo < n; lo += 2 * width) {
            size_t mid = std::min(n, lo + width), hi = std::min(n, lo + 2 * width);
            if (mid == hi || !before(src[mid], src[mid - 1])) {
                std::memcpy(dst + lo, src + lo, (hi - lo) * sizeof(size_t));
                continue;
            }
            size_t i = lo, j = mid, k = lo;
            while (i < mid && j < hi)
                dst[k++] = before(src[j], src[i]) ? src[j++] : src[i++];
            while (i < mid)
                dst[k++] = src[i++];
            while (j < hi)
                dst[k++] = src[j++];
        }
        std::swap(src, dst);
    }
    for (size_t k = 0; k < n; ++k)
        ranks[src[k]] = k;
}
