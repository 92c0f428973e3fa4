// alias_urn.hpp -- weighted choice of a cell index in constant time per draw.
//
// Walker's alias method (A. J. Walker, "An efficient method for generating
// discrete random variables with general distributions", ACM TOMS 3, 1977),
// with the tables built by pairing a small and a large cell from two stacks
// (the pairing of M. D. Vose, IEEE TSE 17, 1991).  Each cell j has an
// acceptance threshold prob[j] (scaled so that the thresholds average 1) and
// an alias; a draw picks a cell uniformly and keeps it with probability
// prob[j], else takes its alias.
#pragma once

#include "stats_api.h"

#include <cstdint>
#include <memory>

class STATS_API STATS_AliasUrnGenerator_MP {
public:
    // Cells 0..n-1, the first m of them weighted by weights[0..m-1] (n >= m;
    // cells m..n-1 have probability 0).  Every user here passes n = m.
    STATS_AliasUrnGenerator_MP(int n, int m, TalvoFloat *weights);
    ~STATS_AliasUrnGenerator_MP();
    STATS_AliasUrnGenerator_MP(const STATS_AliasUrnGenerator_MP &) = delete;
    STATS_AliasUrnGenerator_MP &operator=(const STATS_AliasUrnGenerator_MP &) = delete;

    // Rebuilds the tables.  With two cells or more the weights must add up
    // to a finite number other than zero: anything else raises "unable to
    // build an alias urn from weights adding up to %1" and leaves the urn as
    // it was.  The weights' signs are not checked.
    void Reset(int n, int m, TalvoFloat *weights);

    // A cell index in 0..n-1.  Draws 32-bit integers, keeping the top
    // (bit length of n-1) + 1 bits, until one is a cell; then, for a
    // weighted cell, one uniform.  An urn of no cells raises "cannot draw
    // from an alias urn of no cells".
    int Next();

    int cells() const { return m_n; }
    int weighted() const { return m_m; }
    int alias(int j) const { return m_alias[j]; }
    TalvoFloat prob(int j) const;

private:
    void Bounds();

    int32_t m_m = 0;
    int32_t m_n = 0;
    std::unique_ptr<int32_t[]> m_alias;
    // The thresholds, MPFR numbers of the precision of "Digits" when the
    // urn was built, in one block outside the collected heap: the build
    // computes them in place, one rounding per operation as host floats
    // round, without a host float per operation.
    struct Thresholds;
    std::unique_ptr<Thresholds> m_prob;
    // Each cell's prob[j] as a 32-bit fixed-point fraction rounded down,
    // lo = floor(prob[j] 2^32) (2^32 - 1 for prob[j] >= 1), beside its
    // alias: eight bytes a cell, so that the table of an urn of 100,000
    // cells stays in a core's second-level cache.  A draw compares
    // d = floor(u 2^32) with lo: d < lo means u < (d + 1)/2^32 <= prob[j];
    // d > lo means u >= (lo + 1)/2^32 > prob[j]; only d = lo (about one draw
    // in 2^32) compares u with prob[j] itself.
    struct Cell {
        uint32_t lo;
        int32_t alias;
    };
    std::unique_ptr<Cell[]> m_cells;
};
