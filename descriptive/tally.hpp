// tally.hpp -- counting kernels: the bin search, counts of values into the
// bins of one or more ranges, and linear binning onto a regular grid.
#pragma once

#include "stats_api.h"

// The bin of x among m bins whose m + 1 boundaries are bounds[0..m]: a
// binary search in which a value equal to an inner boundary goes to the bin
// on its right.  The caller has checked bounds[0] <= x < bounds[m].
STATS_API int STATS_TallyIntoFindBin_MP(TalvoFloat *bounds, int m, TalvoFloat x);

// Counts of n values into `ranges` ranges of m bins each.  bounds holds the
// m + 1 boundaries of each range one after the other; the counts of range j
// go to result[j*m .. j*m + m - 1], which start at zero.  A value equal to a
// range's top boundary is counted in its last bin; values outside a range are
// skipped.  The simple kernel counts 1 per value, the weighted one adds the
// value's weight.
STATS_API void STATS_SimpleTallyInto_MP(int *result, TalvoFloat *x, int n, TalvoFloat *bounds, int ranges, int m);
STATS_API void STATS_WeightedTallyInto_MP(TalvoFloat *result, TalvoFloat *x, TalvoFloat *w, int n, TalvoFloat *bounds,
                                          int ranges, int m);

// Linear binning of n values (weights w, or null for weight 1) onto the g
// points left + i*(right - left)/(g - 1), i = 0 .. g-1, written to grid[0..g-1].
// A value's weight is shared between the two grid points around it in
// proportion to its closeness (all of it to a point it lies on); values
// outside [left, right] and undefined values are skipped, an undefined
// weight counts as 1.  Every entry is finally multiplied by scale / (total
// weight of the values placed); a scale of zero means 1 / (grid spacing),
// which makes the grid a density.  Returns the number of undefined values met.
STATS_API long STATS_Discretize_MP(TalvoFloat *grid, long g, TalvoFloat left, TalvoFloat right, const TalvoFloat *x,
                                   const TalvoFloat *w, long n, TalvoFloat scale);
