// sorting.cpp -- the sorting and selection kernels of the descriptive
// statistics: quicksort with a final insertion pass, insertion sort,
// selection of the k-th smallest value, and heap sort.
//
// Every kernel is written once as a template over the storage it moves:
// Values (one array) or Pairs (values and their weights, moved together).
#include "sorting.hpp"

#include <algorithm>
#include <utility>
#include <vector>

namespace {

inline bool Undefined(const TalvoFloat &x) { return IsTalvoFloatUndefined(x); }

// The order in which undefined is greater than every defined value: less(x,
// p) for the element scanned (x) and the reference (p).  Its mirror,
// greater(x, p) (false if p is undefined, true if x is, else x > p), is only
// needed by the selection's downward scan, which uses it in a reduced form.
inline bool Less(const TalvoFloat &x, const TalvoFloat &p)
{
    if (Undefined(x))
        return false;
    if (Undefined(p))
        return true;
    return x < p;
}

// One array of values.
struct Values {
    TalvoFloat *a;

    void swap(int i, int j) const { std::swap(a[i], a[j]); }
    void move(int from, int to) const { a[to] = a[from]; }

    struct Held {
        TalvoFloat v;
    };
    Held hold(int i) const { return {a[i]}; }
    void put(const Held &h, int i) const { a[i] = h.v; }
};

// Values with their weights: every move is made in both arrays.
struct Pairs {
    TalvoFloat *a;
    TalvoFloat *w;

    void swap(int i, int j) const
    {
        std::swap(a[i], a[j]);
        std::swap(w[i], w[j]);
    }
    void move(int from, int to) const
    {
        a[to] = a[from];
        w[to] = w[from];
    }

    struct Held {
        TalvoFloat v, wt;
    };
    Held hold(int i) const { return {a[i], w[i]}; }
    void put(const Held &h, int i) const
    {
        a[i] = h.v;
        w[i] = h.wt;
    }
};

// Exchanges l and r when a[r] comes before a[l] in the order.
template <class S>
inline void Order(const S &s, int l, int r)
{
    if (Less(s.a[r], s.a[l]))
        s.swap(l, r);
}

// One partition step of the quicksort on lo..hi (hi - lo > 4).  On return
// the two ranges left to sort are lo..*left_hi and *right_lo..hi.
//
// The scans advance their index twice per comparison: once before the
// undefined test and once more before the comparison with the pivot.  An
// element passed over by the first step is never compared, which decides
// what is exchanged (and, with weights, the final order of the weights of
// equal values); the insertion pass afterwards makes the order exact.
//
// The upward scan cannot pass hi: a[hi - 1] is the pivot and a[hi] is not
// less than it, and from any stopping point below hi - 1 the first step
// lands at most on hi - 1.  The downward scan has no such guard at the
// bottom: its first step may land on lo and the second below it.  Here the
// scan stops instead of reading below lo, as if a value not greater than
// the pivot stood there.
template <class S>
void Partition(const S &s, int lo, int hi, int *left_hi, int *right_lo)
{
    TalvoFloat *a = s.a;
    int mid = (lo + hi) / 2;
    Order(s, lo, mid);
    Order(s, lo, hi);
    Order(s, mid, hi);
    s.swap(mid, hi - 1);
    TalvoFloat p = a[hi - 1];
    bool p_undefined = Undefined(p);

    int i = lo, j = hi - 1;
    for (;;) {
        for (;;) { // scan up
            ++i;
            if (Undefined(a[i]))
                break;
            if (p_undefined)
                continue;
            ++i;
            if (!(a[i] < p))
                break;
        }
        for (;;) { // scan down
            if (p_undefined)
                break;
            if (j - 1 < lo) {
                j = lo - 1;
                break;
            }
            --j;
            if (Undefined(a[j]))
                continue;
            if (j - 1 < lo) {
                j = lo - 1;
                break;
            }
            --j;
            if (!(a[j] > p))
                break;
        }
        if (i <= j) {
            s.swap(i, j);
            continue;
        }
        s.swap(i, hi - 1);
        *left_hi = j;
        *right_lo = i + 1;
        return;
    }
}

// The two ranges are sorted one after the other; the smaller one by a
// recursive call and the larger one by the loop, so the depth of the
// recursion stays below log2(n) whatever the data.  The ranges are
// disjoint, so the order in which they are done changes nothing.
//
// A range whose median of three is undefined (two of the three sampled
// values missing) is partitioned around that undefined pivot like any
// other: the up scan stops only at missing values, which it exchanges with
// the missing pivot's place, so defined values stay where they are and the
// partition takes just the top element off the range.  A range holding k
// missing values can thus cost about k^2/2 steps: quadratic time on data
// with many missing values (and weights of missing values come out in the
// order these exchanges leave them).
template <class S>
void QuickSort(const S &s, int lo, int hi)
{
    while (hi - lo > 4) {
        int left_hi, right_lo;
        Partition(s, lo, hi, &left_hi, &right_lo);
        if (left_hi - lo < hi - right_lo) {
            QuickSort(s, lo, left_hi);
            lo = right_lo;
        } else {
            QuickSort(s, right_lo, hi);
            hi = left_hi;
        }
    }
}

// What the insertion pass leaves after the quicksort, computed by a stable
// merge sort on the same order.  The insertion sort is stable, keeps the
// missing values in their order at the top, and so yields exactly the
// stable sort of its input; but the quicksort's double index step leaves a
// fixed fraction of the elements far from their place, which makes the
// insertion pass itself quadratic (a minute for 50 000 values).
template <class S>
void FinalPass(const S &s, int n)
{
    if (n < 2)
        return;
    std::vector<typename S::Held> all;
    all.reserve(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i)
        all.push_back(s.hold(i));
    std::stable_sort(all.begin(), all.end(),
                     [](const typename S::Held &x, const typename S::Held &y) { return Less(x.v, y.v); });
    for (int i = 0; i < n; ++i)
        s.put(all[static_cast<size_t>(i)], i);
}

template <class S>
void InsertionSort(const S &s, int lo, int hi)
{
    TalvoFloat *a = s.a;
    for (int i = lo + 1; i <= hi; ++i) {
        typename S::Held v = s.hold(i);
        int j = i;
        if (!Undefined(v.v)) {
            while (j > lo) {
                const TalvoFloat &prev = a[j - 1];
                if (!Undefined(prev) && !(prev > v.v))
                    break;
                s.move(j - 1, j);
                --j;
            }
        }
        if (j != i)
            s.put(v, j);
    }
}

// Partition-based selection with a median of three (the classic form of
// Hoare's FIND as it appears in the numerical-methods literature).
template <class S>
TalvoFloat QuickSelect(const S &s, int n, int k)
{
    TalvoFloat *a = s.a;
    int l = 0, ir = n - 1;
    for (;;) {
        if (ir <= l + 1) {
            if (ir == l + 1 && Less(a[ir], a[l]))
                s.swap(l, ir);
            // A rank outside the array (the winsorized mean asks for rank n
            // of n values when its upper cut is the top) still orders the
            // array as the partitioning leaves it, but there is no value to
            // return: undefined instead of a read past either end.
            if (k < 0 || k >= n)
                return TalvoFloatUndefined();
            return a[k];
        }
        int mid = (l + ir) / 2;
        s.swap(mid, l + 1);
        Order(s, l, ir);
        Order(s, l + 1, ir);
        Order(s, l, l + 1);
        int i = l + 1, j = ir;
        typename S::Held pivot = s.hold(l + 1);
        // The scans test less(a[i], pivot) and greater(a[j], pivot).  With a
        // defined pivot they reduce to one comparison each, since the float
        // class's comparisons are false for an undefined side: less is a[i] <
        // pivot, and greater is !(a[j] <= pivot).  With an undefined pivot,
        // less is "a[i] is defined" and greater is never true.
        const TalvoFloat &pv = pivot.v;
        bool undefinedPivot = Undefined(pv);
        for (;;) {
            if (!undefinedPivot) {
                do
                    ++i;
                while (a[i] < pv);
                do
                    --j;
                while (!(a[j] <= pv));
            } else {
                do
                    ++i;
                while (!Undefined(a[i]));
                --j;
            }
            if (j < i)
                break;
            s.swap(i, j);
        }
        s.move(j, l + 1);
        s.put(pivot, j);
        if (j >= k)
            ir = j - 1;
        if (j <= k)
            l = i;
    }
}

} // namespace

void STATS_SortData_MP(TalvoFloat *a, int n)
{
    STATS_QuickSort_MP(a, 0, n - 1);
    FinalPass(Values{a}, n);
}

void STATS_SortData_MP(TalvoFloat *a, TalvoFloat *w, int n)
{
    STATS_QuickSort_MP(a, w, 0, n - 1);
    FinalPass(Pairs{a, w}, n);
}

void STATS_QuickSort_MP(TalvoFloat *a, int lo, int hi) { QuickSort(Values{a}, lo, hi); }

void STATS_QuickSort_MP(TalvoFloat *a, TalvoFloat *w, int lo, int hi) { QuickSort(Pairs{a, w}, lo, hi); }

void STATS_InsertionSort_MP(TalvoFloat *a, int lo, int hi) { InsertionSort(Values{a}, lo, hi); }

void STATS_InsertionSort_MP(TalvoFloat *a, TalvoFloat *w, int lo, int hi) { InsertionSort(Pairs{a, w}, lo, hi); }

TalvoFloat STATS_QuickSelect_MP(TalvoFloat *a, int n, int k)
{
    // The rank is trusted: one outside 0..n-1 partitions the array like any
    // other and returns undefined (see QuickSelect).
    if (n <= 0)
        return TalvoFloatUndefined();
    return QuickSelect(Values{a}, n, k);
}

TalvoFloat STATS_QuickSelect_MP(TalvoFloat *a, TalvoFloat *w, int n, int k)
{
    // Clamping once is the same as repeating the call with the clamped rank;
    // with no element there is no rank to clamp to, and nothing is read.
    if (n <= 0)
        return TalvoFloatUndefined();
    if (k < 0)
        k = 0;
    else if (k >= n)
        k = n - 1;
    return QuickSelect(Pairs{a, w}, n, k);
}

void STATS_HeapSort_MP(TalvoFloat *a, TalvoFloat *w, int n)
{
    for (int s = n / 2 - 1; s >= 0; --s)
        STATS_Shift_MP(a, w, s, n - 1);
    for (int m = 0; m <= n - 2; ++m) {
        std::swap(a[0], a[n - 1 - m]);
        std::swap(w[0], w[n - 1 - m]);
        STATS_Shift_MP(a, w, 0, n - m - 2);
    }
}

void STATS_Shift_MP(TalvoFloat *a, TalvoFloat *w, int lo, int hi)
{
    TalvoFloat t = a[lo], tw = w[lo];
    int cur = lo;
    int j = lo + 1; // the first child examined is lo + 1, not 2 lo + 1
    while (j <= hi) {
        if (j < hi && !Undefined(a[j]) && (Undefined(a[j + 1]) || a[j] < a[j + 1]))
            ++j;
        if (t >= a[j])
            break;
        a[cur] = a[j];
        w[cur] = w[j];
        cur = j;
        j = 2 * j + 1;
    }
    a[cur] = t;
    w[cur] = tw;
}
