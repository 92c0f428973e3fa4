// sorting.hpp -- in-place sorting and selection of TalvoFloat arrays, with or
// without a parallel array of weights.
//
// One total order holds for every kernel: an undefined float (the missing
// value) is greater than every defined value, and among defined values the
// float class's order holds.  In the weighted kernels every move of a value
// makes the same move in the weights array, so a value keeps its weight.
// The kernels never allocate host objects and never raise host errors;
// ranges are inclusive (lo..hi) and an empty or one-element range is left
// untouched.
#pragma once

#include "stats_api.h"

// Sorts a[0..n-1] ascending: the quicksort below, then a final pass that
// gives what an insertion pass over the whole array gives (equal values and
// missing values keep the order the quicksort left them in).
STATS_API void STATS_SortData_MP(TalvoFloat *a, int n);
STATS_API void STATS_SortData_MP(TalvoFloat *a, TalvoFloat *w, int n);

// Median-of-three quicksort that leaves ranges of five or fewer elements to
// the final insertion pass.  Its scans step their index twice between the
// undefined test and the comparison, so it only brings every element near
// its place: the result is a partial order, made exact by STATS_SortData_MP.
// A range whose median of three is undefined loses only its top element per
// partition, so many missing values take quadratic time.
STATS_API void STATS_QuickSort_MP(TalvoFloat *a, int lo, int hi);
STATS_API void STATS_QuickSort_MP(TalvoFloat *a, TalvoFloat *w, int lo, int hi);

// Stable insertion sort of a[lo..hi]; undefined values never move left.
STATS_API void STATS_InsertionSort_MP(TalvoFloat *a, int lo, int hi);
STATS_API void STATS_InsertionSort_MP(TalvoFloat *a, TalvoFloat *w, int lo, int hi);

// The k-th smallest (0-based) of a[0..n-1], by partition-based selection
// with a median of three.  a is left partly ordered: nothing left of k is
// greater than a[k], nothing right of it less.  The unweighted form trusts
// k: with k outside 0..n-1 it partitions as for any rank (for k = n the two
// largest values end at the top, in order) and returns undefined without
// reading outside a.  The weighted form clamps k into 0..n-1.  With n <= 0
// nothing is read and the result is undefined.
STATS_API TalvoFloat STATS_QuickSelect_MP(TalvoFloat *a, int n, int k);
STATS_API TalvoFloat STATS_QuickSelect_MP(TalvoFloat *a, TalvoFloat *w, int n, int k);

// Heap sort whose sift-down (STATS_Shift_MP) examines lo + 1 as the first
// child of lo.  For lo = 0 that is the usual child; in the heap-building
// phase it is not, so the result need not be fully sorted.
STATS_API void STATS_HeapSort_MP(TalvoFloat *a, TalvoFloat *w, int n);
STATS_API void STATS_Shift_MP(TalvoFloat *a, TalvoFloat *w, int lo, int hi);
