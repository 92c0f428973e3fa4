// dataprep.hpp -- the kernels of the data preparation entries: one element
// comparison per array data type, ranking and reordering of data blocks,
// shuffling, the neighbour counts of data sharpening, the predicate test of
// the select-remove family, partitioning of data blocks of any element
// size, and the Shapiro-Wilk test.
//
// A data block is the contiguous storage of a rectangular host array: n
// elements of the width STATS_RTableDataSize_MP gives for its data type
// code.  The kernels work on it in place, element by element, so arrays of
// hardware integers and floats are never rebuilt as host values.
#pragma once

#include "stats_api.h"

#include <cstddef>

// ---------------------------------------------------------------------------
// Element comparisons
// ---------------------------------------------------------------------------

// Each compares the elements at a and b of one data type and returns -1, 0
// or 1 as a orders before, with or after b (the qsort convention).
//   INTEGER8/16/32    codes 2, 3, 4: signed integers of 1, 2, 4 bytes;
//   INTEGER64         code 5: signed, the high words (signed) first, then the
//                     low words (unsigned), which is the order of the values;
//   FLOAT64, FLOAT32  codes 6, 8: numeric order, -0 equal to 0, an undefined
//                     (NaN) value after every defined value and equal to
//                     another undefined one;
//   ALGEB             every other code: host values, converted to floats
//                     (STATS_TalvoUtils_MP::TalvoDAGToDouble); one that is
//                     not numeric is reported with
//                     STATS_TalvoUtils_MP::ReportNonNumeric ("unable to
//                     evaluate %1 to floating-point"); undefined after every
//                     defined value.
// Codes 1 and 7 (complex) have none.
typedef int (*STATS_NumericCompare_MP)(const char *a, const char *b);
STATS_API int STATS_NumericCompareINTEGER8_MP(const char *a, const char *b);
STATS_API int STATS_NumericCompareINTEGER16_MP(const char *a, const char *b);
STATS_API int STATS_NumericCompareINTEGER32_MP(const char *a, const char *b);
STATS_API int STATS_NumericCompareINTEGER64_MP(const char *a, const char *b);
STATS_API int STATS_NumericCompareFLOAT64_MP(const char *a, const char *b);
STATS_API int STATS_NumericCompareFLOAT32_MP(const char *a, const char *b);
STATS_API int STATS_NumericCompareALGEB_MP(const char *a, const char *b);

// ---------------------------------------------------------------------------
// Ranking, reordering, shuffling, sharpening (sort.cpp, shuffle.cpp, sharpen.cpp)
// ---------------------------------------------------------------------------

// ranks[i] = the 0-based rank of element i of the block of n elements of
// the data type: ascending when order is 1, descending otherwise; equal
// elements take consecutive ranks in the order they stand (stable).
// Complex data raise "unable to compare complex numbers"; a failure of the
// ranking routine raises its own message.
STATS_API void STATS_RankSortDataBlock_MP(TKernelVector kv, void *block, unsigned *ranks, int n, int dataType,
                                          int order);

// Moves row i of the source to row ranks[i] of the target, for i < rows,
// with `columns` elements of `width` bytes per row (1 for a one-dimensional
// block).  Element (r, c) of a block lies at r * rowStride + c * columnStride
// bytes from its start.  The ranks must be a permutation of 0 .. rows-1 and
// the blocks must not overlap (the caller checks both).
STATS_API void STATS_RankOrderDataBlock_MP(TKernelVector kv, const char *source, long sourceRowStride,
                                           long sourceColumnStride, char *target, long targetRowStride,
                                           long targetColumnStride, const unsigned *ranks, long rows, long columns,
                                           int width);

// Fisher-Yates shuffle of n elements of `width` bytes, from the end, every
// index drawn by rejection from STATS_TalvoRandomStream_MP::NextInteger (see
// shuffle.cpp for the exact use of the stream).
STATS_API void STATS_Shuffle_MP(TKernelVector kv, char *block, unsigned n, unsigned width);

// For points (x[i*strideX], y[i*strideY]), i < n, in ascending order of x:
// counts[i] = the number of other points j with |x[i] - x[j]| <= h/2 and
// |y[i] - y[j]| <= h/2, found by walking down and up from i while the x
// distance stays within h/2.
STATS_API void STATS_Sharpen_MP(TKernelVector kv, int n, TalvoFloat *x, TalvoFloat *y, int strideX, int strideY,
                                unsigned *counts, TalvoFloat h);

// ---------------------------------------------------------------------------
// Selecting, removing, trimming (select_remove.cpp, trim.cpp)
// ---------------------------------------------------------------------------

// predicate(element, extras...) read as a host boolean; extras is an
// expression sequence of `count` values (may be NULL when count is 0).
STATS_API T_BOOL STATS_SelectRemoveSatisfies_MP(TKernelVector kv, ALGEB predicate, ALGEB element, ALGEB extras,
                                                int count);

// Swaps the `size` bytes at a and b through tmp.
STATS_API void STATS_SwapByteArrays_MP(char *a, char *b, char *tmp, size_t size);

// Partitions the n elements of the block (data type code, element width)
// so that the k smallest come first: afterwards no element before position
// k orders after the element at k, and none after it orders before it.
// k < 0 or k >= n leaves the block as it is (k = 0 puts the smallest first).  Elements are compared with
// the data type's comparison and moved with STATS_SwapByteArrays_MP;
// complex data raise "unable to compare complex numbers".
STATS_API void STATS_SplitByNumericValue_MP(TKernelVector kv, char *block, long n, long k, int dataType, int width);

// ---------------------------------------------------------------------------
// The Shapiro-Wilk test (shapiro_wilk.cpp)
// ---------------------------------------------------------------------------

// Sorts x[0..n-1] in place (ascending) and computes W and its p-value; a
// failure of the numerical routines raises their message.
STATS_API void STATS_ShapiroWilk_MP(TKernelVector kv, long n, TalvoFloat *x, TalvoFloat *W, TalvoFloat *p);
