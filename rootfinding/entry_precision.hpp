// entry_precision.hpp -- the precision handling of the continuous root
// finders' host entries.
#pragma once

#include "stats_api.h"

namespace stats {

// For the extent of one entry: reads the caller's "Digits" D, derives the
// absolute tolerance k * 10^-D (the power in double precision, as the host's
// own tolerances are), and raises "Digits" to D + 3 for the search.  The
// caller's "Digits" is assigned back however the entry ends, an error raised
// inside the user's procedure included.
class RaisedDigits {
public:
    RaisedDigits(TKernelVector kv, TalvoFloat k);
    ~RaisedDigits();
    RaisedDigits(const RaisedDigits &) = delete;
    RaisedDigits &operator=(const RaisedDigits &) = delete;

    TalvoFloat tolerance() const { return m_tol; }
    // evalf(root, D): the root rounded to the caller's precision.
    ALGEB Result(TalvoFloat root) const;

private:
    TKernelVector m_kv;
    ALGEB m_digitsName;
    int32_t m_digits;
    TalvoFloat m_tol;
};

} // namespace stats
